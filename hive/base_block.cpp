#include "hive/base_block.h"

#include <string_view>

namespace vtclass::hive {
namespace {

constexpr std::string_view kHiveSignature = "regf";
constexpr std::string_view kWineSignature = "WINE REGISTRY Version ";

// The places of the numbers.
constexpr std::size_t kPrimarySequence = 4;
constexpr std::size_t kSecondarySequence = 8;
constexpr std::size_t kLastWritten = 12;
constexpr std::size_t kMajorVersion = 20;
constexpr std::size_t kMinorVersion = 24;
constexpr std::size_t kFileType = 28;
constexpr std::size_t kFileFormat = 32;
constexpr std::size_t kRootCell = 36;
constexpr std::size_t kBinsSize = 40;
constexpr std::size_t kChecksum = 508;

constexpr std::uint32_t kPrimaryFile = 0;
constexpr std::uint32_t kDirectMemoryLoad = 1;
constexpr std::uint32_t kOldestMinor = 3;
constexpr std::uint32_t kNewestMinor = 6;

bool BeginsWith(Bytes file, std::string_view text) {
  return file.size() >= text.size() && std::memcmp(file.data(), text.data(), text.size()) == 0;
}

// Why nothing can be read by this block; a problem without words when it can.
Problem WhyUnreadable(Bytes file) {
  const auto number = [file](std::size_t at) { return Load<std::uint32_t>(file, at); };
  if (number(kMajorVersion) != 1 || number(kMinorVersion) < kOldestMinor ||
      number(kMinorVersion) > kNewestMinor) {
    return {Severity::error, kMajorVersion, "The version", "is none of 1.3 to 1.6"};
  }
  if (number(kFileType) != kPrimaryFile) {
    return {Severity::error, kFileType, "The file", "is the log of a hive, not the hive itself"};
  }
  if (number(kFileFormat) != kDirectMemoryLoad) {
    return {Severity::error, kFileFormat, "The format", "is unknown"};
  }
  const std::uint32_t binsSize = number(kBinsSize);
  if (binsSize == 0 || binsSize % kPageBytes != 0) {
    return {Severity::error, kBinsSize, "The size of the bins", "is no number of whole pages"};
  }
  return {};
}

}  // namespace

FileKind KindOf(Bytes file) {
  if (file.empty()) return FileKind::empty;
  if (BeginsWith(file, kHiveSignature)) return FileKind::hive;
  return BeginsWith(file, kWineSignature) ? FileKind::wineText : FileKind::other;
}

std::uint32_t ChecksumOf(Bytes file) {
  std::uint32_t sum = 0;
  for (std::size_t at = 0; at < kChecksum; at += sizeof sum) sum ^= Load<std::uint32_t>(file, at);
  if (sum == 0) return 1;
  return sum == 0xFFFFFFFF ? 0xFFFFFFFE : sum;
}

std::optional<BaseBlock> ReadBaseBlock(Bytes file, const ReportProblem& report) {
  if (KindOf(file) != FileKind::hive) {
    report({Severity::error, 0, "The file", "is no hive"});
    return std::nullopt;
  }
  if (file.size() < kBaseBlockBytes) {
    report({Severity::error, file.size(), "The file", "ends within its first page"});
    return std::nullopt;
  }
  if (Load<std::uint32_t>(file, kChecksum) != ChecksumOf(file)) {
    report({Severity::error, kChecksum, "The checksum", "of the first page is wrong"});
  }
  if (const Problem problem = WhyUnreadable(file); *problem.what) {
    report(problem);
    return std::nullopt;
  }
  // The two differ while the hive is being written. A saved key has no log to mend it by.
  if (Load<std::uint32_t>(file, kPrimarySequence) !=
      Load<std::uint32_t>(file, kSecondarySequence)) {
    report({Severity::error, kPrimarySequence, "The writing of the hive", "was not ended"});
  }
  BaseBlock block;
  block.minorVersion = Load<std::uint32_t>(file, kMinorVersion);
  block.lastWritten = Load<std::uint64_t>(file, kLastWritten);
  block.rootCell = Load<std::uint32_t>(file, kRootCell);
  std::size_t binsSize = Load<std::uint32_t>(file, kBinsSize);
  const std::size_t room = file.size() - kBaseBlockBytes;
  if (binsSize > room) {
    report({Severity::error, file.size(), "The file", "ends before the last of its bins"});
    binsSize = room - room % kPageBytes;
  }
  block.bins = file.subspan(kBaseBlockBytes, binsSize);
  return block;
}

}  // namespace vtclass::hive
