#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <rpc.h>

#include <bit>
#include <string_view>

#include "tests/support/import_hook.h"
#include "vtclass/strings.h"

namespace {

using vtclass::test::ImportHook;

enum Answer { real, refused, none } answer = real;
long freed = 0;

RPC_STATUS WINAPI AnswerText(UUID* uuid, RPC_WSTR* text) {
  if (answer == real) return ::UuidToStringW(uuid, text);
  *text = nullptr;
  return answer == none ? RPC_S_OK : RPC_S_OUT_OF_MEMORY;
}

RPC_STATUS WINAPI CountFree(RPC_WSTR* text) {
  ++freed;
  return ::RpcStringFreeW(text);
}

FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
  const std::string_view wanted(name);
  if (wanted == "UuidToStringW") return std::bit_cast<FARPROC>(&AnswerText);
  if (wanted == "RpcStringFreeW") return std::bit_cast<FARPROC>(&CountFree);
  return ::GetProcAddress(module, name);
}

// The DLL keeps the addresses from its first look-up on; no other test of this program makes one,
// and a second pass of this one finds them kept.
TEST(wcstring, Guid_IsInRegistryForm_AndThePlatformsTextIsFreedOnce) {
  static const ImportHook<decltype(::GetProcAddress)> hook("KERNEL32.dll", "GetProcAddress",
                                                           &LookUp);
  answer = real;
  freed = 0;
  constexpr GUID kGuid = {0x12345678, 0x9ABC, 0xDEF0, {0x0F, 0xED, 0xCB, 0xA9, 0x87, 0x65, 0x43}};
  EXPECT_EQ(wcstring(GUID{}), L"{00000000-0000-0000-0000-000000000000}");
  EXPECT_EQ(wcstring(kGuid), L"{12345678-9abc-def0-0fed-cba987654300}");
  for (const Answer failing : {refused, none}) {
    answer = failing;
    EXPECT_EQ(wcstring(kGuid), L"{}");
  }
  EXPECT_EQ(freed, 2);
}

}  // namespace
