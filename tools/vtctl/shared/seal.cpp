#include "tools/vtctl/shared/seal.h"

#include <algorithm>

#include "crypto/armour.h"
#include "crypto/machine_seal.h"
#include "crypto/sealed_text.h"
#include "vtclass/crypto.h"

using vtclass::crypto::BeginsAsMachineSeal;
using vtclass::crypto::DisarmedLength;
using vtclass::crypto::kCipherBlock;
using vtclass::crypto::kFirstArmourCharacter;
using vtclass::crypto::kMachineMark;

namespace vtctl {
namespace {

// The library's older operations seal so many, whatever the text's length.
constexpr std::size_t kFixedBlock = 64;

// As EncryptAndAsciify makes them: whole blocks, and nothing in the bits that no byte needs.
bool HasShapeOfSeal(std::string_view text) {
  const std::size_t bytes = DisarmedLength(text.size());
  if (bytes == 0 || bytes > kMostOrdinaryBytes || bytes % kCipherBlock != 0) return false;
  if (!std::ranges::all_of(text, [](char c) { return c >= kFirstArmourCharacter && c <= 'o'; }))
    return false;
  constexpr int kSpareBits[] = {0, 6, 4, 2};
  const int spare = kSpareBits[text.size() % 4];
  return spare != 6 && ((text.back() - '0') & ((1 << spare) - 1)) == 0;
}

bool IsControl(char character) {
  const bool isOfText = character == '\t' || character == '\r' || character == '\n';
  return (character >= 0 && character < ' ' && !isOfText) || character == '\x7F';
}

bool IsUtf8(std::string_view text) {
  return text.empty() ||
         // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): the length goes with it.
         ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(),
                               static_cast<int>(text.size()), nullptr, 0) > 0;
}

// Of a code page one cannot tell; but what a wrong key gives is hardly ever mostly ASCII.
bool IsMostlyAscii(std::string_view text, std::size_t sealedBytes) {
  const auto others = std::ranges::count_if(text, [](char character) { return character < 0; });
  return static_cast<std::size_t>(others) <= sealedBytes / 4;
}

// Cuts `bytes` where the text ends. False when it cannot be what a text was filled up to.
bool CutAtEnd(std::string& bytes) {
  const std::size_t whole = bytes.size();
  const std::size_t end = std::min(bytes.find('\0'), whole);
  const bool isFilled = bytes.find_first_not_of('\0', end) == std::string::npos;
  const bool isNeeded = whole == kFixedBlock || whole - end < kCipherBlock;
  if (isFilled) bytes.resize(end);
  return isFilled && isNeeded;
}

OpenedSeal OpenOrdinary(std::string sealed, Secret& secret) {
  OpenedSeal opened = {SealForm::ordinary};
  const std::size_t bytes = DisarmedLength(sealed.size());
  secret.text.resize(bytes + 1);
  const bool isDone = DeasciifyAndDecrypt(kSealAlgorithm, secret.text.data(),
                                          static_cast<int>(bytes + 1), sealed.data());
  secret.text.resize(bytes);
  opened.opens = isDone && CutAtEnd(secret.text) && std::ranges::none_of(secret.text, &IsControl);
  opened.isUtf8 = opened.opens && IsUtf8(secret.text);
  opened.opens = opened.isUtf8 || (opened.opens && IsMostlyAscii(secret.text, bytes));
  return opened;
}

}  // namespace

OpenedSeal OpenSeal(const std::string& sealed, Secret& secret) {
  secret.text.clear();
  if (sealed.empty()) return {SealForm::nothing, true};
  if (!BeginsAsMachineSeal(sealed)) {
    return HasShapeOfSeal(sealed) ? OpenOrdinary(sealed, secret) : OpenedSeal{SealForm::none};
  }
  if (!sealed.starts_with(kMachineMark)) return {SealForm::later};
  const unsigned long status = vtclass::OpenForMachine(sealed, secret.text);
  return {SealForm::machineBound, status == 0, status == 0, status};
}

const char* FormWord(SealForm form) {
  // In the order of SealForm.
  constexpr const char* kWords[] = {"nothing", "none", "ordinary", "machine-bound", "unknown"};
  return kWords[static_cast<int>(form)];
}

}  // namespace vtctl
