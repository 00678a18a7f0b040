#include <utility>

#include "crypto/sealed_text.h"
#include "fuzz/fuzz_input.h"

using namespace vtclass;
using namespace vtclass::crypto;
using fuzz::Check;

namespace {

bool refuses;

// Touches every byte that the cipher would.
bool Cipher(char* data, std::size_t length) noexcept {
  Check(length > 0 && length % kCipherBlock == 0);
  for (std::size_t i = 0; i < length; ++i) data[i] = static_cast<char>(data[i] ^ 0x55);
  return !refuses;
}

void OpenText(std::string_view text, int room) {
  const auto size = static_cast<std::size_t>(room);
  const auto out = std::make_unique<char[]>(size);
  const std::size_t whole = WholeBlocks(text.size() * 3 >> 2);
  const bool opened = OpenSealedText(text, out.get(), room, &Cipher);
  Check(opened == (whole > 0 && whole <= size && !refuses));
  for (std::size_t i = opened ? whole : 0; i < size; ++i) Check(out[i] == 0);
}

void OpenBlock(std::string_view text, int room) {
  const auto size = static_cast<std::size_t>(room);
  const auto out = std::make_unique<char[]>(size);
  if (size > 0) std::memset(out.get(), 'x', size);
  int length = room;
  const std::size_t count = text.size() * 3 >> 2;
  const bool opened = OpenSealedBlock(text, out.get(), &length, &Cipher);
  Check(std::cmp_equal(length, count));
  Check(opened == (count > 0 && count <= size && count % kCipherBlock == 0 && !refuses));
  Check(opened || size == 0 || out[0] == 0);
}

}  // namespace

// Any sealed text, in room of any size: what is written lies inside it, and a failure leaves none
// of what was decoded.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const std::size_t number = input.Number();
  const std::size_t count = input.Bytes().size();
  refuses = number % 8 == 7;
  const int room = static_cast<int>(number / 8 % 1100);
  const auto text = std::make_unique<char[]>(count);
  if (count > 0) std::memcpy(text.get(), input.Bytes().data(), count);
  if (room > 0) OpenText({text.get(), count}, room);
  OpenBlock({text.get(), count}, room);
  return 0;
}
