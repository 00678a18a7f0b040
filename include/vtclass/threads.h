#ifndef VTCLASS_THREADS_H
#define VTCLASS_THREADS_H

#include <vtclass/win32.h>

#include "vtclass/border.h"
#include "vtclass/com_environment.h"
#include "vtclass/export.h"
#include "vtclass/ref_pointer.h"

/*
 * Worker threads with call queues, a pool of them, and the small pieces around.
 *
 * A call is an object whose Execute does the work. Post it to a worker of your own:
 *
 *   class Scan : public RefThreadCall {
 *    public:
 *     using RefThreadCall::RefThreadCall;
 *     void Execute() override { ... }         // on the worker's thread
 *   };
 *   WorkerThread worker(WorkerThread::ComNone, "Scanner");
 *   worker.StartThread(0);
 *   (new Scan(&worker))->PostIt();            // dies by itself after it has run
 *   worker.StopThread();                      // runs what is queued, then ends the thread
 *
 * or, derived from ThreadPoolCall and built with a pool, to a ThreadPool, which picks the worker.
 *
 * Exceptions: the standard library's std::bad_alloc and std::length_error leave the constructors
 * and the operations that queue something; nothing is queued then. Everything else is reported by
 * results. A C++ exception that leaves a call's Execute ends that run of the call only: the library
 * stops it there, writes its text to the debugger output, ends the thread's impersonation, so that
 * the next call does not run under a stranger's token, and goes on as if Execute had returned.
 * Structured exceptions are not caught.
 *
 * What a host stops before it unloads the library: every WorkerThread and ThreadPool is destroyed
 * (or stopped for good), no thread waits in an operation of the library, and
 * ComEnvironmentFactory::DestroyInstance has been called. A worker that runs on nevertheless keeps
 * the library loaded until its thread ends, so that nothing crashes; a killed one keeps it for
 * ever. When the process ends, workers end with it, and no call in hand holds it up. That is after
 * main has returned and the program's own static objects are gone: a worker or a pool that is one
 * of those is still destroyed as always, and waits as always. Never stop or destroy a worker or a
 * pool inside DllMain: a thread cannot end while DllMain runs. Loading the library starts no
 * thread.
 */

class ThreadPool;
class ThreadPoolCall;
class WorkerThread;

/*
 * The base of all calls. Derive from RefThreadCall or ThreadPoolCall unless the call's life is
 * managed otherwise: a plain ThreadCall must outlive its run, and nothing deletes it.
 */
class VTCLASS_API_TYPE ThreadCall {
 public:
  ThreadCall(const ThreadCall&) = delete;
  ThreadCall& operator=(const ThreadCall&) = delete;

  /* Hands the call to its thread. */
  virtual void PostIt() = 0;

  /* What the worker runs, on its thread. Requires: called by a worker, once for each posting. */
  virtual void ThreadExecute() = 0;

  /* The call's own work. */
  virtual void Execute() = 0;

 protected:
  /* Runs ThreadExecute or Execute on the side that made the call, so that an exception ends where
   * it was thrown (vtclass/export.h). False when there was one. */
  using Runner = bool (*)(ThreadCall& call, void (ThreadCall::*work)()) noexcept;
  static bool RunContained(ThreadCall& call, void (ThreadCall::*work)()) noexcept {
    return vtclass::border::Contained([&] { (call.*work)(); });
  }

  /* Leave `run` as it is, here and in the constructors of the derived classes: it is the side's
   * whose constructor calls this one. */
  VTCLASS_API explicit ThreadCall(WorkerThread* thread = nullptr,
                                  Runner run = &RunContained) noexcept;
  VTCLASS_API ~ThreadCall();

  WorkerThread* thread;          /* where it runs; null until set */
  unsigned long creatorThreadId; /* of the thread that constructed the call */
  unsigned long reserved = 0;    /* not used by the library */

 private:
  friend class RefThreadCall;
  friend class ThreadPoolCall;
  friend class WorkerThread;
  Runner run;
};

/*
 * A call that lives at least until the worker has run it. Each posting holds a reference of its own
 * and drops it after the run, on the worker's thread.
 *
 * A call that nobody else holds is destroyed there. A call that a killed worker had in its hands or
 * in its queue keeps the posting's reference for ever: nobody knows how far it got.
 */
class VTCLASS_API_TYPE RefThreadCall : public ThreadCall, public RefCounted {
 public:
  /* `thread` runs the call. Requires: it lives until the call has run. */
  VTCLASS_API explicit RefThreadCall(WorkerThread* thread, Runner run = &RunContained) noexcept;
  VTCLASS_API ~RefThreadCall() override;

  /* Adds a reference and queues the call. May be repeated: each posting is one run.
   * std::length_error when the queue cannot grow; the reference is dropped again. */
  inline void PostIt() override;
  VTCLASS_API void ThreadExecute() override;
};

/* Ends its worker's loop once it is run: behind every call that was queued before it. */
class VTCLASS_API_TYPE ThreadStopCall : public RefThreadCall,
                                        public vtclass::border::LibraryMemory {
 public:
  VTCLASS_API explicit ThreadStopCall(WorkerThread* worker);
  VTCLASS_API ~ThreadStopCall() override;
  VTCLASS_API void Execute() override;
};

/*
 * One thread with a first-in, first-out queue of calls, which it runs one at a time.
 *
 * Life: constructed without a thread; StartThread; StopThread (or the destructor). A stopped worker
 * is not started again: its thread would run one call and leave.
 *
 * Threads: any thread may use Call, RetrieveCall, NumberOfOutstandingCalls and WaitForCall, the
 * last one only while the worker has no COM environment (a wait pumps messages of the thread that
 * owns the environment). Everything else is the owner's, and never runs on the worker itself:
 * StopThread would wait for itself.
 *
 * Queue: 8 bytes for each call, in a block that doubles when it is full and is kept until the
 * worker is destroyed. Queuing allocates only then, and enters the kernel only to wake a worker
 * that sleeps. The worker does not own plain calls.
 *
 * Deriving: a class that overrides Run calls StopThread in its own destructor; here it would be too
 * late. Run lets no exception out.
 */
class VTCLASS_API_TYPE WorkerThread : public vtclass::border::LibraryMemory {
 public:
  /* The apartment that the thread enters for its whole life. Other values count as ComNone. */
  enum ComThreadingModel : int {
    ComMultiThreaded = 0,  /* multithreaded if possible, else single; process-wide COM security */
    ComSingleThreaded = 1, /* single-threaded: waits for calls dispatch window messages */
    ComNone = 2
  };

  /* ComMultiThreaded, "WrkrThrd". */
  inline WorkerThread();
  /* ComMultiThreaded. `name` is what a debugger shows, of any length; null counts as empty. */
  inline explicit WorkerThread(const char* name);
  inline WorkerThread(ComThreadingModel model, const char* name);
  WorkerThread(const WorkerThread&) = delete;
  WorkerThread& operator=(const WorkerThread&) = delete;

  /* StopThread. Calls that were queued after a stop are neither run nor released. Requires: nobody
   * else uses the worker any more. */
  VTCLASS_API virtual ~WorkerThread();

  /*
   * The worker's loop, on its thread: waits for a call, runs it, until the worker is stopped.
   * Returns the thread's exit code, 0.
   *
   * Contract: whether to go on is asked only after a wait has returned and its call has been run.
   * A stop never cuts a call short, and never comes before the calls that were queued earlier.
   */
  VTCLASS_API virtual unsigned long Run();

  /*
   * Lets the thread run every call that is queued, ends it and waits for that without limit. Does
   * nothing without a thread. Calls that were queued behind the stop are dropped: not run, not
   * released, still counted as outstanding. Whoever queues after a stop owns the clean-up.
   * Never fails for want of memory.
   */
  VTCLASS_API virtual void StopThread();

  /*
   * Starts the thread with a stack of `stackSize` bytes, 0 for the default. Returns 1, or 0 when
   * the platform refuses; the worker then has no thread.
   * Requires: no thread is running. It is not checked: two threads would share the queue.
   */
  VTCLASS_API int StartThread(unsigned long stackSize);

  /*
   * Ends the thread where it stands (exit code 0x80004004). Returns nonzero on success, 1 without a
   * thread. For emergencies: the call in hand keeps its reference, locks that the thread held stay
   * locked (the heap's or the loader's among them: the process may hang on them later), its memory
   * stays taken, its COM environment is never left, and the library stays loaded.
   *
   * A thread that has not reached Run yet, or has left it, may hold the loader's lock: it gets up
   * to a second for these steps. One that ends meanwhile is not killed, and that is success too.
   *
   * Another worker that the thread was waking for a call loses that one call at most, and the next
   * call that is posted to it brings it along. Only a thread that is killed in the few instructions
   * that it holds the other worker's queue lock leaves that one blocked.
   *
   * Requires: nothing but the destructor follows. The queue and its counts are as the dead thread
   * left them: its lock may be taken for ever, and a call may be counted and not queued, or queued
   * and not counted.
   */
  VTCLASS_API int KillThread();

  /* Waits `timeout` milliseconds for the thread's end. 0: it has ended; 258: not yet; 0xFFFFFFFF:
   * there is no thread. */
  VTCLASS_API unsigned long WaitForThread(unsigned long timeout);

  /*
   * Queues `call` and counts it as outstanding. Works without a running thread: the calls run once
   * it starts. std::length_error ("list<T> too long") when the queue cannot grow.
   * Requires: `call` is not null and lives until it has run.
   */
  VTCLASS_CLIENT void Call(ThreadCall* call);

  /* Takes the oldest call off the queue, null when it is empty. Changes no count: pair it with a
   * WaitForCall that succeeded. */
  VTCLASS_API ThreadCall* RetrieveCall();

  /*
   * Waits `timeout` milliseconds for a queued call. Returns 1 and consumes the count of one call,
   * or 0 (time-out; or at once, when the platform gave no semaphore at construction).
   */
  VTCLASS_API int WaitForCall(unsigned long timeout);

  /* Calls queued and not yet finished. */
  VTCLASS_API long NumberOfOutstandingCalls();

  /*
   * Names a thread of this process for debuggers: raises the exception 0x406D1388, which without a
   * debugger has no effect, and sets the thread's description where the system has such a thing.
   * `threadId` 0xFFFFFFFF is the calling thread. `name` may be null: no name.
   *
   * Contract: the exception carries six arguments. Debuggers and filters recognise it by its number
   * and shape.
   */
  VTCLASS_API static void SetThreadName(unsigned long threadId, const char* name);

 protected:
  /* For calls that run long on a single-threaded apartment: dispatches pending messages. Does
   * nothing without an environment. On the worker's own thread only. */
  VTCLASS_API void Dawdle();

 private:
  friend class ThreadPool;
  friend class ThreadPoolCall;
  friend class ThreadStopCall;
  struct State;

  /* Without memory `state` is null. */
  VTCLASS_API WorkerThread(const std::nothrow_t&, ComThreadingModel model,
                           const char* name) noexcept;
  VTCLASS_API void Queue(ThreadCall* call, vtclass::border::Failure& failure) noexcept;

  State* state;
};

/*
 * A call for a ThreadPool. Post it as often as you like: while it runs, further postings make one
 * more run, which follows on the same worker. The same call never runs twice at a time. A call that
 * waits for a worker and does not run is queued again by each posting, and runs once for each.
 *
 * Hold it in a RefPointer if you need it after posting; the pool holds its own references until the
 * last run is over. A call whose last reference the pool drops is destroyed on a worker's thread;
 * its destructor may post to the pool.
 */
class VTCLASS_API_TYPE ThreadPoolCall : public RefThreadCall {
 public:
  /* `pool` may be null: posting then does nothing. Requires: it lives until the call has run. */
  VTCLASS_API explicit ThreadPoolCall(ThreadPool* pool, Runner run = &RunContained) noexcept;
  VTCLASS_API ~ThreadPoolCall() override;

  /* EnqueueCall on the pool. When it throws, a call that nobody else holds is gone. */
  inline void PostIt() override;

 protected:
  /* Runs Execute, hands the worker its next call, and drops the reference that brought it here. */
  VTCLASS_API void ThreadExecute() override;

  /*
   * Called by the pool, under its lock. SetThread tells the worker that runs the call, null after
   * the run; PostItToThread adds a reference and queues the call to that worker.
   *
   * Overrides call the ones here. What they throw costs no worker: it leaves the EnqueueCall that
   * was to start the call, which is not queued then; thrown where a worker takes a waiting call, it
   * is reported to the debugger output, and that call is dropped. A call that PostItToThread had
   * queued before it threw runs all the same.
   */
  VTCLASS_API virtual void SetThread(WorkerThread* worker);
  VTCLASS_API virtual void PostItToThread();

 private:
  friend class ThreadPool;

  ThreadPool* pool;
  unsigned long long pendingEntries = 0; /* in the pool's queue; the pool's lock guards it */
};

/*
 * Runs calls on at most `maxThreads` workers ("PoolThread"). A worker is started when a call is
 * posted, no idle worker exists and the bound allows; otherwise the call waits. A worker that ends
 * a call takes the next waiting one itself. With `keepIdleThreads` a worker without work waits for
 * more; without, it ends by itself, and a later posting reaps it. One that is still inside a call's
 * destructor then is none of the `maxThreads`: destructors that post and take long can keep more
 * threads than that.
 *
 * Threads: any, except StopAllThreads and the destructor: the owner's, and never on a pool worker.
 * Execute runs without any lock of the pool, and so do destructors of calls.
 *
 * Failures: postings throw std::length_error ("list<T> too long", "vector<T> too long") when memory
 * runs out. When the platform refuses a new thread, its worker keeps its place in the bound, and
 * the call that started it stays executing and never runs; nothing is reported.
 */
class VTCLASS_API_TYPE ThreadPool : public vtclass::border::LibraryMemory {
 public:
  /* 8 workers, idle ones end, ComMultiThreaded. */
  inline ThreadPool();
  /* Starts nothing. With `maxThreads` below 1 calls wait for ever. */
  inline ThreadPool(int maxThreads, int keepIdleThreads, WorkerThread::ComThreadingModel model);
  ThreadPool(const ThreadPool&) = delete;
  ThreadPool& operator=(const ThreadPool&) = delete;

  /*
   * DeleteOutstandingCalls, ends the idle workers, and StopAllThreads(15000). Calls that are posted
   * after that (by the destructors of others) are dropped.
   *
   * An owner that wants its calls to finish waits for them first, until IsThreadCallExecuting
   * denies it for each. A signal that Execute gives comes a moment too early: a pool that is
   * destroyed in that moment still has a call in hand, and lasts the 15 seconds.
   */
  VTCLASS_API virtual ~ThreadPool();

  /*
   * Runs or queues `call`. Requires: `call` is not null, and was built for this pool: a worker that
   * runs a stranger's call never comes back to this pool.
   * Contract: without `keepIdleThreads` it also destroys, before it returns, the retired workers
   * that have left the callers' code. What is left of such a worker is the library's own and short,
   * so this waits for nobody. A worker that is still inside a call's destructor, or leaves its
   * apartment, is left to a later posting or the pool's destructor. So a call's destructor may
   * post, to this pool or another one, and posting under a lock that a destructor takes is safe.
   */
  VTCLASS_CLIENT void EnqueueCall(RefPointer<ThreadPoolCall> call);

  /* Takes the oldest waiting call that is not executing off the queue; null when there is none. */
  VTCLASS_API RefPointer<ThreadPoolCall> GetNextCall();

  /*
   * Moves a busy worker to the idle ones; without `keepIdleThreads` it ends after the call in hand.
   * Does nothing for a worker that is not busy. For derived pools that run calls by themselves.
   * Contract: a worker that ends so while calls wait takes the next one along, and does not run it.
   */
  VTCLASS_API void NotifyThreadIdle(WorkerThread* worker);

  /* Whether the call waits; whether a worker has it. Both may be true. */
  VTCLASS_API bool IsThreadCallQueued(RefPointer<ThreadPoolCall> call);
  VTCLASS_API bool IsThreadCallExecuting(RefPointer<ThreadPoolCall> call);

  /* Enters the call as executing; strikes out its first entry, if any. For derived pools that run
   * calls by themselves. */
  VTCLASS_CLIENT void ThreadCallStartExecuting(RefPointer<ThreadPoolCall> call);
  VTCLASS_API void ThreadCallStopExecuting(RefPointer<ThreadPoolCall> call);

  /* Drops the waiting calls; those that execute go on. */
  VTCLASS_API void DeleteOutstandingCalls();

  /*
   * Drops the waiting calls, gives the calls in hand `timeout` milliseconds, and then kills the
   * workers that are still busy (see WorkerThread::KillThread) and destroys them. Idle workers are
   * not touched. Requires: nobody posts meanwhile.
   *
   * Contract: the wait is for the workers' call semaphores, not for their threads, and so lasts the
   * whole time-out as long as a call is in hand; a call that ends in time saves its worker, not the
   * wait. Hosts budget their shutdown by it. With INFINITE it does not return while a call is in
   * hand, nor after that call has ended: do not use it so. With more than 64 busy workers the
   * platform refuses the wait, and they are killed at once.
   */
  VTCLASS_API void StopAllThreads(unsigned long timeout);

 private:
  friend class ThreadPoolCall;
  struct State;

  /* Without memory `state` is null. */
  VTCLASS_API ThreadPool(const std::nothrow_t&, int maxThreads, int keepIdleThreads,
                         WorkerThread::ComThreadingModel model) noexcept;
  VTCLASS_API void Enqueue(RefPointer<ThreadPoolCall>& call, vtclass::border::Failure& failure);
  VTCLASS_API void StartExecuting(RefPointer<ThreadPoolCall>& call,
                                  vtclass::border::Failure& failure) noexcept;

  State* state;
};

/* What a WaitableGroup waits on. Derive from it, or use it as it is. Owns nothing. */
class Waitable {
 public:
  explicit Waitable(void* handle) : handle(handle) {}
  void* GetHandle() const { return handle; }

 private:
  void* handle;
};

/*
 * Up to 64 handles that are waited on together: the platform's limit. Owns neither the waitables
 * nor their handles; a handle is copied when its waitable is added.
 * Threads: one at a time. Failures leave the reason in ::GetLastError() where the platform failed.
 */
class WaitableGroup {
 public:
  /* Appends `waitable`. Returns 1; 0 when it is null or the group is full. */
  VTCLASS_API int Add(Waitable* waitable);

  /* Removes the first entry of `waitable`; the others keep their order. Returns 1; 0 when there is
   * none. */
  VTCLASS_API int Remove(Waitable* waitable);

  VTCLASS_API unsigned long Count() const;

  /*
   * Waits `timeout` milliseconds until one handle is signalled. Returns its waitable, the first in
   * order when there are several, and stores its position in `*index`. Returns null after a
   * time-out, for an abandoned mutex, on failure and for an empty group; `*index` is then
   * unchanged. Requires: `index` is not null.
   */
  VTCLASS_API Waitable* Wait(unsigned long timeout);
  VTCLASS_API Waitable* Wait(unsigned long* index, unsigned long timeout);

  /* Waits until all handles are signalled. Returns 1, or 0 as above. */
  VTCLASS_API int WaitForAll(unsigned long timeout);

 private:
  static constexpr unsigned long kCapacity = 64;
  Waitable* waitables[kCapacity] = {};
  void* handles[kCapacity] = {};
  unsigned long count = 0;
};

/* The link inside an element of an IntrusiveSList. */
struct IntrusiveSLink {
  IntrusiveSLink* next = nullptr;
};

/*
 * A list through links inside its elements. Owns nothing and allocates nothing. Threads: one at a
 * time. Requires: an element is in one list at most, once.
 */
class IntrusiveSList {
 public:
  VTCLASS_API void Append(IntrusiveSLink* link);
  VTCLASS_API void Prepend(IntrusiveSLink* link);

  /* The first element, taken out; its `next` still points to its former successor. Null when the
   * list is empty. */
  VTCLASS_API IntrusiveSLink* RemoveFirst();

  IntrusiveSLink* Head() const { return head; }
  IntrusiveSLink* Tail() const { return tail; }
  unsigned long long Count() const { return count; }

 private:
  IntrusiveSLink* head = nullptr;
  IntrusiveSLink* tail = nullptr;
  unsigned long long count = 0;
};

/* Change `*p` by one as a single step that all threads see in one order; return the new value. */
VTCLASS_API long AtomicIncrement(long* p);
VTCLASS_API long AtomicDecrement(long* p);

#include "vtclass/client/threads.h"

#endif
