#include "joblog/joblog_reader.h"

#include <algorithm>
#include <utility>

#include "joblog/element_names.h"
#include "joblog/tag_syntax.h"
#include "joblog/utf8.h"

namespace vtclass::joblog {
namespace {

constexpr std::u16string_view kHeader = u"<?xml version=";
constexpr std::u16string_view kWrapMark = u"This file has wrapped.";
constexpr std::size_t kMaxCodeUnits = 64;
constexpr std::size_t kQuotedUnits = 60;

bool IsBlank(char16_t unit) {
  // A log that is appended to may hold another byte-order mark.
  return unit == u' ' || unit == u'\t' || unit == u'\n' || unit == u'\r' || unit == 0xFEFF;
}

std::u16string_view Trim(std::u16string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

bool IsSeparator(char16_t unit) { return unit == u'\\' || unit == u'/'; }

bool IsLetter(char16_t unit) { return (unit | 0x20) >= u'a' && (unit | 0x20) <= u'z'; }

// Writers put a folder into a sentence of their language: of "Directory C:\Data" this is the path.
// A text without one names what has no path, such as a mailbox, and stays as it is.
std::u16string_view PathWithin(std::u16string_view text) {
  for (std::size_t i = 0; i + 2 < text.size(); ++i) {
    if (i > 0 && !IsBlank(text[i - 1])) continue;
    const bool isDrive = IsLetter(text[i]) && text[i + 1] == u':' && IsSeparator(text[i + 2]);
    const bool isShare = text[i] == u'\\' && text[i + 1] == u'\\';
    if (isDrive || isShare) return text.substr(i);
  }
  return text;
}

std::string InBrackets(std::u16string_view name) { return "<" + Utf8(name) + ">"; }

}  // namespace

JobLogReader::JobLogReader(ReadBytes read, std::size_t blockBytes)
    : markup(std::move(read), blockBytes) {}

bool JobLogReader::Next(Event& event) {
  while (readyTaken == readyCount) {
    if (finished) return false;
    readyTaken = readyCount = 0;
    Handle(markup.Next());
  }
  std::swap(event, ready[readyTaken++]);
  return true;
}

Event& JobLogReader::Emit(EventKind kind, const Position& at) {
  if (readyCount == ready.size()) ready.emplace_back();
  Event& event = ready[readyCount++];
  event.kind = kind;
  event.at = at;
  event.document = documents;
  event.number = 0;
  event.depth = outline.Depth();
  event.severity = Severity::kInfo;
  event.encoding = markup.Section().SectionEncoding();
  event.beginning = beginning;
  event.closed = event.continued = event.partial = false;
  for (std::string* field :
       {&event.element, &event.type, &event.detail, &event.code, &event.text}) {
    field->clear();
  }
  return event;
}

void JobLogReader::Damage(const Position& at, std::string words) {
  Emit(EventKind::kDamage, at).text = std::move(words);
}

void JobLogReader::Refuse(const Position& at, std::string reason) {
  refused = Refusal{at, std::move(reason)};
  readyCount = readyTaken = 0;
  finished = true;
}

void JobLogReader::Handle(const Token& token) {
  if (!Admits(token)) return;
  switch (token.kind) {
    case TokenKind::kSection:
      OnSection(token);
      return;
    case TokenKind::kDeclaration:
      return;
    case TokenKind::kStartTag:
    case TokenKind::kEmptyTag:
      OnStartTag(token);
      return;
    case TokenKind::kEndTag:
      OnEndTag(token);
      return;
    case TokenKind::kText:
      OnText(token);
      return;
    case TokenKind::kLineEnd:
      OnLineEnd();
      return;
    case TokenKind::kCutTag:
    case TokenKind::kHalfUnit:
      OnCut(token);
      return;
    case TokenKind::kEnd:
      if (stage != Stage::kBetween) EndDocument(token.at, false);
      finished = true;
  }
}

// What may stand at the beginning, and between a header and "<joblog>".
bool JobLogReader::Admits(const Token& token) {
  if (stage == Stage::kStart && token.kind == TokenKind::kEnd) {
    Refuse(token.at, "the file is empty");
    return false;
  }
  if (stage != Stage::kPrologue) return true;
  const bool isTag = token.kind == TokenKind::kStartTag || token.kind == TokenKind::kEmptyTag ||
                     token.kind == TokenKind::kEndTag;
  const bool isText = token.kind == TokenKind::kText && !Trim(token.text).empty();
  if (!isTag && !isText) return true;
  stage = Stage::kInside;
  if (token.kind == TokenKind::kStartTag && token.text == kJobLogElement) return true;
  const std::string found = isTag ? InBrackets(token.text) : "text";
  if (documents == 1) {
    Refuse(token.at, "after the XML header comes " + found + ", not <joblog>");
    return false;
  }
  Damage(token.at, "After the XML header comes " + found + ", not <joblog>.");
  return true;
}

// A log without its beginning shows by the first tag that belongs to the format.
bool JobLogReader::LooksLikeJobLog() {
  std::u16string_view front = markup.Peek();
  const bool hasMark = markup.Section().SectionOffset() == 2;  // the byte-order mark
  if (kHeader.starts_with(front) && (hasMark || front.size() >= 5)) return true;
  if (front.starts_with(kWrapMark)) return true;
  for (;;) {
    const std::size_t bracket = front.find(u'<');
    if (bracket == std::u16string_view::npos) return false;
    front.remove_prefix(bracket);
    const Tag tag = ParseTag(front);
    const bool isTag = tag.kind != Tag::Kind::kNone && tag.kind != Tag::Kind::kCut;
    if (isTag && IsJobLogName(tag.name)) return true;
    front.remove_prefix(isTag ? tag.length : 1);
  }
}

void JobLogReader::OnSection(const Token& token) {
  const bool isFirst = stage == Stage::kStart;
  if (isFirst && !markup.Section().SectionHasHeader() && !LooksLikeJobLog()) {
    Refuse(token.at, "it holds neither the header nor any tag of a job log");
    return;
  }
  if (!isFirst && stage != Stage::kBetween) EndDocument(token.at, false);
  if (markup.Section().SectionHasHeader()) {
    BeginDocument(token, Beginning::kWhole);
    stage = Stage::kPrologue;
  } else {
    BeginDocument(token, Beginning::kWrapped);
    atFront = true;
  }
}

void JobLogReader::BeginDocument(const Token& token, Beginning how) {
  stage = Stage::kInside;
  ++documents;
  sets = 0;
  announced = inJobLog = atFront = false;
  beginning = how;
  documentAt = token.at;
  version.clear();
  cut.clear();
  folderElement.clear();
}

// Late, because the version comes behind the beginning.
void JobLogReader::AnnounceDocument() {
  if (announced) return;
  announced = true;
  Emit(EventKind::kDocument, documentAt).text = version;
}

void JobLogReader::EndDocument(const Position& at, bool closed) {
  AnnounceDocument();
  const std::size_t unclosed = elements.Depth();
  const std::string innermost = unclosed > 0 ? InBrackets(elements.TopName()) : std::string();
  FlushText(!elements.Empty(), !closed);
  elements.Clear();
  outline.Clear();
  code.clear();
  if (closed && unclosed > 0) {
    Damage(at, "The log ends with " + std::to_string(unclosed) +
                   (unclosed == 1 ? " element that is" : " elements that are") +
                   " not closed; the innermost is " + innermost + ".");
  }
  Event& event = Emit(EventKind::kDocumentEnd, at);
  event.closed = closed;
  if (!closed) {
    if (cut.empty() && unclosed > 0) cut = "inside " + innermost;
    event.text = cut;
  }
  stage = Stage::kBetween;
}

// Something comes that belongs to a document.
void JobLogReader::EnterContent(const Token& token) {
  if (stage == Stage::kBetween) {
    BeginDocument(token, Beginning::kNoHeader);
    AnnounceDocument();
    Damage(token.at, "This stands behind the end of a job log, without a header.");
  }
  AnnounceDocument();
}

void JobLogReader::OnJobLogTag(const Token& token) {
  if (stage == Stage::kBetween || inJobLog) {
    if (stage != Stage::kBetween) EndDocument(token.at, false);
    BeginDocument(token, Beginning::kNoHeader);
  } else if (atFront && !announced) {
    beginning = Beginning::kNoHeader;
  }
  inJobLog = true;
  atFront = false;
}

void JobLogReader::OnStartTag(const Token& token) {
  if (token.text == kJobLogElement) {
    OnJobLogTag(token);
    return;
  }
  if (token.text == kVersionElement && stage != Stage::kBetween && elements.Empty()) {
    version = Utf8(token.type);
    if (token.kind == TokenKind::kEmptyTag) return;
  }
  // What its identifier belongs to is cut away; the closing tag will tell.
  if (token.text == kCodeElement && atFront && IsCutAway() && Trim(text).empty()) return;
  EnterContent(token);
  if (elements.Depth() > 1 && elements.TopIs(kCodeElement)) {
    Damage(token.at, "<UMI> is not closed.");
    CloseTop();
  }
  const bool isCode = token.text == kCodeElement && !elements.Empty();
  if (!isCode) {
    AnnounceTop(token.text);
    code.clear();
  }
  atFront = false;
  if (token.text == kSetNumberElement && !outline.InSetElement()) OpenBareSet(token.at);
  if (!elements.Push(token, SeverityOf(token.text))) {
    if (token.kind != TokenKind::kEmptyTag) {
      Damage(token.at, "The elements nest too deeply.");
      return;
    }
    return;
  }
  if (token.kind == TokenKind::kEmptyTag) CloseTop();
}

void JobLogReader::OpenBareSet(const Position& at) {
  outline.LeaveFolders(elements.Depth());
  outline.CloseBareSet();
  Emit(EventKind::kSet, at).number = ++sets;
  outline.OpenBareSet(elements.Depth());
}

// The innermost element holds an element, so it is more than one entry.
void JobLogReader::AnnounceTop(std::u16string_view child) {
  FlushText(false, false);
  if (elements.Empty() || elements.Top().isContainer) return;
  const std::u16string_view name = elements.TopName();
  const bool isSet = name == kSetElement;
  if (child == kFolderNameElement && !isSet) folderElement = name;
  const bool isFolder = child == name || name == folderElement;
  const bool isInfo = elements.Top().severity == Severity::kInfo;
  const bool hasEmitted = elements.Top().hasEmitted;
  if (isInfo && ((isFolder && !hasEmitted) || name == kFolderNameElement)) {
    elements.Top().isContainer = true;
    return;
  }
  if (!hasEmitted && !isInfo) EmitEntry({}, false);
  outline.LeaveFolders(elements.Depth() - 1);
  if (!hasEmitted && isInfo) {
    Event& event = Emit(isSet ? EventKind::kSet : EventKind::kSection, elements.Top().at);
    event.element = Utf8(name);
    event.type = Utf8(elements.TopType());
    event.detail = Utf8(elements.TopDetail());
    if (isSet) event.number = ++sets;
  }
  elements.Top().isContainer = true;
  if (isSet) {
    outline.OpenSet(elements.Depth());
  } else {
    outline.OpenSection(elements.Depth());
  }
}

void JobLogReader::CloseTop() {
  if (elements.Depth() > 1 && elements.TopIs(kCodeElement)) {
    elements.Pop();
    return;
  }
  FlushText(true, false);
  code.clear();
  outline.CloseElement(elements.Depth());
  elements.Pop();
}

void JobLogReader::OnEndTag(const Token& token) {
  if (token.text == kJobLogElement && stage != Stage::kBetween) {
    EndDocument(token.at, true);
    return;
  }
  const std::size_t count = elements.CountToClose(token.text);
  if (count == 0) {
    OnSurplusEndTag(token);
    return;
  }
  if (count > 1) {
    Damage(token.at,
           InBrackets(elements.TopName()) + " is not closed before </" + Utf8(token.text) + ">.");
  }
  for (std::size_t i = 0; i < count; ++i) CloseTop();
}

bool JobLogReader::IsCutAway() const {
  return beginning == Beginning::kWrapped && elements.Empty();
}

// In a wrapped log the opening tags of the first closing tags are cut away; the first of all even
// tells what the text before it is.
void JobLogReader::OnSurplusEndTag(const Token& token) {
  if (atFront && IsCutAway()) {
    if (token.text == kCodeElement) {
      code.assign(text, 0, kMaxCodeUnits);
      text.clear();
      return;
    }
    AnnounceDocument();
    Token tag = token;
    tag.type = tag.detail = {};
    tag.at = Trim(text).empty() ? token.at : textAt;
    elements.Push(tag, SeverityOf(token.text));
    FlushText(!Trim(text).empty() || !code.empty(), true);
    elements.Pop();
    code.clear();
    atFront = false;
    return;
  }
  FlushText(false, false);
  if (IsCutAway() && stage != Stage::kBetween) {
    outline.EndFolders();
    return;
  }
  Damage(token.at, "</" + Utf8(token.text) + "> closes nothing.");
}

void JobLogReader::OnText(const Token& token) {
  std::u16string_view piece = token.text;
  if (atFront && text.empty() && token.at.line == 1) {
    if (piece.starts_with(kWrapMark)) piece.remove_prefix(kWrapMark.size());
    // Escaped text holds no ">" of its own: before it lies the rest of a tag.
    piece.remove_prefix(piece.find(u'>') + 1);
  }
  if (elements.Depth() > 1 && elements.TopIs(kCodeElement)) {
    if (code.size() + piece.size() <= kMaxCodeUnits) {
      code += piece;
      return;
    }
    text += code;
    code.clear();
  }
  if (text.empty()) {
    // Blanks between elements are nothing, but inside an element they belong to the text.
    while (!piece.empty() && IsBlank(piece.front())) piece.remove_prefix(1);
    if (piece.empty()) return;
    EnterContent(token);
    textAt = token.at;
  }
  text += piece;
  if (text.size() >= kMaxTextUnits) FlushText(false, false);
}

void JobLogReader::OnLineEnd() {
  if (elements.Empty() || elements.Top().isContainer) {
    FlushText(false, false);
  } else if (!text.empty()) {
    text += u'\n';
  }
}

void JobLogReader::OnCut(const Token& token) {
  if (token.kind == TokenKind::kHalfUnit) {
    if (stage == Stage::kBetween) {
      Damage(token.at, "Half a character follows the log's end.");
      return;
    }
    if (cut.empty()) cut = "in the middle of a character";
    return;
  }
  // The end of the section follows, and with it the end of the document.
  if (stage == Stage::kBetween) BeginDocument(token, Beginning::kNoHeader);
  cut = "in the middle of a tag: " + Utf8(token.text.substr(0, kQuotedUnits));
}

// Reports the text that has gathered. `elementEnds`: an element without any text is an entry too.
void JobLogReader::FlushText(bool elementEnds, bool partial) {
  const std::u16string_view trimmed = Trim(text);
  const bool isElement = !elements.Empty();
  const bool isEmptyElement =
      elementEnds && isElement && !elements.Top().isContainer && !elements.Top().hasEmitted;
  if (!trimmed.empty() || isEmptyElement) {
    if (elements.TopIs(kFolderNameElement) && !elements.Top().hasEmitted) {
      EmitFolder(trimmed, partial);
    } else {
      EmitEntry(trimmed, partial);
    }
  }
  text.clear();
}

void JobLogReader::EmitFolder(std::u16string_view sentence, bool partial) {
  const std::u16string_view path = PathWithin(sentence);
  outline.OpenFolder(path, elements.Depth() - 1);
  Event& event = Emit(EventKind::kFolder, elements.Top().at);
  --event.depth;
  event.element = Utf8(elements.TopName());
  event.partial = partial;
  AppendUtf8(path, event.text);
  elements.Top().hasEmitted = true;
}

void JobLogReader::EmitEntry(std::u16string_view trimmed, bool partial) {
  // Text between the elements of a container stands for itself, unless the container is an error
  // or the like: then it is more of its message.
  const bool isElement = !elements.Empty() && (!elements.Top().isContainer ||
                                               elements.Top().severity != Severity::kInfo);
  outline.LeaveFolders(elements.Depth() - (isElement && !elements.Top().isContainer ? 1 : 0));
  Event& event = Emit(EventKind::kEntry, isElement ? elements.Top().at : textAt);
  event.partial = partial || atFront;
  if (isElement) {
    OpenElement& top = elements.Top();
    event.severity = top.severity;
    event.continued = top.hasEmitted;
    AppendUtf8(elements.TopName(), event.element);
    AppendUtf8(elements.TopType(), event.type);
    AppendUtf8(elements.TopDetail(), event.detail);
    if (event.continued) event.at = textAt;
    top.hasEmitted = true;
  }
  AppendUtf8(Trim(code), event.code);
  const bool mayHaveDash = event.severity != Severity::kInfo || !event.code.empty();
  if (mayHaveDash && !event.continued && (trimmed == u"-" || trimmed.starts_with(u"- "))) {
    trimmed = Trim(trimmed.substr(1));
  }
  AppendUtf8(trimmed, event.text);
  atFront = false;
}

}  // namespace vtclass::joblog
