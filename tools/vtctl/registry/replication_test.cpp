#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "platform/owned.h"
#include "tests/support/eventually.h"
#include "tests/support/random_name.h"
#include "tests/support/run_vtctl.h"
#include "tests/support/scratch_folder.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/exit_code.h"

namespace vtctl {
namespace {

using test::VtctlRun;
using vtclass::platform::OwnedFile;
using vtclass::test::Eventually;
using vtclass::test::FileBytes;
using vtclass::test::MakeFile;
using Words = std::vector<std::wstring>;

class ReplicationCommands : public testing::Test {
 protected:
  ReplicationCommands() { Put(1); }
  ~ReplicationCommands() override { ::RegDeleteTreeW(HKEY_CURRENT_USER, subkey.c_str()); }

  void Put(DWORD number) const {
    EXPECT_EQ(::RegSetKeyValueW(HKEY_CURRENT_USER, subkey.c_str(), L"n", REG_DWORD, &number, 4), 0);
  }

  const std::wstring name = L"vtclass-test-" + vtclass::test::RandomName();
  const std::wstring subkey = L"Software\\" + name;
  const std::wstring key = L"HKCU\\" + subkey;
  const vtclass::test::ScratchFolder scratch;
  const std::wstring folder = scratch / L"Rep";
  const std::wstring data = folder + L"\\Software_" + name + L".dat";
};

TEST_F(ReplicationCommands, Once_SavesAndTellsWhatIsWrong) {
  MakeFile(scratch / L"file", "");
  const struct {
    Words words;
    int code;
    std::wstring text;
  } rows[] = {
      {{key, folder}, kExitClean, L"saved to " + data + L", "},
      {{key, folder + L"\\", L"--json"},
       kExitClean,
       L"\"saved\":true,\"error\":null,\"status\":null}"},
      {{key, scratch / L"file"}, kExitCannotWrite, L" cannot be replicated to " + scratch.Path()},
      {{key + L"\\none", folder}, kExitNoInput, L"\\none cannot be opened: "},
      {{L"HKCU", folder}, kExitUsage, L"HKEY_CURRENT_USER is a root: name a key below it."},
      {{key, L""}, kExitUsage, L"DIR is empty"}};
  for (const auto& row : rows) {
    Words words = {L"replicate", L"--once"};
    words.insert(words.end(), row.words.begin(), row.words.end());
    VtctlRun run(words);
    EXPECT_EQ(run.ExitCode(), row.code);
    const std::string printed = run.Output() + run.ErrorOutput();
    EXPECT_NE(printed.find(ToUtf8(row.text)), std::string::npos) << printed;
  }
  const OwnedFile reader(::CreateFileW(data.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                       OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(reader);
  VtctlRun fails({L"replicate", key, folder, L"--once", L"--json"});
  EXPECT_EQ(fails.ExitCode(), kExitCannotWrite);
  EXPECT_EQ(nlohmann::json::parse(fails.Output())["status"], 183);
  EXPECT_NE(fails.ErrorOutput().find("somebody holds the data file open"), std::string::npos);
}

// The 3 seconds for which changes settle pass as they do.
TEST_F(ReplicationCommands, Replicate_FollowsTheKeyUntilItIsDeleted) {
  VtctlRun run({L"replicate", key, folder});
  const auto printed = [&](const char* text) {
    return Eventually([&] { return run.Output().find(text) != std::string::npos; });
  };
  ASSERT_TRUE(printed("  saved to ")) << run.ErrorOutput();
  const std::string before = FileBytes(data);
  {
    const OwnedFile reader(::CreateFileW(data.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                         OPEN_EXISTING, 0, nullptr));
    Put(2);
    EXPECT_TRUE(Eventually([&] {
      return run.ErrorOutput().find("  not saved: somebody holds the data file open") !=
             std::string::npos;
    })) << run.Output();
  }
  EXPECT_EQ(FileBytes(data), before);
  EXPECT_EQ(::RegDeleteKeyW(HKEY_CURRENT_USER, subkey.c_str()), ERROR_SUCCESS);
  EXPECT_EQ(run.ExitCode(), kExitNoInput);
  EXPECT_NE(run.ErrorOutput().find("has been deleted"), std::string::npos) << run.ErrorOutput();
}

TEST_F(ReplicationCommands, Restore_AsksFirst_AndNamesTheDataFile) {
  VtctlRun missing({L"restore", key, folder, L"--yes"});
  EXPECT_EQ(missing.ExitCode(), kExitNoInput);
  EXPECT_NE(missing.ErrorOutput().find(ToUtf8(data) + " cannot be found"), std::string::npos);
  ASSERT_EQ(VtctlRun({L"replicate", key, folder, L"--once"}).ExitCode(), kExitClean);
  EXPECT_EQ(::RegDeleteKeyW(HKEY_CURRENT_USER, subkey.c_str()), ERROR_SUCCESS);
  const auto exists = [&] {
    vtclass::platform::OwnedRegistryKey found;
    return ::RegOpenKeyExW(HKEY_CURRENT_USER, subkey.c_str(), 0, KEY_READ, found.Receive()) == 0;
  };
  VtctlRun asks({L"restore", key, folder}, "yes\n");
  EXPECT_EQ(asks.ExitCode(), kExitUsage);
  EXPECT_NE(asks.ErrorOutput().find("no terminal"), std::string::npos);
  EXPECT_FALSE(exists());
  VtctlRun restores({L"restore", key, folder + L"\\\\", L"--yes"});
  EXPECT_EQ(restores.ExitCode(), kExitClean);
  EXPECT_NE(restores.Output().find("was restored from " + ToUtf8(data) + "."), std::string::npos);
  EXPECT_TRUE(exists());
}

}  // namespace
}  // namespace vtctl
