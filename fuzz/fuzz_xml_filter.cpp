#include "fuzz/fuzz_input.h"
#include "platform/cpu.h"
#include "strings/xml_filter.h"
#include "tests/support/xml_reference.h"

using namespace vtclass;
using namespace vtclass::strings;

// Every instruction set gives what the plain rule gives, for every text and every room.
static void CheckFilter(WideView text, std::size_t capacity, const UnitScan& scan) {
  const auto expected = fuzz::Units(capacity);
  const WideView wanted(expected.get(), reference::Filter(text, expected.get(), capacity));
  const auto out = fuzz::Units(capacity - 1);
  const WideView made(out.get(), FilterInto(text, out.get(), capacity - 1, scan));
  fuzz::Check(made == wanted);

  const std::size_t prefix = FilteredPrefix(text, scan);
  fuzz::Check(prefix <= text.size());
  fuzz::Check(reference::Filter(text.substr(0, prefix)) == text.substr(0, prefix));
  const bool ends = prefix == text.size();
  fuzz::Check(ends || reference::Filter(text.substr(prefix, 1)) != text.substr(prefix, 1));

  const std::size_t zero = text.find(WideUnit{0});
  fuzz::Check(TextLength(text.data(), text.size(), scan) ==
              (zero == WideView::npos ? text.size() : zero));
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const std::size_t capacity = 1 + input.Number() % 4096;
  const WideView text = input.Text();
  CheckFilter(text, capacity, kSse2Scan);
  if (vtclass::platform::cpu::HasAvx2()) CheckFilter(text, capacity, kAvx2Scan);
  return 0;
}
