#include "tools/vtctl/security/own.h"

#include "platform/failure_code.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/number_text.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {
namespace {

using vtclass::OwnershipStep;

constexpr ULONGLONG kInterval = 100;

// Counts the entries and tells of them as they come.
class Work {
 public:
  explicit Work(const OwnRequest& request) : request(request) {}

  // The operation for trees calls this.
  static bool OnEntry(OwnershipStep step, const wchar_t* path, unsigned long status,
                      void* context) {
    Work& work = *static_cast<Work*>(context);
    work.isTelling = true;
    return work.Tell({step, Path(path), status});
  }

  // Whether the walk goes on.
  bool Tell(const OwnFailure& entry) {
    if (entry.status == ERROR_SUCCESS) {
      ++result.taken;
      ShowProgress(entry.path);
    } else {
      if (result.failed++ == 0) first = entry.status;
      TellFailure(entry);
    }
    isTelling = false;
    result.isStopped = request.isTree && request.stopRequested();
    return !result.isStopped;
  }

  // `status` is that of the first failure unless it is one of the operation itself.
  OwnResult End(unsigned long status) {
    HideProgress();
    // What is thrown while an entry is told ends the walk.
    if (isTelling) status = ERROR_NOT_ENOUGH_MEMORY;
    if (status != first && !result.isStopped) {
      Tell({vtclass::ownershipTaken, request.path, status});
    }
    return std::move(result);
  }

 private:
  void TellFailure(const OwnFailure& failure);
  void ShowProgress(const Path& path);
  void HideProgress();

  const OwnRequest& request;
  OwnResult result;
  unsigned long first = ERROR_SUCCESS;  // why something failed for the first time
  bool isTelling = false;
  const bool isVisible = !request.isSilent && ErrorIsTerminal();
  ULONGLONG next = ::GetTickCount64() + kInterval;
  bool isShown = false;
};

void Work::TellFailure(const OwnFailure& failure) {
  if (request.isSilent) {
    result.failures.push_back(failure);
    return;
  }
  HideProgress();
  const wchar_t* const what =
      failure.step == vtclass::folderNotListed ? L": not listed: " : L": not taken over: ";
  Print(failure.path.Shown() + what + SystemText(failure.status) + L"\n");
}

// A line on standard error that stays, where that is a terminal: a file or a program that reads
// gets the failures and the summary, and no more.
void Work::ShowProgress(const Path& path) {
  const ULONGLONG now = ::GetTickCount64();
  if (!isVisible || now < next) return;
  next = now + kInterval;
  PrintStatus(Grouped(result.taken, {}) + L" taken over  " + path.Shown());
  isShown = true;
}

void Work::HideProgress() {
  if (isShown) ClearStatus();
  isShown = false;
}

unsigned long TakeOne(const wchar_t* path) {
  ::SetLastError(ERROR_SUCCESS);
  return ::TakeOwnership(path) != 0 ? ERROR_SUCCESS : vtclass::platform::FailureCode();
}

}  // namespace

// The path goes to the library as it was written: it refuses some by that.
OwnResult TakeOver(const OwnRequest& request) {
  Work work(request);
  const wchar_t* const path = request.path.Written().c_str();
  if (request.isTree) return work.End(vtclass::TakeFolderOwnership(path, &Work::OnEntry, &work));
  const unsigned long status = TakeOne(path);
  work.Tell({vtclass::ownershipTaken, request.path, status});
  return work.End(status);
}

}  // namespace vtctl
