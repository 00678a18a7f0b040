#include <vtclass/win32.h>

#include <algorithm>

#include "vtclass/threads.h"

int WaitableGroup::Add(Waitable* waitable) {
  if (!waitable || count >= kCapacity) return 0;
  waitables[count] = waitable;
  handles[count] = waitable->GetHandle();
  ++count;
  return 1;
}

int WaitableGroup::Remove(Waitable* waitable) {
  Waitable** const end = waitables + count;
  Waitable** const found = std::find(waitables, end, waitable);
  if (found == end) return 0;
  const auto at = found - waitables;
  std::copy(found + 1, end, found);
  std::copy(handles + at + 1, handles + count, handles + at);
  --count;
  return 1;
}

unsigned long WaitableGroup::Count() const { return count; }

Waitable* WaitableGroup::Wait(unsigned long timeout) {
  unsigned long index = 0;
  return Wait(&index, timeout);
}

Waitable* WaitableGroup::Wait(unsigned long* index, unsigned long timeout) {
  const DWORD result = ::WaitForMultipleObjects(count, handles, FALSE, timeout);
  if (result >= count) return nullptr;
  *index = result;
  return waitables[result];
}

int WaitableGroup::WaitForAll(unsigned long timeout) {
  return ::WaitForMultipleObjects(count, handles, TRUE, timeout) < count ? 1 : 0;
}
