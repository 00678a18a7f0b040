#ifndef VTCLASS_AGENT_H
#define VTCLASS_AGENT_H

#include <vtclass/win32.h>

#include <string>
#include <vector>

#include "vtclass/border.h"
#include "vtclass/config.h"
#include "vtclass/export.h"
#include "vtclass/strings.h"

/*
 * How a machine's agent advertises itself to media servers, which then list the machine among those
 * that they can protect. The settings are values of the agents key of the agent's machine, this one
 * or another:
 *
 *   AgentAdvConfig advertisement;
 *   bool alreadyPresent = false;
 *   if (advertisement.Open(nullptr, nullptr, nullptr,
 *                          Configuration::accessRead | Configuration::accessWrite) == 0) {
 *     advertisement.AddMediaServerAdv(L"MS1", alreadyPresent, true);
 *   }
 *
 * The agents key lies below HKEY_LOCAL_MACHINE, under the product that CMS_SetProd has selected
 * when Open is called; see docs/registry-values.md for its values. Nothing is cached: each
 * operation reads and writes the stored values.
 *
 * Failure: nothing is thrown. An operation that returns a number returns a status: 0, one of the
 * constants below, or a Win32 status: the system's, 6 while no key is open, 8 when memory runs out,
 * 87 for a null or empty name, 0xFFFFFFFF for a stored value of another type. Operations do not
 * look whether Open has succeeded: after a failed one they work on the agents key wherever it could
 * be opened. GetErrorCode tells the last failure.
 *
 * Threads: no locking; one object belongs to one thread at a time. Several objects, in any process,
 * may work on one key; but each change of a list reads, changes and writes the whole list, so that
 * of two changes of one list at the same time one may be lost.
 */
class AgentAdvConfig {
 public:
  /* Statuses of Open; advertisingDisabled is AddMediaServerAdv's. */
  static constexpr unsigned long accessDenied = 0xE0008488; /* by the machine or its services */
  static constexpr unsigned long notReachable = 0xE0008921; /* the machine, or its services */
  static constexpr unsigned long notInstalled = 0xE0008922; /* no agent, or no usable one */
  static constexpr unsigned long advertisingDisabled = 0xE0008923;
  static constexpr unsigned long olderVersion = 0xE0008924; /* of an agent of this generation */
  static constexpr unsigned long otherVersion = 0xE0008925; /* newer, or of an older generation */
  static constexpr unsigned long notRunning = 0xE0008926;   /* the agent's service */

  VTCLASS_API AgentAdvConfig() noexcept;
  VTCLASS_API ~AgentAdvConfig(); /* closes */
  AgentAdvConfig(const AgentAdvConfig&) = delete;
  AgentAdvConfig& operator=(const AgentAdvConfig&) = delete;

  /*
   * Closes what is open, and opens the agents key of the machine `server`, then looks whether the
   * agent is of this version and its service runs. Null or empty is this machine; of any other text
   * leading backslashes and all from the next one on are ignored ("\\SRV\share" is SRV), and one
   * of backslashes alone is refused (notReachable, 87). `accessWord`: the bits of
   * Configuration::Open. access64BitView is always added, so access32BitView makes no sense. A
   * missing key is not made.
   *
   * With `server`, a connection to its IPC$ share is made first, as `user` with `password`; null is
   * the system's default for either (the current logon), empty is none. They are not kept. `user`
   * and `password` are not used for this machine. The connection serves the whole logon session,
   * not only this object.
   *
   * The first of these steps that fails decides:
   * - the connection: accessDenied for the system's statuses of access, logon and credentials (5,
   *   86, 1219, 1244, 1323 to 1331, 1385, 1793, 1807 to 1809, 1907, 2202), else notReachable
   * - the agents key: where it is missing, otherVersion when the key of an agent of an older
   *   generation exists, else notInstalled; for every other failure notInstalled
   * - the installed version: of the product's keys "19.9\Install" down to "10.0\Install" the first
   *   that exists decides by its "Major Version", which must be 13: above it otherVersion, below it
   *   olderVersion; notInstalled where none exists, or it cannot be read
   * - the service manager: accessDenied for 5, else notReachable
   * - the agent's service: accessDenied for 5, notInstalled for 123 and 1060, else notReachable;
   *   notRunning unless it tells that it runs
   * And 8 where the library or the registry runs out of memory. GetErrorCode has the status of what
   * failed in that step, and the returned status itself where nothing was refused (another version,
   * a service that does not run).
   *
   * Contract: a failed Open keeps what it has opened until Close, the next Open or the destructor.
   * Callers read and change the settings of an agent that is stopped (notRunning). Whoever gives up
   * calls Close, or keeps a connection.
   *
   * Goes over the network, and can take the system's time-outs for a machine that does not answer.
   */
  VTCLASS_API unsigned long Open(const wchar_t* server, const wchar_t* user,
                                 const wchar_t* password, unsigned int accessWord) noexcept;

  /*
   * Closes the key, and then cancels the connection that Open has made: once, not by force.
   * Ends what RegisterForChanges has ordered. May be called on a closed object. Always returns 0;
   * where the connection could not be cancelled, GetErrorCode has the system's status (2401: in
   * use).
   */
  VTCLASS_API unsigned long Close() noexcept;

  /*
   * The status of the last failure, 0 before the first; successes leave it. Questions (Is...),
   * the three operations for changes below, and lists that could not be read when a name was to be
   * added, found or removed leave it too.
   */
  unsigned long GetErrorCode() const noexcept { return errorCode; }

  /*
   * Switches. A question answers its default while the value is missing, is no number, or cannot be
   * read for whatever reason, and never fails. Contract: the defaults differ on purpose. Where
   * nobody has set anything, advertising and discovery are on and nothing is pending.
   */

  /* "Advertising Disabled" is 0; true by default. */
  VTCLASS_API bool IsAdvEnabled() noexcept;
  VTCLASS_API unsigned long EnableAdv() noexcept;
  VTCLASS_API unsigned long DisableAdv() noexcept;

  /* "Advertisement Purge" is not 0: the servers of the purge list are to be told. False by default.
   */
  VTCLASS_API bool IsPurgePending() noexcept;
  VTCLASS_API unsigned long EnablePendingPurge() noexcept;
  VTCLASS_API unsigned long DisablePendingPurge() noexcept;

  /* "Advertise Now" is not 0: the agent is to advertise at once. False by default. */
  VTCLASS_API bool IsAdvertiseNowPending() noexcept;
  VTCLASS_API unsigned long SetPendingAdvertiseNow() noexcept;
  VTCLASS_API unsigned long ClearPendingAdvertiseNow() noexcept;

  /* "Auto Discovery Enabled" is not 0; true by default. */
  VTCLASS_API bool IsAutoDiscoveryEnabled() noexcept;
  VTCLASS_API unsigned long EnableAutoDiscovery() noexcept;
  VTCLASS_API unsigned long DisableAutoDiscovery() noexcept;

  /* "Advertising Interval Minutes". Any number is stored as it is. A missing value is a failure
   * (2); `minutes` is then as before. */
  VTCLASS_API unsigned long GetAdvertiseInterval(unsigned long& minutes) noexcept;
  VTCLASS_API unsigned long SetAdvertiseInterval(unsigned long minutes) noexcept;

  /*
   * Whole lists: the media servers that the agent advertises to ("Agent Directory List"), those
   * that are to forget it ("Advertisement Purge Media Server"), and the names that this machine
   * publishes ("Advertised Name Ok List"). Get replaces what the list held: by nothing where the
   * value is missing, which is a success, and after a failure. Set replaces the stored list; its
   * argument is only read; empty names in it are lost, and one with a zero in it becomes two.
   */
  unsigned long GetMediaServerAdvList(std::vector<wcstring>& servers);
  VTCLASS_API unsigned long SetMediaServerAdvList(std::vector<wcstring>& servers) noexcept;
  unsigned long GetMediaServerPurgeList(std::vector<wcstring>& servers);
  VTCLASS_API unsigned long SetMediaServerPurgeList(std::vector<wcstring>& servers) noexcept;
  unsigned long GetMyPublishedNamesList(std::vector<wcstring>& names);
  VTCLASS_API unsigned long SetMyPublishedNamesList(std::vector<wcstring>& names) noexcept;

  /*
   * One name of a list. Two names are the same when they have the same length and differ in case
   * only (comparei). A name is added at the end; of several that are the same the first is removed.
   * Nothing is written where nothing changes.
   *
   * Contract: a list that cannot be read counts as empty. So a name that is added replaces a value
   * of another type, and the whole list where the key was opened for writing only, or where another
   * machine's registry fails to hand it out this once. Whoever changes the lists of another machine
   * reads them first, and looks again afterwards. Only want of memory (8, 14, 1450, 1455) is told,
   * with nothing written.
   *
   * The flags are set in every case: alreadyPresent and present are false and notPresent is true
   * unless the name has been found. Contract: notPresent has the opposite sense of alreadyPresent;
   * callers rely on both.
   */
  VTCLASS_API unsigned long AddPublishedNameToList(const wchar_t* name,
                                                   bool& alreadyPresent) noexcept;
  VTCLASS_API unsigned long DelPublishedNameFromList(const wchar_t* name,
                                                     bool& notPresent) noexcept;
  VTCLASS_API unsigned long IsThisNameBeingPublished(const wchar_t* name, bool& present) noexcept;
  VTCLASS_API unsigned long DelMediaServerPurge(const wchar_t* name, bool& notPresent) noexcept;

  /*
   * Has the agent advertise to `server`: removes it from the purge list, adds it to the list of
   * media servers, and, with `advertiseNow`, sets "Advertise Now" unless neither list has changed.
   * advertisingDisabled, with nothing changed, while advertising is off. `alreadyPresent`: it was
   * in the list of media servers; false where that was not reached.
   *
   * After a failure the changes made before it stay, here and in the next operation, and the same
   * call again is no repair: it finds what was changed already and may succeed without the steps
   * that are missing. Set what is missing by itself (SetPendingAdvertiseNow, EnablePendingPurge),
   * or use `force` there.
   */
  VTCLASS_API unsigned long AddMediaServerAdv(const wchar_t* server, bool& alreadyPresent,
                                              bool advertiseNow) noexcept;

  /*
   * Has `server` forget the agent: removes it from the list of media servers, adds it to the purge
   * list, sets "Advertisement Purge", and, with `advertiseNow`, "Advertise Now" unless neither list
   * has changed. A server that is not in the list of media servers is left alone without `force`,
   * and 0 returned. `notInDirectory`: it was not in the list of media servers; `alreadyInPurge`: it
   * was in the purge list, false where that was not reached.
   */
  VTCLASS_API unsigned long AddMediaServerPurge(const wchar_t* server, bool& notInDirectory,
                                                bool& alreadyInPurge, bool advertiseNow,
                                                bool force) noexcept;

  /*
   * Changes of anything in the agents key or below it; see Configuration::RegisterForChanges. None
   * of the three changes what GetErrorCode tells.
   */

  /* Orders one signal of `event`, an event handle that the caller keeps open. */
  VTCLASS_API unsigned long RegisterForChanges(void* event) noexcept;

  /* Blocks the calling thread until the next change, without limit. */
  VTCLASS_API unsigned long WaitForChanges() noexcept;

  /* Not supported: always 1. Close ends a registration. */
  VTCLASS_API unsigned long UnregisterForChanges(void* event) noexcept;

 private:
  enum class List { mediaServers, purge, publishedNames };

  /* Behind the Get operations for lists. */
  VTCLASS_API unsigned long ReadList(List list, vtclass::border::ListSink out) noexcept;

  unsigned long Failed(unsigned long status) noexcept; /* keeps it */
  unsigned long Finished(bool done) noexcept;          /* the status of an operation of `config` */

  /* On the list that is called `value`. TakeOut leaves it without the first `name`, packed as it is
   * stored but for the last zero; Store stores such a text. */
  unsigned long TakeOut(const wchar_t* value, const wchar_t* name, std::wstring& others,
                        bool& found) noexcept;
  unsigned long Store(const wchar_t* value, std::wstring& packed) noexcept;
  unsigned long InString(const wchar_t* value, const wchar_t* name, bool& found) noexcept;
  unsigned long AddString(const wchar_t* value, const wchar_t* name, bool& alreadyPresent) noexcept;
  unsigned long DelString(const wchar_t* value, const wchar_t* name, bool& notPresent) noexcept;

  unsigned long errorCode = ERROR_SUCCESS;
  bool keyOpen = false;
  bool connected = false;
  wcstring ipcPath;
  Configuration config;
};

#include "vtclass/client/agent.h"

#endif
