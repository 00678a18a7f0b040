#ifndef VTCLASS_JOBLOG_TEXT_VIEW_H
#define VTCLASS_JOBLOG_TEXT_VIEW_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "joblog/log_event.h"
#include "joblog/tally.h"

namespace vtclass::joblog {

/* Takes UTF-8 text in whole lines. */
using TextSink = std::function<void(std::string_view)>;

/* "line 1, column 57 (byte 112)" */
std::string PositionText(const Position& at);

/* "UTF-16, version 2.0", "ANSI, its beginning was cut away when the file wrapped", ... */
std::string DocumentText(const Event& document);

/* How the last document ended, as a sentence; `isOpen` when another program still writes it. */
std::string EndingText(const Tally& tally, std::optional<bool> isOpen);

/* Prints a job log for people: indented by sets and folders, warnings and errors marked. */
class TextView {
 public:
  TextView(TextSink to, bool withColour);

  void Handle(const Event& event);
  void Close(const Tally& tally, std::optional<bool> isOpen);

 private:
  enum class Style { kPlain, kHeading, kFolder, kWarning, kError, kNote };
  void Line(std::size_t depth, Style style, std::string_view mark, std::string_view text);
  void Entry(const Event& event);
  void Damage(const Event& event);
  void Count(std::string_view what, std::uint64_t count, Style style);

  TextSink sink;
  bool colour;
  std::string line;
  std::uint64_t damages = 0; /* of the document */
};

}  // namespace vtclass::joblog

#endif
