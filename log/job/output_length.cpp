#include "log/job/output_length.h"

#include <iterator>

#include "strings/unit_rules.h"
#include "strings/xml_escape.h"

namespace vtclass::log {

namespace {

// The units that the last unit of `text` becomes; it may be the second of a pair.
std::size_t LengthOfLast(WideView text, bool escape) {
  if (text.size() > 1 && strings::IsPair(text[text.size() - 2], text.back())) return 1;
  WideUnit scratch[strings::kLongestEscape];
  std::size_t consumed = 0;
  return strings::EscapeInto(text.substr(text.size() - 1), escape, scratch, std::size(scratch),
                             &consumed);
}

}  // namespace

std::size_t OutputCapacityFor(WideView text, bool escape) {
  if (text.empty()) return strings::kLongestEscape + 1;
  WideUnit scratch[1024];
  std::size_t length = 0;
  for (WideView rest = text; !rest.empty();) {
    std::size_t consumed = 0;
    length += strings::EscapeInto(rest, escape, scratch, std::size(scratch), &consumed);
    rest.remove_prefix(consumed);
  }
  return length - LengthOfLast(text, escape) + strings::kLongestEscape + 1;
}

}  // namespace vtclass::log
