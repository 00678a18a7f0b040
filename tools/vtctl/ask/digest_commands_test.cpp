#include <gtest/gtest.h>

#include <cstdio>

#include <nlohmann/json.hpp>

#include "tests/support/run_vtctl.h"
#include "tests/support/scratch_folder.h"
#include "tools/vtctl/shared/exit_code.h"
#include "vtclass/crypto.h"

namespace vtctl {
namespace {

using test::VtctlRun;

// The digests were computed by another program.
TEST(DigestCommand, Ndmp_AnswersTheChallenge) {
  const std::wstring challenge = std::wstring(127, L'0') + L"7";
  const struct {
    std::wstring challenge;
    std::string input;
    int code;
    const char* output;
    const char* sentence;
  } rows[] = {
      {challenge, "pw", kExitClean, "fe86933ad068399e9fa81b5927e73f21\n", ""},
      {challenge, "pw\r\nnext line", kExitClean, "fe86933ad068399e9fa81b5927e73f21\n", ""},
      {L"00-" + challenge.substr(2), "K\xC3\xA4se\n", kExitClean,
       "f958f771f46188637f4f5401407de471\n", ""},
      {challenge, "\n", kExitClean, "e35cf3c054a2e70877b6149631bee164\n", ""},
      {challenge, std::string(31, 'x'), kExitClean, "72b5a3f935f975dab9c3967fd8b72a53\n", ""},
      {challenge, std::string(32, 'x'), kExitWarnings, "72b5a3f935f975dab9c3967fd8b72a53\n",
       "has 32 bytes; the first 31 were taken"},
      {challenge, std::string("p\0w\0", 4), kExitBadInput, "", "a zero byte"},
      {challenge.substr(2), "pw", kExitUsage, "", "and this has 63 bytes"},
      {challenge + L"00", "pw", kExitUsage, "", "and this has 65 bytes"},
      {challenge.substr(1), "pw", kExitUsage, "", "of two hexadecimal digits"}};
  for (const auto& row : rows) {
    VtctlRun run({L"digest", L"ndmp", row.challenge}, row.input);
    EXPECT_EQ(run.ExitCode(), row.code) << run.ErrorOutput();
    EXPECT_EQ(run.Output(), row.output);
    EXPECT_NE(run.ErrorOutput().find(row.sentence), std::string::npos) << run.ErrorOutput();
  }
  EXPECT_EQ(VtctlRun({L"digest", L"ndmp", challenge}).ExitCode(), kExitNoInput);
}

std::string HashOf(const std::string& bytes) {
  SecureHashAlgorithm hash;
  hash.hashBlock(bytes.data(), static_cast<unsigned>(bytes.size()));
  unsigned a = 0, b = 0, c = 0, d = 0, e = 0;
  hash.finishHash(a, b, c, d, e);
  char text[64];
  std::snprintf(text, sizeof text, "%08x %08x %08x %08x %08x", a, b, c, d, e);
  return text;
}

TEST(HashCommand, Hash_OfFilesAndOfStandardInput) {
  const vtclass::test::ScratchFolder scratch;
  std::string large(3 * 1024 * 1024 + 5, '\0');
  for (std::size_t i = 0; i < large.size(); ++i) large[i] = static_cast<char>(i * i >> 7);
  for (const std::string& bytes : {std::string(), std::string("abc\n"), large}) {
    vtclass::test::MakeFile(scratch / L"file", bytes);
    const std::wstring path = scratch / L"file";
    VtctlRun named({L"hash", path});
    EXPECT_EQ(named.ExitCode(), kExitClean) << named.ErrorOutput();
    EXPECT_TRUE(named.Output().starts_with(HashOf(bytes) + "  ")) << named.Output();
    VtctlRun piped({L"hash"}, bytes);
    EXPECT_EQ(piped.ExitCode(), kExitClean) << piped.ErrorOutput();
    EXPECT_EQ(piped.Output(), HashOf(bytes) + "  -\n");
    VtctlRun run({L"hash", L"-", L"--json"}, bytes);
    EXPECT_EQ(run.ExitCode(), kExitClean);
    const auto json = nlohmann::json::parse(run.Output());
    EXPECT_EQ(json["bytes"], bytes.size());
    EXPECT_EQ(json["file"], nullptr);
    EXPECT_EQ(json["words"][4], HashOf(bytes).substr(36));
  }
  for (const std::wstring& missing : {scratch / L"none", scratch.Path()}) {
    VtctlRun run({L"hash", missing});
    EXPECT_EQ(run.ExitCode(), kExitNoInput);
    EXPECT_NE(run.ErrorOutput().find("cannot be opened"), std::string::npos) << run.ErrorOutput();
  }
  VtctlRun deaf({L"hash"});
  EXPECT_EQ(deaf.ExitCode(), kExitNoInput);
  EXPECT_EQ(deaf.Output(), "");
}

}  // namespace
}  // namespace vtctl
