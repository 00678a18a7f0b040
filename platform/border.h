#ifndef VTCLASS_PLATFORM_BORDER_H
#define VTCLASS_PLATFORM_BORDER_H

#include <new>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "vtclass/border.h"

/* The library's half of its border (vtclass/export.h): what exported functions are made of. */
namespace vtclass::platform {

/*
 * Runs `work` and keeps what it throws for the client's side. Only what the library itself throws:
 * anything else comes from the client's own code, and passes through to it.
 */
template <typename Work>
void KeepFailure(border::Failure& failure, Work work) {
  try {
    work();
  } catch (const std::bad_alloc&) {
    failure.kind = border::Failure::noMemory;
  } catch (const std::length_error& error) {
    failure.kind = border::Failure::tooLong;
    const std::string_view what = error.what();
    failure.text[what.copy(failure.text, sizeof(failure.text) - 1)] = '\0';
  }
}

/* Hands a text over; std::bad_alloc, on this side, when the client has no memory for it. */
template <typename Sink, typename Text>
void HandOver(const Sink& sink, const Text& text) {
  if (!sink.Assign(text.data(), text.size())) throw std::bad_alloc();
}

}  // namespace vtclass::platform

#endif
