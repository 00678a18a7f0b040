#include "tools/vtctl/doctor/run_check.h"

#include <exception>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "platform/module_thread.h"
#include "platform/owned.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/number_text.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl::doctor {

using Lock = vtclass::platform::BasicScopedLock<vtclass::platform::CriticalSection>;

void Found::Add(Finding finding) {
  const Lock guard(lock);
  findings.push_back(std::move(finding));
}

void Found::Add(Findings more) {
  for (Finding& finding : more) Add(std::move(finding));
}

Findings Found::Take() {
  const Lock guard(lock);
  return std::exchange(findings, {});
}

namespace {

using vtclass::platform::OwnedKernelObject;
using vtclass::platform::StartCallersThread;

// What the check's thread and whoever waits for it share; the last one of the two ends it.
struct Running {
  Running(Check check, DWORD limit) : check(check), found(limit) {}
  const Check check;
  Found found;
};

Finding Broken(std::wstring reason, unsigned long status = 0) {
  return {.verdict = Verdict::problem,
          .code = "check-failed",
          .what = L"This could not be looked at to the end.",
          .reason = std::move(reason),
          .remedy = L"Try again; ask for this alone with --only.",
          .status = status};
}

void RunGuarded(Check check, Found& found) {
  try {
    check(found);
  } catch (const std::bad_alloc&) {
    found.Add(Broken(L"There is not enough memory.", ERROR_NOT_ENOUGH_MEMORY));
  } catch (const std::exception& error) {
    found.Add(Broken(FromUtf8(error.what())));
  } catch (const unsigned long code) {  // as the lists of volumes throw it
    found.Add(Broken(SystemText(code), code));
  }
}

// The thread's own share, which ends before the thread does.
DWORD RunHeld(std::shared_ptr<Running>& held) {
  const std::unique_ptr<std::shared_ptr<Running>> share(&held);
  RunGuarded(held->check, held->found);
  return 0;
}

// A thread that nobody need join; empty, with the reason as the last error, when it does not start.
OwnedKernelObject Start(const std::shared_ptr<Running>& running) {
  auto share = std::make_unique<std::shared_ptr<Running>>(running);
  unsigned id = 0;
  OwnedKernelObject thread = StartCallersThread<&RunHeld>(*share, 0, id);
  if (thread) share.release();  // NOLINT(bugprone-unused-return-value): it is the thread's now
  return thread;                // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks): which deletes it
}

Finding TimedOut(DWORD milliseconds) {
  return {.verdict = Verdict::problem,
          .code = "check-timed-out",
          .what = L"No answer within " + Duration(milliseconds, {}) + L".",
          .reason =
              L"Something that this asks does not answer: a name server, a service, a disk. "
              L"Agents that ask the same wait as long.",
          .remedy = L"Ask for this alone with --only and a longer --timeout.",
          .status = ERROR_TIMEOUT};
}

Finding Interrupted() {
  return {.verdict = Verdict::problem,
          .code = "check-interrupted",
          .what = L"Interrupted before it came to its end.",
          .reason = L"What it had not looked at yet is not known.",
          .remedy = L"Run vtctl doctor again."};
}

}  // namespace

CheckResult RunCheck(const CheckRow& row, DWORD milliseconds) {
  CheckResult result;
  result.row = row;
  const auto running = std::make_shared<Running>(row.check, milliseconds);
  const ULONGLONG start = ::GetTickCount64();
  const OwnedKernelObject thread = Start(running);
  result.end = thread ? WaitFor(thread.Get(), milliseconds) : WaitEnd::failed;
  const DWORD error = ::GetLastError();
  result.milliseconds = static_cast<unsigned long>(::GetTickCount64() - start);
  result.findings = running->found.Take();
  if (result.end == WaitEnd::timeout) result.findings.push_back(TimedOut(milliseconds));
  if (result.end == WaitEnd::interrupted) result.findings.push_back(Interrupted());
  if (result.end == WaitEnd::failed) result.findings.push_back(Broken(SystemText(error), error));
  return result;
}

}  // namespace vtctl::doctor
