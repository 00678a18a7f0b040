#ifndef VTCLASS_PLATFORM_NO_THROW_H
#define VTCLASS_PLATFORM_NO_THROW_H

#include <vtclass/win32.h>

#include <exception>
#include <type_traits>

/* Where exceptions become statuses: nothing that the library throws leaves it but by the border. */
namespace vtclass::platform {

/* What a failure other than want of memory would be, where there is none. Nobody throws it. */
struct NoOtherError {
  unsigned long GetErrorCode() const noexcept { return ERROR_NOT_ENOUGH_MEMORY; }
};

/*
 * The status that `work` returns, 0 for work that returns nothing, or that of what it throws: an
 * `Error`, such as the sockets library's, tells its own code, and everything else that can be
 * thrown means that memory ran out.
 */
template <typename Error = NoOtherError, typename Work>
auto StatusOf(Work work) noexcept {
  using Result = decltype(work());
  using Status = std::conditional_t<std::is_void_v<Result>, unsigned long, Result>;
  try {
    if constexpr (std::is_void_v<Result>) {
      work();
      return Status{ERROR_SUCCESS};
    } else {
      return work();
    }
  } catch (const Error& error) {
    return static_cast<Status>(error.GetErrorCode());
  } catch (const std::exception&) {
    return static_cast<Status>(ERROR_NOT_ENOUGH_MEMORY);
  }
}

/* The object that `make` makes; null when memory runs out. */
template <typename Make>
auto MadeOrNull(Make make) noexcept -> decltype(make()) {
  decltype(make()) made = nullptr;
  StatusOf([&] { made = make(); });
  return made;
}

}  // namespace vtclass::platform

#endif
