#include "platform/contained.h"

#include <vtclass/win32.h>

#include <iterator>

namespace vtclass::platform {

void ReportException(const char* text) noexcept {
  // On the stack and cut if need be: memory may be what has run out.
  wchar_t line[512] = L"vtclass_mini: a caller's code ended by an exception: ";
  const int start = ::lstrlenW(line);
  const int room = static_cast<int>(std::size(line)) - start - 2;
  const int length = text ? ::lstrlenA(text) : 0;
  const int written =
      ::MultiByteToWideChar(CP_ACP, 0, text, length < room ? length : room, line + start, room);
  line[start + written] = L'\n';
  line[start + written + 1] = L'\0';
  ::OutputDebugStringW(line);
}

}  // namespace vtclass::platform
