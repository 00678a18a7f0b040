#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>

#include "log/debug/log_names.h"
#include "log/wrap_marker.h"

using namespace vtclass;
using namespace vtclass::log;

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

// Names of rolled files stay in the folder of the log, and a first line ends with its line feed.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  WideText path(size / 2, 0);
  if (!path.empty()) std::memcpy(path.data(), data, path.size() * 2);
  const SplitName split = SplitAtExtension(path);
  Require(split.base + split.extension == path);
  Require(split.extension.find_last_of(VTCLASS_WIDE("\\/:")) == WideText::npos);
  const WideText rolled = RolledName(split.base, 2, split.extension);
  Require(rolled.size() == path.size() + 2);
  Require(SplitAtExtension(rolled).extension == split.extension);
  const std::span bytes(reinterpret_cast<const char*>(data), size);
  for (const bool utf16 : {false, true}) {
    const std::size_t length = LengthOfFirstLine(bytes, utf16);
    const std::size_t unit = utf16 ? 2 : 1;
    Require(length <= size && length % unit == 0);
    Require(length == 0 || bytes[length - unit] == '\n');
    Require(length == 0 || LengthOfFirstLine(bytes.first(length - unit), utf16) == 0);
  }
  return 0;
}
