#include <vtclass/win32.h>

#include "strings/code_page.h"
#include "strings/conversion.h"
#include "vtclass/strings.h"

namespace vtclass::border {

void ToNarrow(const NarrowSink& out, const wchar_t* text, std::size_t length, unsigned int codePage,
              Failure& failure) noexcept {
  platform::KeepFailure(failure, [&] {
    if (length == 0) {
      out.Resize(0);
      return;
    }
    const int units = strings::ConversionLength(length);
    strings::AssignConverted(
        out, text, length, strings::HoldsAscii(codePage), [=](char* to, int room) {
          return ::WideCharToMultiByte(codePage, 0, text, units, to, room, nullptr, nullptr);
        });
  });
}

void ToNarrow(const NarrowSink& out, const wchar_t* text, std::size_t length, unsigned int codePage,
              char defaultChar, Failure& failure) noexcept {
  platform::KeepFailure(failure, [&] {
    if (length == 0) {
      out.Resize(0);
      return;
    }
    const int units = strings::ConversionLength(length);
    // The platform looks for a character of two bytes here, so one byte must not end the array.
    const char terminated[] = {defaultChar, '\0'};
    strings::AssignConverted(out, text, length, strings::HoldsAsciiWithDefaultChar(codePage),
                             [=, &terminated](char* to, int room) {
                               return ::WideCharToMultiByte(
                                   codePage, WC_COMPOSITECHECK | WC_DEFAULTCHAR, text, units, to,
                                   room, terminated, nullptr);
                             });
  });
}

}  // namespace vtclass::border
