#ifndef VTCLASS_CONFIG_REPLICA_NAMES_H
#define VTCLASS_CONFIG_REPLICA_NAMES_H

#include <atomic>
#include <cstddef>
#include <string>
#include <string_view>

namespace vtclass::config {

/* The names of a replicated key's files, and what is done to paths on the way. No windows.h. */

std::wstring_view WithoutBackslashesAtEnd(std::wstring_view path) noexcept;

/* "D:\Rep\" and "Software\A": "D:\Rep\Software_A.dat". Both as they are. */
std::wstring DataFileName(std::wstring_view keyPath, std::wstring_view directory);

/* "D:\Rep\" and 7: "D:\Rep\RegRep7.dat". */
std::wstring TemporaryFileName(std::wstring_view directory, unsigned number);

/* The numbers of temporary files: 1 to kTemporaryNumbers, then from 1 again. `last` is the one that
 * was taken last, 0 before the first. Any thread. */
inline constexpr unsigned kTemporaryNumbers = 99;
unsigned NextTemporaryNumber(std::atomic<unsigned>& last) noexcept;

/* How much of a path names the directory above; 0 when there is none to make: without a backslash
 * that is neither at the end nor at the beginning, and where it is a volume behind "\\?\". */
std::size_t ParentLength(std::wstring_view path) noexcept;

}  // namespace vtclass::config

#endif
