#ifndef VTCLASS_CONFIG_STORED_TEXT_H
#define VTCLASS_CONFIG_STORED_TEXT_H

#include <vtclass/win32.h>

#include <cstddef>
#include <memory>

#include "strings/wide_text.h"

namespace vtclass::config {

/* The status for a value that is not of the wanted type. */
constexpr long kWrongType = -1;

/* True for the types whose data is read as characters: REG_SZ, REG_EXPAND_SZ, REG_MULTI_SZ. */
bool IsTextType(DWORD type) noexcept;

/*
 * Reads one text value as it is stored. Short texts cost one query and no allocation: asking for
 * the length first would be a second round trip to the system.
 */
class StoredText {
 public:
  StoredText() = default;
  StoredText(const StoredText&) = delete;
  StoredText& operator=(const StoredText&) = delete;

  /* 0, kWrongType when the value is no text, ERROR_NOT_ENOUGH_MEMORY, or the system's status. */
  long Read(HKEY key, const wchar_t* name) noexcept;

  /* All stored characters, terminators included; the odd last byte of the data is left out. */
  WideView Characters() const noexcept {
    return {large ? large.get() : small, bytes / sizeof(wchar_t)};
  }

 private:
  static constexpr DWORD kSmallUnits = 1024;
  /* How often a value may grow under the reader before the system's ERROR_MORE_DATA is reported. */
  static constexpr int kMaxQueries = 16;

  wchar_t small[kSmallUnits];  // uninitialised: only `bytes` bytes of it are ever read
  std::unique_ptr<wchar_t[]> large;
  DWORD bytes = 0;
};

}  // namespace vtclass::config

#endif
