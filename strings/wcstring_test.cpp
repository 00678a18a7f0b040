#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <rpc.h>

#include <climits>
#include <new>
#include <stdexcept>

#include "tests/support/allocations.h"
#include "tests/support/import_hook.h"
#include "vtclass/strings.h"

namespace {

using vtclass::test::Allocations;
using vtclass::test::ImportHook;

// The pages of the library's enumeration, standing names, stateful, EBCDIC and symbol pages, pages
// in which a backslash or a percent sign is another character, and a number that names no page.
constexpr unsigned kPages[] = {
    0,     1,     2,     3,     37,    42,    437,   500,   708,   720,   737,   775,   850,
    852,   855,   857,   858,   860,   861,   862,   863,   864,   865,   866,   869,   874,
    875,   932,   936,   949,   950,   1026,  1250,  1251,  1252,  1253,  1254,  1255,  1256,
    1257,  1258,  1361,  10000, 10001, 10007, 12345, 20127, 20866, 21866, 28591, 28592, 28595,
    28599, 28605, 38598, 50220, 51949, 52936, 54936, 65000, 65001};

cstring::codePage Page(unsigned number) { return static_cast<cstring::codePage>(number); }

// The platform's own answer: ask for the size, then convert.
std::wstring TwoCalls(const std::string& text, unsigned page) {
  const int length = static_cast<int>(text.size());
  const int needed = ::MultiByteToWideChar(page, 0, text.data(), length, nullptr, 0);
  std::wstring out(static_cast<std::size_t>(needed), 0);
  const int made = ::MultiByteToWideChar(page, 0, text.data(), length, out.data(), needed);
  out.resize(static_cast<std::size_t>(made));
  return out;
}

TEST(wcstring, Assign_InEveryPage_GivesWhatThePlatformGives) {
  std::string ascii;
  std::string upper;
  for (int value = 0; value < 128; ++value) {
    ascii += static_cast<char>(value);
    upper += static_cast<char>(value + 128);
  }
  const std::string texts[] = {ascii,
                               upper,
                               ascii + upper,
                               "a",
                               "fifteen bytes..",
                               "\x83\x65\x83\x58\x83g",
                               std::string("a\0b\0", 4),
                               "na\xC3\xAFve \xE2\x82\xAC \xF0\x9F\x98\x80",
                               "\xC3",
                               "+AGE-",
                               "\x1B$B%F\x1B(B",
                               "~{VPND~}",
                               std::string(512, 'x'),
                               std::string(513, 'x'),
                               std::string(5000, 'x') + "\xE9",
                               std::string(700, '\xE9'),
                               ascii.substr(1, 99)};
  for (const unsigned page : kPages) {
    for (const std::string& text : texts) {
      wcstring out(L"before");
      EXPECT_EQ(&out.assign(text.data(), text.size(), Page(page)), &out);
      ASSERT_EQ(out, TwoCalls(text, page)) << "page " << page << ": " << text;
    }
    for (const char unit : ascii) {
      wcstring out;
      out.assign(&unit, 1, Page(page));
      ASSERT_EQ(out, TwoCalls(std::string(1, unit), page)) << "page " << page << ": " << int{unit};
    }
  }
}

TEST(wcstring, Assign_NothingOrUnknownPage_EmptiesTheString) {
  wcstring out(L"before");
  EXPECT_TRUE(out.assign(nullptr, 0, cstring::utf8).empty());
  out = L"before";
  EXPECT_TRUE(out.assign("text", 4, Page(12345)).empty());
}

TEST(wcstring, Assign_FromItsOwnMemory_ReadsBeforeItWrites) {
  for (const std::size_t length : {20u, 3000u}) {
    wcstring text(std::wstring(length, L'\x6261'));
    text.assign(reinterpret_cast<const char*>(text.data()), length * 2, cstring::windows1252);
    ASSERT_EQ(text.size(), length * 2);
    EXPECT_EQ(text.substr(0, 4), L"abab");
    EXPECT_EQ(text.substr(length * 2 - 2), L"ab");
  }
}

// What is thrown inside the DLL is caught by its type here: the library and its callers each carry
// their own C++ run time.
TEST(wcstring, Assign_BeyondThePlatformsLengths_ThrowsLengthError) {
  wcstring text(L"before");
  for (const std::size_t length : {std::size_t{INT_MAX} + 1, std::size_t{1} << 32, SIZE_MAX}) {
    EXPECT_THROW(text.assign("x", length, cstring::utf8), std::length_error);
    EXPECT_EQ(text, L"before");
  }
}

TEST(wcstring, Assign_AllocationFails_ThrowsAndKeepsTheContents) {
  for (const std::string& source :
       {std::string(100, 'x'), std::string(5000, 'x'), std::string(5000, '\xC3')}) {
    wcstring text(L"before");
    long n = 1;
    for (;; ++n) {
      Allocations allocations;
      allocations.FailAt(n);
      try {
        text.assign(source.data(), source.size(), cstring::utf8);
      } catch (const std::bad_alloc&) {
        ASSERT_EQ(text, L"before") << n;
      }
      if (!allocations.Failed()) break;
      ASSERT_EQ(text, L"before") << "failure " << n << " was swallowed";
    }
    EXPECT_GT(n, 1) << "nothing was allocated";
    EXPECT_EQ(text, TwoCalls(source, CP_UTF8));
  }
}

constexpr GUID kGuid = {
    0x12345678, 0x9ABC, 0xDEF0, {0x0F, 0xED, 0xCB, 0xA9, 0x87, 0x65, 0x43, 0x21}};

long freed = 0;
RPC_STATUS WINAPI CountFree(RPC_WSTR* text) {
  ++freed;
  return ::RpcStringFreeW(text);
}

TEST(wcstring, Guid_IsInRegistryForm_AndThePlatformsTextIsFreedOnce) {
  const ImportHook<decltype(::RpcStringFreeW)> hook("RPCRT4.dll", "RpcStringFreeW", &CountFree);
  freed = 0;
  EXPECT_EQ(wcstring(GUID{}), L"{00000000-0000-0000-0000-000000000000}");
  EXPECT_EQ(freed, 1);
  EXPECT_EQ(wcstring(kGuid), L"{12345678-9abc-def0-0fed-cba987654321}");
  EXPECT_EQ(freed, 2);
}

RPC_STATUS WINAPI RefuseText(UUID*, RPC_WSTR*) { return RPC_S_OUT_OF_MEMORY; }
RPC_STATUS WINAPI GiveNoText(UUID*, RPC_WSTR* text) {
  *text = nullptr;
  return RPC_S_OK;
}

TEST(wcstring, Guid_PlatformGivesNoText_IsEmptyBraces) {
  const ImportHook<decltype(::RpcStringFreeW)> freeHook("RPCRT4.dll", "RpcStringFreeW", &CountFree);
  freed = 0;
  for (decltype(&::UuidToStringW) replacement : {&RefuseText, &GiveNoText}) {
    const ImportHook<decltype(::UuidToStringW)> hook("RPCRT4.dll", "UuidToStringW", replacement);
    EXPECT_EQ(wcstring(kGuid), L"{}");
  }
  EXPECT_EQ(freed, 0);
}

}  // namespace
