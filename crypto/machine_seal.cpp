#include "crypto/machine_seal.h"

#include <vtclass/win32.h>

#include <dpapi.h>

#include <cstring>
#include <string>

#include "crypto/armour.h"
#include "crypto/fixed_values.h"
#include "crypto/wipe.h"
#include "platform/bound_function.h"
#include "platform/checked_cast.h"
#include "platform/failure_code.h"
#include "platform/no_throw.h"
#include "platform/owned.h"
#include "vtclass/crypto.h"

namespace vtclass::crypto {

namespace {

constinit platform::BoundFunction<decltype(::CryptProtectData)> protectData(L"crypt32.dll",
                                                                            "CryptProtectData",
                                                                            FALSE);
constinit platform::BoundFunction<decltype(::CryptUnprotectData)> unprotectData(
    L"crypt32.dll", "CryptUnprotectData", FALSE);

// What the system has made: wiped before it is freed, for it may be the secret.
class SystemBlob {
 public:
  SystemBlob() = default;
  ~SystemBlob() {
    if (!blob.pbData) return;
    Wipe(blob.pbData, blob.cbData);
    const platform::OwnedLocalMemory memory(blob.pbData);
  }
  SystemBlob(const SystemBlob&) = delete;
  SystemBlob& operator=(const SystemBlob&) = delete;

  DATA_BLOB* Receive() noexcept { return &blob; }
  std::string_view Text() const noexcept {
    return {reinterpret_cast<const char*>(blob.pbData), blob.cbData};
  }

 private:
  DATA_BLOB blob = {};
};

// The system only reads through such a blob.
DATA_BLOB BlobOf(const void* bytes, DWORD size) noexcept {
  return {size, static_cast<BYTE*>(const_cast<void*>(bytes))};
}

DATA_BLOB Entropy() noexcept {
  return BlobOf(kMachineEntropy.data(), static_cast<DWORD>(kMachineEntropy.size()));
}

unsigned long Protect(std::string_view text, SystemBlob& sealed) noexcept {
  const auto size = platform::CheckedCast<DWORD>(text.size());
  if (!size) return ERROR_INVALID_PARAMETER;
  DATA_BLOB in = BlobOf(text.data(), *size);
  DATA_BLOB entropy = Entropy();
  const BOOL done =
      protectData(&in, nullptr, &entropy, nullptr, nullptr,
                  CRYPTPROTECT_LOCAL_MACHINE | CRYPTPROTECT_UI_FORBIDDEN, sealed.Receive());
  return done ? ERROR_SUCCESS : platform::FailureCode(ERROR_INVALID_DATA);
}

unsigned long Unprotect(std::string_view bytes, SystemBlob& text) noexcept {
  const auto size = platform::CheckedCast<DWORD>(bytes.size());
  if (!size) return ERROR_INVALID_DATA;
  DATA_BLOB in = BlobOf(bytes.data(), *size);
  DATA_BLOB entropy = Entropy();
  const BOOL done = unprotectData(&in, nullptr, &entropy, nullptr, nullptr,
                                  CRYPTPROTECT_UI_FORBIDDEN, text.Receive());
  return done ? ERROR_SUCCESS : platform::FailureCode(ERROR_INVALID_DATA);
}

// Throws std::bad_alloc.
std::string Armoured(std::string_view bytes) {
  std::string text(ArmouredLength(bytes.size()), '\0');
  BestArmour().encode(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(),
                      text.data());
  return text;
}

// Throws std::bad_alloc.
unsigned long Open(std::string_view seal, SystemBlob& text) {
  if (!seal.starts_with(kMachineMark)) return ERROR_INVALID_DATA;
  seal.remove_prefix(kMachineMark.size());
  std::string bytes(DisarmedLength(seal.size()), '\0');
  // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): the count of bytes tells its length
  BestArmour().decode(seal.data(), bytes.size(), reinterpret_cast<std::uint8_t*>(bytes.data()));
  // Each seal has one spelling. Other characters, and bits of the last one that no byte shows,
  // would change unnoticed.
  if (Armoured(bytes) != seal) return ERROR_INVALID_DATA;
  return Unprotect(bytes, text);
}

// Throws std::bad_alloc.
unsigned long Seal(std::string_view text, std::string& seal) {
  SystemBlob blob;
  const unsigned long status = Protect(text, blob);
  if (status != ERROR_SUCCESS) return status;
  seal = std::string(kMachineMark) + Armoured(blob.Text());
  return ERROR_SUCCESS;
}

}  // namespace

bool OpenMachineSeal(std::string_view seal, char* out, std::size_t size) noexcept {
  SystemBlob text;
  const unsigned long status = platform::StatusOf([&] { return Open(seal, text); });
  if (status != ERROR_SUCCESS || text.Text().size() > size) return false;
  std::memcpy(out, text.Text().data(), text.Text().size());
  return true;
}

}  // namespace vtclass::crypto

namespace vtclass::border {

namespace {

// Only now is the caller's string touched: it may be what was read.
unsigned long HandOver(const NarrowSink& out, unsigned long status, std::string_view result) {
  if (status == ERROR_SUCCESS && out.Assign(result)) return ERROR_SUCCESS;
  out.Resize(0);
  return status == ERROR_SUCCESS ? ERROR_NOT_ENOUGH_MEMORY : status;
}

}  // namespace

unsigned long SealForMachine(const NarrowSink& sealed, const char* text,
                             std::size_t length) noexcept {
  std::string made;
  const unsigned long status = platform::StatusOf(
      [&] { return length == 0 ? ERROR_SUCCESS : crypto::Seal({text, length}, made); });
  return HandOver(sealed, status, made);
}

unsigned long OpenForMachine(const NarrowSink& text, const char* sealed,
                             std::size_t length) noexcept {
  crypto::SystemBlob blob;
  const unsigned long status = platform::StatusOf(
      [&] { return length == 0 ? ERROR_SUCCESS : crypto::Open({sealed, length}, blob); });
  return HandOver(text, status, blob.Text());
}

}  // namespace vtclass::border
