#!/usr/bin/python3
"""Makes hives and reads them by other means than the library's, to check its reader.

    hive/make_hives.py check COMMAND...   makes hives and compares what "COMMAND... list --json FILE" reads in
                                          them with what is in them, and what "COMMAND... verify FILE" answers
    hive/make_hives.py seeds FOLDER       writes the fuzzer's seeds (fuzz/corpus/fuzz_hive)
    hive/make_hives.py write FILE         writes a hive with a bit of everything, to be looked at

A first hive of one key is written here as the format's rules read, with large data in pieces; hivex adds
keys and values to it and reads all of it back. It belongs to Debian's own Python. Ends with 77 when this
machine has no hivex.
"""
import json
import os
import pathlib
import random
import struct
import subprocess
import sys
import tempfile

try:
    import hivex
except ImportError:
    print(f"{sys.argv[0]}: Skipped\nThis machine has no hivex for Python (Debian: python3-hivex).")
    sys.exit(77)

PAGE = 4096
PIECE = 16344
NONE = 0xFFFFFFFF
TYPES = ["REG_NONE", "REG_SZ", "REG_EXPAND_SZ", "REG_BINARY", "REG_DWORD", "REG_DWORD_BIG_ENDIAN", "REG_LINK",
         "REG_MULTI_SZ", "REG_RESOURCE_LIST", "REG_FULL_RESOURCE_DESCRIPTOR", "REG_RESOURCE_REQUIREMENTS_LIST",
         "REG_QWORD"]


class Bins:
    """Cells in bins; the first cell has the offset 32."""

    def __init__(self):
        self.data = bytearray()
        self.room = 0

    def add(self, content):
        size = (len(content) + 4 + 7) & ~7
        if size > self.room:
            self.close()
            length = (32 + size + PAGE - 1) // PAGE * PAGE
            self.data += b"hbin" + struct.pack("<II", len(self.data), length) + bytes(20)
            self.room = length - 32
        offset = len(self.data)
        self.data += struct.pack("<i", -size) + content.ljust(size - 4, b"\0")
        self.room -= size
        return offset

    def close(self):
        if self.room:
            self.data += struct.pack("<i", self.room) + bytes(self.room - 4)
        self.room = 0


def first_hive(large):
    """A hive of one key, with the large data of its default value in pieces when there is any."""
    bins = Bins()
    root = bins.add(bytes(76) + b"first")
    descriptor = struct.pack("<BBHIIII", 1, 0, 0x8004, 0, 0, 0, 0)
    security = bins.add(b"sk" + bytes(14 + 4 + len(descriptor)))
    struct.pack_into("<2sHIIII20s", bins.data, security + 4, b"sk", 0, security, security, 1, len(descriptor),
                     descriptor)
    values = NONE
    if large:
        count = (len(large) + PIECE - 1) // PIECE
        pieces = bins.add(bytes(4 * count))
        data = bins.add(struct.pack("<2sHI", b"db", count, pieces))
        value = bins.add(struct.pack("<2sHIIIHH", b"vk", 0, len(large), data, 3, 0, 0))
        values = bins.add(struct.pack("<I", value))
        places = [bins.add(large[at:at + PIECE]) for at in range(0, len(large), PIECE)]
        struct.pack_into(f"<{count}I", bins.data, pieces + 4, *places)
    bins.close()
    struct.pack_into("<2sHQIIIIIIIIIIIIIIIHH", bins.data, root + 4, b"nk", 0x2C, 0, 0, 0, 0, 0, NONE, NONE,
                     1 if large else 0, values, security, NONE, 0, 0, 0, len(large), 0, 5, 0)
    base = bytearray(PAGE)
    struct.pack_into("<4sIIQIIIIIII", base, 0, b"regf", 1, 1, 0x01D9000000000000, 1, 5, 0, 1, root, len(bins.data), 1)
    checksum = 0
    for number in struct.unpack_from("<127I", base):
        checksum ^= number
    struct.pack_into("<I", base, 508, {0: 1, 0xFFFFFFFF: 0xFFFFFFFE}.get(checksum, checksum))
    return bytes(base + bins.data)


def some_bytes(numbers, length):
    return bytes(numbers.randrange(256) for _ in range(length))


def some_value(numbers, name):
    kind = numbers.randrange(6)
    text = "".join(numbers.choice("aZ09 \\äЖ漢") for _ in range(numbers.randrange(40)))
    data = {0: lambda: (1, (text + "\0").encode("utf-16-le")),
            1: lambda: (4, struct.pack("<I", numbers.randrange(2**32))),
            2: lambda: (3, some_bytes(numbers, numbers.choice([0, 1, 2, 3, 4, 5, 16, 300, 16000]))),
            3: lambda: (7, "one\0two\0\0".encode("utf-16-le")),
            4: lambda: (11, struct.pack("<Q", numbers.randrange(2**64))),
            5: lambda: (2, (text + "\0").encode("utf-16-le"))}[kind]()
    return {"key": name, "t": data[0], "value": data[1]}


def fill(hive, node, numbers, depth, most):
    names = [f"value{n}" for n in range(numbers.randrange(most))] + ["", "Größe", "Имя 漢字"][:numbers.randrange(4)]
    if depth > 0:
        hive.node_set_values(node, [some_value(numbers, name) for name in names])
    if depth == 4:
        return
    children = [f"Key {n}" for n in range(numbers.randrange(most))] + ["schlüssel", "Ключ"][:numbers.randrange(3)]
    for name in children:
        fill(hive, hive.node_add_child(node, name), numbers, depth + 1, most)


def write_hive(path, seed, most, large=b"", add=fill):
    pathlib.Path(path).write_bytes(first_hive(large))
    hive = hivex.Hivex(str(path), write=True)
    add(hive, hive.root(), random.Random(seed), 0, most)
    hive.commit(None)


def contents(hive, node, path, found):
    """What hivex reads: keys by their path, each with its values by name."""
    values = found.setdefault(path, {})
    for value in hive.node_values(node):
        values[hive.value_key(value)] = (hive.value_type(value)[0], hive.value_value(value)[1])
    for child in hive.node_children(node):
        name = hive.node_name(child)
        contents(hive, child, f"{path}\\{name}" if path else name, found)
    return found


def text_in(data):
    return data.decode("utf-16-le", "surrogatepass").split("\0")[0]


def shown(kind, data):
    """The data as the command prints it in JSON."""
    if kind in (1, 2):
        return text_in(data)
    if (kind, len(data)) in ((4, 4), (11, 8)):
        return int.from_bytes(data, "little")
    if kind == 7:
        return [item for item in data.decode("utf-16-le").split("\0") if item]
    return data.hex()


def wine_path(path):
    return "Z:" + path.replace("/", "\\")


def listed(command, path):
    output = subprocess.run([*command, "list", "--json", wine_path(path)], check=True, capture_output=True).stdout
    found = {}
    for line in output.decode("utf-8").splitlines():
        entry = json.loads(line)
        if "name" in entry:
            found[entry["key"]][entry["name"]] = (entry["type"], entry["bytes"], entry["data"])
        else:
            found[entry["key"]] = {}
    return found


def check(command):
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "made.hive")
        for seed, most, large in ((8, 6, some_bytes(random.Random(7), 40000)),
                                  (3, 9, some_bytes(random.Random(8), 2 * PIECE))):
            write_hive(path, seed, most, large)
            hive = hivex.Hivex(path)
            expected = {key: {name: (TYPES[kind], len(data), shown(kind, data))
                              for name, (kind, data) in values.items()}
                        for key, values in contents(hive, hive.root(), "", {}).items()}
            if large:
                assert expected[""][""] == ("REG_BINARY", len(large), large.hex()), "hivex reads other large data"
            if listed(command, path) != expected:
                sys.exit(f"hive {seed}: the list is another than hivex's")
            verdict = subprocess.run([*command, "verify", wine_path(path)], check=False, capture_output=True)
            if verdict.returncode != 0:
                sys.exit(f"hive {seed}: verify ends with {verdict.returncode}: {verdict.stdout.decode()}")
            print(f"hive {seed}: {len(expected)} keys as hivex reads them")


def small(hive, node, numbers, depth, most):
    if depth == 0:
        hive.node_set_values(node, [some_value(numbers, name) for name in ("", "one")][:most])
        for name in ("A", "bé", "Ж")[:most]:
            small(hive, hive.node_add_child(node, name), numbers, 1, most)
    elif depth < 2:
        hive.node_set_values(node, [{"key": "n", "t": 4, "value": b"\1\0\0\0"}])
        small(hive, hive.node_add_child(node, "below"), numbers, 2, most)


def used_cells(page):
    """The cells of a bin of one page up to the last that is in use."""
    end = at = 32
    while at < PAGE:
        size = struct.unpack_from("<i", page, at)[0]
        at += abs(size)
        end = at if size < 0 else end
    return page[32:end]


def write_seeds(folder):
    """The three bytes that fuzz_hive.cpp explains, and the cells of a hive's two bins."""
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory() as scratch:
        path = os.path.join(scratch, "seed.hive")
        for seed, most in ((1, 0), (2, 1), (3, 2)):
            write_hive(path, seed, most, add=small)
            made = pathlib.Path(path).read_bytes()[PAGE:]
            bins = [used_cells(made[at:at + PAGE]) for at in range(0, len(made), PAGE)]
            (folder / f"hivex_{most}").write_bytes(bytes([1, 5, len(bins[0]) // 8]) + b"".join(bins))
    cells = used_cells(first_hive(bytes(2 * PIECE))[PAGE:2 * PAGE])
    (folder / "pieces").write_bytes(bytes([3, 5, len(cells) // 8]) + cells)


def main():
    if len(sys.argv) > 2 and sys.argv[1] == "check":
        check(sys.argv[2:])
    elif len(sys.argv) == 3 and sys.argv[1] == "seeds":
        write_seeds(sys.argv[2])
    elif len(sys.argv) == 3 and sys.argv[1] == "write":
        write_hive(sys.argv[2], 8, 6, some_bytes(random.Random(7), 40000))
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main()
