#ifndef VTCLASS_TOOLS_VTCTL_JOBLOG_SHOWN_LOG_H
#define VTCLASS_TOOLS_VTCTL_JOBLOG_SHOWN_LOG_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "joblog/csv_view.h"
#include "joblog/entry_filter.h"
#include "joblog/folder_trail.h"
#include "joblog/joblog_reader.h"
#include "joblog/json_view.h"
#include "joblog/summary.h"
#include "joblog/text_view.h"
#include "tools/vtctl/joblog/joblog_files.h"
#include "tools/vtctl/joblog/show.h"

namespace vtctl {

/* Gathers lines, so that a long log is not a system call a line. */
class Output {
 public:
  ~Output() { Flush(); }
  void Add(std::string_view lines);
  void Flush();

 private:
  std::string buffer;
};

/* Prints the events of one file in the way that the operator has asked for, and what they come to.
 */
class ShownLog {
 public:
  ShownLog(const ShowArguments& arguments, const Path& file, Output& output);

  void Handle(const vtclass::joblog::Event& event);
  /* The exit code. */
  int Close(const vtclass::joblog::EntryFilter& filter, std::optional<bool> isOpen);

 private:
  void NoteOnErrors(const vtclass::joblog::Tally& tally) const;

  const ShowArguments& arguments;
  Output& output;
  vtclass::joblog::Place place;
  vtclass::joblog::TextView text;
  vtclass::joblog::FolderTrail trail;
  vtclass::joblog::Summary summary;
};

/* As the operator wrote it, without the folders. */
std::string NameOf(const Path& file);
/* True when the operator wants colours, or the terminal shows them. */
bool WantsColour(Colours colours);

/* What a command ends with when this is the worst that its logs tell. */
int ExitCodeOf(vtclass::joblog::Severity worst);
/* Why a log cannot be opened, or read to its end. */
int OpenFailure(const Path& file, DWORD status);
/* The first of what went wrong while a log was read; kExitClean when nothing did. */
int ReadFailure(const Path& file, const LogInput& input,
                const std::optional<vtclass::joblog::Refusal>& refusal);

}  // namespace vtctl

#endif
