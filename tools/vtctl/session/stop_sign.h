#ifndef VTCLASS_TOOLS_VTCTL_SESSION_STOP_SIGN_H
#define VTCLASS_TOOLS_VTCTL_SESSION_STOP_SIGN_H

#include <atomic>

namespace vtctl {

/* Tells everyone who works for a session that it ends early: because the operator wants it or
 * because the session cannot go on. Once given it stays. Any thread. */
class StopSign {
 public:
  explicit StopSign(bool (*requested)()) : requested(requested) {}

  void Give() { given = true; }
  bool IsGiven() const { return given || requested(); }

 private:
  bool (*requested)();
  std::atomic<bool> given = false;
};

}  // namespace vtctl

#endif
