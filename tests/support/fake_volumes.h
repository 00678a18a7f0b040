#ifndef VTCLASS_TESTS_SUPPORT_FAKE_VOLUMES_H
#define VTCLASS_TESTS_SUPPORT_FAKE_VOLUMES_H

#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vtclass::test {

/* "\\?\Volume{...}\" with a number in it. */
std::wstring FakeVolumeName(unsigned number);

struct FakeSpace {
  ULONGLONG freeToUser;
  ULONGLONG total;
  ULONGLONG free;
};

/*
 * Makes the DLL under test find these volumes, mount points and drives for one scope, and those of
 * the machine outside of one. One at a time in a process. A search that stays open, is closed twice
 * or is used after its end fails the test.
 *
 *   [[maybe_unused]] auto* const lookUps = FakeVolumes::AnswerLookUps();  // at namespace scope
 *   FakeVolumes fake;                                                     // in a test
 */
class FakeVolumes {
 public:
  FakeVolumes();
  ~FakeVolumes();
  FakeVolumes(const FakeVolumes&) = delete;
  FakeVolumes& operator=(const FakeVolumes&) = delete;

  static ::testing::Environment* AnswerLookUps();
  /* What it answers to GetProcAddress, for another module than the DLL under test. */
  static FARPROC WINAPI LookUp(HMODULE module, LPCSTR name);

  DWORD version = 6; /* 0: the query for it fails */
  std::vector<std::wstring> volumes;
  std::map<std::wstring, std::vector<std::wstring>> mountPoints;
  std::unordered_map<std::wstring, std::wstring> leadsTo; /* a root or mount point: its volume */
  std::map<std::wstring, UINT> types;                     /* of roots and volumes; others have 1 */
  std::map<std::wstring, FakeSpace> spaces;

  /* Adds a drive with a volume, and a mount point of `host` that leads to `volume`. */
  void AddDrive(const std::wstring& root, const std::wstring& volume, UINT type = DRIVE_FIXED);
  void AddMount(const std::wstring& host, const std::wstring& point, const std::wstring& volume);

  /* Asked before each call by the function's name: the code to fail with, or 0. A search that fails
   * leaves rubbish in its buffer. */
  std::function<DWORD(std::string_view function)> fails;

  /* How often each function was called. */
  std::map<std::string, long, std::less<>> calls;

 private:
  struct Hooks;
  std::unique_ptr<Hooks> hooks;
};

/* The reparse data of a mount point whose target lies `offset` bytes behind the header and claims
 * to be `lengthMore` bytes longer than it is. */
std::vector<unsigned char> MountPoint(std::wstring_view target, unsigned short offset = 0,
                                      int lengthMore = 0,
                                      unsigned long tag = IO_REPARSE_TAG_MOUNT_POINT);

/* For FakeVolumes::fails: the calls number `from` to `to` of a function fail. */
std::function<DWORD(std::string_view)> FailCalls(std::string_view function, DWORD code,
                                                 long from = 1, long to = 1);

}  // namespace vtclass::test

#endif
