#include "tools/vtctl/debuglog/follow.h"

#include <algorithm>
#include <utility>

#include "log/debug/size_limits.h"

namespace vtctl::debuglog {
namespace {

constexpr std::size_t kChunk = 0x40000;
// What is remembered to find the place again in a file that has wrapped.
constexpr std::size_t kRemembered = 4096;
// A line that is longer is shown in pieces.
constexpr std::size_t kLongestLine = 0x100000;

}  // namespace

Follower::Follower(Path log, Sink print, Sink notice)
    : firstPath(std::move(log)),
      path(firstPath),
      print(std::move(print)),
      notice(std::move(notice)) {}

DWORD Follower::Start(std::size_t lines) {
  if (const DWORD status = file.Open(path)) return status;
  mine = file.Identity();
  encoding = file.TextEncoding();
  const uint64_t size = file.Size();
  position = size - std::min<uint64_t>(size, kChunk);
  position -= position % 2;
  position += StartOfLastLines(file.Read(position, kChunk), encoding, lines);
  Poll();
  return ERROR_SUCCESS;
}

void Follower::Poll() {
  OpenMine();
  if (file.IsOpen() && !IsStillOurs()) FindPlaceAfterWrap();
  const bool more = ReadOn();
  if (IsLive()) {
    while (GoToFurtherFile()) ReadOn();
  } else {
    while (GoToNextFile()) ReadOn();
  }
  file.Close();
  // A text without a line end is shown once nothing follows it any more.
  if (!more && wasIdle) Flush();
  wasIdle = !more;
}

// Whether the log is still written to the file at hand, or is about to begin the next one.
bool Follower::IsLive() const {
  TraceFile live;
  return live.Open(path) != ERROR_SUCCESS || live.Identity() == mine;
}

// Opens the file at hand again under the name that it has now; there may be none any more.
void Follower::OpenMine() {
  if (file.Open(path) == ERROR_SUCCESS && file.Identity() == mine) return;
  file.Close();
  for (const RotatedFile& candidate : RotatedFilesOf(path)) {
    if (candidate.index != mine.index) continue;
    // The names may have moved on meanwhile.
    if (file.Open(candidate.path) == ERROR_SUCCESS && file.Identity() == mine) return;
    file.Close();
  }
}

// Reads to the end of the file; true when there was something.
bool Follower::ReadOn() {
  bool any = false;
  for (;;) {
    const std::string bytes = file.Read(position, kChunk);
    if (bytes.empty()) return any;
    any = true;
    position += bytes.size();
    lastRead.append(bytes);
    lastRead.erase(0, lastRead.size() - std::min(lastRead.size(), kRemembered));
    Take(bytes);
  }
}

void Follower::Take(const std::string& bytes) {
  if (position == bytes.size()) encoding = EncodingOf(bytes);
  pending += bytes;
  const std::size_t whole = LengthOfWholeLines(pending, encoding);
  if (whole != 0) print(ShownText(std::string_view(pending).substr(0, whole), encoding));
  pending.erase(0, whole);
  if (pending.size() > kLongestLine) Flush();
}

void Follower::Flush() {
  const std::size_t size = pending.size() - (encoding == Encoding::utf16 ? pending.size() % 2 : 0);
  if (size == 0) return;
  const std::wstring text = ShownText(std::string_view(pending).substr(0, size), encoding);
  if (!text.empty()) print(text);
  pending.erase(0, size);
}

// False when what was read last is no longer where it was: the file has wrapped.
bool Follower::IsStillOurs() const {
  if (file.Size() < position) return false;
  return file.Read(position - lastRead.size(), lastRead.size()) == lastRead;
}

void Follower::FindPlaceAfterWrap() {
  const std::string wanted = std::exchange(lastRead, {});
  // From the end: of equal lines the last ones are those that were read.
  for (uint64_t end = file.Size(); end >= wanted.size() && !wanted.empty();) {
    const uint64_t begin = end - std::min<uint64_t>(end, kChunk);
    const std::string bytes = file.Read(begin, static_cast<std::size_t>(end - begin));
    const std::size_t found = bytes.rfind(wanted);
    if (found != std::string::npos) {
      position = begin + found + wanted.size();
      lastRead = wanted;
      return;
    }
    if (begin == 0) break;
    end = begin + wanted.size() - 1;
  }
  notice(path.Shown() + L" has wrapped; lines in between are missing here.");
  pending.clear();
  position = 0;
}

// Goes to the file that was begun after the one at hand. False when that is the live one already,
// or when the files are being moved this very moment.
bool Follower::GoToNextFile() {
  constexpr int kTries = 20;
  for (int n = 0; n < kTries; ++n, ::Sleep(5)) {
    {
      TraceFile live;
      if (live.Open(path) == ERROR_SUCCESS && live.Identity() == mine) return false;
    }
    // Its writer has left the file, so this is the end of it.
    OpenMine();
    ReadOn();
    Flush();
    const Successor next = FindSuccessor();
    TraceFile opened;
    if (opened.Open(next.path) != ERROR_SUCCESS) continue;
    // The names may have moved on meanwhile.
    if (next.identity ? !(opened.Identity() == *next.identity)
                      : FindSuccessor().identity.has_value())
      continue;
    if (next.isGap) notice(L"The log has rolled so often that lines in between are missing here.");
    GoTo(std::move(opened));
    return true;
  }
  return false;
}

Follower::Successor Follower::FindSuccessor() const {
  std::optional<RotatedPart> found;
  std::optional<Successor> oldest;
  for (const RotatedFile& candidate : RotatedFilesOf(path)) {
    const FileIdentity identity = {mine.volume, candidate.index};
    if (found && found->extension == candidate.part.extension) {
      return {candidate.path, identity, false};
    }
    if (identity == mine) found = candidate.part;
    if (!oldest) oldest = Successor{candidate.path, identity, true};
  }
  return found || !oldest ? Successor{path, std::nullopt, false} : *oldest;
}

void Follower::GoTo(TraceFile&& next) {
  file = std::move(next);
  mine = file.Identity();
  position = 0;
  lastRead.clear();
  pending.clear();
}

// An older file of that name may lie about from an earlier run.
bool Follower::GoToFurtherFile() {
  if (file.Size() < vtclass::log::kSimpleRollSize) return false;
  const Path next(FurtherName(firstPath.System(), number));
  TraceFile opened;
  if (opened.Open(next) != ERROR_SUCCESS) return false;
  const FILETIME theirs = opened.LastWrite();
  const FILETIME ours = file.LastWrite();
  if (::CompareFileTime(&theirs, &ours) < 0) return false;
  ReadOn();
  Flush();
  path = next;
  ++number;
  notice(L"The log goes on in " + path.Shown() + L".");
  GoTo(std::move(opened));
  return true;
}

}  // namespace vtctl::debuglog
