#ifndef VTCLASS_FUZZ_FUZZ_INPUT_H
#define VTCLASS_FUZZ_FUZZ_INPUT_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

#include "strings/wide_text.h"

/* Takes a fuzzer's input apart. */
namespace vtclass::fuzz {

/* A memory block of exactly `count` units, so that the sanitizer sees every step beyond it. */
inline std::unique_ptr<WideUnit[]> Units(std::size_t count) {
  return std::make_unique<WideUnit[]>(count);
}

class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : data(data), size(size) {}

  /* The next two bytes as a number; 0 when there are none. */
  std::size_t Number() {
    std::uint16_t number = 0;
    if (size >= sizeof(number)) {
      std::memcpy(&number, data, sizeof(number));
      data += sizeof(number);
      size -= sizeof(number);
    }
    return number;
  }

  /* All that is left as text, in a block of exactly its size. */
  WideView Text() {
    const std::size_t count = size / sizeof(WideUnit);
    text = Units(count);
    if (count > 0) std::memcpy(text.get(), data, count * sizeof(WideUnit));
    return {text.get(), count};
  }

  /* All that is left as bytes. */
  std::string_view Bytes() const { return {reinterpret_cast<const char*>(data), size}; }

 private:
  const std::uint8_t* data;
  std::size_t size;
  std::unique_ptr<WideUnit[]> text;
};

/* Ends the run with a report when `holds` is false. */
inline void Check(bool holds) {
  if (!holds) __builtin_trap();
}

}  // namespace vtclass::fuzz

#endif
