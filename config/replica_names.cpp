#include "config/replica_names.h"

#include <algorithm>

namespace vtclass::config {

std::wstring_view WithoutBackslashesAtEnd(std::wstring_view path) noexcept {
  return path.substr(0, path.find_last_not_of(L'\\') + 1);
}

std::wstring DataFileName(std::wstring_view keyPath, std::wstring_view directory) {
  std::wstring name(directory);
  name += keyPath;
  std::replace(name.begin() + static_cast<std::ptrdiff_t>(directory.size()), name.end(), L'\\',
               L'_');
  return name += L".dat";
}

std::wstring TemporaryFileName(std::wstring_view directory, unsigned number) {
  std::wstring name(WithoutBackslashesAtEnd(directory));
  name += L"\\RegRep";
  name += std::to_wstring(number);
  return name += L".dat";
}

unsigned NextTemporaryNumber(std::atomic<unsigned>& last) noexcept {
  unsigned taken = last.load(std::memory_order_relaxed);
  unsigned next = 0;
  do {
    next = taken % kTemporaryNumbers + 1;
  } while (!last.compare_exchange_weak(taken, next, std::memory_order_relaxed));
  return next;
}

std::size_t ParentLength(std::wstring_view path) noexcept {
  constexpr std::wstring_view kExtended = L"\\\\?\\";
  const std::size_t first = path.starts_with(kExtended) ? path.find(L'\\', kExtended.size()) : 0;
  const std::size_t last = WithoutBackslashesAtEnd(path).rfind(L'\\');
  return last == std::wstring_view::npos || last <= first ? 0 : last;
}

}  // namespace vtclass::config
