#include "volumes/volume_text.h"

namespace vtclass::volumes {

WideText DriveText(WideView text) {
  constexpr WideView kRootBehindLetter = VTCLASS_WIDE(":\\");
  constexpr std::size_t kRootLength = 1 + kRootBehindLetter.size();
  WideText drive(text);
  if (text.size() == 2 && text[1] == kRootBehindLetter[0]) drive += kRootBehindLetter[1];
  if (text.size() > kRootLength && text.substr(1).starts_with(kRootBehindLetter)) {
    drive.resize(kRootLength);
  }
  return drive;
}

}  // namespace vtclass::volumes
