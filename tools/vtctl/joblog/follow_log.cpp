#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "joblog/entry_filter.h"
#include "joblog/joblog_reader.h"
#include "tools/vtctl/joblog/show.h"
#include "tools/vtctl/joblog/shown_log.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/interrupt.h"
#include "tools/vtctl/shared/wait.h"

namespace vtctl {
namespace {

using namespace vtclass::joblog;

constexpr DWORD kPollMilliseconds = 200;
// By so many bytes one log is told from another: behind the header stand its job and its time.
constexpr std::size_t kFrontBytes = 4096;
// The shortest XML header, in ANSI.
constexpr std::uint64_t kHeaderBytes = 44;
// A look reads the log from its beginning: looks take a tenth of the time at most.
constexpr DWORD kRestPerLook = 9;

// Events that more of the log may still change: an entry that is being written, and the end that
// a log seems to have where its writer stands.
bool IsProvisional(const Event& event) {
  if (event.kind == EventKind::kDocumentEnd) return !event.closed;
  const bool isText = event.kind == EventKind::kEntry || event.kind == EventKind::kFolder;
  return isText && event.partial;
}

/*
 * Reads a log while its job writes it. Each look reads it anew and passes on what it has not passed
 * on yet, so an entry is told once, and as a whole, whatever of it was there before.
 */
class Following {
 public:
  explicit Following(const ShowRequest& wanted)
      : arguments(wanted.arguments),
        file(wanted.logs.front()),
        shown(arguments, file, output),
        filter(wanted.wanted, [this](const Event& event) { shown.Handle(event); }) {}

  int Run();

 private:
  int Look();
  void NoteWhenChanged(std::string_view begin);

  const ShowArguments& arguments;
  const Path file;
  Output output;
  ShownLog shown;
  EntryFilter filter;
  std::uint64_t passedOn = 0;
  std::vector<Event> provisional; /* at the end of the last look */
  std::uint64_t size = 0;
  std::string front; /* its first bytes at the last look */
  bool isBegun = false;
  bool isEnded = false;
  std::optional<bool> isOpen;
};

// A log that grows keeps its first bytes.
void Following::NoteWhenChanged(std::string_view begin) {
  const bool isAnother = !begin.starts_with(front);
  front = begin.substr(0, kFrontBytes);
  if (!isAnother) return;
  passedOn = 0;
  Remark(
      L"The log does not go on as it was: it has wrapped, or another one has its name. It is told "
      L"again from its beginning, and what came in between may be missing.");
}

// An exit code that ends everything, or kExitClean.
int Following::Look() {
  LogInput input;
  if (const DWORD status = input.Open(file)) return OpenFailure(file, status);
  const std::uint64_t now = input.Size();
  if (now == size) return kExitClean;
  size = now;
  // A job has just begun its log, or begins it anew.
  if (now < kHeaderBytes) return kExitClean;
  isBegun = true;
  isOpen = input.IsOpenElsewhere();
  bool isFirst = true;
  JobLogReader reader([&](char* to, std::size_t room) {
    const std::size_t count = input.Read(to, room);
    if (std::exchange(isFirst, false)) NoteWhenChanged({to, count});
    return count;
  });
  std::uint64_t count = 0;
  provisional.clear();
  isEnded = false;
  const auto passOn = [&](const Event& event) {
    if (count++ >= passedOn) filter.Handle(event);
  };
  for (Event event; reader.Next(event);) {
    if (Interrupted()) return kExitClean;
    if (IsProvisional(event)) {
      provisional.push_back(event);
      continue;
    }
    for (const Event& held : provisional) passOn(held);
    provisional.clear();
    passOn(event);
    isEnded = event.kind == EventKind::kDocumentEnd;
  }
  passedOn = std::max(passedOn, count);
  output.Flush();
  return ReadFailure(file, input, reader.Refused());
}

int Following::Run() {
  const Deadline deadline(arguments.seconds);
  if (arguments.csv) output.Add(CsvHeader());
  WaitEnd end = WaitEnd::timeout;
  while (true) {
    const ULONGLONG begin = ::GetTickCount64();
    if (const int failed = Look()) return failed;
    if (isEnded || deadline.IsOver() || Interrupted() || OutputIsLost()) break;
    const auto took = static_cast<DWORD>(::GetTickCount64() - begin);
    const DWORD rest = std::max(kPollMilliseconds, took * kRestPerLook);
    end = WaitFor(nullptr, std::min(rest, deadline.Left()));
    if (end != WaitEnd::timeout) break;
  }
  if (!isBegun) return Fail(kExitBadInput, Quoted(file) + L" holds no job log yet.");
  for (const Event& event : provisional) filter.Handle(event);
  const int verdict = shown.Close(filter, isOpen);
  if (Interrupted()) return kExitCancelled;
  return end == WaitEnd::failed ? kExitInternal : verdict;
}

}  // namespace

int FollowLog(const ShowRequest& request) { return Following(request).Run(); }

}  // namespace vtctl
