#include "tools/vtctl/shared/seal.h"

#include <gtest/gtest.h>

#include <random>

#include "vtclass/crypto.h"

namespace vtctl {
namespace {

// The seal of any bytes.
std::string Sealed(const std::string& bytes) {
  char sealed[2048] = {};
  EXPECT_TRUE(
      EncryptAndAsciify(4, sealed, sizeof sealed, bytes.data(), static_cast<int>(bytes.size())));
  return sealed;
}

TEST(Seal, OpenSeal_TellsTheFormAndWhetherTextComesOut) {
  char fixed[128] = {};
  ASSERT_TRUE(KNWVEncryptAndAsciify(4, fixed, "short"));
  const std::string good = "=Qk95H\\I@7T";
  const struct {
    std::string sealed;
    SealForm form;
    bool opens;
    bool isUtf8;
    std::string secret;  // where it opens
  } rows[] = {
      {"", SealForm::nothing, true, false, ""},
      {good, SealForm::ordinary, true, true, "secret"},
      {fixed, SealForm::ordinary, true, true, "short"},
      {Sealed("12345678"), SealForm::ordinary, true, true, "12345678"},
      {Sealed(std::string(768, 'x')), SealForm::ordinary, true, true, std::string(768, 'x')},
      {Sealed("K\xC3\xA4se"), SealForm::ordinary, true, true, "K\xC3\xA4se"},
      {Sealed("K\xE4se"), SealForm::ordinary, true, false, "K\xE4se"},
      {Sealed("a\tb\r\n"), SealForm::ordinary, true, true, "a\tb\r\n"},
      {Sealed("\xE4\xF6\xFC\xC4\xD6\xDC\xDF\xE9"), SealForm::ordinary, false, false, ""},
      {Sealed("a\x01"), SealForm::ordinary, false, false, ""},
      {Sealed("a\x7F"), SealForm::ordinary, false, false, ""},
      {Sealed(std::string("a\0b", 3)), SealForm::ordinary, false, false, ""},
      {Sealed(std::string("1234567\0\0\0\0\0\0\0\0\0", 16)), SealForm::ordinary, false, false, ""},
      {"=Qk95H\\I@7X", SealForm::ordinary, false, false, ""},
      {"=Qk95H\\I@7U", SealForm::none, false, false, ""},  // a bit that belongs to no byte
      {good.substr(1), SealForm::none, false, false, ""},
      {good + "0", SealForm::none, false, false, ""},
      {"=Qk95H\\I@7p", SealForm::none, false, false, ""},
      {"=Qk95H\\I@/T", SealForm::none, false, false, ""},
      {Sealed(std::string(776, 'x')), SealForm::none, false, false, ""},
      {"hunter2!", SealForm::none, false, false, ""},
      {"~1~", SealForm::machineBound, false, false, ""},
      {"~2~" + good, SealForm::later, false, false, ""},
      {"~", SealForm::later, false, false, ""}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.sealed);
    Secret secret;
    const OpenedSeal seal = OpenSeal(row.sealed, secret);
    EXPECT_EQ(seal.form, row.form) << FormWord(seal.form);
    EXPECT_EQ(seal.opens, row.opens);
    EXPECT_EQ(seal.isUtf8, row.isUtf8);
    if (row.opens) EXPECT_EQ(secret.text, row.secret);
  }
}

TEST(Seal, OpenSeal_OfThisMachine) {
  std::string sealed;
  ASSERT_EQ(vtclass::SealForMachine("secret", sealed), 0U);
  Secret secret;
  EXPECT_TRUE(OpenSeal(sealed, secret).opens);
  EXPECT_EQ(secret.text, "secret");
  sealed.pop_back();
  const OpenedSeal damaged = OpenSeal(sealed, secret);
  EXPECT_EQ(damaged.form, SealForm::machineBound);
  EXPECT_FALSE(damaged.opens);
  EXPECT_NE(damaged.status, 0U);
}

TEST(Seal, OpenSeal_TextsThatWereNeverSealed_HardlyPass) {
  std::mt19937 random(14);
  int opened = 0;
  int readAsUtf8 = 0;
  for (int i = 0; i < 10000; ++i) {
    std::string text(10, '0');
    for (char& character : text) character = static_cast<char>('0' + random() % 64);
    text += static_cast<char>('0' + random() % 16 * 4);
    Secret secret;
    const OpenedSeal seal = OpenSeal(text, secret);
    ASSERT_EQ(seal.form, SealForm::ordinary);
    opened += seal.opens ? 1 : 0;
    readAsUtf8 += seal.isUtf8 ? 1 : 0;
  }
  EXPECT_LT(opened, 400);
  EXPECT_LT(readAsUtf8, 30);
}

}  // namespace
}  // namespace vtctl
