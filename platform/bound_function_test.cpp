#include "platform/bound_function.h"

#include <gtest/gtest.h>

namespace vtclass::platform {
namespace {

TEST(BoundFunction, Missing_IsAnsweredWithItsReason_AndLeavesNothingLoaded) {
  const struct {
    const wchar_t* library;
    DWORD error;
  } rows[] = {{L"vtclass_no_such.dll", ERROR_MOD_NOT_FOUND},
              {L"avicap32.dll", ERROR_PROC_NOT_FOUND}};
  for (const auto& [library, error] : rows) {
    ASSERT_EQ(::GetModuleHandleW(library), nullptr);
    BoundFunction<decltype(::GetTickCount)> function(library, "NoSuchFunction", 7);
    ::SetLastError(4711);
    EXPECT_EQ(function(), 7u);
    EXPECT_EQ(::GetLastError(), error);
    EXPECT_EQ(::GetModuleHandleW(library), nullptr);
  }
}

}  // namespace
}  // namespace vtclass::platform
