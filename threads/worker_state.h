#ifndef VTCLASS_THREADS_WORKER_STATE_H
#define VTCLASS_THREADS_WORKER_STATE_H

#include <vtclass/win32.h>

#include <atomic>
#include <string>

#include "platform/critical_section.h"
#include "platform/owned.h"
#include "threads/call_semaphore.h"
#include "threads/ring.h"
#include "vtclass/threads.h"

/* What a worker consists of; the pool looks into it too. */
struct WorkerThread::State {
  State(WorkerThread* worker, ComThreadingModel model, const char* name)
      : model(model), name(name ? name : ""), stopCall(new ThreadStopCall(worker)) {}

  /* What the thread does. */
  static unsigned long Live(WorkerThread& worker);
  bool EndsInTheLoader() const;

  /* Makes the thread leave its loop behind what is queued. Cannot fail. */
  void QueueStop();

  /* Whether the thread, if any, is past all code of callers: its end is near and waits for nobody.
   */
  bool IsLeaving() const { return !thread || stage == Stage::leaving; }

  /* Queues a call while leaving room for at least `spare` more; with none spare it cannot fail,
   * since every other posting left one. */
  void Queue(ThreadCall* call, std::size_t spare);

  const ComThreadingModel model;
  std::atomic<int> running{1};
  vtclass::platform::OwnedKernelObject thread;
  unsigned threadId = 0;
  /* Before Run and behind it the thread is in the loader's hands, where it must not be killed. */
  enum class Stage { starting, inRun, leaving };
  std::atomic<Stage> stage{Stage::starting};
  ComClientEnv* environment = nullptr; /* the thread's own, while it runs */
  std::atomic<long> outstanding{0};
  vtclass::platform::CriticalSection queueLock;
  vtclass::threads::CallSemaphore semaphore;
  vtclass::threads::Ring<ThreadCall*> queue VTCLASS_GUARDED_BY(queueLock);
  const std::string name;
  const RefPointer<ThreadStopCall> stopCall; /* made in time: stopping must not need memory */
};

#endif
