#include "net/ansi_name.h"

#include <vtclass/win32.h>

#include "platform/checked_cast.h"

namespace vtclass::net {

unsigned long ToAnsi(WideView name, std::string& ansi) {
  const auto length = platform::CheckedCast<int>(name.size());
  if (!length) return ERROR_INVALID_PARAMETER;
  // UTF-8 holds every name and takes no such flag.
  const DWORD flags = ::GetACP() == CP_UTF8 ? 0 : WC_NO_BEST_FIT_CHARS;
  // NOLINTBEGIN(bugprone-suspicious-stringview-data-usage): the length goes with it
  const int bytes =
      ::WideCharToMultiByte(CP_ACP, flags, name.data(), *length, nullptr, 0, nullptr, nullptr);
  if (bytes <= 0) return ERROR_INVALID_PARAMETER;
  ansi.resize(static_cast<std::size_t>(bytes));
  if (::WideCharToMultiByte(CP_ACP, flags, name.data(), *length, ansi.data(), bytes, nullptr,
                            nullptr) != bytes) {
    return ERROR_INVALID_PARAMETER;
  }
  // NOLINTEND(bugprone-suspicious-stringview-data-usage)
  std::wstring back(name.size(), L'\0');
  const int units = ::MultiByteToWideChar(CP_ACP, 0, ansi.data(), bytes, back.data(), *length);
  const bool same = units == *length && back == name && name.find(L'\0') == WideView::npos;
  return same ? ERROR_SUCCESS : kNotInAnsi;
}

}  // namespace vtclass::net
