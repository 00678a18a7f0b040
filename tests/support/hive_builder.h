#ifndef VTCLASS_TESTS_SUPPORT_HIVE_BUILDER_H
#define VTCLASS_TESTS_SUPPORT_HIVE_BUILDER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "strings/wide_text.h"

namespace vtclass::test {

struct HiveValue {
  WideText name;
  std::uint32_t type = 0;
  std::string data;
};

struct HiveKey {
  WideText name;
  std::vector<HiveValue> values;
  std::vector<HiveKey> subkeys; /* sorted by their names in capitals */
};

struct HiveForm {
  std::uint32_t minorVersion = 5;
  char leaf = 'h';            /* the second letter of subkey lists: 'h', 'f' or 'i' */
  std::size_t leafKeys = 500; /* a list with more is divided */
};

/*
 * A hive as the system would save that key, byte for byte where it matters. Tests and benchmarks
 * take it, whole or with bytes of it changed.
 */
std::string BuildHive(const HiveKey& root, const HiveForm& form = {});

/* Where the content of the n-th cell begins that starts with these letters. Fails the caller by
 * std::abort when there is none. */
std::size_t FindCell(const std::string& hive, std::string_view letters, std::size_t n = 0);

/* A number in it, the lowest byte first. */
template <typename Number>
void PutNumber(std::string& hive, std::size_t at, Number number) {
  for (std::size_t byte = 0; byte < sizeof number; ++byte) {
    hive.at(at + byte) = static_cast<char>(number >> (8 * byte));
  }
}
std::uint32_t NumberAt(const std::string& hive, std::size_t at);

/* Makes the checksum right again after its first page has changed. */
void PutChecksum(std::string& hive);

}  // namespace vtclass::test

#endif
