#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "log/buffer_growth.h"
#include "vtclass/log.h"

namespace {

constexpr unsigned long long kFirstRoom = 1024;

wchar_t* Reallocate(wchar_t* memory, unsigned long long characters) {
  return static_cast<wchar_t*>(std::realloc(memory, characters * sizeof(wchar_t)));
}

}  // namespace

CWcharBuffer::CWcharBuffer(const std::nothrow_t&) noexcept
    : text(Reallocate(nullptr, kFirstRoom)), capacity(kFirstRoom), allocated(kFirstRoom) {
  if (text) text[0] = L'\0';
}

CWcharBuffer::~CWcharBuffer() { std::free(text); }

unsigned long long CWcharBuffer::BufferCount() const { return used; }
const wchar_t* CWcharBuffer::ReadFromBuffer() const { return text; }
bool CWcharBuffer::IsBufferEmpty() const { return text[0] == L'\0'; }

// The capacity follows its rule; the memory behind it grows by half at least, so that a long
// section of short entries is not copied over and over.
bool CWcharBuffer::MakeRoom(unsigned long long length) {
  const unsigned long long wanted = vtclass::log::RoomForAppend(capacity, used, length);
  if (wanted == 0) return false;
  if (wanted > allocated) {
    unsigned long long roomy = std::max(wanted, allocated + allocated / 2);
    wchar_t* larger = Reallocate(text, roomy);
    if (!larger && roomy > wanted) larger = Reallocate(text, roomy = wanted);
    if (!larger) return false;
    text = larger;
    allocated = roomy;
  }
  capacity = wanted;
  return true;
}

int CWcharBuffer::WriteToBufferAllPrintableChars(const wchar_t* added, unsigned long long length) {
  if (!added || length == 0) return 1;
  if (!MakeRoom(length)) return 0;
  std::memcpy(text + used, added, length * sizeof(wchar_t));
  used += length;
  text[used] = L'\0';
  return 1;
}

int CWcharBuffer::Write(const wchar_t* added, unsigned long long length) {
  if (!added || length == 0) return 1;
  if (!MakeRoom(length)) return 0;
  unsigned long long end = used;
  for (const wchar_t* next = added; next != added + length; ++next) {
    if (!vtclass::log::IsDroppedFromBuffer(*next)) text[end++] = *next;
  }
  used = end;
  text[used] = L'\0';
  return 1;
}
