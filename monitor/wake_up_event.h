#ifndef VTCLASS_MONITOR_WAKE_UP_EVENT_H
#define VTCLASS_MONITOR_WAKE_UP_EVENT_H

#include "platform/owned.h"

namespace vtclass::monitor {

/*
 * Makes or opens the machine-wide event by which clients are told that the monitoring switches have
 * changed. A new one gives everyone access, since services and tools run under many accounts; of
 * one that exists only the right to wait is needed. Returns a Win32 status, ERROR_INVALID_HANDLE
 * where an object of another kind has the name; `event` is set at 0 only.
 */
unsigned long OpenWakeUpEvent(platform::OwnedKernelObject& event) noexcept;

}  // namespace vtclass::monitor

#endif
