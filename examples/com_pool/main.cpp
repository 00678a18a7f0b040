// The library's header first: windows.h has to come through it.
// clang-format off
#include <vtclass/threads.h>
#include <objbase.h>
// clang-format on

#include <atomic>
#include <cstdio>
#include <vector>

// Uses COM objects on a pool whose workers live in the multithreaded apartment. No call enters or
// leaves COM: the worker has done so before its first call and does so after its last one.

std::atomic<int> made = 0;
std::atomic<int> failed = 0;

class Part : public ThreadPoolCall {
 public:
  using ThreadPoolCall::ThreadPoolCall;
  void Execute() override {
    IGlobalInterfaceTable* table = nullptr;
    const HRESULT result =
        ::CoCreateInstance(CLSID_StdGlobalInterfaceTable, nullptr, CLSCTX_INPROC_SERVER,
                           IID_IGlobalInterfaceTable, reinterpret_cast<void**>(&table));
    if (SUCCEEDED(result)) {
      ++made;
      table->Release();
    } else {
      ++failed;
      std::printf("no object: 0x%08lX\n", static_cast<unsigned long>(result));
    }
  }
};

int main() {
  {
    ThreadPool pool(4, 1, WorkerThread::ComMultiThreaded);
    std::vector<RefPointer<ThreadPoolCall>> parts;
    for (int n = 0; n < 20; ++n) {
      parts.emplace_back(new Part(&pool));
      parts.back()->PostIt();
    }
    // A pool that is destroyed drops the calls that wait, and gives those in hand 15 seconds. One
    // that gets no thread from the system runs none, so nobody waits for ever.
    int pauses = 10000;
    for (const auto& part : parts) {
      while (--pauses > 0 && (pool.IsThreadCallQueued(part) || pool.IsThreadCallExecuting(part))) {
        ::Sleep(1);
      }
    }
  }
  // Frees the library of COM that the workers have loaded.
  ComEnvironmentFactory::DestroyInstance();
  std::printf("%d objects made, %d failed\n", made.load(), failed.load());
  return failed == 0 && made == 20 ? 0 : 1;
}
