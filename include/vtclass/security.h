#ifndef VTCLASS_SECURITY_H
#define VTCLASS_SECURITY_H

#include <vtclass/win32.h>

#include "vtclass/border.h"
#include "vtclass/export.h"
#include "vtclass/strings.h"

/*
 * Acting as another account, privileges, and taking files over.
 *
 *   vtclass::ImpersonationScope scope(L"DOMAIN\\backup", password);
 *   if (!scope) return scope.GetErrorCode();
 *   ...  // this thread reads the account's data
 *
 * Failures: nothing here throws. Codes are the platform's (Win32); 31 where the platform refuses
 * without one. A failure is never told as 0, nor by an older last error.
 *
 * Traces: what the logon does goes to VTTrace of vtstdutl.dll (source "impersonator", level 0), so
 * to whatever sink the host has installed. That library lies in the folder of this one and loads at
 * the first trace; where it is missing there are no traces and all else is as ever. The sink runs
 * on the thread that traces, while that acts as the account, too. The text of an error is the
 * product's where ErrorMessageBase has loaded the message library and that has one, else the
 * system's, up to its first insert; without either it is the number. Passwords are in no trace, and
 * the library makes no copy of one.
 *
 * Companion libraries (that of the traces, vtsocket and vtcluster for the domain's name) load at
 * their first call, with the rights of the process: the thread's token is set aside meanwhile and
 * put back. Where the system refuses to put it back the process ends (std::terminate): it never
 * goes on with the rights of the process in the place of the account's. A token that cannot be
 * opened, or not be set aside, stays, and the library loads with its rights.
 */

/* Accounts, groups and descriptors. All operations are static and may be called on any thread. */
class CNTSecurity {
 public:
  CNTSecurity() = delete;

  /*
   * Fills `attributes` with a descriptor that gives full access to the Administrators, to the
   * Backup Operators and to the local system account, and to nobody else; subkeys and child objects
   * inherit it; the handle made with it is not inheritable by child processes.
   *
   * Returns true and a descriptor in one block of local memory that the caller releases with
   * LocalFree(attributes.lpSecurityDescriptor). Returns false, with the reason in
   * ::GetLastError() and a null descriptor, when the platform cannot build it.
   */
  VTCLASS_API static bool CreateSecurityAttribWithAdminAndBackupOper(
      SECURITY_ATTRIBUTES& attributes);
};

/*
 * Logs an account on and lets the calling thread act as it; tells as whom the thread acts.
 *
 * An account is DOMAIN\user, split at its first backslash, or a user alone, whose domain is empty.
 * Null counts as empty.
 *
 * Threads: the static operations on any thread, also at once. Impersonation belongs to a thread:
 * what LogonAndImpersonateUser begins, RevertToSelfAndClose ends on the same thread. An object
 * belongs to one thread at a time.
 */
class Impersonator {
 public:
  Impersonator() noexcept = default;
  VTCLASS_API ~Impersonator();
  Impersonator(const Impersonator&) = delete;
  Impersonator& operator=(const Impersonator&) = delete;

  /*
   * Logs an account on. Returns its token, which the caller closes (CloseHandle), or null; then
   * `*error`, unless `error` is null, holds the reason, as does ::GetLastError(). On success
   * `*error` is left alone. The thread goes on acting as whomever it acted before.
   *
   * A domain that names this machine (vtclass::IsThisMe, aware of clusters) is replaced by its
   * NetBIOS form; where that cannot be made it is empty.
   * The kind of logon is the number "LogonUserType" of the product's agents key, handed to the
   * system as it stands. Where there is none or the key may not be opened for reading and writing,
   * it is 2 (interactive) on systems before version 6, else 4 (batch). Nothing is written.
   * Contract: a domain that is empty or names no machine makes IsThisMe answer 87, which is traced
   * and means nothing. Support staff know that line.
   */
  VTCLASS_API static void* VTLogonUser(const wchar_t* account, const wchar_t* password,
                                       unsigned long* error) noexcept;

  /*
   * VTLogonUser, and the thread acts as the account until RevertToSelfAndClose. Returns the token
   * to give to that, or null. After null nothing is left to close, and ::GetLastError() is the
   * reason: of a refused logon, which `*error` holds too and which leaves an earlier impersonation
   * alone; or of a refused impersonation, which ends as RevertToSelfAndClose does.
   * Contract: a refused impersonation leaves `*error` alone. Callers set it to 0 before, and tell
   * the two by that.
   */
  VTCLASS_API static void* LogonAndImpersonateUser(const wchar_t* account, const wchar_t* password,
                                                   unsigned long* error) noexcept;

  /* The thread acts as the process again, whomever it acted as. `token` is closed, unless it is
   * null; also when the system refuses to revert, which only WhoAmI shows then. */
  VTCLASS_API static void RevertToSelfAndClose(void* token) noexcept;

  /* DOMAIN\user of the account that the calling thread acts as: the impersonated one, else that of
   * the process. A backslash alone when it is not to be had. */
  inline static wcstring WhoAmI() noexcept;

  /*
   * The same in two texts. Both are empty when the account is not to be had, also when the thread
   * impersonates and its token cannot be opened: the process's is not told in its place.
   * Contract: false whatever happens. Callers look at the texts; a result of true would change what
   * they do after it.
   */
  inline static bool WhoAmI(wcstring& domain, wcstring& user) noexcept;

  /*
   * The SID of the account that the calling thread acts as. On true `sid` points to a copy that
   * stays until the object's next successful GetSid or its end, and is not freed by the caller. On
   * false `sid` is as it was, and so is the copy that the object holds.
   */
  VTCLASS_API bool GetSid(void*& sid) noexcept;

 private:
  void* sid = nullptr;
};

/*
 * Logs accounts on by the system's defaults alone and owns the token: the next success closes the
 * former one, a failure keeps it, the end of the object closes it. Impersonates nobody and traces
 * nothing.
 */
class Win32Impersonator {
 public:
  Win32Impersonator() noexcept = default;
  VTCLASS_API ~Win32Impersonator();
  Win32Impersonator(const Win32Impersonator&) = delete;
  Win32Impersonator& operator=(const Win32Impersonator&) = delete;

  /* 0, or why the system refused. Interactive on systems before version 6, else batch; the registry
   * is not asked. The texts are handed to the system as they are. */
  VTCLASS_API unsigned long Logon(const wchar_t* domain, const wchar_t* user,
                                  const wchar_t* password) noexcept;

  /* The same for an account, split as in Impersonator; 8 when memory runs out. */
  VTCLASS_API unsigned long Logon(const wchar_t* account, const wchar_t* password) noexcept;

  /* The token of the last success, null before any. It stays the object's. */
  void* GetToken() const noexcept { return token; }

 private:
  void* token = nullptr;
};

/*
 * Enables a privilege, such as "SeBackupPrivilege", in the token of the calling thread, or in that
 * of the process when the thread has none or it cannot be opened. `openAsSelf`, not 0, has the
 * process's rights count for opening the thread's token, not those of the impersonated account.
 *
 * Not 0: the privilege is enabled, and stays so. 0, with the reason in ::GetLastError() (1300: the
 * token does not hold it): it is not.
 * Contract: a name that the system does not know, null among them, changes nothing and answers not
 * 0. Callers ask for privileges that older systems do not have.
 *
 * Threads: any. Where no thread's token is at hand the privilege is enabled for the whole process.
 */
VTCLASS_API int AssertPrivilege(const wchar_t* privilegeName, int openAsSelf) noexcept;

/*
 * Makes a file or folder the local system account's, and adds full access for it to the access list
 * (one entry that is not inherited by what lies below). On the way the Administrators become the
 * owner, which is what lets the caller change the list. The caller needs the privileges
 * SeTakeOwnershipPrivilege and SeRestorePrivilege enabled (AssertPrivilege).
 *
 * 1 when all of that is done. 0 with the reason in ::GetLastError(), whatever was done before
 * stays. Refused with 87, and nothing is touched: null, the empty path, slashes and backslashes
 * alone.
 *
 * `path` may have any length, and may begin with "\\?\". The name of a device (NUL, COM1), where
 * the system sees one, is the device. A path that the system cannot make absolute, such as blanks
 * alone, is refused with the system's reason, 123 where it tells none.
 * An object without an access list, which everybody may use, has that one entry afterwards.
 *
 * Threads: any.
 */
VTCLASS_API int TakeOwnership(const wchar_t* path) noexcept;

/*
 * TakeOwnership for a folder and for everything below it, in the order in which the system lists
 * it, each folder before what it holds. 1 when all are taken over. 0 at the first failure, with the
 * reason in ::GetLastError(): what was taken over stays so, the rest is untouched. A listing that
 * cannot begin or breaks off is a failure; one that is empty is none.
 *
 * `path`: as in TakeOwnership; backslashes at its end do not count, but for a root ("C:\"). The
 * current folder counts when the call begins. A file is taken over, and then answers 0: it has no
 * entries to list.
 *
 * Reparse points below `path` are taken over themselves, not what they lead to. Links are not
 * followed, so a planted one leads nowhere: what stands for another place by its tag's bit
 * 0x20000000 (symbolic links, junctions, mount points), and what the system tells no tag of.
 * Folders with other reparse points (of cloud storage, of containers) are walked like any folder.
 * `path` itself may be a link: the folder that it leads to is walked.
 * Who may write into the tree while it is walked can put a link in the place of a folder between
 * its listing and its turn: take no tree over by this that a stranger is still at work in.
 * How deep the tree is does not matter, nor what its names are made of; 0 with 8 when memory runs
 * out.
 */
VTCLASS_API int TakeFolderOwnership(const wchar_t* path) noexcept;

namespace vtclass {

/*
 * Acts as an account for one scope: from its construction to its end, on every way out, the thread
 * that made it acts as the account, unless GetErrorCode says otherwise.
 * Requires: it ends on the thread that made it, and another one of that thread does not lie inside
 * of it: the inner one's end would end both.
 */
class ImpersonationScope {
 public:
  inline ImpersonationScope(const wchar_t* account, const wchar_t* password) noexcept;
  ~ImpersonationScope() { End(); }
  ImpersonationScope(const ImpersonationScope&) = delete;
  ImpersonationScope& operator=(const ImpersonationScope&) = delete;

  /* True from a successful logon until End: the thread acts as the account. False after End also
   * where the system refused to revert, which only WhoAmI shows then. */
  explicit operator bool() const noexcept { return token != nullptr; }

  /* Why it does not: the refused logon's reason or that of the refused impersonation; 0 when it
   * did. */
  unsigned long GetErrorCode() const noexcept { return error; }

  /* The account's token, null when there is none. It stays the object's. */
  void* GetToken() const noexcept { return token; }

  /* Ends it early; once is enough. */
  inline void End() noexcept;

 private:
  void* token;
  unsigned long error;
};

/* What an ownership report tells of an entry. */
enum OwnershipStep : int {
  ownershipTaken, /* it was taken over, or, with a status, was not */
  folderNotListed /* the folder could not be listed, or not to its end */
};

/*
 * Told of each entry in the order of the walk. `path` is absolute, begins with "\\?\" and lives
 * until the report returns; `status` is 0 or the reason of the failure; `context` is the caller's.
 * True: the walk goes on, behind a failure too, and skips only what it could not list. False: it
 * ends. Called on the thread that walks; what it throws ends the walk and is told to the debugger.
 */
using OwnershipReport = bool (*)(OwnershipStep step, const wchar_t* path, unsigned long status,
                                 void* context);

/*
 * TakeFolderOwnership with a report. A folder that could not be taken over is walked all the same
 * when the report goes on: the caller may be able to list it. Null reports to nobody and ends at
 * the first failure.
 *
 * 0 when everything was taken over; else the status of the first failure; 1223 when the report
 * ended the walk before any; 8 when memory runs out. 87, without a report, for the paths that
 * TakeOwnership refuses; the system's status, without a report, for one that it cannot make
 * absolute.
 */
inline unsigned long TakeFolderOwnership(const wchar_t* path, OwnershipReport report,
                                         void* context) noexcept;

}  // namespace vtclass

#include "vtclass/client/security.h"

#endif
