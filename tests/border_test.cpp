#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <atomic>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>

#include "messages/message_ids.h"
#include "platform/owned.h"
#include "tests/support/allocations.h"
#include "tests/support/private_registry.h"
#include "tests/support/scratch_folder.h"
#include "vtclass/vtclass.h"

// A host with a heap of its own behind operator new, as services with an allocator of theirs are.
// Whatever of the DLL's reaches its operator delete is noticed here, and whatever of this heap the
// DLL frees stays counted as alive.
namespace {

constexpr std::size_t kTag = 0x5EED0F0E5EED0F0E;

struct alignas(16) Header {
  std::size_t tag;
  std::size_t size;
};

std::atomic<long> alive;         // blocks of this program's heap
std::atomic<long> foreign;       // blocks of another heap that came to be deleted here
thread_local long untilRefusal;  // allocations of this thread until one is refused; 0: none is
thread_local bool refused;

HANDLE Heap() {
  static const HANDLE heap = ::HeapCreate(0, 0, 0);
  return heap;
}

void* Take(std::size_t size) noexcept {
  const bool refuse = untilRefusal == 1;
  if (untilRefusal > 0) --untilRefusal;
  if (refuse) {
    refused = true;
    return nullptr;
  }
  auto* const header = static_cast<Header*>(::HeapAlloc(Heap(), 0, sizeof(Header) + size));
  if (!header) return nullptr;
  *header = {kTag, size};
  ++alive;
  return header + 1;
}

void Give(void* memory) noexcept {
  if (!memory) return;
  auto* const header = static_cast<Header*>(memory) - 1;
  if (header->tag != kTag) {
    ++foreign;  // its own heap keeps it: giving it to this one would end the program
    return;
  }
  header->tag = 0;
  --alive;
  ::HeapFree(Heap(), 0, header);
}

void* TakeOrThrow(std::size_t size) {
  void* const memory = Take(size);
  if (!memory) throw std::bad_alloc();
  return memory;
}

}  // namespace

void* operator new(std::size_t size) { return TakeOrThrow(size); }
void* operator new[](std::size_t size) { return TakeOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Take(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Take(size); }
void operator delete(void* memory) noexcept { Give(memory); }
void operator delete[](void* memory) noexcept { Give(memory); }
void operator delete(void* memory, std::size_t) noexcept { Give(memory); }
void operator delete[](void* memory, std::size_t) noexcept { Give(memory); }

namespace {

using namespace vtclass::test;

constexpr wchar_t kKey[] = L"Software\\Border";
constexpr wchar_t kAgents[] = L"Software\\Norvane\\Vantorel For Windows\\Vantorel\\Engine\\Agents";
constexpr wchar_t kLongText[] = L"a text that no string keeps inside itself";

template <typename Text>
bool IsWhole(const Text& text) {
  return text.size() > 15;
}

const wchar_t* LoggingKey() {
  MonitoredValue first{};
  SettingsMonitor::GetMonitoredValue(0, first);
  return first.key;
}

long OnNumber(unsigned long, void*) { return 0; }

class Border : public testing::Test {
 protected:
  Border() {
    const wchar_t items[] = L"the first item of the list\0the second item of the list\0";
    StoreValue(kKey, L"text", REG_SZ, kLongText, sizeof kLongText);
    StoreValue(kKey, L"list", REG_MULTI_SZ, items, sizeof items);
    StoreValue(kAgents, L"Agent Directory List", REG_MULTI_SZ, items, sizeof items);
    MakeKey(std::wstring(kKey) + L"\\a subkey with a long name");
    MakeKey(std::wstring(kKey) + L"\\another subkey with a name");
    for (const wchar_t* database : {L"Pordex", L"VTDatabase"}) {
      const auto location = std::wstring(L"Software\\Norvane\\Vantorel For Windows\\") + database;
      for (const wchar_t* value : {L"Database Server Name", L"Server Database Server Name",
                                   L"Catalog Database Server Name"}) {
        StoreValue(location, value, REG_SZ, kLongText, sizeof kLongText);
      }
    }
    const unsigned long on = 1;
    StoreValue(LoggingKey(), L"MaxDebugFile Enabled", REG_DWORD, &on, sizeof on);
    StoreValue(LoggingKey(), L"MaxDebugFile Ext", REG_SZ, L".with-a-long-extension", 46);
    key.Open(Configuration::openExisting, kKey, nullptr,
             Configuration::accessRead | Configuration::accessWrite);
  }
  ~Border() override { SettingsMonitor::DestroyInstance(); }

  PrivateRegistry registry;
  ScratchFolder folder;
  Configuration key;
  StringResourceMgr messages;
};

// One operation that hands a text over or throws; a few for each way over the border
// (vtclass/border.h), as border_exports.sh sees that there is no other. Its result says that the
// text came whole.
struct Operation {
  const char* name;
  std::function<bool()> run;
  bool mayChange = false;  // without memory it may also answer with less
};

// What must hold around every operation, whatever it met.
template <typename Work>
void KeepsToItsSide(const char* name, Work work) {
  const long before = alive.load();
  foreign = 0;
  work();
  EXPECT_EQ(std::uncaught_exceptions(), 0) << name;
  EXPECT_EQ(foreign.load(), 0) << name << ": blocks of the library deleted by the host";
  EXPECT_EQ(alive.load(), before) << name
                                  << ": blocks of the host deleted by the library, or never";
}

// Runs with the n-th allocation refused, n = 1, 2, ..., until none is, on the side that `refuse`
// sees to: it gets n and the work, and tells whether an allocation was refused.
template <typename Refuse>
void RefuseEach(const Operation& operation, Refuse refuse) {
  bool more = true;
  for (long n = 1; more && n < 500; ++n) {
    KeepsToItsSide(operation.name, [&] {
      bool whole = false;
      more = refuse(n, [&] {
        try {
          whole = operation.run();
        } catch (const std::bad_alloc&) {
          EXPECT_EQ(std::uncaught_exceptions(), 0) << operation.name;
        } catch (const std::length_error&) {
          EXPECT_EQ(std::uncaught_exceptions(), 0) << operation.name;
        }
      });
      if (!more) EXPECT_TRUE(whole) << operation.name;
    });
  }
  EXPECT_FALSE(more) << operation.name;
}

struct Call : RefThreadCall {
  using RefThreadCall::RefThreadCall;
  void Execute() override {}
};
struct PoolCall : ThreadPoolCall {
  explicit PoolCall(ThreadPool* pool) : ThreadPoolCall(pool) {}
  void Execute() override {}
};
struct Replica : RegistryKeyReplicator {
  ~Replica() { TerminateReplication(); }
  void OnReplicationError(unsigned long, const wcstring& keyPath) override {
    throw std::runtime_error("not saved now, thrown by the host: " + cstring(keyPath));
  }
};

std::vector<Operation> StringOperations() {
  static const std::string ascii(100, 'a');
  static const std::string umlauts = [] {
    std::string text;
    while (text.size() < 3000) text += "\xC3\xA4";
    return text;
  }();
  return {
      {"ascii", [] { return IsWhole(wcstring(cstring(ascii.c_str()))); }},
      {"long", [] { return IsWhole(wcstring(cstring(umlauts.c_str(), cstring::utf8))); }},
      {"narrow", [] { return IsWhole(cstring(wcstring(kLongText))); }},
      {"XML",
       [] {
         wcstring text(std::wstring(20, L'&'));
         wcstring longText(std::wstring(9000, L'&'));
         std::wstring buffer(9000, L'&');
         makeXmlStrBufferValid(buffer.data(), buffer.size());
         return makeXmlStrBufferValid(text).size() == 100 &&
                makeXmlStrBufferValid(longText).size() == 45000 && buffer[4] == L';';
       }},
  };
}

std::vector<Operation> RegistryOperations(Configuration& key) {
  return {
      {"list",
       [&] {
         std::vector<wcstring> list(3);
         const bool loaded = key.Load(L"list", list);
         EXPECT_EQ(list.size(), loaded ? 2u : 0u);
         return loaded && IsWhole(list[1]) && key.Save(L"copy", list);
       }},
      {"subkeys",
       [&] {
         std::vector<wcstring> names(1);
         const bool listed = key.Enum(kKey, names);
         EXPECT_EQ(names.size(), listed ? 3u : 1u);
         return listed && IsWhole(names[2]);
       }},
      {"advertisement",
       [] {
         AgentAdvConfig adv;
         adv.Open(nullptr, nullptr, nullptr,
                  Configuration::accessRead | Configuration::accessWrite);
         std::vector<wcstring> servers(3);
         const bool loaded = adv.GetMediaServerAdvList(servers) == 0;
         EXPECT_EQ(servers.size(), loaded ? 2u : 0u);
         return loaded && IsWhole(servers[1]) && adv.SetMyPublishedNamesList(servers) == 0;
       }},
      {"iterators",
       [&] {
         CRegistryValuesIterator values(kKey, HKEY_LOCAL_MACHINE, 0);
         std::vector<wcstring> data;
         for (const wchar_t* name = values.First(); name; name = values.Next()) {
           if (!values.getData(data)) return false;
         }
         return values.isValid() && !data.empty();
       }},
  };
}

std::vector<Operation> VolumeOperations() {
  using namespace vtclass;
  return {
      {"volumes",
       [] {
         std::vector<wcstring> names(vol_it(), vol_it::end());
         vol_it it;
         const wcstring first = *it++;
         mp_it points(first);
         points = first;
         return IsWhole(names.front()) && first == names.front();
       }},
      {"volume's names",
       [] {
         const wcstring name = get_volume_name_for_mount_point(wcstring(L"C:\\"));
         wcstring raw = L"C:\\windows";
         return get_raw_vol_name()(raw) && raw == name &&
                get_volume_name_for_mount_point(cstring("C:\\")) == cstring(name);
       }},
      {"system's functions",
       [] {
         Kernel32Glue::DestroyInstance();
         const Kernel32Glue* const glue = Kernel32Glue::GetInstance();
         return glue && glue->OK();
       }},
  };
}

std::vector<Operation> NameOperations() {
  using namespace vtclass;
  return {
      {"conversion",
       [] {
         const wcstring path(L"\\\\server-of-somebody-else.example.test\\share");
         wcstring name;
         bool isLocal = false;
         unsigned long status = 0;
         const unsigned long result =
             VTConvertServerNamePlus(path, name, computerNameDnsHostname, false, &isLocal, &status);
         if (result != 0) EXPECT_TRUE(name.empty());
         return result == 0 && name == L"\\\\server-of-somebody-else\\share";
       }},
      {"no address",
       [] {
         try {
           IsIpAddrLocal(L"no address");
         } catch (int status) {
           return status == 10022;
         }
         return false;
       }},
      {"databases",
       [] {
         std::wstring server, node, instance, database;
         bool isLocal = false;
         bool all = true;
         for (auto* ask :
              {&GetDatabaseServerNames, &GetVTDatabaseServerNames, &GetCATDatabaseServerNames}) {
           all &= ask(server, node, instance, database, isLocal) && server == kLongText;
         }
         return all;
       }},
  };
}

std::vector<Operation> ObjectOperations(StringResourceMgr& messages, const std::wstring& path) {
  return {
      {"messages",
       [] {
         return IsWhole(StringResourceMgr(L"vterrors.dll").Get(MSG_ROOT_EMPTY)) &&
                IsWhole(ErrorMessageBase::GetMessages().Get(MSG_ROOT_EMPTY));
       }},
      {"job log",
       [&messages, path] {
         ::DeleteFileW(path.c_str());
         const std::unique_ptr<LogFile> log(LogFileFactory(messages, 1).Create(path.c_str()));
         LogFile ansi(messages, 0, -1, -1);
         CWcharBuffer buffer;
         return log->print(-1, L"%s", kLongText) != 0;
       }},
      {"debug log",
       [&messages, path] {
         const std::unique_ptr<DebugLog> log(
             LogFileFactory(messages, 1).CreateDebugLog(nullptr, path.c_str()));
         DebugLog plain(messages, 0, nullptr);
         return log->GetFileName() == path && IsWhole(log->GetSettings().extension);
       }},
      {"COM",
       [] {
         auto* const factory = ComEnvironmentFactory::GetInstance();
         const std::unique_ptr<ComClientEnv> made(factory->GetEnvironment(2, 0));
         const std::unique_ptr<ComClientEnv> own(new SingleThreadedCom);
         ComEnvironmentFactory::DestroyInstance();
         return made && own->GetStatus() >= 0;
       }},
      {"workers",
       [] {
         const std::unique_ptr<WorkerThread> worker(
             new WorkerThread(WorkerThread::ComNone, "a worker with a long name"));
         const std::unique_ptr<ThreadPool> pool(new ThreadPool(0, 1, WorkerThread::ComNone));
         RefPointer<RefThreadCall> stop(new ThreadStopCall(worker.get()));
         RefPointer<PoolCall> call(new PoolCall(pool.get()));
         for (int i = 0; i < 40; ++i) {
           worker->Call(stop.get());
           call->PostIt();
         }
         pool->ThreadCallStartExecuting(call);
         pool->ThreadCallStopExecuting(call);
         return pool->IsThreadCallQueued(call);
       }},
      {"calls",
       [] {
         WorkerThread worker(WorkerThread::ComNone, "worker");
         worker.StartThread(0);
         (new Call(&worker))->PostIt();
         worker.StopThread();
         return true;
       }},
      {"monitor",
       [] {
         auto setting =
             std::make_unique<Setting>(HKEY_LOCAL_MACHINE, kKey, L"number", Setting::dwordKind);
         setting->AttachNumber(&OnNumber, nullptr);
         const bool registered = SettingsMonitor::GetInstance()->RegisterSetting(setting.get());
         // NOLINTNEXTLINE(bugprone-unused-return-value): the monitor's from now on
         if (registered) static_cast<void>(setting.release());
         SettingsMonitor::DestroyInstance();
         return registered;
       }},
      {"replication",
       [path] {
         Replica replica;
         const bool started =
             replica.InitiateReplication(HKEY_LOCAL_MACHINE, kKey, path + L".folder", true) != 0;
         replica.TerminateReplication();
         return started && replica.GetSaveCount() == 1;
       }},
      {"group monitor",
       [] {
         const RefPointer<SGMonClient> client(new SGMonClient(SGMonClient::eAgent, [](bool) {}));
         client->WaitInitComplete(20000);
         return true;
       }},
  };
}

TEST_F(Border, EveryOperation_KeepsToItsSide_AlsoWithoutMemory) {
  std::vector<Operation> all = StringOperations();
  for (auto& more : {RegistryOperations(key), VolumeOperations(), NameOperations(),
                     ObjectOperations(messages, folder / L"a log with a long name.log")}) {
    all.insert(all.end(), more.begin(), more.end());
  }
  for (const Operation& operation : all) {
    SCOPED_TRACE(operation.name);
    operation.run();  // loads what is loaded once
    KeepsToItsSide(operation.name, [&] { EXPECT_TRUE(operation.run()) << operation.name; });
    RefuseEach(operation, [](long n, const std::function<void()>& work) {
      untilRefusal = n;
      refused = false;
      work();
      untilRefusal = 0;
      return refused;
    });
    RefuseEach(operation, [](long n, const std::function<void()>& work) {
      Allocations allocations;
      allocations.FailAt(n);
      work();
      return allocations.Failed();
    });
  }
}

// The text of what `work` throws.
template <typename Exception>
std::string Thrown(const std::function<void()>& work) {
  std::string text = "nothing";
  try {
    work();
  } catch (const Exception& exception) {
    text = exception.what();
  }
  EXPECT_EQ(std::uncaught_exceptions(), 0);
  return text;
}

TEST_F(Border, Exceptions_AreThrownOnTheHostsSide_WithTheirTexts) {
  constexpr std::size_t kTooMany = 0x80000000;
  EXPECT_EQ(Thrown<std::length_error>([] { wcstring().assign("a", kTooMany, cstring::acp); }),
            "text too long for the platform's conversion");
}

// What the callbacks below do. A run that follows another one on its thread sees whether the
// exception of that one is still counted.
HANDLE ran;
std::atomic<long> runs;
std::atomic<bool> clean;

void ThrowEachTime() {
  if (std::uncaught_exceptions() != 0 || std::current_exception()) clean = false;
  const long run = ++runs;
  ::ReleaseSemaphore(ran, 1, nullptr);
  if (run % 2 == 0) throw long{run};
  throw std::runtime_error("thrown by the host");
}

class BorderCallbacks : public Border {
 protected:
  BorderCallbacks() { ran = semaphore.Get(), runs = 0, clean = true; }

  static void WaitForRuns(long count) {
    while (count-- > 0) ASSERT_EQ(::WaitForSingleObject(ran, 20000), WAIT_OBJECT_0);
    EXPECT_TRUE(clean) << "an exception of an earlier run is still counted";
  }

 private:
  const vtclass::platform::OwnedKernelObject semaphore{
      ::CreateSemaphoreW(nullptr, 0, 9999, nullptr)};
};

struct ThrowingCall : RefThreadCall {
  using RefThreadCall::RefThreadCall;
  void Execute() override { ThrowEachTime(); }
};
struct ThrowingPoolCall : ThreadPoolCall {
  explicit ThrowingPoolCall(ThreadPool* pool) : ThreadPoolCall(pool) {}
  void Execute() override { ThrowEachTime(); }
};
struct ThrowingPlainCall : ThreadCall {
  explicit ThrowingPlainCall(WorkerThread* thread) : ThreadCall(thread) {}
  void PostIt() override { thread->Call(this); }
  void ThreadExecute() override { Execute(); }
  void Execute() override { ThrowEachTime(); }
};

TEST_F(BorderCallbacks, Calls_EndTheirExceptionsOnTheHostsSide) {
  KeepsToItsSide("calls", [] {
    WorkerThread worker(WorkerThread::ComNone, "worker");
    worker.StartThread(0);
    ThrowingPlainCall plain(&worker);
    for (int i = 0; i < 3; ++i) {
      (new ThrowingCall(&worker))->PostIt();
      plain.PostIt();
    }
    ThreadPool pool(1, 1, WorkerThread::ComNone);
    RefPointer<ThrowingPoolCall> calls[3];
    for (auto& call : calls) {
      call = new ThrowingPoolCall(&pool);
      call->PostIt();
    }
    WaitForRuns(9);
    // The worker runs some steps more; a pool with a call in hand would wait long for it.
    for (const auto& call : calls) {
      while (pool.IsThreadCallExecuting(call)) ::SwitchToThread();
    }
  });
}

long OnChange(unsigned long, void*) {
  ThrowEachTime();
  return 0;
}

TEST_F(BorderCallbacks, Settings_EndTheirExceptionsOnTheHostsSide) {
  SettingsMonitor* const monitor = SettingsMonitor::GetInstance();
  ASSERT_TRUE(monitor->EngineRegisterDebugLevel(&OnChange, nullptr));
  for (unsigned long level = 1; level <= 3; ++level) {
    StoreValue(LoggingKey(), L"Engine NDMP Debug Level", REG_DWORD, &level, sizeof level);
    WaitForRuns(1);
  }
}

TEST_F(BorderCallbacks, GroupMonitor_EndsItsExceptionsOnTheHostsSide) {
  const vtclass::platform::OwnedKernelObject wakeUp(
      ::CreateEventW(nullptr, TRUE, FALSE, L"Global\\SGMonWakeUp"));
  const RefPointer<SGMonClient> client(
      new SGMonClient(SGMonClient::eAgent, [](bool) { ThrowEachTime(); }));
  WaitForRuns(1);
  for (int i = 0; i < 2; ++i) {
    ::SetEvent(wakeUp.Get());
    WaitForRuns(1);
    ::ResetEvent(wakeUp.Get());
  }
}

}  // namespace
