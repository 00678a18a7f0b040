#include "tests/support/fake_volumes.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <list>

#include "tests/support/answered_look_ups.h"
#include "tests/support/import_hook.h"

namespace vtclass::test {
namespace {

struct Search {
  std::vector<std::wstring> names;
  std::size_t next = 0;
};

FakeVolumes* current = nullptr;
std::list<Search> searches;

bool Succeeds(DWORD code) {
  ::SetLastError(code);
  return code == ERROR_SUCCESS;
}

bool Begins(const char* function) {
  ++current->calls[function];
  return Succeeds(current->fails ? current->fails(function) : ERROR_SUCCESS);
}

BOOL Give(const std::wstring& text, wchar_t* buffer, DWORD room) {
  if (room <= text.size()) return Succeeds(ERROR_FILENAME_EXCED_RANGE);
  std::wmemcpy(buffer, text.c_str(), text.size() + 1);
  return TRUE;
}

BOOL Spoil(wchar_t* buffer, DWORD room) {
  std::wmemset(buffer, L'?', room);
  return FALSE;
}

BOOL Step(Search& search, wchar_t* name, DWORD room) {
  if (search.next == search.names.size()) return Succeeds(ERROR_NO_MORE_FILES);
  return Give(search.names[search.next++], name, room);
}

HANDLE Begin(const char* function, const std::vector<std::wstring>& names, wchar_t* name,
             DWORD room) {
  if (!Begins(function) || (names.empty() && !Succeeds(ERROR_NO_MORE_FILES))) {
    Spoil(name, room);
    return INVALID_HANDLE_VALUE;
  }
  Search& search = searches.emplace_back(names);
  Step(search, name, room);
  return &search;
}

auto Find(HANDLE handle) {
  const auto found = std::ranges::find_if(searches, [&](Search& each) { return &each == handle; });
  EXPECT_NE(found, searches.end()) << "no open search";
  return found;
}

BOOL GoOn(const char* function, HANDLE handle, wchar_t* name, DWORD room) {
  const auto search = Find(handle);
  return Begins(function) && search != searches.end() ? Step(*search, name, room)
                                                      : Spoil(name, room);
}

BOOL Close(const char* function, HANDLE handle) {
  ++current->calls[function];
  const auto search = Find(handle);
  if (search != searches.end()) searches.erase(search);
  return TRUE;
}

HANDLE WINAPI FirstVolume(LPWSTR name, DWORD room) {
  if (!current) return ::FindFirstVolumeW(name, room);
  return Begin("FindFirstVolumeW", current->volumes, name, room);
}

BOOL WINAPI NextVolume(HANDLE handle, LPWSTR name, DWORD room) {
  if (!current) return ::FindNextVolumeW(handle, name, room);
  return GoOn("FindNextVolumeW", handle, name, room);
}

BOOL WINAPI CloseVolumes(HANDLE handle) {
  return current ? Close("FindVolumeClose", handle) : ::FindVolumeClose(handle);
}

// The real ones of these three are not there under Wine, and one of them would end the process.
HANDLE WINAPI FirstMountPoint(LPCWSTR volume, LPWSTR name, DWORD room) {
  if (!current) return INVALID_HANDLE_VALUE;
  return Begin("FindFirstVolumeMountPointW", current->mountPoints[volume], name, room);
}

BOOL WINAPI NextMountPoint(HANDLE handle, LPWSTR name, DWORD room) {
  return GoOn("FindNextVolumeMountPointW", handle, name, room);
}

BOOL WINAPI CloseMountPoints(HANDLE handle) { return Close("FindVolumeMountPointClose", handle); }

BOOL WINAPI VolumeName(LPCWSTR mountPoint, LPWSTR name, DWORD room) {
  if (!current) return ::GetVolumeNameForVolumeMountPointW(mountPoint, name, room);
  if (!Begins("GetVolumeNameForVolumeMountPointW")) return Spoil(name, room);
  const auto volume = current->leadsTo.find(mountPoint);
  if (volume == current->leadsTo.end()) return Succeeds(ERROR_NOT_A_REPARSE_POINT);
  return Give(volume->second, name, room);
}

BOOL WINAPI PathName(LPCWSTR path, LPWSTR root, DWORD room) {
  if (!current) return ::GetVolumePathNameW(path, root, room);
  if (!Begins("GetVolumePathNameW")) return Spoil(root, room);
  // The longest root or mount point that the path begins with.
  std::wstring found;
  for (const auto& [point, volume] : current->leadsTo) {
    if (std::wstring_view(path).starts_with(point) && point.size() > found.size()) found = point;
  }
  return found.empty() ? Succeeds(ERROR_INVALID_NAME) : Give(found, root, room);
}

BOOL WINAPI Version(OSVERSIONINFOW* version) {
  version->dwMajorVersion = current->version;
  version->dwMinorVersion = 0;
  return current->version != 0;
}

UINT WINAPI DriveType(LPCWSTR root) {
  ++current->calls["GetDriveTypeW"];
  const auto type = current->types.find(root);
  return type == current->types.end() ? DRIVE_NO_ROOT_DIR : type->second;
}

DWORD WINAPI DriveStrings(DWORD room, LPWSTR buffer) {
  std::wstring roots;
  for (const auto& [root, type] : current->types) {
    if (root.size() == 3) roots += root + L'\0';
  }
  EXPECT_GT(room, roots.size());
  std::wmemcpy(buffer, roots.c_str(), roots.size() + 1);
  return static_cast<DWORD>(roots.size());
}

BOOL WINAPI Space(LPCWSTR root, PULARGE_INTEGER freeToUser, PULARGE_INTEGER total,
                  PULARGE_INTEGER free) {
  const auto space = current->spaces.find(root);
  const bool isKnown = space != current->spaces.end();
  // What a failing call leaves is rubbish.
  const FakeSpace numbers = isKnown ? space->second : FakeSpace{1, 2, 3};
  freeToUser->QuadPart = numbers.freeToUser;
  total->QuadPart = numbers.total;
  free->QuadPart = numbers.free;
  return isKnown || Succeeds(ERROR_NOT_READY);
}

}  // namespace

struct FakeVolumes::Hooks {
  ImportHook<BOOL WINAPI(OSVERSIONINFOW*)> version{"KERNEL32.dll", "GetVersionExW", &Version};
  ImportHook<decltype(::GetDriveTypeW)> type{"KERNEL32.dll", "GetDriveTypeW", &DriveType};
  ImportHook<decltype(::GetLogicalDriveStringsW)> drives{"KERNEL32.dll", "GetLogicalDriveStringsW",
                                                         &DriveStrings};
  ImportHook<decltype(::GetDiskFreeSpaceExW)> space{"KERNEL32.dll", "GetDiskFreeSpaceExW", &Space};
};

FakeVolumes::FakeVolumes() : hooks(std::make_unique<Hooks>()) { current = this; }

FakeVolumes::~FakeVolumes() {
  EXPECT_TRUE(searches.empty()) << searches.size() << " searches stay open";
  searches.clear();
  current = nullptr;
}

::testing::Environment* FakeVolumes::AnswerLookUps() { return test::AnswerLookUps(&LookUp); }

FARPROC WINAPI FakeVolumes::LookUp(HMODULE module, LPCSTR name) {
  const std::pair<const char*, void*> functions[] = {
      {"FindFirstVolumeW", reinterpret_cast<void*>(&FirstVolume)},
      {"FindNextVolumeW", reinterpret_cast<void*>(&NextVolume)},
      {"FindVolumeClose", reinterpret_cast<void*>(&CloseVolumes)},
      {"FindFirstVolumeMountPointW", reinterpret_cast<void*>(&FirstMountPoint)},
      {"FindNextVolumeMountPointW", reinterpret_cast<void*>(&NextMountPoint)},
      {"FindVolumeMountPointClose", reinterpret_cast<void*>(&CloseMountPoints)},
      {"GetVolumeNameForVolumeMountPointW", reinterpret_cast<void*>(&VolumeName)},
      {"GetVolumePathNameW", reinterpret_cast<void*>(&PathName)},
  };
  for (const auto& [function, address] : functions) {
    if (!IS_INTRESOURCE(name) && std::strcmp(name, function) == 0) {
      return std::bit_cast<FARPROC>(address);
    }
  }
  return ::GetProcAddress(module, name);
}

void FakeVolumes::AddDrive(const std::wstring& root, const std::wstring& volume, UINT type) {
  if (std::ranges::find(volumes, volume) == volumes.end()) volumes.push_back(volume);
  leadsTo[root] = volume;
  types[root] = types[volume] = type;
}

void FakeVolumes::AddMount(const std::wstring& host, const std::wstring& point,
                           const std::wstring& volume) {
  mountPoints[host].push_back(point);
  leadsTo[host + point] = volume;
}

std::wstring FakeVolumeName(unsigned number) {
  wchar_t name[50] = {};
  std::swprintf(name, std::size(name), L"\\\\?\\Volume{%08x-1234-11d7-9931-806e6f6e6963}\\",
                number);
  return name;
}

std::vector<unsigned char> MountPoint(std::wstring_view target, unsigned short offset,
                                      int lengthMore, unsigned long tag) {
  const auto length = static_cast<unsigned short>(static_cast<int>(target.size() * 2) + lengthMore);
  const unsigned short numbers[] = {0, 0, offset, length, 0, 0};
  std::vector<unsigned char> data(4 + sizeof(numbers) + offset);
  std::memcpy(data.data(), &tag, 4);
  std::memcpy(data.data() + 4, numbers, sizeof(numbers));
  const auto* const bytes = reinterpret_cast<const unsigned char*>(target.data());
  data.insert(data.end(), bytes, bytes + target.size() * 2);
  return data;
}

std::function<DWORD(std::string_view)> FailCalls(std::string_view function, DWORD code, long from,
                                                 long to) {
  return [=, call = 0L](std::string_view called) mutable -> DWORD {
    if (called != function) return ERROR_SUCCESS;
    ++call;
    return call >= from && call <= to ? code : ERROR_SUCCESS;
  };
}

}  // namespace vtclass::test
