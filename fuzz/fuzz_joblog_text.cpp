#include <algorithm>
#include <cstdarg>
#include <string>

#include "fuzz/fuzz_input.h"
#include "log/buffer_growth.h"
#include "log/job/directory_depth.h"
#include "log/job/entry_text.h"
#include "log/job/output_length.h"
#include "log/plain_format.h"
#include "log/wrap_marker.h"
#include "strings/xml_escape.h"
#include "tests/support/xml_reference.h"

using namespace vtclass;
using namespace vtclass::log;
using fuzz::Check;

static void CheckClosingTag(WideView tag) {
  WideText closing;
  const std::size_t bracket = tag.find('<');
  Check(MakeClosingTag(tag, closing) == (bracket != WideView::npos));
  if (bracket == WideView::npos) return;
  WideText wanted(tag);
  wanted.insert(bracket + 1, 1, '/');
  const std::size_t blank = wanted.find_first_of(VTCLASS_WIDE(" \t"), bracket + 1);
  if (blank != WideText::npos) wanted.replace(blank, WideText::npos, 1, '>');
  Check(closing == wanted);
}

static void CheckUnbracket(WideView text) {
  WideText changed(text);
  changed.resize(UnbracketUtilityPartition(changed.data(), changed.size()));
  WideText wanted(text);
  const WideView name = VTCLASS_WIDE("<Utility Partition>");
  const std::size_t at = wanted.find(name);
  if (at != WideText::npos) wanted.replace(at, name.size(), name.substr(1, name.size() - 2));
  Check(changed == wanted);
}

static void CheckDirectories(WideView path, int depth) {
  const int components = CountComponents(path);
  Check(components >= 0);
  const DirectorySteps steps = PlanDirectory(depth, components);
  Check(steps.closings >= 0 && steps.closings <= depth && steps.openings >= 0);
  Check(depth - steps.closings + steps.openings == steps.depth);
}

// What the capacity promises: each character but the last leaves room for the longest escape.
static void CheckCapacity(WideView text, bool escape) {
  std::size_t before = 0;
  for (std::size_t at = 0; at + 1 < text.size(); ++at) {
    before += strings::reference::EscapedUnit(text, at, escape).size();
  }
  const std::size_t capacity = OutputCapacityFor(text, escape);
  Check(capacity == before + strings::kLongestEscape + 1);
  std::size_t consumed = 0;
  strings::EscapeInto(text, escape, fuzz::Units(capacity).get(), capacity, &consumed);
  Check(consumed == text.size());
}

static void CheckMarker(WideView text) {
  std::string chunk;
  for (const WideUnit unit : text) chunk += static_cast<char>(unit);
  std::string marked = chunk;
  MarkWrapped(marked);
  constexpr std::size_t kMarkerSize = 22;
  const std::size_t lineEnd = chunk.find('\r', std::min(chunk.size(), kMarkerSize));
  const std::size_t kept = lineEnd == std::string::npos ? kMarkerSize : lineEnd + 1;
  Check(marked.size() == chunk.size());
  Check(marked.substr(std::min(kept, marked.size())) == chunk.substr(std::min(kept, chunk.size())));
}

static int Format(WideUnit* out, std::size_t capacity, const WideUnit* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = FormatPlain(out, capacity, format, arguments);
  va_end(arguments);
  return length;
}

// Any format, into a block of exactly its capacity. The arguments serve every conversion.
static void CheckFormat(WideView text, std::size_t capacity) {
  if (std::count(text.begin(), text.end(), '%') > 4) return;
  const WideText format(text);
  const auto out = fuzz::Units(capacity);
  const WideUnit* const word = VTCLASS_WIDE("word");
  const int length = Format(out.get(), capacity, format.c_str(), word, word, word, word);
  if (length < 0 || static_cast<std::size_t>(length) >= capacity) return;
  Check(WideView(out.get()).size() == static_cast<std::size_t>(length));
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const std::size_t number = input.Number();
  const WideView text = input.Text();
  CheckClosingTag(text);
  CheckUnbracket(text);
  CheckDirectories(text, static_cast<int>(number % 64));
  CheckCapacity(text, number % 2 == 0);
  CheckMarker(text);
  CheckFormat(text, 1 + number % 256);
  const std::uint64_t used = number % 1022;
  Check(RoomForAppend(1024, used, size) - used >= size + 2);
  return 0;
}
