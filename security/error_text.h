#ifndef VTCLASS_SECURITY_ERROR_TEXT_H
#define VTCLASS_SECURITY_ERROR_TEXT_H

#include "platform/owned.h"

namespace vtclass::security {

/*
 * The text of an error as traces show it: the product's own where the message library is loaded and
 * has one, else the system's, up to its first "%1"; the number where there is neither.
 * It may end with a line feed, which VTTrace takes off.
 */
class ErrorText {
 public:
  explicit ErrorText(unsigned long error) noexcept;

  /* Never null. */
  const wchar_t* Get() const noexcept {
    return text ? static_cast<const wchar_t*>(text.Get()) : number;
  }

 private:
  platform::OwnedLocalMemory text;
  wchar_t number[32] = {};
};

}  // namespace vtclass::security

#endif
