#include <vtclass/win32.h>

#include <rpc.h>

#include "platform/bound_function.h"
#include "platform/owned.h"
#include "strings/code_page.h"
#include "strings/conversion.h"
#include "vtclass/strings.h"

namespace {

using vtclass::platform::BoundFunction;

// Bound at their first use: few hosts make texts of GUIDs, and none should load RPC for it.
constinit BoundFunction<decltype(::UuidToStringW)> uuidToString(L"rpcrt4.dll", "UuidToStringW",
                                                                RPC_S_CANNOT_SUPPORT);
constinit BoundFunction<decltype(::RpcStringFreeW)> rpcStringFree(L"rpcrt4.dll", "RpcStringFreeW",
                                                                  RPC_S_CANNOT_SUPPORT);

constexpr std::size_t kGuidTextLength = 38;

struct RpcStringTraits {
  using Type = RPC_WSTR;
  static Type Empty() noexcept { return nullptr; }
  static bool Close(Type text) noexcept { return rpcStringFree(&text) == RPC_S_OK; }
};
using OwnedRpcString = vtclass::platform::Owned<RpcStringTraits>;

}  // namespace

wcstring::wcstring(const GUID& guid) {
  reserve(kGuidTextLength);
  push_back(L'{');
  UUID uuid = guid;
  OwnedRpcString text;
  if (uuidToString(&uuid, text.Receive()) == RPC_S_OK && text) {
    append(reinterpret_cast<const wchar_t*>(text.Get()));
  }
  push_back(L'}');
}

wcstring& wcstring::assign(const char* text, std::size_t length, cstring::codePage cp) {
  if (length == 0) {
    clear();
    return *this;
  }
  const int units = vtclass::strings::ConversionLength(length);
  vtclass::strings::AssignConverted(
      *this, text, length, vtclass::strings::HoldsAscii(cp),
      [=](wchar_t* out, int room) { return ::MultiByteToWideChar(cp, 0, text, units, out, room); });
  return *this;
}
