#include "fuzz/fuzz_input.h"
#include "platform/cpu.h"
#include "strings/ascii.h"
#include "strings/xml_escape.h"
#include "tests/support/xml_reference.h"

using namespace vtclass;
using namespace vtclass::strings;

// In pieces of any size, every instruction set gives what the plain rule gives.
static void CheckEscape(WideView text, bool escape, std::size_t room, const UnitScan& scan) {
  const WideText wanted = reference::Escape(text, escape);
  WideText made;
  while (!text.empty()) {
    const auto out = fuzz::Units(room);
    std::size_t consumed = 0;
    const std::size_t written = EscapeInto(text, escape, out.get(), room, &consumed, scan);
    fuzz::Check(written <= room && consumed > 0 && consumed <= text.size());
    made.append(out.get(), written);
    text.remove_prefix(consumed);
  }
  fuzz::Check(made == wanted);
}

static void CheckAscii(WideView text) {
  bool isAscii = true;
  for (const WideUnit unit : text) isAscii = isAscii && unit < 128;
  fuzz::Check(IsAscii(text.data(), text.size()) == isAscii);
  if (!isAscii) return;
  const auto narrow = std::make_unique<char[]>(text.size());
  CopyAscii(text.data(), text.size(), narrow.get());
  fuzz::Check(IsAscii(narrow.get(), text.size()));
  const auto wide = fuzz::Units(text.size());
  CopyAscii(narrow.get(), text.size(), wide.get());
  fuzz::Check(WideView(wide.get(), text.size()) == text);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const std::size_t choice = input.Number();
  const std::size_t room = kLongestEscape + choice % 1024;
  const bool escape = choice >= 0x8000;
  const WideView text = input.Text();
  CheckEscape(text, escape, room, kSse2Scan);
  if (vtclass::platform::cpu::HasAvx2()) CheckEscape(text, escape, room, kAvx2Scan);
  CheckAscii(text);
  return 0;
}
