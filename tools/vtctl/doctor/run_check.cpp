#include "tools/vtctl/doctor/run_check.h"

#include <exception>
#include <memory>
#include <new>
#include <string>
#include <system_error>
#include <thread>

#include "platform/owned.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/number_text.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl::doctor {
namespace {

using vtclass::platform::OwnedKernelObject;

// What the check and whoever waits for it share; the last one of the two ends it.
struct Running {
  OwnedKernelObject done{::CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  Findings findings;
};

Finding Broken(std::wstring reason, unsigned long status = 0) {
  return {.verdict = Verdict::problem,
          .code = "check-failed",
          .what = L"This could not be looked at to the end.",
          .reason = std::move(reason),
          .remedy = L"Try again; ask for this alone with --only.",
          .status = status};
}

Findings RunGuarded(Check check) {
  try {
    return check();
  } catch (const std::bad_alloc&) {
    return {Broken(L"There is not enough memory.", ERROR_NOT_ENOUGH_MEMORY)};
  } catch (const std::exception& error) {
    return {Broken(FromUtf8(error.what()))};
  } catch (const unsigned long code) {  // as the lists of volumes throw it
    return {Broken(SystemText(code), code)};
  }
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

}  // namespace

CheckResult RunCheck(const CheckRow& row, DWORD milliseconds) {
  CheckResult result;
  result.row = row;
  const auto running = std::make_shared<Running>();
  const ULONGLONG start = ::GetTickCount64();
  std::thread([running, check = row.check] {
    running->findings = RunGuarded(check);
    ::SetEvent(running->done.Get());
  }).detach();
  result.end = WaitFor(running->done.Get(), milliseconds);
  result.milliseconds = static_cast<unsigned long>(::GetTickCount64() - start);
  if (result.end == WaitEnd::signalled) result.findings = std::move(running->findings);
  if (result.end == WaitEnd::timeOut) result.findings = {TimedOut(milliseconds)};
  if (result.end == WaitEnd::failed) result.findings = {Broken(SystemText(::GetLastError()))};
  return result;
}

}  // namespace vtctl::doctor
