#include "log/entry_text.h"

#include <gtest/gtest.h>

#include "log/message_language.h"
#include "log/wrap_marker.h"

namespace vtclass::log {
namespace {

struct TextCase {
  const wchar_t* text;
  const wchar_t* result; /* null: refused */
};

TEST(EntryText, MakeClosingTag_KeepsTheName) {
  const TextCase cases[] = {
      {L"<joblog>", L"</joblog>"}, {L"<OperationErrors Type=\"x\">", L"</OperationErrors>"},
      {L"<a\tb c>", L"</a>"},      {L"< a>", L"</>"},
      {L"x <a b>", L"x </a>"},     {L"<", L"</"},
      {L"joblog>", nullptr},       {L"", nullptr},
  };
  for (const TextCase& row : cases) {
    WideText closing = L"before";
    EXPECT_EQ(MakeClosingTag(row.text, closing), row.result != nullptr) << row.text;
    EXPECT_EQ(closing, row.result ? row.result : L"before");
  }
}

TEST(EntryText, UmiPrefix_NeedsBit29) {
  EXPECT_STREQ(UmiPrefix(0xE0008488).Text(), L"<UMI>Q-79-57344-33928</UMI>");
  EXPECT_STREQ(UmiPrefix(0xFFFFFFFF).Text(), L"<UMI>Q-79-65535-65535</UMI>");
  EXPECT_STREQ(UmiPrefix(0x20000000).Text(), L"<UMI>Q-79-8192-0</UMI>");
  EXPECT_STREQ(UmiPrefix(0xC0008488).Text(), L"");
}

TEST(EntryText, UnbracketUtilityPartition_TakesTheFirst) {
  const TextCase cases[] = {
      {L"", L""},
      {L"a<b", L"a<b"},
      {L"<Utility Partition>", L"Utility Partition"},
      {L"<&<Utility Partition>\\x <Utility Partition>",
       L"<&Utility Partition\\x <Utility Partition>"},
      {L"<Utility Partition", L"<Utility Partition"},
      {L"<utility partition>", L"<utility partition>"},
  };
  for (const TextCase& row : cases) {
    WideText text = row.text;
    EXPECT_EQ(UnbracketUtilityPartition(text.data(), text.size()), WideView(row.result).size());
    EXPECT_STREQ(text.c_str(), row.result);
  }
}

TEST(WrapMarker, MarkWrapped_BlanksTheCutLine) {
  const struct {
    const char* chunk;
    const char* result;
  } cases[] = {
      {"0123456789012345678901234\r\nnext\r\n", "This file has wrapped.    \nnext\r\n"},
      {"0123\r\n78901234567890123\r\n", "This file has wrapped.  \n"},
      {"012345678901234567890123", "This file has wrapped.23"},
      {"0123", "This"},
      {"", ""},
  };
  for (const auto& row : cases) {
    std::string chunk = row.chunk;
    MarkWrapped(chunk);
    EXPECT_EQ(chunk, row.result);
  }
}

TEST(MessageLanguage, TwoLettersOnly_SelectALocale) {
  EXPECT_EQ(LocaleOfLanguage(L"JP"), 1041u);
  EXPECT_EQ(LocaleOfLanguage(L"de"), 1031u);
  EXPECT_EQ(LocaleOfLanguage(L"XX"), 0u);
  EXPECT_EQ(LocaleOfLanguage(L"D"), 0u);
  EXPECT_TRUE(IsLanguageCode(L"xX"));
  for (const wchar_t* code : {L"", L"D", L"DEU", L"..", L"D\\", L"\x00C4\x00D6"}) {
    EXPECT_FALSE(IsLanguageCode(code)) << code;
  }
}

}  // namespace
}  // namespace vtclass::log
