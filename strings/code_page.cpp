#include "strings/code_page.h"

#include <vtclass/win32.h>

namespace vtclass::strings {

namespace {

// The page that a standing name denotes now. The answers are kept by the process, so asking is
// cheap; a copy here could go stale. The Macintosh and thread pages are left to the platform.
unsigned int ActualPage(unsigned int codePage) noexcept {
  if (codePage == CP_ACP) return ::GetACP();
  if (codePage == CP_OEMCP) return ::GetOEMCP();
  return codePage;
}

bool IsTableWithAscii(unsigned int page) noexcept {
  if (page >= 1250 && page <= 1258) return true;    // Windows
  if (page >= 28591 && page <= 28599) return true;  // ISO 8859
  switch (page) {
    case 437:
    case 850:
    case 852:
    case 866:
    case 874:
    case 932:
    case 936:
    case 949:
    case 950:
    case 20127:
      return true;
    default:
      return false;
  }
}

}  // namespace

bool HoldsAscii(unsigned int codePage) noexcept {
  const unsigned int page = ActualPage(codePage);
  return page == CP_UTF8 || IsTableWithAscii(page);
}

bool HoldsAsciiWithDefaultChar(unsigned int codePage) noexcept {
  return IsTableWithAscii(ActualPage(codePage));
}

}  // namespace vtclass::strings
