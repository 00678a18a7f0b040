#include "tests/support/allocations.h"

#include <atomic>
#include <bit>

namespace vtclass::test {

namespace {

std::atomic<long> allocationCount;
std::atomic<long> failAt;

// True when this allocation is the one that must fail.
bool CountOne() { return allocationCount.fetch_add(1) + 1 == failAt.load(); }

// The functions themselves: this program's way to them may be the hooked one.
template <typename Function>
Function* Real(const char* function) {
  return std::bit_cast<Function*>(::GetProcAddress(CRunTime(), function));
}
const auto realMalloc = Real<decltype(std::malloc)>("malloc");
const auto realCalloc = Real<decltype(std::calloc)>("calloc");
const auto realRealloc = Real<decltype(std::realloc)>("realloc");

void* Malloc(std::size_t size) { return CountOne() ? nullptr : realMalloc(size); }
void* Calloc(std::size_t count, std::size_t size) {
  return CountOne() ? nullptr : realCalloc(count, size);
}
void* Realloc(void* memory, std::size_t size) {
  return CountOne() ? nullptr : realRealloc(memory, size);
}

bool Imports(HMODULE module, const char* function) {
  return FindImport(module, nullptr, function) != nullptr;
}

}  // namespace

Allocations::Allocations(HMODULE module) : mallocHook(nullptr, "malloc", &Malloc, module) {
  if (Imports(module, "calloc")) {
    callocHook =
        std::make_unique<ImportHook<decltype(std::calloc)>>(nullptr, "calloc", &Calloc, module);
  }
  if (Imports(module, "realloc")) {
    reallocHook =
        std::make_unique<ImportHook<decltype(std::realloc)>>(nullptr, "realloc", &Realloc, module);
  }
  allocationCount = 0;
  failAt = 0;
}

// The next one's own allocations are none to fail.
Allocations::~Allocations() { failAt = 0; }

long Allocations::Count() const { return allocationCount; }

void Allocations::FailAt(long n) { failAt = allocationCount + n; }

bool Allocations::Failed() const { return failAt != 0 && allocationCount >= failAt; }

}  // namespace vtclass::test
