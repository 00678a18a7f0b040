#include "security/take_over.h"

#include <accctrl.h>
#include <aclapi.h>

#include "platform/failure_code.h"
#include "platform/owned.h"

using vtclass::platform::OwnedFile;
using vtclass::platform::OwnedLocalMemory;

namespace vtclass::security {

namespace {

// The two SIDs. Their layout is fixed for ever, so nothing is allocated that would have to be
// freed.
struct AdministratorsSid {
  BYTE revision = SID_REVISION;
  BYTE count = 2;
  SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
  DWORD parts[2] = {SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS};
};
static_assert(sizeof(AdministratorsSid) == sizeof(SID) + sizeof(DWORD));

constinit AdministratorsSid administrators;
constinit SID localSystem = {SID_REVISION, 1, SECURITY_NT_AUTHORITY, {SECURITY_LOCAL_SYSTEM_RID}};

// What a path leads to, as the system's functions for names reach it.
class NamedObject {
 public:
  explicit NamedObject(const wchar_t* path) noexcept : path(const_cast<wchar_t*>(path)) {}

  DWORD SetOwner(PSID owner) const noexcept {
    return ::SetNamedSecurityInfoW(path, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, owner, nullptr,
                                   nullptr, nullptr);
  }
  DWORD GetList(PACL* list, PSECURITY_DESCRIPTOR* holder) const noexcept {
    return ::GetNamedSecurityInfoW(path, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                                   nullptr, list, nullptr, holder);
  }
  DWORD SetList(PACL list) const noexcept {
    return ::SetNamedSecurityInfoW(path, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                                   nullptr, list, nullptr);
  }

 private:
  wchar_t* path;  // only read
};

// A reparse point itself. Each step opens it anew, because only the steps before it give the right
// to.
class ReparsePoint {
 public:
  explicit ReparsePoint(const wchar_t* path) noexcept : path(path) {}

  DWORD SetOwner(PSID owner) const noexcept {
    return Opened(WRITE_OWNER, [&](HANDLE point) {
      return ::SetSecurityInfo(point, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, owner, nullptr,
                               nullptr, nullptr);
    });
  }
  DWORD GetList(PACL* list, PSECURITY_DESCRIPTOR* holder) const noexcept {
    return Opened(READ_CONTROL, [&](HANDLE point) {
      return ::GetSecurityInfo(point, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                               list, nullptr, holder);
    });
  }
  DWORD SetList(PACL list) const noexcept {
    // To set the list the system may look at the former one.
    return Opened(READ_CONTROL | WRITE_DAC, [&](HANDLE point) {
      return ::SetSecurityInfo(point, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                               list, nullptr);
    });
  }

 private:
  template <typename Work>
  DWORD Opened(DWORD access, Work work) const noexcept {
    ::SetLastError(ERROR_SUCCESS);
    const OwnedFile point(::CreateFileW(
        path, access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    return point ? work(point.Get()) : platform::FailureCode();
  }

  const wchar_t* path;
};

// `list` with full access for the local system account; local memory.
DWORD WithSystemEntry(PACL list, PACL* changed) noexcept {
  wchar_t name[] = L"system";
  EXPLICIT_ACCESS_W entry = {};
  entry.grfAccessPermissions = FILE_ALL_ACCESS;
  entry.grfAccessMode = SET_ACCESS;
  entry.grfInheritance = NO_INHERITANCE;
  entry.Trustee.TrusteeForm = TRUSTEE_IS_NAME;
  entry.Trustee.ptstrName = name;
  const DWORD status = ::SetEntriesInAclW(1, &entry, list, changed);
  if (status != ERROR_NONE_MAPPED) return status;
  // The account has another name in some languages.
  entry.Trustee.TrusteeForm = TRUSTEE_IS_SID;
  entry.Trustee.ptstrName = reinterpret_cast<wchar_t*>(&localSystem);
  return ::SetEntriesInAclW(1, &entry, list, changed);
}

template <typename Object>
DWORD GrantSystem(const Object& object) noexcept {
  PACL list = nullptr;
  PSECURITY_DESCRIPTOR holder = nullptr;
  DWORD status = object.GetList(&list, &holder);
  const OwnedLocalMemory held(holder);
  if (status != ERROR_SUCCESS) return status;
  PACL changed = nullptr;
  status = WithSystemEntry(list, &changed);
  const OwnedLocalMemory heldToo(changed);
  return status != ERROR_SUCCESS ? status : object.SetList(changed);
}

// By way of the Administrators: as the owner's group the caller may rewrite the list, which the
// object's former one may well deny him.
template <typename Object>
DWORD TakeOverObject(const Object& object) noexcept {
  DWORD status = object.SetOwner(&administrators);
  if (status == ERROR_SUCCESS) status = GrantSystem(object);
  if (status == ERROR_SUCCESS) status = object.SetOwner(&localSystem);
  return status;
}

}  // namespace

DWORD TakeOver(const wchar_t* path) noexcept { return TakeOverObject(NamedObject(path)); }
DWORD TakeOverReparsePoint(const wchar_t* path) noexcept {
  return TakeOverObject(ReparsePoint(path));
}

}  // namespace vtclass::security
