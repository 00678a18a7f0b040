#ifndef VTCLASS_TOOLS_VTCTL_SESSION_TREE_WALK_H
#define VTCLASS_TOOLS_VTCTL_SESSION_TREE_WALK_H

#include <vtclass/win32.h>

#include <exception>
#include <functional>
#include <list>
#include <memory>
#include <vector>

#include "platform/critical_section.h"
#include "platform/owned.h"
#include "tools/vtctl/session/folder_reader.h"
#include "vtclass/threads.h"

namespace vtctl {

/*
 * Reads a folder tree with the workers of a thread pool and hands the folders' records to a writer
 * in the order of the tree, each folder before those below it, whichever was read first.
 *
 * Each worker has a call that reads one folder; another call of the same pool writes what has been
 * read up to the first folder that has not. Whatever ends posts what can go on by then, so that the
 * walk is over when no call is left. When the stop sign is given, folders that nobody has begun are
 * dropped; what was read is still written. An exception in a call gives the stop sign and drops
 * everything.
 *
 * Threads: one owner. The writer runs on a worker, one record at a time, in the owner's locale.
 */
class TreeWalk {
 public:
  using Writer = std::function<void(const FolderRecord&)>;

  /* Requires: `plan` outlives the walk; workers is not 0. */
  TreeWalk(ReadingPlan& plan, size_t workers, Writer write);
  /* Gives the stop sign and waits until no call is left. */
  ~TreeWalk();

  /* Begins with the root. Once. */
  void Start();

  /* Waits `timeout` milliseconds for the end. Throws what ended the walk if an exception did. */
  bool WaitForEnd(DWORD timeout);

  LiveCount& Count() { return live; }
  /* The part of the work that is done: each folder below another and the files of that one count
   * as equal parts of it. */
  double FractionDone();

 private:
  class Call;
  class Reading;
  class Writing;

  struct Folder {
    FolderPlace place;
    double weight;
    enum State { waiting, reading, read } state = waiting;
    size_t held = 0;                      /* what it counts in `ahead` */
    std::unique_ptr<FolderRecord> record; /* once it is read */
  };
  using Folders = std::list<Folder>;

  void Publish(Folders::iterator folder, FolderRecord&& record);
  void WriteFinished();
  void Fail() VTCLASS_REQUIRES(lock);
  void EndCall(Call& call);
  void Dispatch() VTCLASS_REQUIRES(lock);
  Folders::iterator NextToRead() VTCLASS_REQUIRES(lock);
  void Post(Call& call) VTCLASS_REQUIRES(lock);

  ReadingPlan& plan;
  const Writer write;
  const LCID locale;
  LiveCount live;
  vtclass::platform::OwnedKernelObject ended; /* set when no call is left */
  vtclass::platform::CriticalSection lock;
  /* What is not written yet, in the order of the tree. A call works on its folder alone. */
  Folders order VTCLASS_GUARDED_BY(lock);
  size_t ahead VTCLASS_GUARDED_BY(lock) = 0; /* folders taken and lines held for the writer */
  size_t busyCalls VTCLASS_GUARDED_BY(lock) = 0;
  double fractionDone VTCLASS_GUARDED_BY(lock) = 0;
  std::exception_ptr failure VTCLASS_GUARDED_BY(lock);
  ThreadPool pool;
  RefPointer<Writing> writing;
  std::vector<RefPointer<Reading>> readings;
};

}  // namespace vtctl

#endif
