#!/usr/bin/env python3
"""Makes documentation of a public header's comments, for Doxygen: comments.py HEADER

The comments are written for readers, without marks for tools. A comment of its own belongs to what
follows it; the first one of a header that is about the whole of it, to the header; one that stands
alone is the heading of the members behind it. A comment behind code belongs to that code. Indented
lines behind a blank line or a colon are code, or a table, and stay as they are. Lists and `code` are
Markdown's, and nothing else in a text is a mark.
"""
import re
import sys

CODE = re.compile(r"[;{}]$|^ *#")
# What a paragraph is about; the second also begins one.
LABEL = re.compile(r"[A-Z][a-z]+: ")
LABEL_OF_A_PART = re.compile(r"(Contract|Requires|Threads|Warning): ")
# Where what stands under a heading ends at the latest, in a class and outside of one.
END_OF_MEMBERS = re.compile(r"\};| (public|protected|private):")
END_OF_FUNCTIONS = re.compile(r"#|\}?(  // )?namespace ")


def escaped(text):
    """The text with nothing in it that Doxygen would take for a mark, but for `code`."""
    parts = text.split("`")
    for at in range(0, len(parts), 2):
        part = parts[at].replace("\\", "\\\\").replace("&", "&amp;")
        part = part.replace("<", "&lt;").replace(">", "&gt;").replace('"', "&quot;")
        parts[at] = re.sub(r"[@#%|~*]", r"\\\g<0>", part)
    return "`".join(parts)


def fenced(block):
    is_code = any(CODE.search(line) for line in block)
    first, last = ("@code{.cpp}", "@endcode") if is_code else ("@verbatim", "@endverbatim")
    while not block[-1]:
        block.pop()
    indent = min(len(line) - len(line.lstrip()) for line in block if line)
    return ["", first, *(line[indent:] for line in block), last, ""]


def marked_up(texts):
    """The lines of a comment, with paragraphs, lists, code and tables as Doxygen wants them."""
    out, block, in_list, before = [], [], False, ""
    for text in [*texts, None]:
        if block and text is not None and (not text or text.startswith("  ")):
            block.append(text)
            continue
        if block:
            out += fenced(block)
            block, before = [], ""
        if text is None:
            break
        is_item = text.startswith("- ")
        if not in_list and text.startswith("  ") and (not before or before.endswith(":")):
            block.append(text)
            continue
        label = LABEL_OF_A_PART.match(text) or (LABEL.match(text) if not before else None)
        if label or (is_item and not in_list):
            out.append("")
        in_list = is_item or (in_list and text.startswith("  "))
        if label:
            text = text[len(label[0]):]
            out.append("<b>" + label[0].strip() + "</b> " + escaped(text))
        else:
            # The sign of an item is no multiplication.
            out.append("- " + escaped(text[2:]) if is_item else escaped(text))
        before = text
    return out


def texts_of(lines):
    """What the lines of a comment say."""
    body = re.sub(r"\s*\*/$", "", "\n".join(lines).strip()[2:])
    first, *others = body.split("\n")
    return [first.strip()] + [re.sub(r"^\s*\* ?|^\s+", "", line).rstrip() for line in others]


def heading(texts):
    """Its first line, where that stands alone, else its first sentence; and what follows."""
    texts = [text.strip(" -") for text in texts]
    title, _, rest = ". ".join(" ".join(texts).split("  ", 1)).partition(". ")
    return ["/** @name " + escaped(title.rstrip(".")), "", escaped(rest), "*/", "/** @{ */"]


def documented(lines):
    out, at, is_first, end_of_group = [], 0, True, None
    while at < len(lines):
        line = lines[at]
        if end_of_group and end_of_group.match(line):
            out.append("/** @} */")
            end_of_group = None
        own = re.match(r"\s*/\*", line)
        behind = None if own else re.search(r"(?<=\S)\s*/\* ", line)
        if not own and not behind:
            out.append(line)
            at += 1
            continue
        last = next(n for n in range(at, len(lines)) if "*/" in lines[n])
        follows = lines[last + 1].strip()
        if behind:
            start = line.index("/*", behind.start())
            text = " ".join(texts_of([line[start:], *lines[at + 1:last + 1]])).strip()
            out.append(line[:start] + "/**< " + escaped(text) + " */")
        elif is_first and (not follows or follows.startswith(("namespace", "#"))):
            out += ["/** @file", *marked_up(texts_of(lines[at:last + 1])), "*/"]
        elif follows:
            out += ["/**", *marked_up(texts_of(lines[at:last + 1])), "*/"]
        else:
            out += ["/** @} */"] if end_of_group else []
            out += heading(texts_of(lines[at:last + 1]))
            end_of_group = END_OF_MEMBERS if line.startswith(" ") else END_OF_FUNCTIONS
        is_first = is_first and bool(behind)
        at = last + 1
    return out


with open(sys.argv[1], encoding="utf-8") as header:
    code = "\n".join(documented(header.read().splitlines()))
# A base that says where memory comes from and nothing that a reader looks for.
print(re.sub(r"( :|,)\s+public (vtclass::border::)?LibraryMemory\b", "", code))
