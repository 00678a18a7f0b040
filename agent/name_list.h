#ifndef VTCLASS_AGENT_NAME_LIST_H
#define VTCLASS_AGENT_NAME_LIST_H

#include <string>
#include <string_view>

namespace vtclass::agent {

/*
 * Packs the names of a stored list (REG_MULTI_SZ) into `others` again, each with its zero, without
 * the first that is the same as `name`; true when there was one. Two names are the same when they
 * have the same length and comparei finds no difference. The zero behind all names is left to the
 * caller: `others` has room for it, and for one more `name`. Throws std::bad_alloc.
 */
bool TakeOut(const std::wstring& stored, std::wstring_view name, std::wstring& others);

}  // namespace vtclass::agent

#endif
