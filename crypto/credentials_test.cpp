#include <vtclass/win32.h>

#include <dpapi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "crypto/armour.h"
#include "crypto/vectors.h"
#include "tests/support/allocations.h"
#include "tests/support/import_hook.h"
#include "tests/support/library_copy.h"
#include "vtclass/crypto.h"

namespace {

using namespace vtclass::crypto;
using vtclass::test::Allocations;
using vtclass::test::LibraryCopy;
using vtclass::test::Replace;
using vtclass::test::TryEachAllocation;

constexpr char kCanary = '\x5E';

// An area of `size` bytes with a canary behind it.
struct Area {
  explicit Area(int size)
      : size(size), bytes(static_cast<std::size_t>(size < 0 ? 0 : size) + 1, kCanary) {}
  ~Area() { EXPECT_EQ(bytes.back(), kCanary); }
  char* Data() { return bytes.data(); }
  std::string Text() const { return bytes.c_str(); }
  bool IsClear() const { return bytes.find_first_not_of('\0') == bytes.size() - 1; }

  int size;
  std::string bytes;
};

std::string Sealed(const std::string& text) {
  Area out(1400);
  EXPECT_TRUE(EncryptAndAsciify(4, out.Data(), 1400, text.data(), static_cast<int>(text.size())));
  return out.Text();
}

// The bytes that come back, all of them; nothing where that fails.
std::string Opened(std::string sealed, int room = 1400) {
  Area out(room);
  if (!DeasciifyAndDecrypt(4, out.Data(), room, sealed.data())) {
    EXPECT_TRUE(out.IsClear());
    return {};
  }
  return out.bytes.substr(0, out.bytes.size() - 1);
}

TEST(EncryptAndAsciify, IsWhatOthersCompute_AndComesBackUpTo768Bytes) {
  for (const TextVector& vector : kTextVectors) {
    const std::string text = MakeMessage(vector.length);
    Area out(1400);
    EXPECT_EQ(EncryptAndAsciify(4, out.Data(), 1400, text.data(), vector.length),
              vector.length <= 1024);
    EXPECT_EQ(Fingerprint(out.Text()), vector.sealed) << vector.length;
    if (vector.length == 0 || vector.length > 1024) {
      EXPECT_TRUE(out.IsClear());
      continue;
    }
    std::string expected = text.substr(0, 768);
    EXPECT_EQ(Opened(out.Text()), (expected.resize(1400), expected)) << vector.length;
  }
}

TEST(EncryptAndAsciify, NeedsRoomAndAlgorithm_UnlessThereIsNothingToSeal) {
  const struct {
    unsigned algorithm;
    int outSize, textLength;
    bool hasText, done, isEmpty;
  } cases[] = {
      {4, 13, 8, true, true, false},  {4, 12, 8, true, false, true},
      {4, 13, 1, true, true, false},  {4, 12, 1, true, false, true},
      {4, 25, 9, true, true, false},  {4, 24, 9, true, false, true},
      {4, 89, 64, true, true, false}, {4, 88, 64, true, false, true},
      {3, 89, 64, true, false, true}, {0x10004, 89, 64, true, false, true},
      {9, 1, 0, true, true, true},    {9, 1, -1, true, true, true},
      {9, 1, 64, false, true, true},  {4, 0, 0, true, false, false},
      {4, -1, 8, true, false, false}, {4, 89, INT_MAX, true, false, true},
  };
  const std::string text = MakeMessage(64);
  for (const auto& [algorithm, outSize, textLength, hasText, done, isEmpty] : cases) {
    Area out(outSize);
    EXPECT_EQ(EncryptAndAsciify(algorithm, out.Data(), outSize, hasText ? text.data() : nullptr,
                                textLength),
              done)
        << algorithm << " " << outSize << " " << textLength;
    if (outSize > 0) EXPECT_EQ(out.IsClear(), isEmpty) << outSize;
  }
  EXPECT_FALSE(EncryptAndAsciify(4, nullptr, 100, text.data(), 8));
}

TEST(DeasciifyAndDecrypt, NeedsRoomForWholeBlocks) {
  const std::string text = "secret", sealed = Sealed(text);  // 11 characters, 8 bytes
  const struct {
    unsigned algorithm;
    int outSize;
    const char* sealed;
    bool done;
    std::string opened;
  } cases[] = {
      {4, 9, sealed.c_str(), true, text},
      {4, 8, sealed.c_str(), true, text},
      {4, 7, sealed.c_str(), false, ""},
      {4, 1, sealed.c_str(), false, ""},
      {5, 9, sealed.c_str(), false, ""},
      {0x10004, 9, sealed.c_str(), false, ""},
      {4, 9, nullptr, false, ""},
      {5, 1, "", true, ""},
      {4, 9, "0", false, ""},
      {4, 7, "000000000", false, ""},
      {4, 6, "000000000", false, ""},
      {4, 0, "", false, ""},
      {4, -1, "", false, ""},
  };
  for (const auto& [algorithm, outSize, armoured, done, opened] : cases) {
    Area out(outSize);
    std::string in = armoured ? armoured : "";
    EXPECT_EQ(DeasciifyAndDecrypt(algorithm, out.Data(), outSize, armoured ? in.data() : nullptr),
              done)
        << outSize << " " << in;
    if (outSize > 0) EXPECT_EQ(out.Text().substr(0, opened.size() + 1), opened) << outSize;
    if (outSize > 0 && opened.empty()) EXPECT_TRUE(out.IsClear());
  }
  EXPECT_FALSE(DeasciifyAndDecrypt(4, nullptr, 9, const_cast<char*>(sealed.c_str())));
  // Sixty-four bytes fill sixty-four, and nothing ends them.
  EXPECT_EQ(Opened(Sealed(MakeMessage(64)), 64), MakeMessage(64));
  // Seven bytes in armour are deciphered as eight.
  EXPECT_EQ(Opened("0000000000", 8), Opened("00000000000", 8));
}

TEST(DeasciifyAndDecrypt, WithoutMemory_Fails) {
  std::string sealed = Sealed("secret");
  Area out(20);
  bool isOpened = false;
  const auto check = [&](bool failed) {
    EXPECT_NE(isOpened, failed);
    EXPECT_EQ(out.IsClear(), failed);
  };
  TryEachAllocation([&] { isOpened = DeasciifyAndDecrypt(4, out.Data(), 20, sealed.data()); },
                    check);
}

struct Block {
  unsigned status;
  int outLength;
  std::string out;
};

Block EncryptedBlock(const char* text, int textLength, int room) {
  std::string in = text ? text : "";
  Area out(room < 0 ? 0 : room);
  Block block = {0, room, {}};
  block.status =
      EU_EncAndAsciify(text ? in.data() : nullptr, textLength, out.Data(), &block.outLength);
  block.out = out.Text();
  return block;
}

TEST(EU_EncAndAsciify, SealsOneBlockOfSixtyFourBytes) {
  const std::string longest = MakePassword(64), longer = longest + "more";
  const std::string full(64, 'x');
  const struct {
    const char* text;
    int textLength, room;
    unsigned status;
    int outLength;
    std::string sealed;
  } cases[] = {
      {"secret", 6, 89, 0, 87, "secret"},
      {"secret", 64, 200, 0, 87, "secret"},
      {"secret", 2, 89, 0, 87, "secret"},
      {"secret", -9, 89, 0, 87, "secret"},
      {"", 0, 89, 0, 87, ""},
      {full.c_str(), 64, 89, 0, 87, full},
      {longer.c_str(), 64, 89, 0, 87, longest},
      {"secret", 65, 89, 1, 89, "-"},
      {nullptr, 6, 90, 1, 90, "-"},
      {"secret", 6, 88, 1, 89, "-"},
      {"secret", 6, 1, 1, 89, "-"},
      {"secret", 6, 0, 1, 89, "^"},
      {"secret", 6, -3, 1, 89, "^"},
  };
  for (const auto& [text, textLength, room, status, outLength, sealed] : cases) {
    const Block block = EncryptedBlock(text, textLength, room);
    EXPECT_EQ(block.status, status) << textLength << " " << room;
    EXPECT_EQ(block.outLength, outLength) << textLength << " " << room;
    if (sealed.size() == 1) {
      EXPECT_EQ(block.out, sealed == "^" ? "^" : "");
      continue;
    }
    std::string whole = sealed;
    whole.resize(64);
    EXPECT_EQ(block.out, Sealed(whole));
    Area knwv(128);
    EXPECT_TRUE(KNWVEncryptAndAsciify(4, knwv.Data(), sealed.c_str()));
    EXPECT_EQ(knwv.Text(), Sealed(whole));
  }
  int room = 89;
  Area out(89);
  EXPECT_EQ(EU_EncAndAsciify(out.Data(), 1, nullptr, &room), 1u);
  EXPECT_EQ(EU_EncAndAsciify(out.Data(), 1, out.Data(), nullptr), 1u);
}

TEST(KNWVEncryptAndAsciify, CutsALongSecret_AndTakesAlgorithm4Only) {
  Area cut(128), whole(128);
  EXPECT_TRUE(KNWVEncryptAndAsciify(4, cut.Data(), std::string(500, 'x').c_str()));
  EXPECT_EQ(cut.Text(), Sealed(std::string(64, 'x')));
  EXPECT_TRUE(KNWVEncryptAndAsciify(4, whole.Data(), ""));
  EXPECT_EQ(whole.Text(), Sealed(std::string(64, '\0')));
  for (const unsigned algorithm : {3u, 0x10004u}) {
    EXPECT_FALSE(KNWVEncryptAndAsciify(algorithm, whole.Data(), "secret"));
    EXPECT_EQ(whole.Text(), "");
  }
  EXPECT_FALSE(KNWVEncryptAndAsciify(4, cut.Data(), nullptr));
  EXPECT_EQ(cut.Text(), "");
  EXPECT_FALSE(KNWVEncryptAndAsciify(4, nullptr, "secret"));
}

TEST(EU_DeasciifyAndDecrypt, OpensOneBlock) {
  const std::string secret = MakePassword(64), sealed = Sealed(secret);
  const std::string tooLong = sealed + "000000";
  const struct {
    const char* text;
    int textLength, room;
    unsigned status;
    int outLength;
    std::string opened;
  } cases[] = {
      {sealed.c_str(), 86, 64, 0, 64, secret},
      {sealed.c_str(), 91, 100, 0, 64, secret},
      {sealed.c_str(), -1, 64, 0, 64, secret},
      {sealed.c_str(), 92, 64, 1, 64, ""},
      {sealed.c_str(), 86, 63, 1, 64, ""},
      {sealed.c_str(), 86, 1, 1, 64, ""},
      {sealed.c_str(), 86, 0, 1, 64, "^"},
      {sealed.c_str(), 86, -1, 1, 64, "^"},
      {nullptr, 86, 64, 1, 64, ""},
      {"", 0, 64, 1, 0, ""},
      {"0", 1, 64, 1, 0, ""},
      {"0000", 4, 64, 1, 3, ""},
      {tooLong.c_str(), 86, 100, 1, 69, ""},
  };
  for (const auto& [text, textLength, room, status, outLength, opened] : cases) {
    std::string in = text ? text : "";
    Area out(room);
    int length = room;
    EXPECT_EQ(EU_DeasciifyAndDecrypt(text ? in.data() : nullptr, textLength, out.Data(), &length),
              status)
        << textLength << " " << room;
    EXPECT_EQ(length, outLength) << textLength << " " << room;
    EXPECT_EQ(status == 0 ? out.bytes.substr(0, 64) : out.Text(), opened) << room;
  }
  int length = 64;
  Area out(64);
  EXPECT_EQ(EU_DeasciifyAndDecrypt(out.Data(), 1, nullptr, &length), 1u);
  EXPECT_EQ(EU_DeasciifyAndDecrypt(out.Data(), 1, out.Data(), nullptr), 1u);
}

// A copy of the library that begins under a configuration which allows approved algorithms only.
TEST(Credentials, DoNotDependOnAConfigurationOfOpenSSL) {
  const vtclass::test::ScratchFolder folder;
  const std::wstring file = folder / L"openssl.cnf";
  vtclass::test::MakeFile(file,
                          "openssl_conf = a\n[a]\nproviders = b\nalg_section = c\n[b]\n"
                          "fips = d\n[c]\ndefault_properties = fips=yes\n[d]\nactivate = 1\n");
  ::SetEnvironmentVariableW(L"OPENSSL_CONF", file.c_str());
  ::SetEnvironmentVariableW(L"OPENSSL_MODULES", folder.Path().c_str());
  {
    const LibraryCopy copy(L"vtclass_mini.dll");
    Area out(100);
    EXPECT_TRUE(copy(&EncryptAndAsciify)(4, out.Data(), 100, "secret", 6));
    EXPECT_EQ(out.Text(), Sealed("secret"));
  }
  ::SetEnvironmentVariableW(L"OPENSSL_CONF", nullptr);
  ::SetEnvironmentVariableW(L"OPENSSL_MODULES", nullptr);
  // Its detection of the processor, which would read another variable, is not there.
  EXPECT_EQ(vtclass::test::FindImport(vtclass::test::LibraryUnderTest(), "KERNEL32.dll",
                                      "GetEnvironmentVariableW"),
            nullptr);
}

std::string MachineSealed(const std::string& text) {
  std::string sealed = "before";
  EXPECT_EQ(vtclass::SealForMachine(text, sealed), 0u);
  return sealed;
}

TEST(SealForMachine, OpensHere_AndInTheOrdinaryReader) {
  for (const int length : {1, 6, 64, 769, 5000}) {
    const std::string text = MakeMessage(length), sealed = MachineSealed(text);
    std::string opened = "before";
    EXPECT_EQ(vtclass::OpenForMachine(sealed, opened), 0u);
    EXPECT_EQ(opened, text);
    EXPECT_TRUE(std::ranges::all_of(sealed, [](char each) { return each > ' ' && each <= '~'; }));
    EXPECT_EQ(Opened(sealed, length), text);
    EXPECT_EQ(Opened(sealed, length + 1), text + '\0');
    if (length > 1) EXPECT_EQ(Opened(sealed, length - 1), "");
    EXPECT_NE(MachineSealed(text), sealed);
  }
  EXPECT_EQ(MachineSealed(""), "");
  std::string both = "secret";
  EXPECT_EQ(vtclass::SealForMachine(both, both), 0u);
  EXPECT_EQ(vtclass::OpenForMachine(both, both), 0u);
  EXPECT_EQ(both, "secret");
  std::string opened = "before";
  EXPECT_EQ(vtclass::OpenForMachine("", opened), 0u);
  EXPECT_EQ(opened, "");
  Area out(10);
  EXPECT_FALSE(DeasciifyAndDecrypt(3, out.Data(), 10, MachineSealed("secret").data()));
}

// By another program: it does not know what this library mixes in.
std::string StrangersSeal() {
  char secret[] = "secret";
  DATA_BLOB in = {6, reinterpret_cast<BYTE*>(secret)}, out = {};
  EXPECT_TRUE(::CryptProtectData(&in, nullptr, nullptr, nullptr, nullptr,
                                 CRYPTPROTECT_LOCAL_MACHINE | CRYPTPROTECT_UI_FORBIDDEN, &out));
  std::string text(ArmouredLength(out.cbData), '\0');
  kPortableArmour.encode(out.pbData, out.cbData, text.data());
  ::LocalFree(out.pbData);
  return "~1~" + text;
}

TEST(OpenForMachine, RefusesWhatIsDamagedOrForeign) {
  const std::string sealed = MachineSealed("secret");
  std::string changed = sealed, unprintable = sealed;
  // Whose last group is whole: one character more would be none of its bytes.
  std::string wholeGroups = sealed;
  for (std::string secret = "secret"; (wholeGroups.size() - 3) % 4 != 0; secret += '!') {
    wholeGroups = MachineSealed(secret);
  }
  changed[sealed.size() - 20] = changed[sealed.size() - 20] == '0' ? '1' : '0';
  unprintable[sealed.size() / 2] = 'p';
  const std::string cases[] = {Sealed("secret"),
                               sealed.substr(3),
                               sealed.substr(0, 3),
                               "~",
                               "~2~" + sealed.substr(3),
                               "~1" + sealed.substr(3),
                               "~" + sealed.substr(3),
                               wholeGroups + "0",
                               sealed.substr(0, sealed.size() / 2),
                               changed,
                               unprintable,
                               StrangersSeal()};
  for (const std::string& text : cases) {
    std::string opened = "before";
    EXPECT_NE(vtclass::OpenForMachine(text, opened), 0u) << text;
    EXPECT_EQ(opened, "");
    if (text.starts_with("~")) EXPECT_EQ(Opened(text), "") << text;
  }
  std::string opened;
  EXPECT_EQ(vtclass::OpenForMachine(Sealed("secret"), opened), DWORD{ERROR_INVALID_DATA});
}

TEST(SealForMachine, WithoutMemory_TellsSoAndGivesNothing) {
  const std::string text = MakeMessage(100), made = MachineSealed(text);
  for (const HMODULE module : {vtclass::test::ThisProgram(), vtclass::test::LibraryUnderTest()}) {
    for (const bool opens : {false, true}) {
      std::string result;
      Allocations allocations(module);
      allocations.FailAt(1);
      EXPECT_EQ(
          opens ? vtclass::OpenForMachine(made, result) : vtclass::SealForMachine(text, result),
          DWORD{ERROR_NOT_ENOUGH_MEMORY});
      EXPECT_TRUE(allocations.Failed());
      EXPECT_EQ(result, "");
    }
  }
}

TEST(SealForMachine, OnASystemWithoutTheService_TellsSo) {
  const std::string made = MachineSealed("secret");
  const LibraryCopy copy(L"vtclass_mini.dll");
  const auto noFunction = Replace<decltype(::GetProcAddress)>(
      "GetProcAddress", [](auto...) { return ::SetLastError(ERROR_PROC_NOT_FOUND), FARPROC{}; },
      copy.Module());
  std::string result;
  EXPECT_EQ(copy(&vtclass::border::SealForMachine)(result, "secret", 6),
            DWORD{ERROR_PROC_NOT_FOUND});
  EXPECT_EQ(copy(&vtclass::border::OpenForMachine)(result, made.data(), made.size()),
            DWORD{ERROR_PROC_NOT_FOUND});
}

}  // namespace
