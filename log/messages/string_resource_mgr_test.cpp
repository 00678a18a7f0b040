#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <atomic>
#include <bit>
#include <string_view>
#include <thread>
#include <vector>

#include "messages/message_ids.h"
#include "tests/support/answered_look_ups.h"
#include "tests/support/handle_counter.h"
#include "tests/support/import_hook.h"
#include "tests/support/private_registry.h"
#include "vtclass/log.h"
#include "vtclass/product.h"

namespace vtclass::test {
namespace {

constexpr unsigned kMessage = MSG_LANGUAGE_NAME;

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
  // The first look-up binds a library of the platform, which stays.
  EXPECT_EQ(StringResourceMgr().Get(99), L"");
  const HandleCounter handles;
  {
    StringResourceMgr last;
    const StringResourceMgr& self = last;
    last = StringResourceMgr(StringResourceMgr(L"vterrors.dll"));
    last = self;
    EXPECT_EQ(handles.Open(), 1);
    EXPECT_NE(last.Get(kMessage), L"");
    EXPECT_EQ(last.GetErrorCode(), 0u);
    StringResourceMgr other(L"vterrors.dll");
    last = other;
    EXPECT_EQ(handles.Open(), 1) << "the assignment keeps what it replaced";
    other = StringResourceMgr();
    last = other;
    EXPECT_EQ(handles.Open(), 0);
  }
  for (const wchar_t* library : {L"missing.dll", L"", static_cast<const wchar_t*>(nullptr)}) {
    const StringResourceMgr missing(library);
    EXPECT_NE(missing.GetErrorCode(), 0u);
    EXPECT_EQ(missing.Get(1), L"") << "the program's own text";
  }
}

std::vector<DWORD> loadFlags;
DWORD version;

HMODULE WINAPI RememberFlags(LPCWSTR, HANDLE, DWORD flags) {
  loadFlags.push_back(flags);
  ::SetLastError(ERROR_BAD_EXE_FORMAT);
  return nullptr;
}

DWORD WINAPI ThisVersion() { return version; }

TEST(StringResourceMgr, Library_IsLoadedAsAFileOfData) {
  const ImportHook<decltype(::LoadLibraryExW)> load("KERNEL32.dll", "LoadLibraryExW",
                                                    &RememberFlags);
  const ImportHook<decltype(::GetVersion)> ask("KERNEL32.dll", "GetVersion", &ThisVersion);
  for (const DWORD given : {0u, 0x80000000u}) {  // an NT system, and one of the other family
    version = given;
    EXPECT_EQ(StringResourceMgr(L"vterrors.dll").GetErrorCode(), DWORD{ERROR_BAD_EXE_FORMAT});
  }
  EXPECT_EQ(loadFlags, (std::vector<DWORD>{3, 2}));
  loadFlags.clear();
}

std::atomic<int> reads;
std::atomic<bool> slow;
int WINAPI CountedLoadString(HINSTANCE module, UINT id, LPWSTR out, int room) {
  ++reads;
  if (slow) ::Sleep(1);
  return ::LoadStringW(module, id, out, room);
}

FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
  if (std::string_view(name) == "LoadStringW") {
    return std::bit_cast<FARPROC>(&CountedLoadString);
  }
  return ::GetProcAddress(module, name);
}

[[maybe_unused]] auto* const lookUps =  // NOLINT(cert-err58-cpp): GoogleTest does the same
    AnswerLookUps(&LookUp);

// Eight threads ask for the same texts, each through copies. Had the lock been held during a read,
// no text would be read twice; afterwards each is cached.
TEST(StringResourceMgr, Get_ByManyThreads_GivesEachTheText) {
  const StringResourceMgr messages;
  std::atomic<int> right = 0;
  reads = 0;
  slow = true;
  const auto ask = [&] {
    for (unsigned id = 100; id < 200; ++id) {
      // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): copying is what is tried
      const StringResourceMgr copy(messages);
      const bool present = (id >= 126 && id <= 128) || id == 191 || id == 192;
      right += copy.Get(id).size() == (present ? id : 0);
    }
  };
  {
    std::vector<std::jthread> threads;
    threads.reserve(8);
    for (int n = 0; n < 8; ++n) threads.emplace_back(ask);
  }
  const int before = reads;
  ask();
  slow = false;
  EXPECT_EQ(right, 9 * 100);
  EXPECT_GT(before, 100);
  EXPECT_EQ(reads, before);
}

TEST(ErrorMessageBase, Language_SelectsTheLibrary) {
  const std::wstring neutral = StringResourceMgr(L"vterrors.dll").Get(kMessage);
  const std::wstring german = StringResourceMgr(L"vterrors_DE.dll").Get(kMessage);
  ASSERT_NE(neutral, german);
  const LCID locale = ::GetThreadLocale();
  const struct {
    std::wstring language;
    unsigned long product;
    const std::wstring& text;
    LCID locale;
  } cases[] = {
      {L"DE", 0, german, 1031},    {L"de", 1, german, 1031},      {L"IT", 0, neutral, 1040},
      {L"ES", 0, neutral, 1034},   {L"Zh", 0, neutral, 2052},     {L"CH", 0, neutral, 1028},
      {L"KO", 0, neutral, 1042},   {L"RU", 1, neutral, 1049},     {L"PT", 0, neutral, 1046},
      {L"XX", 0, neutral, locale}, {L"..\\x", 0, neutral, locale}};
  for (const auto& row : cases) {
    const PrivateRegistry registry;
    CMS_SetProd(row.product);
    StoreValue(row.product == 1 ? L"Software\\Quorrel\\Strandel\\VTDS"
                                : L"Software\\Norvane\\Vantorel For Windows\\Vantorel",
               L"Language", REG_SZ, row.language.c_str(),
               static_cast<DWORD>((row.language.size() + 1) * sizeof(wchar_t)));
    ::SetThreadLocale(locale);
    ErrorMessageBase::set_ModuleInstance(nullptr);
    EXPECT_TRUE(ErrorMessageBase::BaseInit());
    EXPECT_EQ(ErrorMessageBase::GetMessages().Get(kMessage), row.text);
    EXPECT_EQ(::GetThreadLocale(), row.locale);
  }
  ::SetThreadLocale(locale);
  CMS_SetProd(0);
}

TEST(ErrorMessageBase, Library_IsLoadedOnce_AndOnlyFromTheModulesFolder) {
  const PrivateRegistry registry;
  ErrorMessageBase::set_ModuleInstance(LibraryUnderTest());
  const HandleCounter handles;
  const StringResourceMgr before = ErrorMessageBase::GetMessages();
  EXPECT_TRUE(ErrorMessageBase::BaseInit());
  EXPECT_TRUE(ErrorMessageBase::BaseInit());
  EXPECT_EQ(handles.Open(), 1);
  // Another folder, and no module at all.
  for (const HINSTANCE module : {::GetModuleHandleW(L"kernel32.dll"), HINSTANCE{} + 1024}) {
    ErrorMessageBase::set_ModuleInstance(module);
    EXPECT_FALSE(ErrorMessageBase::BaseInit());
    EXPECT_EQ(ErrorMessageBase::GetMessages().Get(kMessage), L"");
  }
  EXPECT_NE(before.Get(kMessage), L"") << "handed out before";
  ErrorMessageBase::set_ModuleInstance(nullptr);
}

}  // namespace
}  // namespace vtclass::test
