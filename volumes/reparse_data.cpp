#include "volumes/reparse_data.h"

#include <cstddef>

namespace vtclass::volumes {

namespace {

constexpr std::uint32_t kMountPointTag = 0xA0000003;

// A mount point's data: the tag, two numbers of 16 bits, then four of its names, in bytes, counted
// from where the names begin.
constexpr std::size_t kTagSize = 4;
constexpr std::size_t kTargetOffset = 8;
constexpr std::size_t kTargetLength = 10;
constexpr std::size_t kNames = 16;

std::uint32_t Number16(std::span<const unsigned char> data, std::size_t at) noexcept {
  return data[at] | static_cast<std::uint32_t>(data[at + 1]) << 8;
}

bool HasColon(std::span<const unsigned char> name) noexcept {
  for (std::size_t i = 0; i + 1 < name.size(); i += 2) {
    if (Number16(name, i) == ':') return true;
  }
  return false;
}

}  // namespace

ReparsePoint ReadReparseData(std::span<const unsigned char> data) noexcept {
  ReparsePoint point;
  if (data.size() < kTagSize) return point;
  point.tag = Number16(data, 0) | Number16(data, 2) << 16;
  if (point.tag != kMountPointTag || data.size() < kNames) return point;
  const auto names = data.subspan(kNames);
  const std::size_t offset = Number16(data, kTargetOffset);
  const std::size_t length = Number16(data, kTargetLength);
  if (offset + length > names.size()) return point;
  point.leadsToVolume = !HasColon(names.subspan(offset, length));
  return point;
}

}  // namespace vtclass::volumes
