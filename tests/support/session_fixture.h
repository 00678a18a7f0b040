#ifndef VTCLASS_TESTS_SUPPORT_SESSION_FIXTURE_H
#define VTCLASS_TESTS_SUPPORT_SESSION_FIXTURE_H

#include <vtclass/win32.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/support/import_hook.h"
#include "tests/support/private_registry.h"
#include "tests/support/scratch_folder.h"
#include "tools/vtctl/session/session.h"
#include "tools/vtctl/shared/paths.h"

namespace vtctl {

inline std::wstring LineOf(const Finding& finding) {
  return FindingLine(finding.code, finding.text);
}

/* A session in this process, over a folder of its own, with a registry of its own. */
class SessionTest : public testing::Test {
 protected:
  SessionTest() {
    EXPECT_TRUE(messages.Load(L"EN"));
    ::CreateDirectoryW((scratch / L"tree").c_str(), nullptr);
    ::CreateDirectoryW((scratch / L"tree\\sub").c_str(), nullptr);
    vtclass::test::MakeFile(scratch / L"tree\\one.txt", "0123456789");
    vtclass::test::MakeFile(scratch / L"tree\\sub\\two.bin", std::string(300000, 'x'));
    request.root = Path(scratch / L"tree");
    request.out = Path(scratch.Path());
    request.settingsKey = SessionKey();
    request.stopRequested = [] { return false; };
  }

  SessionResult Run() {
    Progress progress(Progress::none);
    Session session(request, messages, progress);
    EXPECT_TRUE(session.Start());
    return session.Run();
  }

  std::wstring LogText(const SessionResult& result) {
    const std::string bytes = vtclass::test::FileBytes(result.logPath.System());
    std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));
    return text;
  }

  vtclass::test::PrivateRegistry registry;
  vtclass::test::ScratchFolder scratch;
  Messages messages;
  SessionRequest request;
};

}  // namespace vtctl

#endif
