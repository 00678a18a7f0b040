#include <cstdint>
#include <cstring>
#include <memory>

#include "fuzz/fuzz_input.h"
#include "volumes/reparse_data.h"
#include "volumes/volume_text.h"

using vtclass::WideText;
using vtclass::WideUnit;
using vtclass::WideView;
using vtclass::fuzz::Check;

namespace {

// The names of volumes and drives, whatever the text.
void CheckTexts(WideView text) {
  const bool isName = vtclass::volumes::HasVolumeNameShape(text);
  if (isName) {
    Check(text.size() == 48 || text.back() == WideUnit{'\\'});
    Check(text.find(VTCLASS_WIDE("?\\Volume{")) == 2);
    Check(!vtclass::volumes::HasVolumeNameShape(text.substr(1)));
  }
  const WideText drive = vtclass::volumes::DriveText(text);
  Check(drive.size() <= text.size() || drive.size() == 3);
  Check(WideView(drive).substr(0, text.size()) == text.substr(0, drive.size()));
  Check(vtclass::volumes::DriveText(drive) == drive);
}

}  // namespace

// Any bytes that a file system may return: what is read lies inside them, and only a mount point
// leads to a volume.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // In a block of exactly its size, so that a step outside it is seen.
  const auto bytes = std::make_unique<unsigned char[]>(size);
  if (size != 0) std::memcpy(bytes.get(), data, size);
  const vtclass::volumes::ReparsePoint point =
      vtclass::volumes::ReadReparseData({bytes.get(), size});
  std::uint32_t tag = 0;
  if (size >= sizeof(tag)) std::memcpy(&tag, data, sizeof(tag));
  Check(point.tag == tag);
  if (point.leadsToVolume) {
    Check(tag == 0xA0000003 && size >= 16);
    // A colon in the place of its name's first character, and it leads to a drive.
    const std::size_t name = std::size_t{16} + bytes[8] + (std::size_t{bytes[9]} << 8);
    const std::size_t length = bytes[10] + (std::size_t{bytes[11]} << 8);
    Check(name + length <= size);
    if (length > 1) {
      bytes[name] = ':';
      bytes[name + 1] = 0;
      Check(!vtclass::volumes::ReadReparseData({bytes.get(), size}).leadsToVolume);
    }
  }
  CheckTexts(vtclass::fuzz::Input(data, size).Text());
  return 0;
}
