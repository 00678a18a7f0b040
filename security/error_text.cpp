#include "security/error_text.h"

#include <cwchar>
#include <iterator>

#include "log/messages/message_library.h"
#include "platform/meant_call.h"
#include "security/account_text.h"

namespace vtclass::security {

ErrorText::ErrorText(unsigned long error) noexcept {
  const unsigned long message = MessageNumber(error);
  const platform::OwnedModule library = log::HoldMessageLibrary();
  // Without a module the system would look into the host program's own messages.
  const DWORD sources =
      FORMAT_MESSAGE_FROM_SYSTEM | (library ? FORMAT_MESSAGE_FROM_HMODULE : DWORD{0});
  wchar_t* found = nullptr;
  const DWORD length =
      ::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | sources,
                       library.Get(), message, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                       reinterpret_cast<wchar_t*>(&found), 0, nullptr);
  if (length > 0 && found) {
    text.Reset(found);
    // Nobody has anything to insert.
    if (wchar_t* const insert = std::wcsstr(found, L"%1")) *insert = L'\0';
  } else {
    VTCLASS_MEANT_BEGIN  // it always fits
    _snwprintf(number, std::size(number) - 1, L"0x%8lx (%lu)\n", message, message);
    VTCLASS_MEANT_END
  }
}

}  // namespace vtclass::security
