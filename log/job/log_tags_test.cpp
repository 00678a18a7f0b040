#include "vtclass/log_tags.h"

#include <vtclass/win32.h>

#include <gtest/gtest.h>

namespace {

struct Row {
  const wchar_t* const* pointer;
  const wchar_t* text;
};

// Made at the first call: the addresses of what another module exports are no constants.
const auto& Rows() {
  static const Row rows[] = {
// NOLINTNEXTLINE(bugprone-macro-parentheses): names and literals
#define VTCLASS_LOG_TAG(name, shape, text) {&name, L"" text},
#include "vtclass/log_tag_rows.h"
  };
  return rows;
}

TEST(LogTags, Pointers_LieInOneRun_AndHoldTheTablesTexts) {
  for (unsigned n = 0; n < kLogTagCount; ++n) {
    ASSERT_EQ(Rows()[n].pointer, &kTagJobLog + n) << "row " << n;
    EXPECT_STREQ(*Rows()[n].pointer, Rows()[n].text);
  }
}

TEST(LogTags, Run_IsReadOnly) {
  for (const wchar_t* const* end : {Rows()[0].pointer, Rows()[kLogTagCount - 1].pointer}) {
    MEMORY_BASIC_INFORMATION memory = {};
    ASSERT_NE(::VirtualQuery(static_cast<const void*>(end), &memory, sizeof(memory)), 0u)
        << ::GetLastError();
    EXPECT_EQ(memory.Protect, static_cast<DWORD>(PAGE_READONLY));
  }
}

}  // namespace
