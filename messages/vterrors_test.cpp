#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "messages/message_codes.h"
#include "platform/owned.h"

namespace {

using Texts = std::map<unsigned, std::wstring>;

struct Library {
  const wchar_t* file;
  const wchar_t* languageName;
};

constexpr Library kLibraries[] = {{L"vterrors.dll", L"English"},
                                  {L"vterrors_EN.dll", L"English"},
                                  {L"vterrors_DE.dll", L"Deutsch"},
                                  {L"vterrors_FR.dll", L"Fran\u00E7ais"},
                                  {L"vterrors_JP.dll", L"\u65E5\u672C\u8A9E"}};

// Every text of a library, found the way its users find one: by asking for the id.
Texts Read(const wchar_t* file) {
  const vtclass::platform::OwnedModule module(
      ::LoadLibraryExW(file, nullptr, LOAD_LIBRARY_AS_DATAFILE));
  Texts texts;
  for (unsigned id = 1; module && id <= 0xFFFF; ++id) {
    const wchar_t* text = nullptr;  // Room 0: the call answers with the text's place and length.
    const int length = ::LoadStringW(module.Get(), id, reinterpret_cast<wchar_t*>(&text), 0);
    if (length > 0) texts.emplace(id, std::wstring(text, static_cast<size_t>(length)));
  }
  return texts;
}

// "%s%u" of "set %s, number %u": what the formatter takes from the arguments.
std::wstring Conversions(const std::wstring& text) {
  std::wstring found;
  for (size_t at = text.find(L'%'); at != std::wstring::npos; at = text.find(L'%', at)) {
    const size_t end = text.find_first_of(L"sud%", at + 1);
    if (end == std::wstring::npos) return L"a % without a conversion";
    found += text.substr(at, end + 1 - at);
    at = end + 1;
  }
  return found;
}

// A translation with other conversions makes the formatter read arguments that are not there.
TEST(Vterrors, Texts_AreCleanLinesOfTheirLanguage_WithTheArgumentsOfTheEnglishOnes) {
  const Texts english = Read(L"vterrors_EN.dll");
  for (const Library& library : kLibraries) {
    SCOPED_TRACE(library.file);
    const Texts texts = Read(library.file);
    ASSERT_EQ(texts.size(), size_t{MESSAGE_COUNT}) << "an id without text, or one number twice";
    EXPECT_EQ(texts.at(MSG_LANGUAGE_NAME), library.languageName);
    for (const auto& [id, text] : texts) {
      ASSERT_TRUE(english.contains(id)) << id;
      EXPECT_EQ(Conversions(text), Conversions(english.at(id))) << id;
      EXPECT_EQ(text.find_first_of(L"\r\n\t\uFFFD"), std::wstring::npos) << id;
      EXPECT_NE(text.front(), L' ') << id;
      EXPECT_NE(text.back(), L' ') << id;
    }
  }
}

// The text of a code in the message table; "" when there is none.
std::wstring MessageOf(HMODULE module, long code) {
  wchar_t text[1024] = L"";
  ::FormatMessageW(FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_IGNORE_INSERTS, module,
                   static_cast<DWORD>(code), MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), text,
                   ARRAYSIZE(text), nullptr);
  return text;
}

// "%s: %u" as "%1: %2!u!" and a line feed.
std::wstring AsMessage(std::wstring text) {
  int number = 0;
  for (size_t at = text.find(L'%'); at != std::wstring::npos; at = text.find(L'%', at + 1)) {
    const std::wstring insert = std::to_wstring(++number);
    text.replace(at + 1, 1, text[at + 1] == L'u' ? insert + L"!u!" : insert);
  }
  return text + L"\r\n";
}

TEST(Vterrors, MessageTable_HoldsWarningsAndErrorsUnderTheirCodes_AndNoOthers) {
  using vtclass::messages::ErrorCode;
  using vtclass::messages::WarningCode;
  for (const Library& library : kLibraries) {
    SCOPED_TRACE(library.file);
    const vtclass::platform::OwnedModule module(
        ::LoadLibraryExW(library.file, nullptr, DONT_RESOLVE_DLL_REFERENCES));
    for (const auto& [id, text] : Read(library.file)) {
      const bool isWarning = id / 1000 == 4, isError = id / 1000 == 5;
      EXPECT_EQ(MessageOf(module.Get(), WarningCode(id)), isWarning ? AsMessage(text) : L"");
      EXPECT_EQ(MessageOf(module.Get(), ErrorCode(id)), isError ? AsMessage(text) : L"");
      EXPECT_EQ(MessageOf(module.Get(), static_cast<long>(id)), L"") << "a number of the system's";
    }
  }
  const vtclass::platform::OwnedModule english(
      ::LoadLibraryExW(L"vterrors_EN.dll", nullptr, DONT_RESOLVE_DLL_REFERENCES));
  EXPECT_EQ(MessageOf(english.Get(), vtclass::messages::kCodeFilePartlyRead),
            L"%1 is shorter than expected: %2 of %3 bytes were read.\r\n");
}

TEST(MessageCodes, Code_CarriesSeverityCustomerBitAndMessage) {
  using namespace vtclass::messages;
  EXPECT_EQ(static_cast<unsigned long>(kCodeAccessDenied), 0xA0510FA1UL);
  EXPECT_EQ(static_cast<unsigned long>(kCodeFileReadFailed), 0xE051138AUL);
}

}  // namespace
