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

namespace vtclass::border {

void GuidText(const WideSink& out, const GUID& guid, Failure& failure) noexcept {
  platform::KeepFailure(failure, [&] {
    std::wstring result;
    result.reserve(kGuidTextLength);
    result.push_back(L'{');
    UUID uuid = guid;
    OwnedRpcString text;
    if (uuidToString(&uuid, text.Receive()) == RPC_S_OK && text) {
      result.append(reinterpret_cast<const wchar_t*>(text.Get()));
    }
    result.push_back(L'}');
    platform::HandOver(out, result);
  });
}

void ToWide(const WideSink& out, const char* text, std::size_t length, unsigned int codePage,
            Failure& failure) noexcept {
  platform::KeepFailure(failure, [&] {
    if (length == 0) {
      out.Resize(0);
      return;
    }
    const int units = strings::ConversionLength(length);
    strings::AssignConverted(out, text, length, strings::HoldsAscii(codePage),
                             [=](wchar_t* to, int room) {
                               return ::MultiByteToWideChar(codePage, 0, text, units, to, room);
                             });
  });
}

}  // namespace vtclass::border
