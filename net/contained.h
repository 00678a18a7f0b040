#ifndef VTCLASS_NET_CONTAINED_H
#define VTCLASS_NET_CONTAINED_H

#include <vtclass/win32.h>

#include <vtsocket/vtsocket.h>

#include <exception>

namespace vtclass::net {

/* The status that `work` returns, or that of what it throws: the sockets library's errors become
 * their code, and everything else that can be thrown means that memory ran out. */
template <typename Work>
unsigned long StatusOf(Work work) noexcept {
  try {
    return static_cast<unsigned long>(work());
  } catch (const VTSocket::VTSocketError& error) {
    return error.GetErrorCode();
  } catch (const std::exception&) {
    return ERROR_NOT_ENOUGH_MEMORY;
  }
}

}  // namespace vtclass::net

#endif
