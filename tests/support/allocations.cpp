#include "tests/support/allocations.h"

#include <atomic>

namespace vtclass::test {

namespace {

std::atomic<long> allocationCount;
std::atomic<long> failAt;

// True when this allocation is the one that must fail.
bool CountOne() { return allocationCount.fetch_add(1) + 1 == failAt.load(); }

void* Malloc(std::size_t size) { return CountOne() ? nullptr : std::malloc(size); }
void* Calloc(std::size_t count, std::size_t size) {
  return CountOne() ? nullptr : std::calloc(count, size);
}
void* Realloc(void* memory, std::size_t size) {
  return CountOne() ? nullptr : std::realloc(memory, size);
}

bool Imports(const char* function) {
  return FindImport(LibraryUnderTest(), "msvcrt.dll", function) != nullptr;
}

}  // namespace

Allocations::Allocations() : mallocHook("msvcrt.dll", "malloc", &Malloc) {
  allocationCount = 0;
  failAt = 0;
  if (Imports("calloc")) {
    callocHook =
        std::make_unique<ImportHook<decltype(std::calloc)>>("msvcrt.dll", "calloc", &Calloc);
  }
  if (Imports("realloc")) {
    reallocHook =
        std::make_unique<ImportHook<decltype(std::realloc)>>("msvcrt.dll", "realloc", &Realloc);
  }
}

Allocations::~Allocations() = default;

long Allocations::Count() const { return allocationCount; }

void Allocations::FailAt(long n) { failAt = allocationCount + n; }

bool Allocations::Failed() const { return failAt != 0 && allocationCount >= failAt; }

}  // namespace vtclass::test
