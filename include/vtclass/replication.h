#ifndef VTCLASS_REPLICATION_H
#define VTCLASS_REPLICATION_H

#include <vtclass/win32.h>

#include <atomic>

#include "vtclass/border.h"
#include "vtclass/export.h"
#include "vtclass/strings.h"

/*
 * A registry key with its subtree, kept in a file that follows it, and loaded from there:
 *
 *   class Replica : public RegistryKeyReplicator {
 *    public:
 *     ~Replica() { TerminateReplication(); }
 *
 *    private:
 *     void OnReplicationError(unsigned long error, const wcstring& keyPath) override { ... }
 *   };
 *   Replica replica;
 *   if (!replica.InitiateReplication(HKEY_LOCAL_MACHINE, L"Software\\A\\B", L"D:\\Rep", true)) ...
 *   ...
 *   RegistryKeyReplicator::LoadRegistryKey(HKEY_LOCAL_MACHINE, L"Software\\A\\B", L"D:\\Rep\\");
 *
 * Files. The data file is the directory, the key's path below its root with "_" for every
 * backslash, and ".dat": D:\Rep\Software_A_B.dat. Each save goes to a temporary file in the same
 * directory, "RegRep" with a number from 1 to 99 and ".dat"; a name at which anything stands is
 * passed over. Then the data file is deleted, and the temporary one gets its name. It is a hive
 * file of the system's, as RegSaveKeyW writes it. A directory's path may have any length; a name
 * beyond what the file system takes (255 characters in most) makes each save fail, as reported.
 *
 * What a reader finds under the data file's name, at any moment and after a crash or a power cut:
 *  - the former save, whole: until the new one is complete;
 *  - nothing, for a moment: after the deletion, before the temporary file has its name;
 *  - the new save, whole.
 * Never a part of a save: it is written through to the disk before the former one is deleted. Only
 * where another program keeps the temporary file from being opened for that (5, 32), the disk takes
 * its time, and a power cut may come first.
 *
 * Whoever holds the data file open and lets nobody delete it keeps it as it is: the save fails and
 * is reported (183; so it is where a directory stands at that name). Where it may be deleted some
 * systems keep its name taken until it is closed; then, as always when the deletion succeeds and
 * the renaming fails, that is reported and there is none until a later save succeeds.
 *
 * A run that ended between the deletion and the renaming leaves the newest save, whole, under its
 * temporary name; one that ended while it saved leaves a part. Nobody deletes these, and each takes
 * one of the 99 names.
 *
 * What shares a file. Two keys may have one data file: A\B and A_B. Replicators of one process take
 * different temporary files, unless 99 saves begin while one has not made its file yet. Two
 * processes that save to one directory may take the same one at once: one of the saves fails then,
 * or its file is the other's. Give each process a directory of its own.
 */

namespace vtclass::config {

/*
 * What a replicator consists of. It stands below RegistryKeyReplicator because of its destructor:
 * that of an abstract class would leave a thread that reports in this moment with a function that
 * does not exist. Here there is one, which drops the report.
 */
class KeyReplication {
 public:
  KeyReplication(const KeyReplication&) = delete;
  KeyReplication& operator=(const KeyReplication&) = delete;

 protected:
  KeyReplication() noexcept : stopEvent(NewStopEvent()), report(&Report) {}
  ~KeyReplication() { Close(); }

  virtual void OnReplicationError(unsigned long /*error*/, const wcstring& /*keyPath*/) {}

  int Begin(HKEY root, const wcstring& path, const wcstring& folder, bool atStart) noexcept {
    return Begin(root, path, folder, atStart, keyPath, directory);
  }
  VTCLASS_API void End() noexcept;
  unsigned long Saves() const noexcept { return saves; }

 private:
  /* Reports on the side that derived the class, so that an exception ends where it was thrown
   * (vtclass/export.h). */
  using Runner = void (*)(KeyReplication& self, unsigned long error) noexcept;
  static void Report(KeyReplication& self, unsigned long error) noexcept {
    border::Contained([&] { self.OnReplicationError(error, self.keyPath); });
  }

  VTCLASS_API static HANDLE NewStopEvent() noexcept;
  VTCLASS_API int Begin(HKEY root, const wcstring& path, const wcstring& folder, bool atStart,
                        const border::WideSink& ownPath,
                        const border::WideSink& ownDirectory) noexcept;
  VTCLASS_API void Close() noexcept;
  static unsigned long Run(KeyReplication& self);
  void Begun(unsigned long error) noexcept;
  void Follow();
  void Save();

  wcstring keyPath;        /* below its root, without backslashes at the end */
  wcstring directory;      /* with exactly one at the end */
  HKEY key = nullptr;      /* open for reading */
  HANDLE thread = nullptr; /* null: not running */
  HANDLE stopEvent;        /* auto-reset; null when the system refused it */
  bool replicateAtStart = false;
  Runner report;
  std::atomic<unsigned long> saves{0};
  HANDLE beginning = nullptr;   /* for the thread to set when it follows the key */
  unsigned long startError = 0; /* why it does not, 0 if it does; written before that */
};

}  // namespace vtclass::config

/*
 * Keeps a file copy of one registry key up to date. Derive from it and say what happens to errors.
 *
 * A thread of its own ("RegRepl") waits for changes of the key and of everything below it (names,
 * attributes, values) and saves the key once 3 seconds have passed without one. A change that comes
 * during a save is saved by another one, 3 seconds after the last change. A change within the 3
 * seconds before TerminateReplication is not saved.
 *
 * The thread acts as the process, whomever its starter impersonates, and enables
 * SeBackupPrivilege for it, which saving needs; where that is refused each save is reported (1314).
 * It ends by itself, without a report, when the system refuses to tell of changes: above all when
 * the key has been deleted. A key of that name that comes back is not followed.
 *
 * Threads: one at a time uses an object. It may be destroyed on any thread but its own.
 * Deriving: the class calls TerminateReplication in its own destructor, so that no report comes to
 * an object that is half gone. If it does not, a report that comes later than its destructor is
 * dropped; an unoptimised build by GCC calls a pure function then. The destructor here is not
 * virtual: an object is destroyed as what it is. Unloading: the thread keeps the library loaded
 * until it has ended. Never start, destroy or terminate inside DllMain.
 */
class VTCLASS_INTERFACE_TYPE RegistryKeyReplicator : public vtclass::config::KeyReplication {
 public:
  /*
   * Opens the key `keyPath` below `root` for reading, makes the directory with all that is missing
   * above it (CreateDirectoryPath), starts the thread, and waits until it has asked the system to
   * tell it of changes: what is changed after the return is noticed. With `replicateAtStart` the
   * thread saves at once, before anything else: also where TerminateReplication follows at once,
   * and then that waits for the save. A run that is under way is terminated first.
   *
   * Backslashes at the end of both texts do not count. An empty `directory` is the root of the
   * current drive. A relative one counts from the current folder of the moment, at each save
   * anew: give an absolute one. An empty `keyPath` is `root` itself; its data file is ".dat".
   * Requires: `root` is open until this returns, and of this machine; `keyPath` holds nothing but
   * backslashes that a file's name may not hold.
   *
   * Returns 1. 0 when it failed, with the reason in ::GetLastError(): the system's status of the
   * key, the directory, the thread or its event; 6 when the construction got no event to stop by; 8
   * when memory runs out. The key may stay open then, until TerminateReplication or the next start.
   */
  int InitiateReplication(HKEY root, const wcstring& keyPath, const wcstring& directory,
                          bool replicateAtStart) noexcept {
    return Begin(root, keyPath, directory, replicateAtStart);
  }

  /*
   * Ends the thread, waits for that without limit, and closes the key. A save in hand, with its
   * report, is ended first; while changes settle it returns at once. Does nothing when nothing runs
   * and nothing is open. Requires: not called by OnReplicationError, where it would wait for
   * itself; the same holds for the destruction and for InitiateReplication.
   */
  void TerminateReplication() noexcept { End(); }

  /* How many saves have succeeded since the last InitiateReplication. Any thread. */
  unsigned long GetSaveCount() const noexcept { return Saves(); }

  /*
   * Loads the key `keyPath` below `root`, with everything below it, from its data file: what the
   * key holds is replaced. A key that is missing is made. Returns 1; 0 when it failed, with the
   * system's status in ::GetLastError(): 2 without such a file, 1314 without SeRestorePrivilege
   * (which is enabled first, for the thread or the process), 8 when memory runs out. A key that was
   * made stays, also when it could not be loaded. Any thread.
   *
   * Contract: both texts are taken as they are. A directory without the backslash at its end
   * names another file, with directory and key joined (D:\RepSoftware_A.dat), and one behind the
   * key's path an underscore. Callers keep files of both kinds.
   */
  VTCLASS_API static int LoadRegistryKey(HKEY root, const wcstring& keyPath,
                                         const wcstring& directory) noexcept;

 protected:
  RegistryKeyReplicator() = default;
  /* Terminates, if nobody did. */
  ~RegistryKeyReplicator() = default;

  /*
   * A save failed with `error`, a Win32 status. Of the saving: the data file is the former one. Of
   * the renaming: with 183 too, which means that somebody holds it, or that a directory stands in
   * its place; otherwise there is none now. 80
   * when all 99 temporary names are taken, 3 when the directory is gone, which is not made again, 8
   * when memory ran out. Another attempt follows the next change. Runs on the replicator's thread;
   * `keyPath` is the key's path without backslashes at its end and lives until the next start. What
   * it throws is told to the debugger output, and the replication goes on.
   */
  void OnReplicationError(unsigned long error, const wcstring& keyPath) override = 0;
};

/*
 * Makes a directory and all that is missing above it. True when it exists at the end. False with
 * the reason in ::GetLastError(): 183 when a file stands at its place or at that of a directory
 * above, 206 for more than 32,767 characters, 8 when memory runs out, else the system's status.
 * What was made above it stays.
 *
 * Directories are separated by backslashes; any number may stand at the end. A path may be a
 * share's (\\server\share\x) and may begin with "\\?\". Any thread.
 * Contract: a directory that somebody else makes in the same moment may answer false with 183.
 * Whoever makes directories by several at once asks again.
 */
VTCLASS_API bool CreateDirectoryPath(const wcstring& path) noexcept;

#endif
