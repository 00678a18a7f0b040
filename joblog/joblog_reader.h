#ifndef VTCLASS_JOBLOG_JOBLOG_READER_H
#define VTCLASS_JOBLOG_JOBLOG_READER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "joblog/element_stack.h"
#include "joblog/log_event.h"
#include "joblog/markup_reader.h"
#include "joblog/outline.h"

namespace vtclass::joblog {

/* A longer text is reported in several entries, all but the first of them `continued`. */
inline constexpr std::size_t kMaxTextUnits = 1'048'576;

/* Why the input is no job log, and where that shows. */
struct Refusal {
  Position at;
  std::string reason;
};

/*
 * Reads any job log in one pass: whole, appended to, wrapped, or cut off by a crash. What is wrong
 * in it is reported as an event at its place, and reading goes on; only an input that is no job log
 * at all is refused. Memory is bounded by the depth of the nest (at most kMaxDepth) and the longest
 * text (at most kMaxTextUnits), not by the size of the file.
 */
class JobLogReader {
 public:
  explicit JobLogReader(ReadBytes read, std::size_t blockBytes = kBlockBytes);

  /* The next event; false at the end, or when the input is refused. */
  bool Next(Event& event);

  const std::optional<Refusal>& Refused() const { return refused; }

 private:
  enum class Stage {
    kStart,    /* nothing was read */
    kPrologue, /* a header was read: "<joblog>" must follow */
    kInside,
    kBetween, /* a document is closed */
  };

  void Handle(const Token& token);
  bool Admits(const Token& token);
  bool LooksLikeJobLog();
  void Refuse(const Position& at, std::string reason);

  void OnSection(const Token& token);
  void OnStartTag(const Token& token);
  void OnJobLogTag(const Token& token);
  void OnEndTag(const Token& token);
  bool IsCutAway() const;
  void OnSurplusEndTag(const Token& token);
  void OnText(const Token& token);
  void OnLineEnd();
  void OnCut(const Token& token);

  void BeginDocument(const Token& token, Beginning how);
  void AnnounceDocument();
  void EnterContent(const Token& token);
  void EndDocument(const Position& at, bool closed);

  void AnnounceTop(std::u16string_view child);
  void CloseTop();
  void FlushText(bool elementEnds, bool partial);
  void EmitEntry(std::u16string_view trimmed, bool partial);
  void EmitFolder(std::u16string_view sentence, bool partial);
  void OpenBareSet(const Position& at);
  Event& Emit(EventKind kind, const Position& at);
  void Damage(const Position& at, std::string words);

  MarkupReader markup;
  std::vector<Event> ready; /* reused, so that their texts keep their memory */
  std::size_t readyCount = 0;
  std::size_t readyTaken = 0;
  bool finished = false;
  std::optional<Refusal> refused;

  Stage stage = Stage::kStart;
  std::uint64_t documents = 0;
  std::uint64_t sets = 0;
  bool announced = false; /* the document's event was reported */
  bool inJobLog = false;  /* its "<joblog>" was read */
  bool atFront = false;   /* the document is wrapped and its first piece is still to come */
  Beginning beginning = Beginning::kWhole;
  Position documentAt;
  std::string version;
  std::string cut; /* where the document was cut, when that is known */

  ElementStack elements;
  Outline outline;
  std::u16string folderElement; /* the element that names of folders stand in */
  std::u16string text;          /* of the innermost element that is no <UMI> */
  Position textAt;
  std::u16string code;
};

}  // namespace vtclass::joblog

#endif
