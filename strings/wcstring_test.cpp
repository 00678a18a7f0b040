#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <rpc.h>

#include "tests/support/import_hook.h"
#include "vtclass/strings.h"

namespace {

using vtclass::test::ImportHook;

constexpr GUID kGuid = {
    0x12345678, 0x9ABC, 0xDEF0, {0x0F, 0xED, 0xCB, 0xA9, 0x87, 0x65, 0x43, 0x21}};

long freed = 0;
RPC_STATUS WINAPI CountFree(RPC_WSTR* text) {
  ++freed;
  return ::RpcStringFreeW(text);
}
RPC_STATUS WINAPI RefuseText(UUID*, RPC_WSTR*) { return RPC_S_OUT_OF_MEMORY; }
RPC_STATUS WINAPI GiveNoText(UUID*, RPC_WSTR* text) {
  *text = nullptr;
  return RPC_S_OK;
}

TEST(wcstring, Guid_IsInRegistryForm_AndThePlatformsTextIsFreedOnce) {
  const ImportHook<decltype(::RpcStringFreeW)> freeHook("RPCRT4.dll", "RpcStringFreeW", &CountFree);
  freed = 0;
  EXPECT_EQ(wcstring(GUID{}), L"{00000000-0000-0000-0000-000000000000}");
  EXPECT_EQ(wcstring(kGuid), L"{12345678-9abc-def0-0fed-cba987654321}");
  EXPECT_EQ(freed, 2);
  for (decltype(&::UuidToStringW) replacement : {&RefuseText, &GiveNoText}) {
    const ImportHook<decltype(::UuidToStringW)> hook("RPCRT4.dll", "UuidToStringW", replacement);
    EXPECT_EQ(wcstring(kGuid), L"{}");
  }
  EXPECT_EQ(freed, 2);
}

}  // namespace
