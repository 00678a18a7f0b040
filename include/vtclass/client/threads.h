#ifndef VTCLASS_CLIENT_THREADS_H
#define VTCLASS_CLIENT_THREADS_H

/* What vtclass/threads.h compiles into its callers: what throws does so on the caller's side.
 * Included by that header. */

inline void RefThreadCall::PostIt() {
  RefPointer<RefThreadCall> posting(this);
  thread->Call(this);
  posting.Detach();
}

inline WorkerThread::WorkerThread() : WorkerThread(ComMultiThreaded, "WrkrThrd") {}

inline WorkerThread::WorkerThread(const char* name) : WorkerThread(ComMultiThreaded, name) {}

inline WorkerThread::WorkerThread(ComThreadingModel model, const char* name)
    : WorkerThread(std::nothrow, model, name) {
  vtclass::border::NotNull(state);
}

inline void ThreadPoolCall::PostIt() {
  if (pool) pool->EnqueueCall(RefPointer<ThreadPoolCall>(this));
}

inline ThreadPool::ThreadPool() : ThreadPool(8, 0, WorkerThread::ComMultiThreaded) {}

inline ThreadPool::ThreadPool(int maxThreads, int keepIdleThreads,
                              WorkerThread::ComThreadingModel model)
    : ThreadPool(std::nothrow, maxThreads, keepIdleThreads, model) {
  vtclass::border::NotNull(state);
}

#if !defined(VTCLASS_MINI_BUILD)

inline void WorkerThread::Call(ThreadCall* call) {
  vtclass::border::Failure failure;
  Queue(call, failure);
  failure.Throw();
}

inline void ThreadPool::EnqueueCall(RefPointer<ThreadPoolCall> call) {
  vtclass::border::Failure failure;
  Enqueue(call, failure);
  failure.Throw();
}

inline void ThreadPool::ThreadCallStartExecuting(RefPointer<ThreadPoolCall> call) {
  vtclass::border::Failure failure;
  StartExecuting(call, failure);
  failure.Throw();
}

#endif

#endif
