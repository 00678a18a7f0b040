#include <algorithm>
#include <string_view>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "tools/vtctl/debuglog/trace_lines.h"

using namespace vtctl::debuglog;
using vtclass::fuzz::Check;

// The plainest way: where each line begins, whole units only.
static std::vector<std::size_t> LineStarts(std::string_view bytes, std::size_t unit,
                                           std::size_t* whole) {
  std::vector<std::size_t> starts;
  std::size_t start = 0;
  std::size_t at = 0;
  *whole = 0;
  for (; at + unit <= bytes.size(); at += unit) {
    if (bytes[at] != '\n' || (unit == 2 && bytes[at + 1] != 0)) continue;
    starts.push_back(start);
    start = *whole = at + unit;
  }
  if (start < at) starts.push_back(start);
  return starts;
}

static void CheckLines(std::string_view bytes, Encoding encoding, std::size_t count) {
  const std::size_t unit = encoding == Encoding::utf16 ? 2 : 1;
  std::size_t whole = 0;
  const std::vector<std::size_t> starts = LineStarts(bytes, unit, &whole);
  Check(LengthOfWholeLines(bytes, encoding) == whole);
  const std::size_t wanted = std::min(count, starts.size());
  const std::size_t expected =
      wanted == 0 ? bytes.size() - bytes.size() % unit : starts[starts.size() - wanted];
  Check(StartOfLastLines(bytes, encoding, count) == expected);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vtclass::fuzz::Input input(data, size);
  const std::size_t count = input.Number() % 16;
  const std::string_view bytes = input.Bytes();
  CheckLines(bytes, Encoding::ansi, count);
  CheckLines(bytes, Encoding::utf16, count);
  if (EncodingOf(bytes) == Encoding::ansi) Check(!bytes.starts_with(kByteOrderMark));
  return 0;
}
