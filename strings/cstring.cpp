#include <vtclass/win32.h>

#include "strings/code_page.h"
#include "strings/conversion.h"
#include "vtclass/strings.h"

cstring::cstring(const wcstring& text, codePage cp) : page(cp) { assign(text.data(), text.size()); }

cstring& cstring::assign(const wchar_t* text, std::size_t length) {
  if (length == 0) {
    clear();
    return *this;
  }
  const int units = vtclass::strings::ConversionLength(length);
  vtclass::strings::AssignConverted(
      *this, text, length, vtclass::strings::HoldsAscii(page), [=, this](char* out, int room) {
        return ::WideCharToMultiByte(page, 0, text, units, out, room, nullptr, nullptr);
      });
  return *this;
}

cstring& cstring::assign(const wchar_t* text, std::size_t length, char defaultChar) {
  if (length == 0) {
    clear();
    return *this;
  }
  const int units = vtclass::strings::ConversionLength(length);
  // The platform looks for a character of two bytes here, so one byte must not end the array.
  const char terminated[] = {defaultChar, '\0'};
  vtclass::strings::AssignConverted(
      *this, text, length, vtclass::strings::HoldsAsciiWithDefaultChar(page),
      [=, this, &terminated](char* out, int room) {
        return ::WideCharToMultiByte(page, WC_COMPOSITECHECK | WC_DEFAULTCHAR, text, units, out,
                                     room, terminated, nullptr);
      });
  return *this;
}
