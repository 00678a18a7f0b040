#ifndef VTCLASS_BORDER_H
#define VTCLASS_BORDER_H

#include <cstddef>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "vtclass/export.h"

/*
 * The means by which texts, failures and memory come over the DLL's border; vtclass/export.h says
 * why. For the library's own headers: callers use none of it by name.
 *
 * What is inline here is compiled into both sides. The address of such a function, taken on the
 * client's side, is what lets the library run code with the client's run time.
 */
namespace vtclass::border {

/*
 * What an exported function reports in place of an exception. The client's side makes one, hands
 * it in, and throws by Throw afterwards.
 */
struct Failure {
  enum Kind : int { none, noMemory, tooLong, systemCode };

  Kind kind = none;
  unsigned long code = 0; /* what is thrown, with systemCode only */
  char text[64];          /* of the std::length_error, with tooLong only */

  /* std::bad_alloc, std::length_error with its text, an unsigned long, or nothing. */
  void Throw() const {
    if (kind == noMemory) throw std::bad_alloc();
    if (kind == tooLong) throw std::length_error(text);
    if (kind == systemCode) throw code;
  }
};

/* What has a result and no other failure than a lack of memory: null then throws. */
template <typename T>
T* NotNull(T* made) {
  if (!made) throw std::bad_alloc();
  return made;
}

/*
 * A string that the other side fills: its memory is its owner's, whoever fills it. Lives as long as
 * one call.
 */
template <typename Unit>
class TextSink {
 public:
  TextSink(std::basic_string<Unit>& text) noexcept
      : text(&text), resize(&Resized), replace(&Replaced) {}

  /* Gives the string `length` units, keeps those that it has, and returns them. Null, with the
   * string as it was, when its owner has no memory. No longer than before never fails. */
  Unit* Resize(std::size_t length) const noexcept {
    return length == text->size() ? text->data() : resize(text, length);
  }

  /* Replaces what stands behind the first `keep` units by units that lie elsewhere. False as
   * above. */
  bool ReplaceBehind(std::size_t keep, const Unit* units, std::size_t length) const noexcept {
    return replace(text, keep, units, length);
  }

  /* Replaces the whole contents. */
  bool Assign(const Unit* units, std::size_t length) const noexcept {
    return replace(text, 0, units, length);
  }
  bool Assign(std::basic_string_view<Unit> units) const noexcept {
    return Assign(units.data(), units.size());
  }

  /* The string, to be read only. */
  const std::basic_string<Unit>& Text() const noexcept { return *text; }

 private:
  using String = std::basic_string<Unit>;

  static Unit* Resized(String* text, std::size_t length) noexcept {
    try {
      text->resize(length);
      return text->data();
    } catch (const std::exception&) {
      return nullptr;
    }
  }

  static bool Replaced(String* text, std::size_t keep, const Unit* units,
                       std::size_t length) noexcept {
    try {
      text->replace(keep, String::npos, units, length);
      return true;
    } catch (const std::exception&) {
      return false;
    }
  }

  String* text;
  Unit* (*resize)(String* text, std::size_t length) noexcept;
  bool (*replace)(String* text, std::size_t keep, const Unit* units, std::size_t length) noexcept;
};

using WideSink = TextSink<wchar_t>;
using NarrowSink = TextSink<char>;

/* The same for a list of texts, which the other side appends to. */
class ListSink {
 public:
  template <typename Item>
  ListSink(std::vector<Item>& list) noexcept
      : list(&list), before(list.size()), append(&Appended<Item>), cut(&Cut<Item>) {}

  /* False, with the list as it is, when its owner has no memory. */
  bool Append(const wchar_t* text, std::size_t length) const noexcept {
    return append(list, text, length);
  }

  /* Takes away what was appended through this sink; Clear also what was there before. */
  void TakeBack() const noexcept { cut(list, before); }
  void Clear() noexcept { cut(list, before = 0); }

 private:
  template <typename Item>
  static bool Appended(void* list, const wchar_t* text, std::size_t length) noexcept {
    try {
      static_cast<std::vector<Item>*>(list)->emplace_back(text, length);
      return true;
    } catch (const std::exception&) {
      return false;
    }
  }

  template <typename Item>
  static void Cut(void* list, std::size_t size) noexcept {
    auto& items = *static_cast<std::vector<Item>*>(list);
    items.erase(items.begin() + static_cast<std::ptrdiff_t>(size), items.end());
  }

  void* list;
  std::size_t before;
  bool (*append)(void* list, const wchar_t* text, std::size_t length) noexcept;
  void (*cut)(void* list, std::size_t size) noexcept;
};

/* The library's heap; `alignment` as the compiler gives it. Allocate answers null when memory runs
 * out; Free takes null, and the alignment that the block was allocated with. */
constexpr std::size_t kAnyAlignment = __STDCPP_DEFAULT_NEW_ALIGNMENT__;
VTCLASS_API void* Allocate(std::size_t size, std::size_t alignment) noexcept;
VTCLASS_API void Free(void* memory, std::size_t alignment) noexcept;

/*
 * The base of the classes whose objects one side makes and the other deletes. `new` and `delete` of
 * such a class, and of classes that a client derives from it, end in the library's heap; a derived
 * class may define operators of its own.
 */
class LibraryMemory {
 public:
  static void* operator new(std::size_t size) { return NotNull(Allocate(size, kAnyAlignment)); }
  static void* operator new(std::size_t size, std::align_val_t alignment) {
    return NotNull(Allocate(size, static_cast<std::size_t>(alignment)));
  }
  static void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size, kAnyAlignment);
  }
  static void* operator new(std::size_t size, std::align_val_t alignment,
                            const std::nothrow_t&) noexcept {
    return Allocate(size, static_cast<std::size_t>(alignment));
  }
  static void* operator new(std::size_t, void* place) noexcept { return place; }

  static void* operator new[](std::size_t size) { return operator new(size); }
  static void* operator new[](std::size_t size, std::align_val_t alignment) {
    return operator new(size, alignment);
  }
  static void* operator new[](std::size_t size, const std::nothrow_t& nothrow) noexcept {
    return operator new(size, nothrow);
  }
  static void* operator new[](std::size_t size, std::align_val_t alignment,
                              const std::nothrow_t& nothrow) noexcept {
    return operator new(size, alignment, nothrow);
  }
  static void* operator new[](std::size_t, void* place) noexcept { return place; }

  static void operator delete(void* memory) noexcept { Free(memory, kAnyAlignment); }
  static void operator delete(void* memory, std::align_val_t alignment) noexcept {
    Free(memory, static_cast<std::size_t>(alignment));
  }
  static void operator delete(void* memory, const std::nothrow_t&) noexcept {
    Free(memory, kAnyAlignment);
  }
  static void operator delete(void* memory, std::align_val_t alignment,
                              const std::nothrow_t&) noexcept {
    Free(memory, static_cast<std::size_t>(alignment));
  }
  static void operator delete(void*, void*) noexcept {}

  static void operator delete[](void* memory) noexcept { operator delete(memory); }
  static void operator delete[](void* memory, std::align_val_t alignment) noexcept {
    operator delete(memory, alignment);
  }
  static void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    operator delete(memory);
  }
  static void operator delete[](void* memory, std::align_val_t alignment,
                                const std::nothrow_t&) noexcept {
    operator delete(memory, alignment);
  }
  static void operator delete[](void*, void*) noexcept {}

 protected:
  LibraryMemory() = default;
  ~LibraryMemory() = default;
};

/* Writes to the debugger output that a client's code ended by an exception; `text` may be null. */
VTCLASS_API void Report(const char* text) noexcept;

/*
 * Runs code of this side that the other side has asked for, and ends what it throws here, where it
 * was thrown. False when it threw.
 */
template <typename Work>
bool Contained(Work work) noexcept {
  try {
    work();
    return true;
  } catch (const std::exception& exception) {
    Report(exception.what());
  } catch (...) {
    Report(nullptr);
  }
  return false;
}

}  // namespace vtclass::border

#endif
