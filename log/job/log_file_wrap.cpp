#include "log/job/log_file_state.h"
#include "log/wrap_marker.h"

using namespace vtclass::log;

// The text that made the file too large is written, whatever becomes of the wrap: its print
// succeeds.
void LogFile::State::WrapIfTooLarge() {
  // A kept size that the file has not reached leaves nothing to cut.
  if (!wrapEnabled || fileSize <= maximumSize || fileSize <= keptSize) return;
  const DWORD failure =
      MoveToFront(file.Get(), fileSize - keptSize, 0, fileSize, unicode ? nullptr : &MarkWrapped);
  if (failure == ERROR_SUCCESS) {
    fileSize = keptSize;
    return;
  }
  // Trying again would overwrite the front of the file once more at every print.
  wrapEnabled = 0;
  lastError = failure;
  // A position in the middle would let the next text overwrite what the file keeps.
  torn = GoToEnd(file.Get(), &fileSize) != ERROR_SUCCESS;
}
