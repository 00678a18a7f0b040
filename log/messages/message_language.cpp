#include "log/messages/message_language.h"

#include <algorithm>

namespace vtclass::log {

namespace {

struct Language {
  WideUnit code[3];
  unsigned locale;
};

constexpr Language kLanguages[] = {
    {VTCLASS_WIDE("EN"), 1033}, {VTCLASS_WIDE("FR"), 1036}, {VTCLASS_WIDE("ES"), 1034},
    {VTCLASS_WIDE("JP"), 1041}, {VTCLASS_WIDE("DE"), 1031}, {VTCLASS_WIDE("IT"), 1040},
    {VTCLASS_WIDE("ZH"), 2052}, {VTCLASS_WIDE("CH"), 1028}, {VTCLASS_WIDE("KO"), 1042},
    {VTCLASS_WIDE("RU"), 1049}, {VTCLASS_WIDE("PT"), 1046},
};

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
