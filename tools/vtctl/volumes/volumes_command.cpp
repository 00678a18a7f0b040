#include <algorithm>
#include <optional>

#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/system_text.h"
#include "tools/vtctl/shared/volume.h"
#include "tools/vtctl/volumes/volume_text.h"
#include "tools/vtctl/volumes/watch_volumes.h"

namespace vtctl {
namespace {

constexpr const char* kExamples =
    "A volume is what a file system lies on: a partition, a medium, a shared disk of a cluster. "
    "It\n"
    "keeps its name \"\\\\?\\Volume{...}\\\" whatever drive letter it gets. Network drives are "
    "none.\n"
    "The bar shows the occupied part, and is yellow from 90% on.\n"
    "\n"
    "Whether a volume is writable is found out as an agent does it: a hidden file _VT101_.TMP of "
    "30\n"
    "bytes is made in its root and deleted, as the account that runs vtctl. Nothing is written to\n"
    "CD-ROM drives, to what says of itself that it is read-only, with --no-write-test and with\n"
    "--watch.\n"
    "\n"
    "--watch looks every second and prints a line for a volume that arrives, leaves or changes, "
    "and\n"
    "when its free space has changed by --step megabytes.\n"
    "\n"
    "Examples:\n"
    "  vtctl volumes\n"
    "  vtctl volumes --json --no-write-test\n"
    "  vtctl volumes --csv > volumes.csv\n"
    "  vtctl volumes --watch --for 60 --step 100\n"
    "\n"
    "Exit codes: 0 clean, 1 a volume cannot be reached (an empty drive for media does not count;\n"
    "--watch does not tell it), 69 the system does not list its volumes, or not all of them, 130\n"
    "interrupted.";

struct VolumesArguments : CommonArguments {
  bool csv = false;
  bool noWriteTest = false;
  bool watch = false;
  unsigned seconds = 0;
  unsigned step = 10;
};

void PrintBlocks(const VolumeList& list) {
  const auto columns = static_cast<size_t>(TerminalWidth());
  const bool colours = ColoursWanted();
  for (const Volume& volume : list.volumes) Print(Block(volume, columns, colours) + L"\n");
  Print(CountText(list.volumes) + L".\n");
}

int List(const VolumesArguments& arguments) {
  const VolumeList list = ListVolumes(arguments.noWriteTest ? WriteTest::none : WriteTest::file);
  if (arguments.json) {
    Json json = {{"volumes", Json::array()}};
    for (const Volume& volume : list.volumes) json["volumes"].push_back(ToJson(volume));
    AddStatus(json, list.error);
    PrintJson(json);
  } else if (arguments.csv) {
    Print(Csv(list.volumes));
  } else {
    PrintBlocks(list);
  }
  if (list.error != 0) {
    return Fail(kExitNoAnswer, L"The list of the volumes ends here, and there may be more",
                list.error);
  }
  return std::ranges::any_of(list.volumes, IsMissed) ? kExitWarnings : kExitClean;
}

int Run(const VolumesArguments& arguments) {
  if (arguments.csv && (arguments.json || arguments.watch)) {
    return Fail(kExitUsage, L"--csv goes neither with --json nor with --watch.");
  }
  if (!arguments.watch) return List(arguments);
  constexpr uint64_t kMegabyte = 1 << 20;
  return WatchVolumes({arguments.seconds, arguments.step * kMegabyte, arguments.json});
}

}  // namespace

void AddVolumesCommand(Command& program) {
  auto volumes = program.Add("volumes",
                             "List the volumes: where each is reached, its space, whether "
                             "it can be written",
                             kExamples, Run);
  volumes.Flag("--csv", volumes->csv, "One line a volume, for spreadsheets");
  volumes.Flag("--no-write-test", volumes->noWriteTest,
               "Make no file to find out whether a volume is writable");
  volumes.Flag("--watch", volumes->watch, "Print changes as they come; Ctrl+C ends it");
  const Argument seconds = volumes.Count("--for SECONDS", volumes->seconds,
                                         "With --watch: end after so many seconds", kSeconds);
  const Argument step =
      volumes.Count("--step MB", volumes->step,
                    "With --watch: how much free space counts as a change (10); 0: any",
                    NumberRange<unsigned>{0, 1000000000});
  volumes.Json("One JSON object; with --watch one a change");
  volumes.Require([seconds, step, volumes] {
    const bool isAlone = (seconds.IsGiven() || step.IsGiven()) && !volumes->watch;
    return isAlone ? std::string("--for and --step go with --watch, which") : std::string();
  });
}

}  // namespace vtctl
