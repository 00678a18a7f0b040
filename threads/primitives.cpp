#include <vtclass/win32.h>

#include "vtclass/threads.h"

void IntrusiveSList::Append(IntrusiveSLink* link) {
  link->next = nullptr;
  (tail ? tail->next : head) = link;
  tail = link;
  ++count;
}

void IntrusiveSList::Prepend(IntrusiveSLink* link) {
  link->next = head;
  head = link;
  if (!tail) tail = link;
  ++count;
}

IntrusiveSLink* IntrusiveSList::RemoveFirst() {
  IntrusiveSLink* const first = head;
  if (!first) return nullptr;
  head = first->next;
  if (!head) tail = nullptr;
  --count;
  return first;
}

long AtomicIncrement(long* p) { return ::InterlockedIncrement(p); }

long AtomicDecrement(long* p) { return ::InterlockedDecrement(p); }
