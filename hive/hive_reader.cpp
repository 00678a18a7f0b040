#include "hive/hive_reader.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "hive/cell_map.h"
#include "hive/descriptor.h"
#include "hive/name_rules.h"

namespace vtclass::hive {
namespace {

// The places of what a key holds, behind its cell's size.
namespace key_at {
constexpr std::size_t kFlags = 2;
constexpr std::size_t kParent = 16;
constexpr std::size_t kSubkeyCount = 20;
constexpr std::size_t kSubkeys = 28;
constexpr std::size_t kValueCount = 36;
constexpr std::size_t kValues = 40;
constexpr std::size_t kSecurity = 44;
constexpr std::size_t kClass = 48;
constexpr std::size_t kNameLength = 72;
constexpr std::size_t kClassLength = 74;
constexpr std::size_t kName = 76;
}  // namespace key_at

constexpr unsigned kIsLink = 0x10;
constexpr unsigned kHasNarrowName = 0x20;

namespace value_at {
constexpr std::size_t kNameLength = 2;
constexpr std::size_t kDataSize = 4;
constexpr std::size_t kData = 8;
constexpr std::size_t kType = 12;
constexpr std::size_t kFlags = 16;
constexpr std::size_t kName = 20;
}  // namespace value_at

constexpr unsigned kValueHasNarrowName = 1;
// The data stands in the place of its offset.
constexpr std::uint32_t kDataIsInside = 0x80000000;

namespace security_at {
constexpr std::size_t kNext = 4;
constexpr std::size_t kPrevious = 8;
constexpr std::size_t kUsers = 12;
constexpr std::size_t kSize = 16;
constexpr std::size_t kDescriptor = 20;
}  // namespace security_at

// From this version on large data lies in pieces.
constexpr std::uint32_t kMinorWithPieces = 4;
constexpr std::size_t kOffsetBytes = sizeof(std::uint32_t);
constexpr std::size_t kListHeaderBytes = 4;

constexpr const char* kTooShort = "is longer than its cell";
constexpr const char* kNoRecord = "does not lie where its offset leads";

// A key that was found and not yet told.
struct FoundKey {
  std::uint32_t cell = kNoCell;
  Bytes record;
  StoredName name;
  std::size_t depth = 0;
  std::uint32_t parent = kNoCell;  // the first key's counts for nothing

  std::uint32_t Number(std::size_t at) const { return Load<std::uint32_t>(record, at); }
};

class Reading {
 public:
  Reading(Bytes file, HiveVisitor& visitor, const ReportProblem& reportTo)
      : visitor(visitor),
        report([this, &reportTo](const Problem& problem) { Tell(problem, reportTo); }),
        block(ReadBaseBlock(file, report)),
        file(file),
        bins(block ? block->bins : Bytes()),
        cells(bins, report) {}

  HiveSummary Read();

 private:
  void Tell(const Problem& problem, const ReportProblem& to);
  void Warn(const unsigned char* at, const char* what, const char* fault) {
    report({Severity::warning, PlaceOf(at), what, fault, path});
  }
  void Refuse(const unsigned char* at, const char* what, const char* fault) {
    report({Severity::error, PlaceOf(at), what, fault, path});
  }
  std::uint64_t PlaceOf(const unsigned char* at) const {
    return static_cast<std::uint64_t>(at - file.data());
  }

  Bytes Take(const unsigned char* reference, const char* what, std::size_t least);
  bool ReadName(StoredName& name, Bytes record, std::size_t at, std::size_t length,
                std::size_t longest, const char* what);
  bool FindKey(const unsigned char* reference, const FoundKey* parent);
  void EnterPath(const FoundKey& key);
  bool ReadKey(const FoundKey& key);
  void CheckClass(const FoundKey& key);
  void CheckSecurity(const FoundKey& key);
  void CheckDescriptor(Bytes record, std::uint32_t cell);
  void CheckSecurityUsers();
  void CheckSecurityRing();
  void CheckLostRecords();
  bool ReadValues(const FoundKey& key);
  bool ReadValue(const unsigned char* reference);
  void CheckValueNames();
  bool ReadData(Bytes record, StoredData& data);
  bool ReadPieces(Bytes record, std::size_t size, StoredData& data);
  bool CheckPieces(Bytes list, std::size_t size);
  void FindSubkeys(const FoundKey& key);
  std::size_t ReadListOfLists(const FoundKey& key, Bytes list);
  std::size_t ReadLeaf(const FoundKey& key, Bytes leaf);
  void CheckPlaceInList(Bytes leaf, const unsigned char* entry);

  HiveVisitor& visitor;
  HiveSummary summary;
  WideText path;
  std::vector<std::size_t> pathEnds;  // of the keys above the one that is read
  const ReportProblem report;
  const std::optional<BaseBlock> block;
  const Bytes file;
  const Bytes bins;
  CellMap cells;
  std::vector<FoundKey> waiting;            // keys to be told, the next one last
  StoredName lastInList;                    // the subkey found before, in the lists of one key
  std::vector<StoredName> valueNames;       // of one key
  std::vector<std::uint32_t> securityUsed;  // the cell of each key's security descriptor
};

void Reading::Tell(const Problem& problem, const ReportProblem& to) {
  (problem.severity == Severity::error ? summary.errors : summary.warnings) += 1;
  to(problem);
}

// The content of the cell whose offset stands at `reference`, when it has so many bytes.
Bytes Reading::Take(const unsigned char* reference, const char* what, std::size_t least) {
  const char* fault = nullptr;
  const Bytes content = cells.Take(Load<std::uint32_t>({reference, kOffsetBytes}, 0), fault);
  if (fault) {
    Refuse(reference, what, fault);
    return {};
  }
  if (content.size() < least) {
    Refuse(content.data(), what, kTooShort);
    return {};
  }
  return content;
}

bool Reading::ReadName(StoredName& name, Bytes record, std::size_t at, std::size_t length,
                       std::size_t longest, const char* what) {
  const unsigned char* const place = record.data() + at;
  if (length > record.size() - at) {
    Refuse(place, what, kTooShort);
    return false;
  }
  name.bytes = record.subspan(at, length);
  if (!name.isNarrow && length % sizeof(WideUnit) != 0) {
    Refuse(place, what, "ends within a character");
    return false;
  }
  if (name.Length() > longest) {
    Refuse(place, what, "is longer than the registry allows");
    return false;
  }
  return true;
}

// Looks at the key whose offset stands at `reference`, and keeps it for later.
bool Reading::FindKey(const unsigned char* reference, const FoundKey* parent) {
  FoundKey key;
  key.record = Take(reference, "The key", key_at::kName);
  if (key.record.empty()) return false;
  key.cell = Load<std::uint32_t>({reference, kOffsetBytes}, 0);
  if (!HasSignature(key.record, "nk")) {
    Refuse(key.record.data(), "The key", kNoRecord);
    return false;
  }
  const auto flags = Load<std::uint16_t>(key.record, key_at::kFlags);
  key.name.isNarrow = (flags & kHasNarrowName) != 0;
  if (!ReadName(key.name, key.record, key_at::kName,
                Load<std::uint16_t>(key.record, key_at::kNameLength), kLongestKeyName,
                "The key's name")) {
    return false;
  }
  if (parent) {
    key.depth = parent->depth + 1;
    const unsigned char* const name = key.name.bytes.data();
    if (key.name.Length() == 0) {
      Refuse(name, "The key's name", "is empty");
      return false;
    }
    for (std::size_t at = 0; at < key.name.Length(); ++at) {
      if (key.name[at] != '\\') continue;
      Refuse(name, "The key's name", "has a backslash in it");
      return false;
    }
    if (key.depth > kDeepestKey) {
      Refuse(key.record.data(), "The key", "lies deeper than the registry allows");
      return false;
    }
    key.parent = parent->cell;
  }
  waiting.push_back(key);
  return true;
}

// The path of the first key is empty, whatever its name.
void Reading::EnterPath(const FoundKey& key) {
  pathEnds.resize(key.depth);
  path.resize(pathEnds.empty() ? 0 : pathEnds.back());
  if (key.depth > 1) path += WideUnit{'\\'};
  if (key.depth > 0) key.name.AppendTo(path);
  pathEnds.push_back(path.size());
}

bool Reading::ReadKey(const FoundKey& key) {
  EnterPath(key);
  ++summary.keys;
  summary.deepest = std::max(summary.deepest, key.depth);
  const auto flags = Load<std::uint16_t>(key.record, key_at::kFlags);
  if (!visitor.OnKey({path, key.depth, key.name, (flags & kIsLink) != 0})) return false;
  if (key.depth > 0 && key.Number(key_at::kParent) != key.parent) {
    Warn(key.record.data() + key_at::kParent, "The key", "names another key as the one above it");
  }
  CheckClass(key);
  CheckSecurity(key);
  if (!ReadValues(key)) return false;
  FindSubkeys(key);
  return true;
}

void Reading::CheckClass(const FoundKey& key) {
  const auto length = Load<std::uint16_t>(key.record, key_at::kClassLength);
  if (length != 0) Take(key.record.data() + key_at::kClass, "The key's class", length);
}

void Reading::CheckSecurity(const FoundKey& key) {
  const std::uint32_t cell = key.Number(key_at::kSecurity);
  const unsigned char* const place = key.record.data() + key_at::kSecurity;
  constexpr const char* kWhat = "The key's security descriptor";
  if (cell == kNoCell) {
    Warn(place, kWhat, "is missing");
    return;
  }
  const char* fault = nullptr;
  bool isFirst = false;
  const Bytes record = cells.Share(cell, fault, isFirst);
  if (fault) {
    Refuse(place, kWhat, fault);
    return;
  }
  securityUsed.push_back(cell);
  if (isFirst) CheckDescriptor(record, cell);
}

// The security descriptors of a hive form a ring, which the system goes round.
void Reading::CheckDescriptor(Bytes record, std::uint32_t cell) {
  constexpr const char* kWhat = "The security descriptor";
  if (record.size() < security_at::kDescriptor || !HasSignature(record, "sk")) {
    Refuse(record.data(), kWhat, kNoRecord);
    return;
  }
  const std::size_t size = Load<std::uint32_t>(record, security_at::kSize);
  if (size > record.size() - security_at::kDescriptor) {
    Refuse(record.data() + security_at::kSize, kWhat, kTooShort);
    return;
  }
  if (!IsDescriptor(record.subspan(security_at::kDescriptor, size))) {
    Refuse(record.data() + security_at::kDescriptor, kWhat, "has an unknown form");
    return;
  }
  const Bytes next = cells.Look(Load<std::uint32_t>(record, security_at::kNext));
  if (next.size() < security_at::kDescriptor || !HasSignature(next, "sk") ||
      Load<std::uint32_t>(next, security_at::kPrevious) != cell) {
    Warn(record.data() + security_at::kNext, kWhat, "is not followed by another that leads back");
  }
}

// Keys below one that could not be read are not counted, so the numbers are right only in a hive
// without errors.
void Reading::CheckSecurityUsers() {
  path.clear();
  for (auto first = securityUsed.begin(); first != securityUsed.end();) {
    const auto last = std::ranges::upper_bound(first, securityUsed.end(), *first);
    const Bytes record = cells.Look(*first);
    if (Load<std::uint32_t>(record, security_at::kUsers) !=
        static_cast<std::size_t>(last - first)) {
      Warn(record.data() + security_at::kUsers, "The security descriptor",
           "counts other keys than have it");
    }
    first = last;
  }
}

// From one descriptor the system comes to all of them.
void Reading::CheckSecurityRing() {
  const auto end = std::ranges::unique(securityUsed).begin();
  if (end == securityUsed.begin()) return;
  std::vector<std::uint32_t> ring;
  // No more of them than keys, in a hive as the system writes it.
  for (std::uint32_t cell = securityUsed.front(); ring.size() <= summary.keys;) {
    ring.push_back(cell);
    const Bytes record = cells.Look(cell);
    if (record.size() < security_at::kDescriptor) break;
    cell = Load<std::uint32_t>(record, security_at::kNext);
    if (cell == ring.front()) break;
  }
  std::ranges::sort(ring);
  for (auto used = securityUsed.begin(); used != end; ++used) {
    if (std::ranges::binary_search(ring, *used)) continue;
    Warn(cells.Look(*used).data(), "The security descriptor", "is in no ring with the first");
  }
}

// A key or a value that is there and that nothing leads to would be lost. Where something could not
// be read, all below it would be told here once more.
void Reading::CheckLostRecords() {
  cells.ForEachLeft([this](Bytes record) {
    const bool isKey = HasSignature(record, "nk");
    if (!isKey && !HasSignature(record, "vk")) return;
    Refuse(record.data(), isKey ? "A key" : "A value", "is in use, and nothing leads to it");
  });
}

bool Reading::ReadValues(const FoundKey& key) {
  const std::size_t count = key.Number(key_at::kValueCount);
  if (count == 0) return true;
  const Bytes list =
      Take(key.record.data() + key_at::kValues, "The list of values", count * kOffsetBytes);
  valueNames.clear();
  for (std::size_t at = 0; at < count * kOffsetBytes && !list.empty(); at += kOffsetBytes) {
    if (!ReadValue(list.data() + at)) return false;
  }
  CheckValueNames();
  return true;
}

// The system finds one of several values of a name alone.
void Reading::CheckValueNames() {
  std::ranges::sort(valueNames, &ComesBefore);
  for (std::size_t n = 1; n < valueNames.size(); ++n) {
    if (ComesBefore(valueNames[n - 1], valueNames[n])) continue;
    Warn(valueNames[n].bytes.data(), "The value", "has the name of another");
  }
}

// False only when the visitor wants no more.
bool Reading::ReadValue(const unsigned char* reference) {
  const Bytes record = Take(reference, "The value", value_at::kName);
  if (record.empty()) return true;
  if (!HasSignature(record, "vk")) {
    Refuse(record.data(), "The value", kNoRecord);
    return true;
  }
  StoredValue value;
  value.type = Load<std::uint32_t>(record, value_at::kType);
  value.name.isNarrow = (Load<std::uint16_t>(record, value_at::kFlags) & kValueHasNarrowName) != 0;
  const auto nameLength = Load<std::uint16_t>(record, value_at::kNameLength);
  if (!ReadName(value.name, record, value_at::kName, nameLength, kLongestValueName,
                "The value's name") ||
      !ReadData(record, value.data)) {
    return true;
  }
  valueNames.push_back(value.name);
  ++summary.values;
  summary.dataBytes += value.data.Size();
  return visitor.OnValue(value);
}

bool Reading::ReadData(Bytes record, StoredData& data) {
  const auto stored = Load<std::uint32_t>(record, value_at::kDataSize);
  const std::size_t size = stored & ~kDataIsInside;
  constexpr const char* kWhat = "The value's data";
  if ((stored & kDataIsInside) != 0) {
    if (size > kOffsetBytes) {
      Refuse(record.data() + value_at::kDataSize, kWhat, "is longer than its place");
      return false;
    }
    data = StoredData(record.subspan(value_at::kData, size));
    return true;
  }
  if (size == 0) return true;
  if (size > kPieceBytes && summary.minorVersion >= kMinorWithPieces) {
    return ReadPieces(record, size, data);
  }
  const Bytes content = Take(record.data() + value_at::kData, kWhat, size);
  if (content.empty()) return false;
  data = StoredData(content.first(size));
  return true;
}

bool Reading::ReadPieces(Bytes record, std::size_t size, StoredData& data) {
  constexpr const char* kWhat = "The list of the data's pieces";
  const Bytes pieces = Take(record.data() + value_at::kData, kWhat, 2 * kOffsetBytes);
  if (pieces.empty()) return false;
  if (!HasSignature(pieces, "db")) {
    Refuse(pieces.data(), kWhat, kNoRecord);
    return false;
  }
  const std::size_t count = Load<std::uint16_t>(pieces, 2);
  if (count != (size + kPieceBytes - 1) / kPieceBytes) {
    Refuse(pieces.data(), kWhat, "has not the number that the size wants");
    return false;
  }
  const Bytes list = Take(pieces.data() + kOffsetBytes, kWhat, count * kOffsetBytes);
  if (list.empty() || !CheckPieces(list.first(count * kOffsetBytes), size)) return false;
  data = StoredData(bins, list.first(count * kOffsetBytes), size);
  return true;
}

bool Reading::CheckPieces(Bytes list, std::size_t size) {
  for (std::size_t at = 0; at < list.size(); at += kOffsetBytes) {
    const std::size_t length = std::min(size, kPieceBytes);
    if (Take(list.data() + at, "The piece of a value's data", length).empty()) return false;
    size -= length;
  }
  return true;
}

void Reading::FindSubkeys(const FoundKey& key) {
  const std::size_t count = key.Number(key_at::kSubkeyCount);
  if (count == 0) return;
  constexpr const char* kWhat = "The list of subkeys";
  const Bytes list = Take(key.record.data() + key_at::kSubkeys, kWhat, kListHeaderBytes);
  if (list.empty()) return;
  const std::size_t before = waiting.size();
  lastInList = {};
  const std::size_t listed =
      HasSignature(list, "ri") ? ReadListOfLists(key, list) : ReadLeaf(key, list);
  if (listed != count) {
    Refuse(key.record.data() + key_at::kSubkeyCount, "The number of subkeys",
           "is another than that in their list");
  }
  // The last of them is the next one to be told.
  std::reverse(waiting.begin() + static_cast<std::ptrdiff_t>(before), waiting.end());
}

std::size_t Reading::ReadListOfLists(const FoundKey& key, Bytes list) {
  const std::size_t count = Load<std::uint16_t>(list, 2);
  if (count * kOffsetBytes > list.size() - kListHeaderBytes) {
    Refuse(list.data(), "The list of lists of subkeys", kTooShort);
    return 0;
  }
  std::size_t listed = 0;
  for (std::size_t n = 0; n < count; ++n) {
    const unsigned char* const reference = list.data() + kListHeaderBytes + n * kOffsetBytes;
    const Bytes leaf = Take(reference, "The list of subkeys", kListHeaderBytes);
    if (!leaf.empty()) listed += ReadLeaf(key, leaf);
  }
  return listed;
}

// Answers how many keys the list has, whether or not they can be read.
std::size_t Reading::ReadLeaf(const FoundKey& key, Bytes leaf) {
  constexpr const char* kWhat = "The list of subkeys";
  const bool isHashed = HasSignature(leaf, "lh");
  if (!isHashed && !HasSignature(leaf, "lf") && !HasSignature(leaf, "li")) {
    Refuse(leaf.data(), kWhat, HasSignature(leaf, "ri") ? "is a list of lists again" : kNoRecord);
    return 0;
  }
  const std::size_t count = Load<std::uint16_t>(leaf, 2);
  const std::size_t entryBytes = HasSignature(leaf, "li") ? kOffsetBytes : 2 * kOffsetBytes;
  if (count * entryBytes > leaf.size() - kListHeaderBytes) {
    Refuse(leaf.data(), kWhat, kTooShort);
    return 0;
  }
  for (std::size_t n = 0; n < count; ++n) {
    const unsigned char* const entry = leaf.data() + kListHeaderBytes + n * entryBytes;
    if (FindKey(entry, &key)) CheckPlaceInList(leaf, entry);
  }
  return count;
}

// The system finds a subkey by its place among the sorted names, and by its hash.
void Reading::CheckPlaceInList(Bytes leaf, const unsigned char* entry) {
  const StoredName& name = waiting.back().name;
  const Order order = OrderOf(lastInList, name);
  lastInList = name;
  if (order == Order::same) {
    Warn(entry, "The subkey", "has the name of another");
  } else if (order == Order::descending) {
    Warn(entry, "The subkey", "is out of its order, so that the system would not find it");
  }
  const unsigned char* const sign = entry + kOffsetBytes;
  if (HasSignature(leaf, "lf") && !FitsHint(name, {sign, 4})) {
    Warn(sign, "The subkey's first letters",
         "in the list are not those of its name, so that the system would not find it");
  }
  if (!HasSignature(leaf, "lh")) return;
  const auto hash = HashOf(name);
  if (hash && *hash != Load<std::uint32_t>({sign, kOffsetBytes}, 0)) {
    Warn(sign, "The subkey's hash", "does not fit its name, so that the system would not find it");
  }
}

HiveSummary Reading::Read() {
  if (!block) return summary;
  summary.minorVersion = block->minorVersion;
  summary.lastWritten = block->lastWritten;
  constexpr std::size_t kRootReference = 36;
  if (!FindKey(file.data() + kRootReference, nullptr)) return summary;
  while (!waiting.empty()) {
    const FoundKey key = waiting.back();
    waiting.pop_back();
    if (!ReadKey(key)) return summary;
  }
  if (summary.errors == 0) {
    std::ranges::sort(securityUsed);
    CheckSecurityUsers();
    CheckSecurityRing();
    CheckLostRecords();
  }
  summary.isWhole = true;
  return summary;
}

}  // namespace

HiveSummary ReadHive(Bytes file, HiveVisitor& visitor, const ReportProblem& report) {
  return Reading(file, visitor, report).Read();
}

}  // namespace vtclass::hive
