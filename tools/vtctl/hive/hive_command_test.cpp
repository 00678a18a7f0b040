// vtctl hive as a script runs it, and the comparison with live keys.
#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <vtclass/security.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "hive/key_tree.h"
#include "platform/owned.h"
#include "tests/support/hive_builder.h"
#include "tests/support/import_hook.h"
#include "tests/support/private_registry.h"
#include "tests/support/run_vtctl.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/wine.h"
#include "tools/vtctl/hive/diff.h"
#include "tools/vtctl/hive/hive_file.h"
#include "tools/vtctl/shared/exit_code.h"

extern "C" __declspec(dllimport) LONG NTAPI NtDeleteKey(HANDLE key);

namespace vtctl {
namespace {

using test::VtctlRun;
using vtclass::platform::OwnedRegistryKey;
using vtclass::test::BuildHive;
using vtclass::test::FindCell;
using vtclass::test::HiveKey;
using vtclass::test::HiveValue;
using vtclass::test::MakeFile;
using vtclass::test::Replace;
using vtclass::test::ScratchFolder;
using Json = nlohmann::json;

// A key with every kind of place for data: in the record, in a cell, in pieces.
HiveKey Sample() {
  return {L"root",
          {{L"", 1, std::string("t\0e\0x\0t\0\0\0", 10)},
           {L"number", 4, std::string("\x2A\0\0\0", 4)},
           {L"large", 3, std::string(40000, 'x')}},
          {{L"A", {{L"\x1B[2J", 3, "1"}}, {{L"below", {{L"v", 77, "12345"}}, {}}}},
           {L"\x4E00", {}, {}}}};
}

OwnedRegistryKey Create(HKEY parent, const std::wstring& name, DWORD options = 0) {
  OwnedRegistryKey key;
  EXPECT_EQ(::RegCreateKeyExW(parent, name.c_str(), 0, nullptr, options,
                              KEY_ALL_ACCESS | (options ? KEY_CREATE_LINK : 0), nullptr,
                              key.Receive(), nullptr),
            ERROR_SUCCESS);
  return key;
}

void Store(HKEY key, const HiveKey& contents) {
  for (const HiveValue& value : contents.values) {
    EXPECT_EQ(::RegSetValueExW(key, value.name.c_str(), 0, value.type,
                               reinterpret_cast<const BYTE*>(value.data.data()),
                               static_cast<DWORD>(value.data.size())),
              ERROR_SUCCESS);
  }
  for (const HiveKey& subkey : contents.subkeys) Store(Create(key, subkey.name).Get(), subkey);
}

class HiveCommand : public testing::Test {
 protected:
  VtctlRun Run(const wchar_t* what, std::vector<std::wstring> more = {}) const {
    std::vector<std::wstring> words = {L"hive", what, path};
    words.insert(words.end(), more.begin(), more.end());
    return VtctlRun(words);
  }

  // Lines as the comparison reports them, without the system's words.
  std::vector<std::wstring> Differences(const HiveKey& file, HKEY key) {
    const std::string hive = BuildHive(file);
    vtclass::hive::KeyTree tree;
    ReadHive({reinterpret_cast<const unsigned char*>(hive.data()), hive.size()}, tree,
             [](const vtclass::hive::Problem&) { ADD_FAILURE(); });
    std::vector<std::wstring> lines;
    summary = CompareWithKey(tree, key, [&lines](const Difference& difference) {
      lines.push_back(std::to_wstring(difference.kind) + L" " + difference.key + L"|" +
                      difference.name + L"|" + (difference.inFile ? L"f" : L"") +
                      (difference.inRegistry ? L"r" : L"") + std::to_wstring(difference.status));
    });
    return lines;
  }

  ScratchFolder scratch;
  std::wstring path = scratch / L"key.dat";
  vtclass::test::PrivateRegistry registry;
  std::wstring name = L"HKCU\\" + registry.Path() + L"\\Key";
  OwnedRegistryKey live = Create(HKEY_LOCAL_MACHINE, L"Key");
  DiffSummary summary;
};

TEST_F(HiveCommand, Verify_AnyFile_GivesItsVerdict) {
  const std::string sound = BuildHive(Sample());
  std::string damaged = sound, irregular = sound, unreadable = sound;
  vtclass::test::PutNumber(damaged, FindCell(damaged, "vk"), std::uint16_t{0});
  vtclass::test::PutNumber(irregular, FindCell(irregular, "nk", 1) + 16, 0u);
  vtclass::test::PutNumber(unreadable, 24, 9u);
  const struct {
    std::string file;
    int exitCode;
    const char* output;
  } rows[] = {
      {sound, kExitClean, "4 keys and 5 values, 39.0 KB of data, 2 levels below its first key"},
      {sound, kExitClean, "a hive of version 1.5, last written 2022-11-24T12:26:38Z"},
      {sound, kExitClean, "Sound:"},
      {irregular, kExitWarnings, "names another key as the one above it, in \\A"},
      {irregular, kExitWarnings, "Readable with 1 irregularity:"},
      {damaged, kExitErrors, "error    byte 0x"},
      {damaged, kExitErrors, "Damaged, 1 error:"},
      {unreadable, kExitBadInput, "The version is none of 1.3 to 1.6"},
  };
  for (const auto& row : rows) {
    MakeFile(path, row.file);
    VtctlRun run = Run(L"verify");
    EXPECT_EQ(run.ExitCode(), row.exitCode) << run.ErrorOutput();
    EXPECT_NE(run.Output().find(row.output), std::string::npos) << run.Output();
  }
}

TEST_F(HiveCommand, NoHive_IsSaidInOneSentence) {
  const struct {
    std::optional<std::string> file;
    int exitCode;
    const char* error;
  } rows[] = {
      {std::nullopt, kExitNoInput, "cannot be read"},
      {"", kExitBadInput, "is empty"},
      {"WINE REGISTRY Version 2\n", kExitBadInput, "Wine's own text"},
      {"<?xml version=\"1.0\"?>", kExitBadInput, "it does not begin as one"},
      {"regf", kExitBadInput, "no hive that can be read"},
  };
  for (const auto& row : rows) {
    if (row.file) MakeFile(path, *row.file);
    for (const wchar_t* what : {L"verify", L"list", L"diff"}) {
      VtctlRun run = what[0] == L'd' ? Run(what, {name}) : Run(what);
      EXPECT_EQ(run.ExitCode(), row.exitCode) << row.error;
      EXPECT_NE(run.ErrorOutput().find(row.error), std::string::npos) << run.ErrorOutput();
    }
  }
  MakeFile(path, BuildHive(Sample()));
  EXPECT_EQ(Run(L"diff", {name + L"\\missing"}).ExitCode(), kExitNoInput);
  EXPECT_EQ(Run(L"diff").ExitCode(), kExitUsage);
  VtctlRun device({L"hive", L"verify", L"NUL"});
  EXPECT_EQ(device.ExitCode(), kExitNoInput);
  EXPECT_NE(device.ErrorOutput().find("is no file on a disk"), std::string::npos);
}

TEST_F(HiveCommand, Verify_ManyProblems_TellsTheFirstHundred) {
  HiveKey many = {L"r", std::vector<HiveValue>(150, {L"v", 4, "1"}), {}};
  std::string file = BuildHive(many);
  for (std::size_t n = 0; n < 150; ++n) file[FindCell(file, "vk")] = 'x';
  MakeFile(path, file);
  VtctlRun text = Run(L"verify");
  EXPECT_EQ(text.ExitCode(), kExitErrors);
  EXPECT_NE(text.Output().find("... and 50 more\nDamaged, 150 errors"), std::string::npos);
  VtctlRun run = Run(L"verify", {L"--json"});
  EXPECT_EQ(run.ExitCode(), kExitErrors);
  const Json json = Json::parse(run.Output());
  EXPECT_EQ(json["problems"].size(), 100u);
  EXPECT_EQ(json["errors"], 150);
  EXPECT_EQ(json["problems"][0]["text"], "The value does not lie where its offset leads");
  EXPECT_EQ(json["problems"][0]["severity"], "error");
  EXPECT_EQ(json["problems"][0]["code"], "value");
  EXPECT_TRUE(json["problems"][0].at("status").is_null());
}

TEST_F(HiveCommand, List_ShowsKeysAndValues_AndNothingThatDrivesATerminal) {
  MakeFile(path, BuildHive(Sample()));
  VtctlRun run = Run(L"list");
  EXPECT_EQ(run.ExitCode(), kExitClean);
  const std::string output = run.Output();
  EXPECT_TRUE(
      output.starts_with("\\\n  (default) = text  [REG_SZ, 10 bytes]\n"
                         "  number = 42 (0x0000002a)  [REG_DWORD, 4 bytes]\n"))
      << output;
  EXPECT_NE(output.find("\n\\A\\below\n  v = 31 32 33 34 35  [type 77, 5 bytes]\n"),
            std::string::npos)
      << output;
  EXPECT_EQ(output.find('\x1B'), std::string::npos);
  VtctlRun lines = Run(L"list", {L"--json"});
  EXPECT_EQ(lines.ExitCode(), kExitClean);
  EXPECT_NE(lines.Output().find(R"({"key":"A\\below","name":"v","bytes":5,"type":"type 77",)"),
            std::string::npos)
      << lines.Output();
}

TEST_F(HiveCommand, List_OfADamagedHive_ShowsWhatCanBeRead) {
  std::string file = BuildHive(Sample());
  file[FindCell(file, "vk")] = 'x';
  MakeFile(path, file);
  VtctlRun run = Run(L"list");
  EXPECT_EQ(run.ExitCode(), kExitErrors);
  EXPECT_NE(run.Output().find("number = 42"), std::string::npos);
  EXPECT_NE(run.ErrorOutput().find("The value does not lie where its offset leads"),
            std::string::npos);
}

TEST_F(HiveCommand, Diff_TellsTheSameAndWhatDiffers) {
  MakeFile(path, BuildHive(Sample()));
  Store(live.Get(), Sample());
  VtctlRun same = Run(L"diff", {name});
  EXPECT_EQ(same.ExitCode(), kExitClean) << same.ErrorOutput();
  EXPECT_EQ(same.Output(), "4 keys and 5 values compared: no difference.\n");

  const DWORD number = 43;
  ::RegSetKeyValueW(live.Get(), L"A\\below", L"v", REG_DWORD, &number, sizeof number);
  ::RegSetKeyValueW(live.Get(), L"New", L"", REG_DWORD, &number, sizeof number);
  VtctlRun run = Run(L"diff", {name});
  EXPECT_EQ(run.ExitCode(), kExitWarnings);
  EXPECT_NE(run.Output().find("\\Key\\A\\below  v: in the file 31 32 33 34 35  [type 77], in the "
                              "registry 43 (0x0000002b)  [REG_DWORD]\n"),
            std::string::npos)
      << run.Output();
  EXPECT_NE(run.Output().find("5 values compared: 2 differences.\nThe system saves no volatile"),
            std::string::npos);
  VtctlRun lines = Run(L"diff", {name, L"--json"});
  EXPECT_EQ(lines.ExitCode(), kExitWarnings);
  EXPECT_NE(lines.Output().find(R"({"difference":"key not in the file","key":"New"})"),
            std::string::npos)
      << lines.Output();
  EXPECT_NE(lines.Output().find(R"("file":{"bytes":5,"type":"type 77","data":"3132333435"},)"
                                R"("registry":{"bytes":4,"type":"REG_DWORD","data":43}})"),
            std::string::npos);
  // What was found in a damaged file is not the worst of it.
  std::string damaged = BuildHive(Sample());
  damaged[FindCell(damaged, "vk")] = 'x';
  MakeFile(path, damaged);
  EXPECT_EQ(Run(L"diff", {name}).ExitCode(), kExitErrors);
}

TEST_F(HiveCommand, Diff_NamesEachDifferenceOnce) {
  const HiveKey file = {
      L"r",
      {{L"data", 3, "12345"}, {L"gone", 3, "1"}, {L"TYPE", 3, "1"}},
      {{L"a", {}, {{L"only in the file", {{L"x", 3, "1"}}, {}}}}, {L"Both", {{L"v", 3, "1"}}, {}}}};
  Store(live.Get(), {L"",
                     {{L"type", 1, "1"}, {L"data", 3, "12346"}, {L"new", 3, ""}},
                     {{L"bOTH", {}, {}}, {L"A", {}, {}}, {L"more", {}, {{L"deeper", {}, {}}}}}});
  const std::vector<std::wstring> expected = {L"3 |gone|f0",  L"2 |new|r0",
                                              L"5 |data|fr0", L"4 |type|fr0",
                                              L"0 more||0",   L"1 A\\only in the file||0",
                                              L"3 bOTH|v|f0"};
  EXPECT_EQ(Differences(file, live.Get()), expected);
  EXPECT_EQ(summary.keys, 3u);
  EXPECT_EQ(summary.differences, 7u);
  EXPECT_EQ(summary.keysNotInFile, 1u);
}

TEST_F(HiveCommand, Diff_KeyThatMayNotBeRead_IsToldAndPassedOver) {
  Store(live.Get(), Sample());
  auto* const open = &::RegOpenKeyExW;
  const auto denied = Replace<decltype(::RegOpenKeyExW)>(
      "RegOpenKeyExW",
      [open](HKEY parent, LPCWSTR subkey, DWORD options, REGSAM access, PHKEY key) {
        EXPECT_NE(options & REG_OPTION_OPEN_LINK, 0u);
        return subkey == std::wstring(L"A") ? LSTATUS{ERROR_ACCESS_DENIED}
                                            : open(parent, subkey, options, access, key);
      },
      ::GetModuleHandleW(nullptr));
  EXPECT_EQ(Differences(Sample(), live.Get()), std::vector<std::wstring>{L"6 A||5"});
  EXPECT_EQ(summary.keys, 2u);
  EXPECT_EQ(summary.unreadable, 1u);
  EXPECT_EQ(summary.differences, 0u);
}

// A link into its own parent would never end.
TEST_F(HiveCommand, Diff_SymbolicLink_IsComparedItself) {
  const OwnedRegistryKey link = Create(live.Get(), L"link", REG_OPTION_CREATE_LINK);
  const std::wstring target = L"\\Registry\\Machine\\Software";
  const auto size = static_cast<DWORD>(target.size() * sizeof(wchar_t));
  ASSERT_EQ(::RegSetValueExW(link.Get(), L"SymbolicLinkValue", 0, REG_LINK,
                             reinterpret_cast<const BYTE*>(target.data()), size),
            ERROR_SUCCESS);
  HiveKey file = {L"r", {}, {{L"link", {{L"SymbolicLinkValue", REG_LINK, {}}}, {}}}};
  file.subkeys[0].values[0].data.assign(reinterpret_cast<const char*>(target.data()), size);
  EXPECT_EQ(Differences(file, live.Get()), std::vector<std::wstring>());
  EXPECT_EQ(summary.values, 1u);
  EXPECT_EQ(::NtDeleteKey(link.Get()), 0);
}

// The tree is deeper and its paths are longer than the system opens at once.
TEST_F(HiveCommand, Diff_DeepKeys_AreReachedOneByOne) {
  const std::wstring part(200, L'k');
  HiveKey file = {part, {{L"v", 3, "1"}}, {}};
  for (int level = 0; level < 200; ++level) file = {part, {}, {std::move(file)}};
  OwnedRegistryKey key = Create(live.Get(), part);
  for (int level = 1; level < 200; ++level) key = Create(key.Get(), part);
  EXPECT_EQ(Differences(file, live.Get()).size(), 1u);
  EXPECT_EQ(summary.keys, 201u);
}

// What the system itself saves is sound and holds what the key holds.
TEST_F(HiveCommand, SavedKey_IsSoundAndTheSame) {
  Store(live.Get(), Sample());
  ASSERT_NE(AssertPrivilege(SE_BACKUP_NAME, FALSE), 0);
  ASSERT_EQ(::RegSaveKeyW(live.Get(), path.c_str(), nullptr), ERROR_SUCCESS);
  VtctlRun verify = Run(L"verify");
  if (vtclass::test::RunsUnderWine()) {
    EXPECT_EQ(verify.ExitCode(), kExitBadInput);
    EXPECT_NE(verify.ErrorOutput().find("Wine's own text"), std::string::npos);
  }
  VTCLASS_SKIP_UNDER_WINE("keys are saved in a text, so there is no hive to compare");
  EXPECT_EQ(verify.ExitCode(), kExitClean) << verify.Output();
  EXPECT_EQ(Run(L"diff", {name}).ExitCode(), kExitClean);
}

TEST_F(HiveCommand, File_TooLargeOrFailing_IsNotRead) {
  MakeFile(path, std::string(3000000, 'x'));
  std::vector<unsigned char> bytes;
  EXPECT_EQ(ReadWholeFile(Path(path), bytes), ERROR_SUCCESS);
  EXPECT_EQ(bytes.size(), 3000000u);
  const HMODULE self = ::GetModuleHandleW(nullptr);
  {
    const auto size = Replace<decltype(::GetFileSizeEx)>(
        "GetFileSizeEx",
        [](HANDLE, PLARGE_INTEGER length) {
          length->QuadPart = static_cast<LONGLONG>(kMostHiveBytes) + 1;
          return TRUE;
        },
        self);
    EXPECT_EQ(ReadWholeFile(Path(path), bytes), DWORD{ERROR_FILE_TOO_LARGE});
  }
  const auto read = Replace<decltype(::ReadFile)>(
      "ReadFile", [](auto...) { return ::SetLastError(ERROR_CRC), FALSE; }, self);
  EXPECT_EQ(ReadWholeFile(Path(path), bytes), DWORD{ERROR_CRC});
  EXPECT_EQ(ReadWholeFile(Path(path + L"x"), bytes), DWORD{ERROR_FILE_NOT_FOUND});
}

}  // namespace
}  // namespace vtctl
