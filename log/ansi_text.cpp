#include "log/ansi_text.h"

#include <algorithm>
#include <climits>
#include <string_view>

#include "platform/checked_cast.h"
#include "strings/ascii.h"
#include "strings/code_page.h"

namespace vtclass::log {

namespace {

using platform::CheckedCast;

int ConvertAs(DWORD flags, WideView text, char* out, std::size_t room) {
  ::SetLastError(ERROR_SUCCESS);
  return ::WideCharToMultiByte(CP_ACP, flags, text.data(), static_cast<int>(text.size()), out,
                               static_cast<int>(std::min<std::size_t>(room, INT_MAX)), nullptr,
                               nullptr);
}

int Convert(AnsiText kind, WideView text, char* out, std::size_t room) {
  if (kind == AnsiText::plain) return ConvertAs(0, text, out, room);
  const int converted = ConvertAs(WC_NO_BEST_FIT_CHARS, text, out, room);
  if (converted != 0 || ::GetLastError() != ERROR_INVALID_FLAGS) return converted;
  // UTF-8 and GB 18030 take no flags. They hold every character, so nothing needs a likeness.
  return ConvertAs(0, text, out, room);
}

// Five bytes stand for no character in windows-1252, and an XML parser ends at one. The platform
// makes them of the control characters of the same numbers.
void ReplaceUnassigned(char* bytes, std::size_t count) {
  constexpr unsigned kWestern = 1252;
  if (::GetACP() != kWestern) return;
  constexpr std::string_view kUnassigned = "\x81\x8D\x8F\x90\x9D";
  const auto isUnassigned = [&](char byte) {
    return kUnassigned.find(byte) != std::string_view::npos;
  };
  std::replace_if(bytes, bytes + count, isUnassigned, '?');
}

}  // namespace

DWORD ConvertToAnsi(WideView text, char* out, std::size_t room, std::size_t* bytes, AnsiText kind) {
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
  const int converted = Convert(kind, text, out, room);
  if (converted == 0) return ::GetLastError();
  *bytes = static_cast<std::size_t>(converted);
  if (kind == AnsiText::markup) ReplaceUnassigned(out, *bytes);
  return ERROR_SUCCESS;
}

DWORD ConvertToAnsi(WideView text, WorkBuffer<char>& buffer, std::size_t* bytes, AnsiText kind) {
  const DWORD status = ConvertToAnsi(text, buffer.Data(), buffer.Capacity(), bytes, kind);
  if (status != ERROR_INSUFFICIENT_BUFFER) return status;
  const int needed = Convert(kind, text, nullptr, 0);
  if (needed == 0) return ::GetLastError();
  constexpr std::size_t kSpare = 128;
  const std::size_t size = static_cast<std::size_t>(needed) + kSpare;
  if (size > INT_MAX) return ERROR_INVALID_PARAMETER;
  if (!buffer.Allocate(size)) return ERROR_NOT_ENOUGH_MEMORY;
  return ConvertToAnsi(text, buffer.Data(), buffer.Capacity(), bytes, kind);
}

}  // namespace vtclass::log
