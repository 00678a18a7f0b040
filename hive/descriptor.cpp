#include "hive/descriptor.h"

namespace vtclass::hive {
namespace {

constexpr std::size_t kHeaderBytes = 20;
constexpr unsigned char kRevision = 1;
constexpr std::size_t kControl = 2;
constexpr unsigned kSelfRelative = 0x8000;

// What the header leads to; 0 stands for none.
constexpr std::size_t kOwner = 4, kGroup = 8, kSystemList = 12, kList = 16;

// The bytes of the header of what lies there; empty when they are not all there.
Bytes HeaderAt(Bytes descriptor, std::uint32_t offset) {
  constexpr std::size_t kBytes = 8;
  const bool fits =
      offset >= kHeaderBytes && offset <= descriptor.size() && kBytes <= descriptor.size() - offset;
  return fits ? descriptor.subspan(offset) : Bytes();
}

bool HasAccount(Bytes descriptor, std::size_t at) {
  const auto offset = Load<std::uint32_t>(descriptor, at);
  if (offset == 0) return true;
  const Bytes account = HeaderAt(descriptor, offset);
  if (account.empty() || account[0] != kRevision) return false;
  constexpr std::size_t kMostParts = 15;
  const std::size_t parts = account[1];
  return parts <= kMostParts && parts * 4 <= account.size() - 8;
}

bool HasList(Bytes descriptor, std::size_t at) {
  const auto offset = Load<std::uint32_t>(descriptor, at);
  if (offset == 0) return true;
  const Bytes list = HeaderAt(descriptor, offset);
  if (list.empty()) return false;
  const std::size_t size = Load<std::uint16_t>(list, 2);
  return size >= 8 && size <= list.size();
}

}  // namespace

bool IsDescriptor(Bytes descriptor) {
  return descriptor.size() >= kHeaderBytes && descriptor[0] == kRevision &&
         (Load<std::uint16_t>(descriptor, kControl) & kSelfRelative) != 0 &&
         HasAccount(descriptor, kOwner) && HasAccount(descriptor, kGroup) &&
         HasList(descriptor, kSystemList) && HasList(descriptor, kList);
}

}  // namespace vtclass::hive
