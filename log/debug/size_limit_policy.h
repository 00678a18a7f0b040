#ifndef VTCLASS_LOG_DEBUG_SIZE_LIMIT_POLICY_H
#define VTCLASS_LOG_DEBUG_SIZE_LIMIT_POLICY_H

#include <vtclass/win32.h>

#include <memory>

#include "log/debug/size_limits.h"
#include "log/file_bytes.h"
#include "platform/owned.h"

namespace vtclass::log {

/* The file of a debug log, as a policy finds and leaves it. */
struct LiveFile {
  platform::OwnedFile& file; /* at its end; empty when it could not be opened again */
  Position& size;
  const wchar_t* path;
  bool unicode;
};

/* What is done when a debug log's file has become too large. Called under the log's lock. */
class SizeLimitPolicy {
 public:
  SizeLimitPolicy() = default;
  SizeLimitPolicy(const SizeLimitPolicy&) = delete;
  SizeLimitPolicy& operator=(const SizeLimitPolicy&) = delete;
  virtual ~SizeLimitPolicy() = default;

  /*
   * Makes room. S_OK, or an HRESULT; after a failure the log goes on in the file as it is left,
   * and asks again later. Nothing of the live file is lost beyond what the limits take.
   */
  virtual long MakeRoom(LiveFile& live) = 0;
};

/* The policy of these limits; none for the simple roll. Throws std::bad_alloc. */
std::unique_ptr<SizeLimitPolicy> MakePolicy(const SizeLimits& limits);

}  // namespace vtclass::log

#endif
