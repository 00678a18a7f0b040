#include "fuzz/fuzz_input.h"
#include "log/messages/message_language.h"

using namespace vtclass;
using namespace vtclass::log;
using fuzz::Check;

static bool IsLetter(WideUnit unit) {
  return (unit >= 'A' && unit <= 'Z') || (unit >= 'a' && unit <= 'z');
}

// What selects a language becomes part of a file's name, so nothing but two letters may do so; a
// locale belongs to the letters in either case.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const WideView text = input.Text();
  const bool isCode = text.size() == 2 && IsLetter(text[0]) && IsLetter(text[1]);
  Check(IsLanguageCode(text) == isCode);
  const unsigned locale = LocaleOfLanguage(text);
  Check(locale == 0 || isCode);
  if (!isCode) return 0;
  WideText other(text);
  for (WideUnit& unit : other) unit ^= 0x20;
  Check(LocaleOfLanguage(other) == locale);
  return 0;
}
