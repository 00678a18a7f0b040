#include <string>
#include <utility>
#include <vector>

#include "crypto/armour.h"
#include "fuzz/fuzz_input.h"
#include "platform/cpu.h"

using namespace vtclass;
using namespace vtclass::crypto;
using fuzz::Check;

namespace {

std::vector<const Armour*> Forms() {
  std::vector<const Armour*> forms = {&kPortableArmour};
  if (platform::cpu::HasSsse3()) forms.push_back(&kSsse3Armour);
  if (platform::cpu::HasAvx2()) forms.push_back(&kAvx2Armour);
  return forms;
}

// In blocks of exactly their sizes.
template <typename Byte>
std::unique_ptr<Byte[]> Copy(std::string_view bytes) {
  auto copy = std::make_unique<Byte[]>(bytes.size());
  if (!bytes.empty()) std::memcpy(copy.get(), bytes.data(), bytes.size());
  return copy;
}

void Decode(std::string_view text, int room) {
  const auto in = Copy<char>(text);
  const auto out = std::make_unique<char[]>(static_cast<std::size_t>(room));
  int length = room;
  const int decoded = DecodeArmour(in.get(), text.size(), &length, out.get());
  const std::size_t expected = text.size() * 3 >> 2;
  Check(decoded == (expected < 1 ? -1 : std::cmp_less(room, expected) ? 0 : length));
  Check(length == (expected < 1 ? room : static_cast<int>(expected)));
}

}  // namespace

// Any characters are decoded inside both buffers, by each form alike; any bytes come back.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const std::size_t room = input.Number();
  const std::string_view bytes = input.Bytes();
  Decode(bytes, static_cast<int>(room));

  const std::size_t count = DisarmedLength(bytes.size());
  std::string first, text;
  for (const Armour* form : Forms()) {
    const auto decoded = std::make_unique<std::uint8_t[]>(count);
    form->decode(Copy<char>(bytes).get(), count, decoded.get());
    const std::string made(reinterpret_cast<const char*>(decoded.get()), count);
    if (form == &kPortableArmour) first = made;
    Check(made == first);

    const auto armoured = std::make_unique<char[]>(ArmouredLength(bytes.size()));
    form->encode(Copy<std::uint8_t>(bytes).get(), bytes.size(), armoured.get());
    const auto back = std::make_unique<std::uint8_t[]>(bytes.size());
    form->decode(armoured.get(), bytes.size(), back.get());
    Check(bytes.empty() || std::memcmp(back.get(), bytes.data(), bytes.size()) == 0);
    for (std::size_t i = 0; i < ArmouredLength(bytes.size()); ++i) {
      Check(armoured[i] >= '0' && armoured[i] <= 'o');
    }
  }
  return 0;
}
