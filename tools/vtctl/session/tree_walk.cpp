#include "tools/vtctl/session/tree_walk.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <utility>

namespace vtctl {
namespace {

using vtclass::platform::ScopedLock;

// How far reading may be ahead of writing, in folders and lines: while one folder takes its time,
// the others must not fill the memory.
constexpr size_t kMostAhead = 2000;

}  // namespace

// A call of the walk. It is never posted while it is busy, so each posting is one run.
class TreeWalk::Call : public ThreadPoolCall {
 public:
  explicit Call(TreeWalk& walk) : ThreadPoolCall(&walk.pool), walk(walk) {}

  void Execute() override;

  bool busy = false;  // from its posting to its end; the walk's lock guards it

 protected:
  virtual void Work() = 0;
  void SetThread(WorkerThread* worker) override;

  TreeWalk& walk;
};

class TreeWalk::Reading : public Call {
 public:
  explicit Reading(TreeWalk& walk) : Call(walk), reader(walk.plan, walk.live) {}

  Folders::iterator folder;  // what the next run reads

 protected:
  void Work() override;

 private:
  FolderReader reader;
};

class TreeWalk::Writing : public Call {
 public:
  using Call::Call;

 protected:
  void Work() override { walk.WriteFinished(); }
};

void TreeWalk::Call::Execute() {
  // The system's words for an error follow the thread's locale.
  ::SetThreadLocale(walk.locale);
  try {
    Work();
  } catch (...) {
    const ScopedLock hold(walk.lock);
    walk.Fail();
  }
  walk.EndCall(*this);
}

// The pool does not tell when the system refuses it a thread: the call would never run, and nobody
// would end the walk. Thrown here, the refusal comes out of the posting, and nothing is queued.
void TreeWalk::Call::SetThread(WorkerThread* worker) {
  if (worker && worker->WaitForThread(0) == WAIT_FAILED) {
    throw std::runtime_error("the system gave no thread for a worker");
  }
  ThreadPoolCall::SetThread(worker);
}

void TreeWalk::Reading::Work() {
  if (!walk.plan.stop.IsGiven()) {
    walk.Publish(folder, reader.Read(folder->place));
    return;
  }
  const ScopedLock hold(walk.lock);
  folder->state = Folder::waiting;
}

TreeWalk::TreeWalk(ReadingPlan& plan, size_t workers, Writer write)
    : plan(plan),
      write(std::move(write)),
      locale(::GetThreadLocale()),
      ended(::CreateEventW(nullptr, TRUE, TRUE, nullptr)),
      pool(static_cast<int>(workers), 1, WorkerThread::ComNone),
      writing(new Writing(*this)) {
  if (!ended) throw std::runtime_error("the system gave no event");
  readings.reserve(workers);
  for (size_t i = 0; i < workers; ++i) readings.emplace_back(new Reading(*this));
}

TreeWalk::~TreeWalk() {
  plan.stop.Give();
  ::WaitForSingleObject(ended.Get(), INFINITE);
  // The last call gave its signal a moment before its end.
  while (pool.IsThreadCallExecuting(writing)) ::Sleep(0);
  for (const auto& reading : readings) {
    while (pool.IsThreadCallExecuting(reading)) ::Sleep(0);
  }
}

void TreeWalk::Start() {
  const ScopedLock hold(lock);
  const auto volume =
      std::make_shared<const EnteredVolume>(EnteredVolume{plan.rootVolume, nullptr});
  order.push_back({{plan.root, volume}, 1.0, Folder::waiting, 0, nullptr});
  Dispatch();
  // The call waits for the lock before it can say that it is over.
  if (busyCalls > 0) ::ResetEvent(ended.Get());
}

bool TreeWalk::WaitForEnd(DWORD timeout) {
  if (::WaitForSingleObject(ended.Get(), timeout) == WAIT_TIMEOUT) return false;
  const ScopedLock hold(lock);
  if (failure) std::rethrow_exception(failure);
  return true;
}

double TreeWalk::FractionDone() {
  const ScopedLock hold(lock);
  return fractionDone;
}

void TreeWalk::Publish(Folders::iterator folder, FolderRecord&& record) {
  const double part = folder->weight / static_cast<double>(record.subfolders.size() + 1);
  Folders below;
  for (FolderPlace& place : record.subfolders) {
    below.push_back({std::move(place), part, Folder::waiting, 0, nullptr});
  }
  record.subfolders.clear();
  const size_t lines = record.lines.size() + record.skipped.size();
  auto kept = std::make_unique<FolderRecord>(std::move(record));
  const ScopedLock hold(lock);
  folder->held += lines;
  ahead += lines;
  folder->record = std::move(kept);
  folder->state = Folder::read;
  fractionDone += part;
  order.splice(std::next(folder), below);
}

void TreeWalk::WriteFinished() {
  Folders finished;
  {
    const ScopedLock hold(lock);
    const auto isRead = [](const Folder& folder) { return folder.state == Folder::read; };
    finished.splice(finished.end(), order, order.begin(), std::ranges::find_if_not(order, isRead));
  }
  size_t held = 0;
  for (const Folder& folder : finished) {
    write(*folder.record);
    held += folder.held;
  }
  const ScopedLock hold(lock);
  ahead -= held;
}

// The exception that is being handled ends the walk.
void TreeWalk::Fail() {
  if (!failure) failure = std::current_exception();
  plan.stop.Give();
}

void TreeWalk::EndCall(Call& call) {
  const ScopedLock hold(lock);
  call.busy = false;
  try {
    Dispatch();
  } catch (...) {
    Fail();
  }
  if (--busyCalls == 0) ::SetEvent(ended.Get());
}

// Posts what can go on. The writer first: a single worker then writes and reads in turn.
void TreeWalk::Dispatch() {
  if (failure) return;
  if (plan.stop.IsGiven()) {
    order.remove_if([](const Folder& folder) { return folder.state == Folder::waiting; });
  }
  if (!order.empty() && order.front().state == Folder::read && !writing->busy) Post(*writing);
  for (const auto& reading : readings) {
    if (reading->busy) continue;
    const auto next = NextToRead();
    if (next == order.end()) return;
    next->state = Folder::reading;
    next->held = 1;
    ++ahead;
    reading->folder = next;
    Post(*reading);
  }
}

TreeWalk::Folders::iterator TreeWalk::NextToRead() {
  const auto next = std::ranges::find(order, Folder::waiting, &Folder::state);
  // The first one is taken in any case: all others wait for it.
  return next == order.begin() || ahead < kMostAhead ? next : order.end();
}

void TreeWalk::Post(Call& call) {
  try {
    call.PostIt();
  } catch (const std::length_error&) {
    throw std::bad_alloc();  // the pool's word for it says less
  }
  call.busy = true;
  ++busyCalls;
}

}  // namespace vtctl
