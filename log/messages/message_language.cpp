#include "log/messages/message_language.h"

#include <algorithm>

namespace vtclass::log {

namespace {

constexpr WideUnit Upper(WideUnit unit) {
  return unit >= 'a' && unit <= 'z' ? static_cast<WideUnit>(unit - 'a' + 'A') : unit;
}

}  // namespace

bool IsLanguageCode(WideView code) {
  return code.size() == 2 && std::ranges::all_of(code, [](WideUnit unit) {
           return Upper(unit) >= 'A' && Upper(unit) <= 'Z';
         });
}

unsigned LocaleOfLanguage(WideView code) {
  for (const Language& language : kLanguages) {
    if (std::ranges::equal(code, WideView(language.code),
                           [](WideUnit a, WideUnit b) { return Upper(a) == b; })) {
      return language.locale;
    }
  }
  return 0;
}

}  // namespace vtclass::log
