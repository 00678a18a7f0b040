#include <vtclass/win32.h>

#include "vtcluster/vtcluster.h"

// GetComputerNameW itself gives a program that a cluster has started the network name of its
// group, so both functions are the system's own answer.

int VTGetComputerName(wchar_t* buffer, unsigned long* size) {
  return ::GetComputerNameW(buffer, size);
}

int VTGetComputerNameW(wchar_t* buffer, unsigned long* size) {
  return ::GetComputerNameW(buffer, size);
}
