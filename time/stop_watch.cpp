#include "vtclass/date_time.h"

void StopWatch::Start() noexcept {
  if (running) return;
  startTime.SetToNow();
  running = true;
}

void StopWatch::Stop() noexcept {
  accumulatedTime = ElapsedTime();
  running = false;
}

void StopWatch::Reset() noexcept {
  accumulatedTime = TimeSpan(0, 0, 0, 0, 0);
  if (running) startTime.SetToNow();
}

TimeSpan StopWatch::ElapsedTime() const noexcept {
  if (!running) return accumulatedTime;
  const DateTime now(DateTime::CurrentTime);
  const auto before = static_cast<unsigned long long>(accumulatedTime.GetTicks());
  return TimeSpan(before + now.GetTicks() - startTime.GetTicks());
}
