#include "log/output_length.h"

#include <iterator>

#include "strings/xml_escape.h"

namespace vtclass::log {

std::size_t OutputCapacityFor(WideView text, bool escape) {
  if (text.empty()) return strings::kLongestEscape + 1;
  WideUnit scratch[1024];
  std::size_t length = 0;
  for (WideView rest = text.substr(0, text.size() - 1); !rest.empty();) {
    // A piece at a time: what is scanned ahead and does not fit would be scanned again.
    const WideView piece = rest.substr(0, std::size(scratch));
    std::size_t consumed = 0;
    length += strings::EscapeInto(piece, escape, scratch, std::size(scratch), &consumed);
    rest.remove_prefix(consumed);
  }
  return length + strings::kLongestEscape + 1;
}

}  // namespace vtclass::log
