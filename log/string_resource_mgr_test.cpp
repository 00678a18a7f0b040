#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "messages/message_ids.h"
#include "tests/support/handle_counter.h"
#include "tests/support/import_hook.h"
#include "tests/support/private_registry.h"
#include "vtclass/log.h"
#include "vtclass/product.h"

namespace vtclass::test {
namespace {

TEST(StringResourceMgr, Get_GivesTheWholeText) {
  const StringResourceMgr messages;
  EXPECT_EQ(messages.Get(1), L"Copied %s, %d bytes\n\n");
  for (const unsigned length : {126u, 127u, 128u, 191u, 192u, 4000u}) {
    EXPECT_EQ(messages.Get(length), std::wstring(length, L'x'));
  }
  EXPECT_EQ(messages.Get(99), L"");
  EXPECT_EQ(messages.GetErrorCode(), 0u);
}

TEST(StringResourceMgr, Library_IsUnloadedWithTheLastCopy) {
  const HandleCounter handles;
  {
    StringResourceMgr other;
    {
      const StringResourceMgr loaded(L"vterrors.dll");
      EXPECT_EQ(loaded.GetErrorCode(), 0u);
      const StringResourceMgr copy(loaded);
      other = copy;
      const StringResourceMgr& self = other;
      other = self;
    }
    EXPECT_EQ(handles.Open(), 1);
    EXPECT_EQ(other.Get(99), L"");
  }
  EXPECT_EQ(handles.Open(), 0);
}

TEST(StringResourceMgr, MissingLibrary_GivesEmptyTexts) {
  for (const wchar_t* library :
       {L"no such library.dll", L"", static_cast<const wchar_t*>(nullptr)}) {
    const StringResourceMgr missing(library);
    EXPECT_NE(missing.GetErrorCode(), 0u);
    EXPECT_EQ(missing.Get(1), L"") << "the program's own text";
  }
}

std::atomic<int> reads;
int WINAPI SlowLoadString(HINSTANCE module, UINT id, LPWSTR out, int room) {
  ++reads;
  ::Sleep(1);
  return ::LoadStringW(module, id, out, room);
}

// Eight threads ask for the same texts, each through a copy. Had the lock been held during a read,
// no text would ever be read twice; afterwards each is cached.
TEST(StringResourceMgr, Get_ByManyThreads_GivesEachTheText) {
  const ImportHook<decltype(::LoadStringW)> hook("USER32.dll", "LoadStringW", &SlowLoadString);
  const StringResourceMgr messages;
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (int n = 0; n < 8; ++n) {
    threads.emplace_back([&] {
      for (unsigned id = 0; id < 200; ++id) {
        const StringResourceMgr copy(messages);
        const std::wstring text = copy.Get(id);
        if (text != StringResourceMgr(copy).Get(id)) ++wrong;
        if ((id == 126 || id == 128) && text.size() != id) ++wrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_GT(reads, 200);
  const int before = reads;
  messages.Get(199);
  EXPECT_EQ(reads, before);
}

constexpr unsigned kFirstMessage = MSG_LANGUAGE_NAME;

TEST(ErrorMessageBase, Language_SelectsTheLibrary) {
  const std::wstring neutral = StringResourceMgr(L"vterrors.dll").Get(kFirstMessage);
  const std::wstring german = StringResourceMgr(L"vterrors_DE.dll").Get(kFirstMessage);
  ASSERT_NE(neutral, german);
  const struct {
    const wchar_t* language;
    unsigned long product;
    const std::wstring& text;
    LCID locale; /* 0: as before */
  } cases[] = {{nullptr, 0, neutral, 0},  {L"DE", 0, german, 1031}, {L"DE", 1, german, 1031},
               {L"IT", 0, neutral, 1040}, {L"XX", 0, neutral, 0},   {L"..\\x", 0, neutral, 0}};
  const LCID locale = ::GetThreadLocale();
  for (const auto& row : cases) {
    const PrivateRegistry registry;
    CMS_SetProd(row.product);
    if (row.language) {
      StoreValue(row.product == 1 ? L"Software\\Quorrel\\Strandel\\VTDS"
                                  : L"Software\\Norvane\\Vantorel For Windows\\Vantorel",
                 L"Language", REG_SZ, row.language,
                 static_cast<DWORD>((wcslen(row.language) + 1) * sizeof(wchar_t)));
    }
    ::SetThreadLocale(locale);
    ErrorMessageBase::set_ModuleInstance(nullptr);
    EXPECT_TRUE(ErrorMessageBase::BaseInit());
    EXPECT_EQ(ErrorMessageBase::GetMessages().Get(kFirstMessage), row.text);
    EXPECT_EQ(::GetThreadLocale(), row.locale ? row.locale : locale);
  }
  ::SetThreadLocale(locale);
  CMS_SetProd(0);
}

TEST(ErrorMessageBase, Library_IsLoadedOnce_AndOnlyFromTheModulesFolder) {
  const PrivateRegistry registry;
  ErrorMessageBase::set_ModuleInstance(LibraryUnderTest());
  {
    const HandleCounter handles;
    const StringResourceMgr before = ErrorMessageBase::GetMessages();
    EXPECT_TRUE(ErrorMessageBase::BaseInit());
    EXPECT_TRUE(ErrorMessageBase::BaseInit());
    EXPECT_EQ(handles.Open(), 1);
    ErrorMessageBase::set_ModuleInstance(::GetModuleHandleW(L"kernel32.dll"));
    EXPECT_FALSE(ErrorMessageBase::BaseInit());
    EXPECT_EQ(ErrorMessageBase::GetMessages().Get(kFirstMessage), L"");
    EXPECT_NE(ErrorMessageBase::GetMessages().GetErrorCode(), 0u);
    EXPECT_NE(before.Get(kFirstMessage), L"") << "handed out before";
  }
  ErrorMessageBase::set_ModuleInstance(reinterpret_cast<HINSTANCE>(std::uintptr_t{4096}));
  EXPECT_FALSE(ErrorMessageBase::BaseInit()) << "no module has this handle";
  ErrorMessageBase::set_ModuleInstance(nullptr);
}

}  // namespace
}  // namespace vtclass::test
