#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "crypto/fixed_values.h"
#include "tests/support/allocations.h"
#include "tests/support/import_hook.h"
#include "vtclass/crypto.h"

// What the library's own work areas hold when it gives them back: blocks of the heap at the moment
// they are freed, and the stack below its caller.
namespace {

using vtclass::test::ImportHook;
using vtclass::test::TryEachAllocation;

// Each eight bytes of one of these betray it.
constexpr std::string_view kSecret =
    "No-body\x01 shall#ever read\x7Fthis;secret=text,neither<whole>nor-in-parts";
constexpr std::size_t kWindow = 8;
char key[] = "K3y!b\x06z?";
char sealedSecret[200], sealedBlock[200];
std::string machineSealed;
char out[1200];
const char* expose = nullptr;  // where something was found

bool Betrays(const char* at) {
  for (std::size_t i = 0; i + kWindow <= kSecret.size(); ++i) {
    if (std::memcmp(at, kSecret.data() + i, kWindow) == 0) return true;
  }
  return std::memcmp(at, key, kWindow) == 0 ||
         std::memcmp(at, vtclass::crypto::kCredentialKey.data(), kWindow) == 0;
}

bool Holds(const char* bytes, std::size_t size) {
  for (std::size_t i = 0; i + kWindow <= size; ++i) {
    if (Betrays(bytes + i)) return true;
  }
  return false;
}

constexpr std::size_t kStack = 16384;

__declspec(noinline) void CoverStack() {
  volatile char cover[kStack];
  for (volatile char& each : cover) each = '\x11';
}

// Reads what earlier calls have left there: on purpose nothing is initialized.
__declspec(noinline) bool StackHolds() {
  volatile char left[kStack];
  static char copy[kStack];
  for (std::size_t i = 0; i < kStack; ++i) copy[i] = left[i];  // NOLINT
  return Holds(copy, kStack);
}

void Free(void* block) {
  if (block && Holds(static_cast<const char*>(block), ::_msize(block)))
    expose = "a block of the heap";
  std::free(block);
}

HLOCAL WINAPI FreeLocal(HLOCAL block) {
  if (block && Holds(static_cast<const char*>(block), ::LocalSize(block))) expose = "local memory";
  return ::LocalFree(block);
}

void UseHandle(short algorithm, short direction) {
  EU_HAND* const hand =
      EU_Open(algorithm, direction, reinterpret_cast<signed char*>(key), 8, nullptr, nullptr);
  EU_Encrypt(hand, reinterpret_cast<signed char*>(out), 64);
  EU_Close(hand);
}

// Enciphers the secret; another direction deciphers it again.
void UseCipher(short algorithm, short direction) {
  std::memset(out, 0, sizeof out);
  std::memcpy(out, kSecret.data(), kSecret.size());
  UseHandle(algorithm, kEncipher);
  if (direction != kEncipher) UseHandle(algorithm, direction);
}

struct Operation {
  const char* name;
  void (*run)();
  bool usesSystem = false;  // which has the secret on the stack too, and is not ours to look at
};

constexpr unsigned kSize = kSecret.size();
char* const secret = const_cast<char*>(kSecret.data());

void SealBlock(int room) { EU_EncAndAsciify(secret, 64, out, &room); }

alignas(SecureHashAlgorithm) char place[sizeof(SecureHashAlgorithm)];

SecureHashAlgorithm* AddSecret() {
  auto* const hash = new (place) SecureHashAlgorithm;
  for (int i = 0; i < 9; ++i) hash->hashBlock(secret, kSize);
  return hash;
}

const Operation kOperations[] = {
    {"seal", [] { EncryptAndAsciify(4, out, 1200, secret, kSize); }},
    {"seal without room", [] { EncryptAndAsciify(4, out, 20, secret, kSize); }},
    {"seal a block", [] { SealBlock(89); }},
    {"seal a block without room", [] { SealBlock(9); }},
    {"seal for the other", [] { KNWVEncryptAndAsciify(4, out, secret); }},
    {"open", [] { DeasciifyAndDecrypt(4, out, 1200, sealedSecret); }},
    {"open a block",
     [] {
       int room = 64;
       EU_DeasciifyAndDecrypt(sealedBlock, 86, out, &room);
     }},
    {"encipher blocks", [] { UseCipher(4, kEncipher); }},
    {"decipher blocks", [] { UseCipher(4, 500); }},
    {"substitute", [] { UseCipher(3, 500); }},
    {"reverse", [] { UseCipher(1, 500); }},
    {"digest",
     [] {
       static md5_ndmp login;
       login.SetMD5Password(secret, 31);
       login.SetMD5Challenge(secret);
       login.CreateMD5Digest(out);
     }},
    {"hash and forget", [] { AddSecret()->~SecureHashAlgorithm(); }},
    {"hash and finish",
     [] {
       unsigned a, b, c, d, e;
       AddSecret()->finishHash(a, b, c, d, e);
     }},
    {"seal for the machine",
     [] {
       std::string sealed;
       vtclass::SealForMachine(kSecret, sealed);
     },
     true},
    {"open for the machine", [] { DeasciifyAndDecrypt(4, out, 1200, machineSealed.data()); }, true},
};

class Wiping : public testing::Test {
 protected:
  Wiping() {
    EXPECT_TRUE(EncryptAndAsciify(4, sealedSecret, 200, secret, kSize));
    int room = 200;
    EXPECT_EQ(EU_EncAndAsciify(secret, 64, sealedBlock, &room), 0u);
    EXPECT_EQ(vtclass::SealForMachine(kSecret, machineSealed), 0u);
  }

  static void Watch(const Operation& operation) {
    expose = nullptr;
    CoverStack();
    operation.run();
    if (!operation.usesSystem && StackHolds()) expose = "the stack";
    if (Holds(place, sizeof place)) expose = "the hash";
    EXPECT_EQ(expose, nullptr) << operation.name << ": " << expose;
  }

  const ImportHook<decltype(std::free)> freeHook{nullptr, "free", &Free};
  const ImportHook<decltype(::LocalFree)> localHook{"KERNEL32.dll", "LocalFree", &FreeLocal};
};

TEST_F(Wiping, NothingIsLeftBehind) {
  for (const Operation& operation : kOperations) Watch(operation);
}

TEST_F(Wiping, NothingIsLeftBehind_WhenMemoryRunsOut) {
  for (const Operation& operation : kOperations) {
    TryEachAllocation([&] { Watch(operation); }, [](bool) {});
  }
}

// Not inlined, or the area would lie in its caller's frame; and deep enough that the registers that
// the next function saves do not cover it.
__declspec(noinline) void LeaveOnTheStack() {
  char area[1024];
  std::memcpy(area, kSecret.data(), kSecret.size());
  // For all that the compiler knows, this reads it; without it nothing would be left in one piece.
  static void (*volatile read)(const char*) = [](const char*) {};
  read(area);
}

// The looking itself sees what is there.
TEST_F(Wiping, WhatIsLeftBehind_IsSeen) {
  CoverStack();
  LeaveOnTheStack();
  EXPECT_TRUE(StackHolds());
  Free(std::memcpy(std::malloc(64), secret, 64));
  EXPECT_STREQ(expose, "a block of the heap");
}

}  // namespace
