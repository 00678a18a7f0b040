#include "platform/border.h"

#include <vtclass/win32.h>

#include <iterator>

namespace vtclass::border {

void* Allocate(std::size_t size, std::size_t alignment) noexcept {
  if (alignment <= kAnyAlignment) return ::operator new(size, std::nothrow);
  return ::operator new(size, std::align_val_t{alignment}, std::nothrow);
}

void Free(void* memory, std::size_t alignment) noexcept {
  if (alignment <= kAnyAlignment) {
    ::operator delete(memory);
  } else {
    ::operator delete(memory, std::align_val_t{alignment});
  }
}

void Report(const char* text) noexcept {
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

}  // namespace vtclass::border
