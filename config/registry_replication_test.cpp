#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <iostream>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "config/replica_names.h"
#include "platform/owned.h"
#include "tests/support/allocations.h"
#include "tests/support/import_hook.h"
#include "tests/support/private_registry.h"
#include "tests/support/random_name.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/thread_calls.h"
#include "tests/support/wine.h"
#include "vtclass/replication.h"
#include "vtclass/security.h"

namespace vtclass::test {
namespace {

using config::TemporaryFileName;
using platform::OwnedFile;
using platform::OwnedKernelObject;
using platform::OwnedRegistryKey;
using Names = std::vector<std::wstring>;

constexpr wchar_t kKey[] = L"Software\\A\\B";
constexpr wchar_t kDataName[] = L"Software_A_B.dat";

void Put(DWORD number, const std::wstring& key = kKey) {
  StoreValue(key, L"n", REG_DWORD, &number, sizeof number);
}

// The number in a data file, read by the system; nothing when that is no hive.
std::optional<DWORD> Saved(const std::wstring& file, const wchar_t* subkey = L"") {
  AssertPrivilege(SE_RESTORE_NAME, TRUE);
  AssertPrivilege(SE_BACKUP_NAME, TRUE);
  const std::wstring name = RandomName();
  if (::RegLoadKeyW(HKEY_USERS, name.c_str(), file.c_str()) != ERROR_SUCCESS) return {};
  DWORD number = 0, size = sizeof number;
  OwnedRegistryKey key;
  ::RegOpenKeyExW(HKEY_USERS, (name + L"\\" + subkey).c_str(), 0, KEY_READ, key.Receive());
  const LSTATUS status = ::RegQueryValueExW(key.Get(), L"n", nullptr, nullptr,
                                            reinterpret_cast<BYTE*>(&number), &size);
  key.Reset();
  EXPECT_EQ(::RegUnLoadKeyW(HKEY_USERS, name.c_str()), ERROR_SUCCESS);
  return status == ERROR_SUCCESS ? std::optional(number) : std::nullopt;
}

bool Exists(const std::wstring& path) {
  return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// The files of a folder that a save makes.
Names FilesIn(const std::wstring& folder) {
  Names names;
  WIN32_FIND_DATAW found = {};
  const HANDLE search = ::FindFirstFileW((folder + L"\\*.dat").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return names;
  do names.emplace_back(found.cFileName);
  while (::FindNextFileW(search, &found));
  ::FindClose(search);
  return names;
}

// The replicator's waits. The time that changes settle passes when the test says so.
class PlayedTime {
 public:
  // How long the wait that begins next is to last.
  DWORD Next() {
    if (::WaitForSingleObject(begun.Get(), kLimit) != WAIT_OBJECT_0) return 0;
    const std::lock_guard hold(lock);
    const DWORD first = waits.front();
    waits.pop_front();
    return first;
  }
  void Pass() const { ::SetEvent(over.Get()); }
  std::atomic<int> refusals = 0;  // how many waits the system refuses from now on

 private:
  struct Call {
    DWORD operator()(DWORD, const HANDLE* handles, BOOL, DWORD milliseconds) const {
      return time->Wait(handles, milliseconds);
    }
    PlayedTime* time;
  };
  DWORD Wait(const HANDLE* handles, DWORD milliseconds) {
    {
      const std::lock_guard hold(lock);
      waits.push_back(milliseconds);
    }
    ::ReleaseSemaphore(begun.Get(), 1, nullptr);
    if (refusals > 0) return --refusals, WAIT_FAILED;
    const HANDLE all[] = {handles[0], handles[1], over.Get()};
    const DWORD ended = ::WaitForMultipleObjects(3, all, FALSE, INFINITE);
    return ended == WAIT_OBJECT_0 + 2 ? WAIT_TIMEOUT : ended;
  }

  std::mutex lock;
  std::deque<DWORD> waits;
  const OwnedKernelObject begun{::CreateSemaphoreW(nullptr, 0, 9999, nullptr)};
  const OwnedKernelObject over{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
  const Replaced<decltype(::WaitForMultipleObjects), Call> hook{"WaitForMultipleObjects",
                                                                Call{this}, LibraryUnderTest()};
};

struct Report {
  unsigned long error;
  std::wstring keyPath;
  bool operator==(const Report&) const = default;
};
using Reports = std::vector<Report>;

class Replica : public RegistryKeyReplicator {
 public:
  ~Replica() { TerminateReplication(); }
  Reports TakeReports() { return std::exchange(reports, {}); }
  bool throws = false;

 private:
  void OnReplicationError(unsigned long error, const wcstring& keyPath) override {
    reports.push_back({error, keyPath});
    if (throws) throw std::runtime_error("a report's own");
  }
  Reports reports;  // while the thread waits, and so not in it
};

class Replication : public testing::Test {
 protected:
  Replication() { Put(0); }

  int Start(bool atStart, const wchar_t* keyPath = kKey) {
    return replica.InitiateReplication(HKEY_LOCAL_MACHINE, keyPath, folder, atStart);
  }
  // Changes the key and has that saved, if it can be.
  Reports Change(DWORD number) {
    Put(number);
    EXPECT_EQ(time.Next(), 3000u);
    time.Pass();
    EXPECT_EQ(time.Next(), INFINITE);
    return replica.TakeReports();
  }

  PrivateRegistry registry;
  ScratchFolder scratch;
  const std::wstring folder = scratch / L"Rep";
  const std::wstring data = folder + L"\\" + kDataName;
  PlayedTime time;
  Replica replica;
};

// RegSaveKeyW with something done around it.
template <typename Around>
auto ReplaceSave(Around around) {
  return Replace<decltype(::RegSaveKeyW)>("RegSaveKeyW", std::move(around));
}

TEST_F(Replication, Changes_AreSavedTogetherOnceTheySettle) {
  std::string name;
  const auto raise = Replace<decltype(::RaiseException)>(
      "RaiseException", [&](DWORD code, DWORD flags, DWORD count, const ULONG_PTR* arguments) {
        if (code == 0x406D1388) name = reinterpret_cast<const char*>(arguments[1]);
        ::RaiseException(code, flags, count, arguments);
      });
  int orders = 0, saves = 0;
  const auto arm = Replace<decltype(::RegNotifyChangeKeyValue)>(
      "RegNotifyChangeKeyValue",
      [&](HKEY key, BOOL subtree, DWORD filter, HANDLE event, BOOL async) {
        ++orders;
        EXPECT_TRUE(subtree);
        EXPECT_EQ(filter, 7u);
        return ::RegNotifyChangeKeyValue(key, subtree, filter, event, async);
      });
  const auto save = ReplaceSave([&](HKEY key, LPCWSTR file, LPSECURITY_ATTRIBUTES security) {
    ++saves;
    EXPECT_EQ(security, nullptr);
    return ::RegSaveKeyW(key, file, security);
  });
  MakeKey(L"Software\\A\\B\\below");
  ASSERT_EQ(Start(false), 1);
  EXPECT_EQ(time.Next(), INFINITE);
  EXPECT_EQ(name, "RegRepl");
  EXPECT_EQ(FilesIn(folder), Names());
  DWORD number = 0;
  for (const wchar_t* const key : {kKey, L"Software\\A\\B\\below", L"Software\\A\\B\\below"}) {
    Put(++number, key);
    EXPECT_EQ(time.Next(), 3000u);
  }
  time.Pass();
  EXPECT_EQ(time.Next(), INFINITE);
  EXPECT_EQ(saves, 1);
  EXPECT_EQ(Saved(data), 1u);
  EXPECT_EQ(Saved(data, L"below"), 3u);
  EXPECT_EQ(FilesIn(folder), Names{kDataName});
  // The next one takes its place, by the order that was still pending.
  EXPECT_EQ(orders, 4);
  EXPECT_EQ(Change(4), Reports());
  EXPECT_EQ(Saved(data), 4u);
  EXPECT_EQ(orders, 5);
  EXPECT_EQ(replica.GetSaveCount(), 2u);
}

TEST_F(Replication, ChangeBehindTheStart_IsNoticed) {
  const auto arm =
      Replace<decltype(::RegNotifyChangeKeyValue)>("RegNotifyChangeKeyValue", [](auto... how) {
        ::Sleep(50);  // a thread that is slow to begin
        return ::RegNotifyChangeKeyValue(how...);
      });
  ASSERT_EQ(Start(false), 1);
  Put(1);
  EXPECT_EQ(time.Next(), INFINITE);
  EXPECT_EQ(time.Next(), 3000u);
}

TEST_F(Replication, ChangeDuringASave_IsSavedToo) {
  int saves = 0, orders = 0, refused = 0;
  const auto arm = Replace<decltype(::RegNotifyChangeKeyValue)>(
      "RegNotifyChangeKeyValue", [&](auto... how) -> LSTATUS {
        return ++orders == refused ? ERROR_NO_SYSTEM_RESOURCES : ::RegNotifyChangeKeyValue(how...);
      });
  const auto save = ReplaceSave([&](auto... how) {
    const LSTATUS status = ::RegSaveKeyW(how...);
    if (++saves == 1 && refused == 0) Put(7);
    return status;
  });
  for (const bool atStart : {true, false}) {
    saves = orders = 0;
    ASSERT_EQ(Start(atStart), 1);
    if (!atStart) {
      EXPECT_EQ(time.Next(), INFINITE);
      Put(1);
      EXPECT_EQ(time.Next(), 3000u);
      time.Pass();
    }
    EXPECT_EQ(time.Next(), 3000u) << "it settles";
    time.Pass();
    EXPECT_EQ(time.Next(), INFINITE);
    EXPECT_EQ(Saved(data), 7u);
    EXPECT_EQ(saves, 2);
    EXPECT_EQ(orders, atStart ? 2 : 3);
    replica.TerminateReplication();
  }
  // The order in front of the start save may fail; it comes once more.
  saves = orders = 0;
  refused = 1;
  ASSERT_EQ(Start(true), 1);
  EXPECT_EQ(time.Next(), INFINITE);
  EXPECT_EQ(saves, 1);
  EXPECT_EQ(orders, 2);
}

TEST_F(Replication, RefusedWait_IsNoEndOfTheSettling) {
  std::atomic<int> saves = 0;
  const auto save = ReplaceSave([&](auto... how) { return ++saves, ::RegSaveKeyW(how...); });
  time.refusals = 2;
  ASSERT_EQ(Start(false), 1);
  for (int wait = 0; wait < 3; ++wait) EXPECT_EQ(time.Next(), INFINITE);
  EXPECT_EQ(saves, 0);
  EXPECT_EQ(Change(1), Reports());
  EXPECT_EQ(saves, 1);
  replica.TerminateReplication();
  time.refusals = 1'000'000;
  ASSERT_EQ(Start(false), 1);
  EXPECT_EQ(time.Next(), INFINITE);
  replica.TerminateReplication();
  EXPECT_EQ(saves, 1);
}

TEST_F(Replication, Stop_EndsASaveInHand_AndLeavesPendingChanges) {
  std::atomic<int> saves = 0;
  const Gate saving, stopping;
  const auto signal = Replace<decltype(::SetEvent)>(
      "SetEvent", [&, starter = ::GetCurrentThreadId()](HANDLE event) {
        const BOOL done = ::SetEvent(event);
        if (::GetCurrentThreadId() == starter) stopping.Open();
        return done;
      });
  const auto save = ReplaceSave([&](auto... how) {
    const LSTATUS status = ::RegSaveKeyW(how...);
    if (++saves == 1) return status;
    saving.Open();
    EXPECT_TRUE(stopping.Passed());
    Put(9);
    return status;
  });
  // At once: the start save is made all the same.
  ASSERT_EQ(Start(true), 1);
  replica.TerminateReplication();
  EXPECT_EQ(saves, 1);
  EXPECT_EQ(Saved(data), 0u);
  // While changes settle: that time does not pass here.
  ASSERT_EQ(Start(false), 1);
  Put(5);
  replica.TerminateReplication();
  EXPECT_EQ(saves, 1);
  EXPECT_EQ(Saved(data), 0u);
  EXPECT_EQ(replica.GetSaveCount(), 0u);
  // During a save, and a change too.
  ::ResetEvent(stopping.Handle());
  ASSERT_EQ(Start(true), 1);
  EXPECT_TRUE(saving.Passed());
  replica.TerminateReplication();
  EXPECT_EQ(saves, 2);
  EXPECT_EQ(Saved(data), 5u);
  EXPECT_EQ(FilesIn(folder), Names{kDataName});
  replica.TerminateReplication();
  EXPECT_EQ(replica.TakeReports(), Reports());
}

TEST_F(Replication, FailedSaves_AreReportedOnce_AndTriedAgainAtTheNextChange) {
  ASSERT_EQ(Start(true, L"Software\\A\\B\\\\"), 1);
  EXPECT_EQ(time.Next(), INFINITE);
  const auto reported = [](DWORD error) { return Reports{{error, kKey}}; };
  {
    SCOPED_TRACE("somebody reads the data file");
    const OwnedFile reader(::CreateFileW(data.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                         OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(reader);
    EXPECT_EQ(Change(1), reported(ERROR_ALREADY_EXISTS));
  }
  EXPECT_EQ(Saved(data), 0u);
  // What stands at the temporary name afterwards, and what at the data file's.
  struct Fault {
    const char* what;
    const char* function;
    DWORD error;
    bool keepsData, keepsTemporary;
  };
  for (const Fault& fault : {Fault{"half saved", "RegSaveKeyW", ERROR_DISK_FULL, true, false},
                             {"another process was first", "RegSaveKeyW", 183, true, true},
                             {"gone", "CreateFileW", ERROR_FILE_NOT_FOUND, true, false},
                             {"not on the disk", "FlushFileBuffers", ERROR_IO_DEVICE, true, false},
                             {"not moved", "MoveFileW", ERROR_ACCESS_DENIED, false, false}}) {
    SCOPED_TRACE(fault.what);
    EXPECT_EQ(Change(2), Reports());
    std::wstring temporary;
    const auto fails = [&](const char* function) {
      if (std::string(function) == fault.function) return ::SetLastError(fault.error), true;
      return false;
    };
    const auto save = ReplaceSave([&](HKEY key, LPCWSTR file, auto security) -> LSTATUS {
      temporary = file;
      if (!fails("RegSaveKeyW")) return ::RegSaveKeyW(key, file, security);
      MakeFile(temporary, "half");
      return static_cast<LSTATUS>(fault.error);
    });
    const auto open = Replace<decltype(::CreateFileW)>("CreateFileW", [&](auto... how) {
      return fails("CreateFileW") ? INVALID_HANDLE_VALUE : ::CreateFileW(how...);
    });
    const auto flush = Replace<decltype(::FlushFileBuffers)>("FlushFileBuffers", [&](HANDLE file) {
      return fails("FlushFileBuffers") ? FALSE : ::FlushFileBuffers(file);
    });
    const auto move = Replace<decltype(::MoveFileW)>(
        "MoveFileW", [&](auto... how) { return fails("MoveFileW") ? FALSE : ::MoveFileW(how...); });
    // That the clean-up changes the last error is no matter.
    const auto remove = Replace<decltype(::DeleteFileW)>("DeleteFileW", [&](LPCWSTR file) {
      const BOOL done = ::DeleteFileW(file);
      ::SetLastError(ERROR_GEN_FAILURE);
      return done;
    });
    EXPECT_EQ(Change(3), reported(fault.error));
    EXPECT_EQ(Saved(data), fault.keepsData ? std::optional(2u) : std::nullopt);
    EXPECT_EQ(Exists(temporary), fault.keepsTemporary);
    ::DeleteFileW(temporary.c_str());
  }
  {
    SCOPED_TRACE("in use by a scanner");
    const auto open = Replace<decltype(::CreateFileW)>("CreateFileW", [](auto...) {
      return ::SetLastError(ERROR_SHARING_VIOLATION), INVALID_HANDLE_VALUE;
    });
    EXPECT_EQ(Change(8), Reports());
  }
  EXPECT_EQ(Saved(data), 8u);
  {
    SCOPED_TRACE("no name is free");
    for (unsigned number = 1; number < 99; ++number)
      MakeFile(TemporaryFileName(folder, number), "");
    ASSERT_TRUE(::CreateDirectoryW((folder + L"\\RegRep99.dat").c_str(), nullptr));
    EXPECT_EQ(Change(4), reported(ERROR_FILE_EXISTS));
    EXPECT_EQ(FilesIn(folder).size(), 100u) << "the data file too";
    ASSERT_TRUE(::DeleteFileW((folder + L"\\RegRep37.dat").c_str()));
    EXPECT_EQ(Change(5), Reports());
    EXPECT_EQ(Saved(data), 5u);
    ASSERT_TRUE(::RemoveDirectoryW((folder + L"\\RegRep99.dat").c_str()));
    for (unsigned number = 1; number < 99; ++number)
      ::DeleteFileW(TemporaryFileName(folder, number).c_str());
  }
  SCOPED_TRACE("no directory, for a while");
  const std::wstring away = scratch / L"away";
  ASSERT_TRUE(::MoveFileW(folder.c_str(), away.c_str()));
  replica.throws = true;
  EXPECT_EQ(Change(6), reported(ERROR_PATH_NOT_FOUND));
  EXPECT_FALSE(Exists(folder));
  ASSERT_TRUE(::MoveFileW(away.c_str(), folder.c_str()));
  EXPECT_EQ(Change(7), Reports());
  EXPECT_EQ(Saved(data), 7u);
}

TEST_F(Replication, MissingPrivilege_IsReported) {
  OwnedKernelObject token;
  ASSERT_TRUE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, token.Receive()));
  TOKEN_PRIVILEGES change = {1, {{}}};
  ASSERT_TRUE(::LookupPrivilegeValueW(nullptr, SE_BACKUP_NAME, &change.Privileges[0].Luid));
  ASSERT_TRUE(::AdjustTokenPrivileges(token.Get(), FALSE, &change, 0, nullptr, nullptr));
  {
    const auto refused = Replace<decltype(::AdjustTokenPrivileges)>(
        "AdjustTokenPrivileges",
        [](auto...) { return ::SetLastError(ERROR_NOT_ALL_ASSIGNED), TRUE; });
    ASSERT_EQ(Start(true), 1);
    EXPECT_EQ(time.Next(), INFINITE);
  }
  EXPECT_EQ(replica.TakeReports(), (Reports{{ERROR_PRIVILEGE_NOT_HELD, kKey}}));
  replica.TerminateReplication();
  ASSERT_EQ(Start(true), 1) << "which enables it";
  EXPECT_EQ(time.Next(), INFINITE);
  EXPECT_EQ(replica.TakeReports(), Reports());
}

TEST_F(Replication, Start_TellsWhyItFailed_AndHoldsNothingAtTheEnd) {
  // Events, threads, files, keys, and for the privilege tokens.
  std::atomic<int> open = 0;
  const auto opened = [&](auto result) { return ++open, result; };
  const auto events = Replace<decltype(::CreateEventW)>(
      "CreateEventW", [&](auto... how) { return opened(::CreateEventW(how...)); });
  const auto tokens = Replace<decltype(::OpenProcessToken)>(
      "OpenProcessToken", [&](auto... how) { return opened(::OpenProcessToken(how...)); });
  const auto files = Replace<decltype(::CreateFileW)>(
      "CreateFileW", [&](auto... how) { return opened(::CreateFileW(how...)); });
  const auto threads = Replace<decltype(::_beginthreadex)>(
      "_beginthreadex", [&](auto... how) { return opened(::_beginthreadex(how...)); });
  const auto keys = Replace<decltype(::RegOpenKeyExW)>("RegOpenKeyExW", [&](auto... how) {
    const LSTATUS status = ::RegOpenKeyExW(how...);
    return status == ERROR_SUCCESS ? opened(status) : status;
  });
  const auto closes = Replace<decltype(::CloseHandle)>(
      "CloseHandle", [&](HANDLE handle) { return --open, ::CloseHandle(handle); });
  const auto closesKeys = Replace<decltype(::RegCloseKey)>(
      "RegCloseKey", [&](HKEY key) { return --open, ::RegCloseKey(key); });
  const auto start = [&](RegistryKeyReplicator& in, const wchar_t* key, const std::wstring& where) {
    ::SetLastError(ERROR_SUCCESS);
    const int started = in.InitiateReplication(HKEY_LOCAL_MACHINE, key, where, true);
    return started ? ERROR_SUCCESS : ::GetLastError();
  };
  {
    Replica fails;
    const int without = open;
    EXPECT_EQ(start(fails, L"Software\\none", folder), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_FALSE(Exists(folder));
    MakeFile(scratch / L"file", "");
    EXPECT_EQ(start(fails, kKey, scratch / L"file"), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_EQ(open, without + 1) << "the key";
    {
      const auto noThread = Replace<decltype(::_beginthreadex)>(
          "_beginthreadex", [](auto... how) { return RefuseThread(how...); });
      EXPECT_NE(start(fails, kKey, folder), DWORD{ERROR_SUCCESS});
    }
    EXPECT_EQ(open, without + 1);
    fails.TerminateReplication();
    EXPECT_EQ(open, without);
    for (const int refused : {1, 2}) {
      int made = 0;
      const auto noEvent =
          Replace<decltype(::CreateEventW)>("CreateEventW", [&](auto... how) -> HANDLE {
            if (++made != refused) return opened(::CreateEventW(how...));
            return ::SetLastError(ERROR_NO_SYSTEM_RESOURCES), nullptr;
          });
      EXPECT_EQ(start(fails, kKey, folder), DWORD{ERROR_NO_SYSTEM_RESOURCES});
      fails.TerminateReplication();
      EXPECT_EQ(open, without);
    }
    // A second start ends the first run, a third one the run that ended by itself.
    EXPECT_EQ(start(fails, kKey, folder + L"\\one\\two\\\\\\"), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(time.Next(), INFINITE);
    {
      const auto noSignal = Replace<decltype(::RegNotifyChangeKeyValue)>(
          "RegNotifyChangeKeyValue", [](auto...) { return LSTATUS{ERROR_KEY_DELETED}; });
      EXPECT_EQ(start(fails, kKey, folder), DWORD{ERROR_SUCCESS});
      fails.TerminateReplication();
    }
    EXPECT_EQ(start(fails, kKey, folder), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(time.Next(), INFINITE);
    Put(1);
    EXPECT_EQ(time.Next(), 3000u);
    EXPECT_EQ(FilesIn(folder + L"\\one\\two"), Names{kDataName});
    EXPECT_EQ(Saved(data), 0u);
    EXPECT_EQ(fails.TakeReports(), Reports());
  }
  EXPECT_EQ(open, 0);
  {
    const auto noEvent =
        Replace<decltype(::CreateEventW)>("CreateEventW", [](auto...) { return HANDLE{}; });
    Replica fails;
    EXPECT_EQ(start(fails, kKey, folder), DWORD{ERROR_INVALID_HANDLE});
  }
  EXPECT_EQ(open, 0);
}

// Leaves the end of its run to the class below it, which it must not.
class Careless : public RegistryKeyReplicator {
 public:
  explicit Careless(std::atomic<int>& reports) : reports(reports) {}

 private:
  void OnReplicationError(unsigned long, const wcstring&) override { ++reports; }
  std::atomic<int>& reports;
};

TEST_F(Replication, ReportDuringTheDestruction_IsDropped) {
  std::atomic<int> reports = 0;
  const Gate saving, stopping;
  const auto signal = Replace<decltype(::SetEvent)>(
      "SetEvent", [&, starter = ::GetCurrentThreadId()](HANDLE event) {
        if (::GetCurrentThreadId() == starter) stopping.Open();
        return ::SetEvent(event);
      });
  const auto save = ReplaceSave([&](auto...) -> LSTATUS {
    saving.Open();
    EXPECT_TRUE(stopping.Passed());
    return ERROR_DISK_FULL;
  });
  {
    Careless careless(reports);
    ASSERT_EQ(careless.InitiateReplication(HKEY_LOCAL_MACHINE, kKey, folder, true), 1);
    EXPECT_TRUE(saving.Passed());
  }
  EXPECT_EQ(reports, 0);
}

TEST_F(Replication, TwoInOneDirectory_TakeDifferentTemporaryNames) {
  Put(8, L"Software\\A_B");
  std::mutex lock;
  Names names;
  const Gate both;
  const auto save = ReplaceSave([&](HKEY key, LPCWSTR file, auto security) {
    {
      const std::lock_guard hold(lock);
      names.emplace_back(file);
      if (names.size() == 2) both.Open();
    }
    EXPECT_TRUE(both.Passed());
    return ::RegSaveKeyW(key, file, security);
  });
  Replica other;
  Put(8, L"Software\\A\\C");
  ASSERT_EQ(Start(true), 1);
  ASSERT_EQ(other.InitiateReplication(HKEY_LOCAL_MACHINE, L"Software\\A\\C", folder, true), 1);
  EXPECT_EQ(time.Next(), INFINITE);
  EXPECT_EQ(time.Next(), INFINITE);
  ASSERT_EQ(names.size(), 2u);
  EXPECT_NE(names[0], names[1]);
  EXPECT_EQ(FilesIn(folder).size(), 2u);
  EXPECT_EQ(Saved(data), 0u);
  EXPECT_EQ(Saved(folder + L"\\Software_A_C.dat"), 8u);
  other.TerminateReplication();
  // Two keys, one file: the later save is what it holds.
  ASSERT_EQ(other.InitiateReplication(HKEY_LOCAL_MACHINE, L"Software\\A_B", folder, true), 1);
  EXPECT_EQ(time.Next(), INFINITE);
  EXPECT_EQ(Saved(data), 8u);
}

TEST_F(Replication, WithoutMemory_NothingIsLostSilently) {
  const wcstring longer(scratch / std::wstring(60, L'n'));
  const std::wstring file = longer + L"\\" + kDataName;
  DWORD status = 0;
  const auto work = [&] {
    ::DeleteFileW(file.c_str());
    const int started = replica.InitiateReplication(HKEY_LOCAL_MACHINE, kKey, longer, true);
    status = started ? ERROR_SUCCESS : ::GetLastError();
    replica.TerminateReplication();
  };
  int refused = 0, reported = 0;
  const long failures = TryEachAllocation(work, [&](bool) {
    const Reports reports = replica.TakeReports();
    if (status != ERROR_SUCCESS) {
      EXPECT_EQ(status, DWORD{ERROR_NOT_ENOUGH_MEMORY});
      ++refused;
    } else if (!reports.empty()) {
      EXPECT_EQ(reports, (Reports{{ERROR_NOT_ENOUGH_MEMORY, kKey}}));
      ++reported;
    } else {
      EXPECT_EQ(FilesIn(longer), Names{kDataName});
    }
  });
  EXPECT_GT(refused, 0);
  EXPECT_GT(reported, 0);
  EXPECT_GE(failures, refused + reported);
}

TEST_F(Replication, KeysWithOddNames_HaveFilesOfTheirOwn) {
  for (const wchar_t* const name : {L"RegRep7", L"Con"}) {
    const std::wstring file = L"\\\\?\\" + folder + L"\\" + name + L".dat";
    Put(4, name);
    ASSERT_EQ(Start(true, name), 1);
    EXPECT_EQ(time.Next(), INFINITE);
    for (DWORD save = 0; save < 99; ++save) {
      Put(save, name);
      EXPECT_EQ(time.Next(), 3000u);
      time.Pass();
      EXPECT_EQ(time.Next(), INFINITE);
      if (name[0] == L'C') break;
      ASSERT_TRUE(::DeleteFileW(file.c_str())) << save;
    }
    EXPECT_EQ(replica.TakeReports(), Reports()) << name;
    replica.TerminateReplication();
  }
  ASSERT_TRUE(::DeleteFileW((L"\\\\?\\" + folder + L"\\Con.dat").c_str()));
}

class LoadRegistryKey : public Replication {
 protected:
  int Load(const wchar_t* keyPath, const std::wstring& directory) {
    ::SetLastError(ERROR_SUCCESS);
    return RegistryKeyReplicator::LoadRegistryKey(HKEY_LOCAL_MACHINE, keyPath, directory);
  }
};

TEST_F(LoadRegistryKey, TakesBothTextsAsTheyAre_AndTellsTheStatus) {
  std::wstring restored;
  LSTATUS status = ERROR_SUCCESS;
  const auto restore = Replace<decltype(::RegRestoreKeyW)>(
      "RegRestoreKeyW", [&](HKEY key, LPCWSTR file, DWORD flags) {
        EXPECT_EQ(flags, 0u);
        DWORD number = 1;
        EXPECT_EQ(::RegSetValueExW(key, L"n", 0, REG_DWORD, reinterpret_cast<BYTE*>(&number), 4),
                  0);
        restored = file;
        return status;
      });
  const std::wstring whole = L"\\\\?\\" + folder;
  const struct {
    const wchar_t* keyPath;
    std::wstring directory, file;
    DWORD status;
  } rows[] = {{kKey, folder + L"\\", whole + L"\\" + kDataName, ERROR_SUCCESS},
              {kKey, folder, whole + kDataName, ERROR_FILE_NOT_FOUND},
              {L"new", folder + L"\\", whole + L"\\new.dat", ERROR_PRIVILEGE_NOT_HELD},
              {L"newer\\", folder + L"\\", whole + L"\\newer_.dat", ERROR_BADDB}};
  for (const auto& row : rows) {
    status = static_cast<LSTATUS>(row.status);
    EXPECT_EQ(Load(row.keyPath, row.directory), row.status == ERROR_SUCCESS);
    EXPECT_EQ(::GetLastError(), row.status);
    EXPECT_EQ(restored, row.file);
    EXPECT_TRUE(KeyExists(row.keyPath)) << "it stays";
  }
  restored.clear();
  EXPECT_EQ(RegistryKeyReplicator::LoadRegistryKey(nullptr, kKey, folder), 0);
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(restored, L"");
}

TEST_F(LoadRegistryKey, BringsBackWhatWasSaved) {
  Put(3);
  ASSERT_EQ(Start(true), 1);
  replica.TerminateReplication();
  Put(4);
  EXPECT_EQ(Load(kKey, folder + L"\\"), 1) << ::GetLastError();
  std::cout << "restored by the system: " << (RunsUnderWine() ? "no, Wine pretends" : "yes")
            << "\n";
  const DWORD expected = RunsUnderWine() ? 4 : 3;
  EXPECT_EQ(StoredValue(kKey, L"n"), std::string(reinterpret_cast<const char*>(&expected), 4));
}

}  // namespace
}  // namespace vtclass::test
