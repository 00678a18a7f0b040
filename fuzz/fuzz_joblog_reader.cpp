#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "joblog/code_filter.h"
#include "joblog/html_view.h"
#include "joblog/joblog_reader.h"
#include "joblog/text_view.h"

// Any bytes are read as a job log, in one piece and in small ones; both must give the same events,
// in order, inside the file, properly nested, with an end for each beginning. All of it is rendered
// too: the page must stay balanced, and no control character may come through.
namespace {

using namespace vtclass::joblog;

void Require(bool holds) {
  if (!holds) std::abort();
}

std::vector<Event> ReadAll(std::string_view bytes, std::size_t piece, bool& refused) {
  JobLogReader reader(
      [bytes, piece, at = std::size_t{0}](char* to, std::size_t room) mutable {
        const std::size_t count = std::min({room, piece, bytes.size() - at});
        std::memcpy(to, bytes.data() + at, count);
        at += count;
        return count;
      },
      kLeastBlockBytes);
  std::vector<Event> events;
  for (Event event; reader.Next(event);) events.push_back(event);
  refused = reader.Refused().has_value();
  return events;
}

bool IsHeading(const Event& event) {
  return event.kind == EventKind::kSet || event.kind == EventKind::kSection ||
         event.kind == EventKind::kFolder;
}

void CheckOrder(const std::vector<Event>& events, std::size_t size) {
  bool open = false;
  std::size_t allowed = 0;  // the greatest depth that what comes next may have
  for (const Event& event : events) {
    Require(event.at.offset <= size && event.at.line > 0 && event.at.column > 0);
    if (event.kind == EventKind::kDocument) {
      Require(!open);
      open = true;
      allowed = 0;
    } else if (event.kind == EventKind::kDocumentEnd) {
      Require(open && event.depth == 0);
      open = false;
    } else if (event.kind != EventKind::kDamage) {
      Require(open && event.depth <= allowed);
      // An error that holds elements is an entry and encloses them.
      const bool encloses = IsHeading(event) || !event.element.empty();
      allowed = std::max(event.depth, event.depth + (encloses ? 1 : 0));
    }
  }
  Require(!open);
}

std::size_t Count(std::string_view text, std::string_view what) {
  std::size_t count = 0;
  for (std::size_t at = text.find(what); at != text.npos; at = text.find(what, at + 1)) ++count;
  return count;
}

void CheckViews(const std::vector<Event>& events) {
  Tally tally;
  TextView text(
      [](std::string_view lines) {
        Require(lines.ends_with('\n'));
        for (const char letter : lines) {
          Require(static_cast<unsigned char>(letter) >= 0x20 || letter == '\n' || letter == '\t');
        }
      },
      false);
  HtmlView html("name");
  for (const Event& event : events) {
    tally.Add(event);
    text.Handle(event);
    html.Handle(event);
  }
  text.Close(tally, false);
  const std::string page = html.Page(tally, false);
  Require(Count(page, "<details") == Count(page, "</details>"));
  Require(Count(page, "<p ") == Count(page, "</p>"));
  Require(Count(page, "<script") == 1);
}

}  // namespace

// Three times as many inputs; who looks into a finding sets ASAN_OPTIONS, which come before these.
extern "C" const char* __asan_default_options() {
  return "quarantine_size_mb=1:malloc_context_size=0:detect_stack_use_after_return=0";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  bool refused = false, refusedInPieces = false;
  const std::vector<Event> events = ReadAll(bytes, size + 1, refused);
  const std::vector<Event> same = ReadAll(bytes, 7, refusedInPieces);
  Require(refused == refusedInPieces && events.size() == same.size());
  Require(!refused || events.empty());
  for (std::size_t i = 0; i < events.size(); ++i) {
    Require(events[i].text == same[i].text && events[i].at.offset == same[i].at.offset);
  }
  if (refused) return 0;
  CheckOrder(events, size);
  CheckViews(events);
  return 0;
}
