#include "platform/border.h"

#include "platform/contained.h"

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

void Report(const char* text) noexcept { platform::ReportException(text); }

}  // namespace vtclass::border
