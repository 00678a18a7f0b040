#include "log/ansi_text.h"

#include <algorithm>
#include <climits>
#include <new>
#include <utility>

#include "platform/checked_cast.h"
#include "strings/ascii.h"
#include "strings/code_page.h"

namespace vtclass::log {

namespace {

using platform::CheckedCast;

int Convert(WideView text, char* out, std::size_t room) {
  ::SetLastError(ERROR_SUCCESS);
  return ::WideCharToMultiByte(CP_ACP, 0, text.data(), static_cast<int>(text.size()), out,
                               static_cast<int>(std::min<std::size_t>(room, INT_MAX)), nullptr,
                               nullptr);
}

}  // namespace

DWORD ConvertToAnsi(WideView text, char* out, std::size_t room, std::size_t* bytes) {
  *bytes = 0;
  if (text.empty()) return ERROR_SUCCESS;
  if (!CheckedCast<int>(text.size())) return ERROR_INVALID_PARAMETER;
  if (text.size() <= room && strings::HoldsAscii(CP_ACP) &&
      strings::IsAscii(text.data(), text.size())) {
    strings::CopyAscii(text.data(), text.size(), out);
    *bytes = text.size();
    return ERROR_SUCCESS;
  }
  // Without room the platform would answer with the size that it needs.
  if (room == 0) return ERROR_INSUFFICIENT_BUFFER;
  const int converted = Convert(text, out, room);
  if (converted == 0) return ::GetLastError();
  *bytes = static_cast<std::size_t>(converted);
  return ERROR_SUCCESS;
}

DWORD ConvertToAnsi(WideView text, std::unique_ptr<char[]>& buffer, std::size_t& capacity,
                    std::size_t* bytes) {
  const DWORD status = ConvertToAnsi(text, buffer.get(), capacity, bytes);
  if (status != ERROR_INSUFFICIENT_BUFFER) return status;
  const int needed = Convert(text, nullptr, 0);
  if (needed == 0) return ::GetLastError();
  constexpr std::size_t kSpare = 128;
  const std::size_t size = static_cast<std::size_t>(needed) + kSpare;
  if (size > INT_MAX) return ERROR_INVALID_PARAMETER;
  std::unique_ptr<char[]> larger(new (std::nothrow) char[size]);
  if (!larger) return ERROR_NOT_ENOUGH_MEMORY;
  buffer = std::move(larger);
  capacity = size;
  return ConvertToAnsi(text, buffer.get(), capacity, bytes);
}

}  // namespace vtclass::log
