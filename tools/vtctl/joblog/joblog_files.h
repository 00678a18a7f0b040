#ifndef VTCLASS_TOOLS_VTCTL_JOBLOG_JOBLOG_FILES_H
#define VTCLASS_TOOLS_VTCTL_JOBLOG_JOBLOG_FILES_H

#include <vtclass/win32.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/owned.h"
#include "tools/vtctl/shared/paths.h"

namespace vtctl {

/* The word that stands for standard input. */
inline constexpr wchar_t kStandardInput[] = L"-";

/* A job log opened for reading while its job may still be writing it. */
class LogInput {
 public:
  /* The system's status. Nobody else is refused the file, at no moment. A path written as
   * kStandardInput opens that. */
  DWORD Open(const Path& path);

  /* 0 at the end and after a failure, which Error tells. */
  std::size_t Read(char* to, std::size_t room);

  DWORD Error() const { return error; }
  /* Whether another program had the log open then; nothing when the system cannot tell. */
  std::optional<bool> IsOpenElsewhere() const { return isOpenElsewhere; }
  /* In bytes, now; 0 when the system cannot tell. */
  std::uint64_t Size() const;
  /* True when the path leads to this very file. */
  bool IsSameFile(const Path& path) const;

 private:
  vtclass::platform::OwnedFile file;
  HANDLE input = INVALID_HANDLE_VALUE; /* the file or standard input */
  DWORD error = ERROR_SUCCESS;
  std::optional<bool> isOpenElsewhere;
};

/* Writes a file that is there whole or not at all: it is written beside its place and then moved.
 * The system's status. */
DWORD WriteWholeFile(const Path& path, std::string_view bytes);

}  // namespace vtctl

#endif
