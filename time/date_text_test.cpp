#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/support/allocations.h"
#include "tests/support/import_hook.h"
#include "vtclass/date_time.h"

namespace {

using vtclass::test::Allocations;
using vtclass::test::ImportHook;

// One of the four operations, and the system's call behind it.
template <typename TextType, bool kIsDate>
struct Operation {
  using Text = TextType;
  using Unit = typename Text::value_type;
  static constexpr bool kIsWide = sizeof(Unit) == 2;
  using Call = int WINAPI(LCID, DWORD, const SYSTEMTIME*, const Unit*, Unit*, int);

  static Call* System() {
    if constexpr (kIsWide) return kIsDate ? &::GetDateFormatW : &::GetTimeFormatW;
    if constexpr (!kIsWide) return kIsDate ? &::GetDateFormatA : &::GetTimeFormatA;
  }
  static std::string Name() {
    return std::string(kIsDate ? "GetDateFormat" : "GetTimeFormat") + (kIsWide ? "W" : "A");
  }
  static std::vector<DWORD> Flags() {
    if (kIsDate) return {DATE_SHORTDATE, DATE_LONGDATE};
    return {0, TIME_NOSECONDS, TIME_NOMINUTESORSECONDS, TIME_FORCE24HOURFORMAT, TIME_NOTIMEMARKER};
  }
  static Text& Fill(const DateTime& time, Text& out, DWORD flags) {
    if (kIsDate) return time.FormatDate(out, flags == DATE_LONGDATE ? -1 : 0);
    return flags ? time.FormatTime(out, flags) : time.FormatTime(out);
  }
};

// What the system answers to the call for the length, and how long the text is after that.
struct Script {
  int asked, then;
};

LCID chosenLocale = 0;
std::optional<Script> script;

// The system in the chosen locale, or as the script has it.
template <typename Op>
int WINAPI Played(LCID locale, DWORD flags, const SYSTEMTIME* time,
                  const typename Op::Unit* picture, typename Op::Unit* text, int room) {
  EXPECT_EQ(locale, LCID{0x400});
  EXPECT_EQ(picture, nullptr);
  if (!script) return Op::System()(chosenLocale, flags, time, picture, text, room);
  if (room == 0) return script->asked;
  if (script->then > room) return 0;
  for (int i = 0; i < script->then; ++i) text[i] = i + 1 < script->then ? 'x' : 0;
  return script->then;
}

template <typename Op>
class DateTextTest : public testing::Test {
 protected:
  using Text = typename Op::Text;

  DateTextTest() { script.reset(); }

  // A text in another code page, and longer than any date.
  static Text Before() {
    if constexpr (Op::kIsWide) return Text(std::wstring(100, L'b'));
    if constexpr (!Op::kIsWide) return Text(std::string(100, 'b').c_str(), cstring::utf8);
  }

  // The time's text in place of another one, and in the ANSI code page.
  Text Filled(const DateTime& time, DWORD flags) {
    Text text = Before();
    EXPECT_EQ(&Op::Fill(time, text, flags), &text);
    if constexpr (!Op::kIsWide) EXPECT_EQ(text.GetCodePage(), cstring::acp);
    return text;
  }

  const ImportHook<typename Op::Call> hook{"KERNEL32.dll", Op::Name().c_str(), &Played<Op>};
  const DateTime someTime{2009, 11, 28, 22, 7, 9, 0};
};

using Operations = testing::Types<Operation<wcstring, true>, Operation<cstring, true>,
                                  Operation<wcstring, false>, Operation<cstring, false>>;
TYPED_TEST_SUITE(DateTextTest, Operations);

// English (United States, Canada), German, Polish, Russian, Japanese, Arabic, Thai.
constexpr LCID kLocales[] = {0x409, 0x1009, 0x407, 0x415, 0x419, 0x411, 0x401, 0x41E};

TYPED_TEST(DateTextTest, IsWhatTheSystemWrites_InEveryLocale) {
  for (const LCID locale : kLocales) {
    chosenLocale = locale;
    for (const DateTime& time : {DateTime(2009, 2, 3, 4, 7, 9, 0), this->someTime,
                                 DateTime(1601, 1, 2, 0, 0, 0, 0), DateTime(9999, 363)}) {
      for (const DWORD flags : TypeParam::Flags()) {
        typename TypeParam::Unit expected[256] = {};
        SYSTEMTIME fields = {};
        time.GetDateTime(fields);
        TypeParam::System()(locale, flags, &fields, nullptr, expected, 256);
        EXPECT_EQ(this->Filled(time, flags), expected) << locale << " " << flags;
      }
    }
  }
}

TYPED_TEST(DateTextTest, ALengthThatChanges_GivesTheShorterTextOrNone) {
  for (const int length : {0, 1, 2, 12, 13, 64}) {
    for (const int change : {-length, -1, 0, 1, 60}) {
      script = {length, length + change};
      const bool fits = length > 0 && change <= 0 && length + change > 0;
      const std::string expected(fits ? static_cast<std::size_t>(length + change - 1) : 0, 'x');
      EXPECT_EQ(this->Filled(this->someTime, 2), typename TypeParam::Text(expected.c_str()))
          << length << " " << change;
    }
  }
}

// The text's own memory is all that is needed.
TYPED_TEST(DateTextTest, WithoutMemory_IsEmpty) {
  script = {600, 600};
  for (const HMODULE module : {vtclass::test::ThisProgram(), vtclass::test::LibraryUnderTest()}) {
    auto text = this->Before();
    Allocations allocations(module);
    allocations.FailAt(1);
    TypeParam::Fill(this->someTime, text, 1);
    EXPECT_EQ(allocations.Failed(), module == vtclass::test::ThisProgram());
    EXPECT_EQ(text.size(), allocations.Failed() ? 0u : 599u);
  }
}

}  // namespace
