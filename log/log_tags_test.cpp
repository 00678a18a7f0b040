#include "vtclass/log_tags.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cwchar>

namespace {

struct Row {
  const wchar_t* const* pointer;
  const wchar_t* text;
};

const Row kRows[] = {
#define VTCLASS_LOG_TAG(name, shape, text) {&name, L"" text},
#include "vtclass/log_tag_rows.h"
};

TEST(LogTags, Pointers_LieInOneRunInTableOrder) {
  for (unsigned n = 0; n < kLogTagCount; ++n) {
    ASSERT_EQ(kRows[n].pointer, &kTagJobLog + n) << "row " << n;
  }
}

TEST(LogTags, Pointers_HoldTheTablesTexts) {
  for (const Row& row : kRows) EXPECT_EQ(std::wcscmp(*row.pointer, row.text), 0) << row.text;
}

TEST(LogTags, Run_IsReadOnly) {
  for (const wchar_t* const* end : {kRows[0].pointer, kRows[kLogTagCount - 1].pointer}) {
    MEMORY_BASIC_INFORMATION memory = {};
    ASSERT_NE(::VirtualQuery(end, &memory, sizeof(memory)), 0u) << ::GetLastError();
    EXPECT_EQ(memory.Protect, static_cast<DWORD>(PAGE_READONLY));
  }
}

}  // namespace
