#include "log/buffer_growth.h"

namespace vtclass::log {

namespace {

constexpr std::uint64_t kBufferGrowth = 1024;
constexpr std::uint64_t kSmallAppend = 1022;

// Far above every text that fits into memory, far below what the sums here could overflow at.
constexpr std::uint64_t kLongestText = std::uint64_t{1} << 60;

}  // namespace

std::size_t GrownCapacity(std::size_t capacity, std::size_t needed, std::size_t step) {
  if (needed <= capacity) return capacity;
  return capacity + (needed - capacity + step - 1) / step * step;
}

std::uint64_t RoomForAppend(std::uint64_t capacity, std::uint64_t used, std::uint64_t length) {
  if (length > kLongestText) return 0;
  if (length + 1 <= capacity - used - 1) return capacity;
  return capacity + (length <= kSmallAppend ? kBufferGrowth : 2 * length);
}

}  // namespace vtclass::log
