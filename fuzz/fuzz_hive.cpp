#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "hive/compare.h"
#include "hive/hive_reader.h"
#include "hive/key_tree.h"

using vtclass::WideUnit;
using vtclass::fuzz::Check;
using namespace vtclass::hive;

namespace {

constexpr std::size_t kBinHeaderBytes = 32;

template <typename Number>
void Put(std::vector<unsigned char>& bytes, std::size_t at, Number number) {
  std::memcpy(bytes.data() + at, &number, sizeof number);
}

void AddBin(std::vector<unsigned char>& file, Bytes cells) {
  const std::size_t begin = file.size();
  const std::size_t size =
      (kBinHeaderBytes + cells.size() + kPageBytes - 1) / kPageBytes * kPageBytes;
  file.resize(begin + size);
  std::memcpy(file.data() + begin, "hbin", 4);
  Put(file, begin + 4, static_cast<std::uint32_t>(begin - kBaseBlockBytes));
  Put(file, begin + 8, static_cast<std::uint32_t>(size));
  std::ranges::copy(cells, file.begin() + static_cast<std::ptrdiff_t>(begin + kBinHeaderBytes));
  // The rest is free.
  const std::size_t used = kBinHeaderBytes + cells.size();
  if (size - used >= 4) Put(file, begin + used, static_cast<std::int32_t>(size - used));
}

// Two bins, each of one cell that can hold a piece of large data.
void AddPieces(std::vector<unsigned char>& file) {
  constexpr std::size_t kCellBytes = kPieceBytes + 8;
  std::vector<unsigned char> cell(kCellBytes, 'x');
  Put(cell, 0, -static_cast<std::int32_t>(kCellBytes));
  AddBin(file, cell);
  AddBin(file, cell);
}

// A file is longer than most inputs may be. Therefore an input whose first byte has the bit 1 is
// only what two bins hold, and all around it is right: the second byte is the version, the third
// tells how many eight bytes of the rest belong to the first bin. The bit 2 asks for pieces of
// large data. Any other input is the file.
std::vector<unsigned char> FileOf(Bytes input) {
  if (input.size() < 3 || (input[0] & 1) == 0) return {input.begin(), input.end()};
  const Bytes cells = input.subspan(3);
  const Bytes first = cells.first(std::min(std::size_t{8} * input[2], cells.size()));
  std::vector<unsigned char> file(kBaseBlockBytes);
  AddBin(file, first);
  if (first.size() < cells.size()) AddBin(file, cells.subspan(first.size()));
  if ((input[0] & 2) != 0) AddPieces(file);
  std::memcpy(file.data(), "regf", 4);
  Put(file, 20, std::uint32_t{1});
  Put(file, 24, std::uint32_t{input[1]});
  Put(file, 32, std::uint32_t{1});
  Put(file, 36, static_cast<std::uint32_t>(kBinHeaderBytes));
  Put(file, 40, static_cast<std::uint32_t>(file.size() - kBaseBlockBytes));
  Put(file, 508, ChecksumOf(file));
  return file;
}

// Everything that is told, and how much of it there is.
class Everything : public KeyTree {
 public:
  bool OnKey(const Key& key) override {
    Check(key.depth <= kDeepestKey && key.name.Length() <= kLongestKeyName);
    Check(key.path.ends_with(key.depth == 0 ? vtclass::WideText() : key.name.Text()));
    return KeyTree::OnKey(key) && --left != 0;
  }
  bool OnValue(const StoredValue& value) override {
    const std::vector<unsigned char> copy = value.data.Copy();
    Check(copy.size() == value.data.Size());
    Check(StoredData(copy) == value.data);
    return KeyTree::OnValue(value) && --left != 0;
  }

  std::size_t left = SIZE_MAX;
};

}  // namespace

// Whatever the bytes: reading ends, and stays inside them; what it tells is no more than the file
// can hold; the same bytes hold the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<unsigned char> file = FileOf({data, size});
  // In a block of exactly its size, so that a step outside it is seen.
  const auto bytes = std::make_unique<unsigned char[]>(file.size());
  std::ranges::copy(file, bytes.get());
  std::size_t told = 0, errors = 0;
  const ReportProblem report = [&](const Problem& problem) {
    ++told;
    errors += problem.severity == Severity::error;
    Check(problem.at <= file.size() && *problem.what && *problem.fault);
  };
  Everything first, second;
  const HiveSummary summary = ReadHive({bytes.get(), file.size()}, first, report);
  Check(summary.errors == errors && summary.errors + summary.warnings == told);
  Check(summary.isWhole || errors > 0);
  Check(summary.keys == first.Nodes().size());
  Check(summary.dataBytes <= file.size());
  Check((summary.keys + summary.values) * 24 <= file.size());
  // Stopped half way, it stops.
  second.left = (summary.keys + summary.values) / 2 + 1;
  const bool isShort = summary.keys + summary.values >= second.left;
  Check(!isShort || !ReadHive({bytes.get(), file.size()}, second, report).isWhole);
  for (const KeyTree::Node& node : first.Nodes()) {
    const KeyDifferences found =
        Compare(node.contents, node.contents, [](WideUnit c) { return c; });
    Check(found.commonSubkeys.size() == node.contents.subkeys.size());
    Check(found.unlikeValues.size() <= node.contents.values.size());
    Check(found.valuesOnlyInFirst.empty() && found.subkeysOnlyInSecond.empty());
  }
  return 0;
}
