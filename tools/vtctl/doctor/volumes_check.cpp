#include "tools/vtctl/doctor/volumes_check.h"

#include "tools/vtctl/doctor/checks.h"
#include "tools/vtctl/shared/number_text.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl::doctor {
namespace {

// A large disk that is nearly full may still have room for long.
constexpr uint64_t kMuchSpace = 10ULL << 30;

bool IsForMedia(const Volume& volume) {
  return volume.type == Volume::removable || volume.type == Volume::cdRom;
}

Finding JudgeVolume(const Volume& volume) {
  const std::wstring place = volume.paths.empty() ? volume.name : volume.paths.front();
  Finding finding = {.verdict = Verdict::warning, .path = place, .status = volume.error};
  if (!volume.IsReached()) {
    finding.code = "volume-unreachable";
    finding.what = place + L" cannot be reached: " + SystemText(volume.error);
    finding.reason = L"A job that is to save it fails.";
    finding.remedy = L"vtctl volumes tells more of it.";
    return finding;
  }
  if (volume.totalSpace == 0) {
    finding.code = "volume-size-unknown";
    finding.what = place + L" tells no size.";
    finding.reason = L"Whether a log or a snapshot has room on it is not known.";
    finding.remedy = L"vtctl volumes tells more of it.";
    return finding;
  }
  finding.what = place + L" has " + WithUnit(volume.freeSpaceToUser) + L" free of " +
                 WithUnit(volume.totalSpace) + L".";
  if (volume.freeSpaceToUser < kLeastLogSpace) {
    finding.verdict = Verdict::problem;
    finding.code = "volume-full";
    finding.reason = L"Job logs, debug logs and snapshots on it end early.";
    finding.remedy = L"Make room on it.";
  } else if (OccupiedPart(volume) >= kNearlyFull && volume.freeSpaceToUser < kMuchSpace) {
    finding.code = "volume-nearly-full";
    finding.reason = L"Nine tenths and more of it are occupied.";
    finding.remedy = L"Make room on it before it is full.";
  } else {
    finding.verdict = Verdict::ok;
    finding.code = "volume-has-room";
  }
  return finding;
}

}  // namespace

Findings JudgeVolumes(const VolumeList& list) {
  Findings findings;
  for (const Volume& volume : list.volumes) {
    if (!IsForMedia(volume)) findings.push_back(JudgeVolume(volume));
  }
  if (list.error != 0) {
    findings.push_back({.verdict = Verdict::warning,
                        .code = "volumes-untold",
                        .what = L"The list of the volumes ends early: " + SystemText(list.error),
                        .reason = L"There may be more, and agents do not see them.",
                        .remedy = L"Start the machine anew if it stays so.",
                        .status = list.error});
  }
  return findings;
}

void CheckVolumes(Found& found) { found.Add(JudgeVolumes(ListVolumes(WriteTest::none))); }

}  // namespace vtctl::doctor
