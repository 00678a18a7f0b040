#include "hive/hive_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "hive/descriptor.h"
#include "tests/support/hive_builder.h"

namespace vtclass::hive {
namespace {

using test::BuildHive;
using test::FindCell;
using test::HiveForm;
using test::HiveKey;
using test::NumberAt;
using test::PutChecksum;
using test::PutNumber;

Bytes BytesOf(const std::string& file) {
  return {reinterpret_cast<const unsigned char*>(file.data()), file.size()};
}

// What was told, one line each.
struct Told : HiveVisitor {
  bool OnKey(const Key& key) override {
    lines.push_back(L"[" + std::wstring(key.path) + (key.isLink ? L"] link" : L"]"));
    return --left != 0;
  }
  bool OnValue(const StoredValue& value) override {
    const std::vector<unsigned char> data = value.data.Copy();
    lines.push_back(value.name.Text() + L"=" + std::to_wstring(value.type) + L":" +
                    std::wstring(data.begin(), data.end()));
    return --left != 0;
  }
  ReportProblem Sink() {
    return [this](const Problem& problem) {
      sentences.push_back(std::string(problem.severity == Severity::error ? "E " : "W ") +
                          problem.what + " " + problem.fault);
      places.push_back(problem.at);
      keys.emplace_back(problem.key);
    };
  }

  std::vector<std::wstring> lines;
  std::vector<std::string> sentences;
  std::vector<std::uint64_t> places;
  std::vector<std::wstring> keys;
  int left = -1;
};

struct Reading : Told {
  explicit Reading(const std::string& file) : summary(ReadHive(BytesOf(file), *this, Sink())) {}
  HiveSummary summary;
};

std::string Pattern(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t at = 0; at < size; ++at) bytes[at] = static_cast<char>(at * 7 % 251 & 0x7F);
  return bytes;
}

void Expect(const HiveKey& key, const std::wstring& path, std::vector<std::wstring>& lines) {
  lines.push_back(L"[" + path + L"]");
  for (const test::HiveValue& value : key.values) {
    lines.push_back(value.name + L"=" + std::to_wstring(value.type) + L":" +
                    std::wstring(value.data.begin(), value.data.end()));
  }
  for (const HiveKey& subkey : key.subkeys) {
    Expect(subkey, path.empty() ? subkey.name : path + L"\\" + subkey.name, lines);
  }
}

TEST(HiveReader, Read_EveryForm_TellsAllKeysAndValues) {
  HiveKey root = {
      L"root", {{L"", 1, "abcdef"}, {L"\x6F22\x5B57", 3, ""}, {L"Gr\xF6\xDF", 4, "1"}}, {}};
  // Inside their record up to 4 bytes, in one cell up to 16,344, then in pieces.
  for (const std::size_t size : {2u, 3u, 4u, 5u, 16344u, 16345u, 2u * 16344u, 40000u}) {
    root.values.push_back({L"size " + std::to_wstring(size), 0xFFFF0000, Pattern(size)});
  }
  root.subkeys = {{L"A", {{L"one", 4, "1234"}}, {{L"a a", {}, {}}, {L"B", {}, {{L"c", {}, {}}}}}},
                  {L"BE", {}, {}},
                  {L"be.", {{L"x", 0, "12345"}}, {}},
                  {L"\x416\x43A", {}, {}},
                  {L"\x4E00", {}, {}}};
  std::vector<std::wstring> expected;
  Expect(root, L"", expected);
  for (const HiveForm& form : {HiveForm{3, 'f', 500}, HiveForm{4, 'i', 500}, HiveForm{5, 'h', 2},
                               HiveForm{6, 'i', 1}, HiveForm{5, 'h', 500}}) {
    Reading reading(BuildHive(root, form));
    EXPECT_EQ(reading.lines, expected) << form.minorVersion << form.leaf << form.leafKeys;
    EXPECT_EQ(reading.sentences, std::vector<std::string>());
    EXPECT_TRUE(reading.summary.isWhole);
    EXPECT_EQ(reading.summary.minorVersion, form.minorVersion);
    EXPECT_EQ(reading.summary.lastWritten, 0x01D9000000000000u);
    EXPECT_EQ(reading.summary.keys, 9u);
    EXPECT_EQ(reading.summary.values + reading.summary.keys, expected.size());
    EXPECT_EQ(reading.summary.dataBytes, 7u + 14 + 16344 + 16345 + 2 * 16344 + 40000 + 4 + 5);
    EXPECT_EQ(reading.summary.deepest, 3u);
  }
}

TEST(HiveReader, Kind_IsToldByTheFirstBytes) {
  EXPECT_EQ(KindOf({}), FileKind::empty);
  EXPECT_EQ(KindOf(BytesOf("regf")), FileKind::hive);
  EXPECT_EQ(KindOf(BytesOf("WINE REGISTRY Version 2\n;; All keys")), FileKind::wineText);
  EXPECT_EQ(KindOf(BytesOf("WINE REGISTRY")), FileKind::other);
  EXPECT_EQ(KindOf(BytesOf("reg")), FileKind::other);
}

TEST(HiveReader, Checksum_IsNeitherZeroNorAllOnes) {
  std::string page(512, '\0');
  EXPECT_EQ(ChecksumOf(BytesOf(page)), 1u);
  PutNumber(page, 40, 0xFFFFFFFF);
  EXPECT_EQ(ChecksumOf(BytesOf(page)), 0xFFFFFFFEu);
  PutNumber(page, 504, 0x12345678);
  PutNumber(page, 508, 0x11111111);  // its own place does not count
  EXPECT_EQ(ChecksumOf(BytesOf(page)), 0xEDCBA987u);
}

// The keys "", "Alpha", "Beta" and "Beta\Deep", three values. The cells come in this order: the
// security descriptor, the first key (at 0x50), its values, then each subkey with all that is its
// own; a list of subkeys comes behind them.
std::string Sample() {
  return BuildHive(
      {L"root",
       {{L"v", 4, "1234"}, {L"text", 1, "12345678"}},
       {{L"Alpha", {{L"big", 3, Pattern(20000)}}, {}}, {L"Beta", {}, {{L"Deep", {}, {}}}}}});
}

TEST(HiveReader, FirstPage_Damaged_IsToldAndReadAsFarAsItGoes) {
  const struct {
    std::size_t at;
    std::uint32_t number;
    bool isReadable;
    const char* sentence;
  } rows[] = {
      {4, 8, true, "E The writing of the hive was not ended"},
      {20, 2, false, "E The version is none of 1.3 to 1.6"},
      {24, 2, false, "E The version is none of 1.3 to 1.6"},
      {24, 7, false, "E The version is none of 1.3 to 1.6"},
      {28, 1, false, "E The file is the log of a hive, not the hive itself"},
      {32, 0, false, "E The format is unknown"},
      {40, 0, false, "E The size of the bins is no number of whole pages"},
      {40, 4097, false, "E The size of the bins is no number of whole pages"},
  };
  for (const auto& row : rows) {
    std::string file = Sample();
    PutNumber(file, row.at, row.number);
    PutChecksum(file);
    Reading reading(file);
    ASSERT_EQ(reading.sentences.size(), 1u) << row.sentence;
    EXPECT_EQ(reading.sentences.at(0), row.sentence);
    EXPECT_EQ(reading.places.at(0), row.at == 24 ? 20 : row.at);
    EXPECT_EQ(reading.summary.keys, row.isReadable ? 4u : 0u);
    EXPECT_EQ(reading.summary.minorVersion, row.isReadable ? 5u : 0u);
  }
  std::string file = Sample();
  file[500] = 'x';
  Reading reading(file);
  EXPECT_EQ(reading.sentences,
            std::vector<std::string>{"E The checksum of the first page is wrong"});
  EXPECT_EQ(reading.summary.keys, 4u);
}

TEST(HiveReader, File_CutOff_IsNeverSound) {
  const std::string whole = Sample();
  for (std::size_t size = 0; size < whole.size(); size += 256) {
    Reading reading(whole.substr(0, size));
    EXPECT_GT(reading.summary.errors, 0u) << size;
    EXPECT_EQ(reading.places.at(0), size < 4 ? 0 : size);
  }
  EXPECT_EQ(Reading(whole + std::string(5000, 'x')).summary.errors, 0u) << "padding is allowed";
}

TEST(HiveReader, Bin_Damaged_LosesItsCellsOnly) {
  const std::size_t second = 4096 + NumberAt(Sample(), 4096 + 8);
  const struct {
    std::size_t at;
    std::uint32_t number;
  } rows[] = {{0, 0x6E696278}, {4, 0}, {8, 0}, {8, 100}, {8, 0x7FFFF000}};
  for (const auto& row : rows) {
    std::string file = Sample();
    PutNumber(file, second + row.at, row.number);
    Reading reading(file);
    EXPECT_EQ(reading.sentences.at(0), "E The page does not begin a bin");
    EXPECT_EQ(reading.places.at(0), second);
    EXPECT_EQ(reading.summary.values, 2u) << "the first key's values lie in the first bin";
  }
}

struct Damage {
  // A number that is written over: where it lies in the n-th cell of these letters.
  const char* cell;
  std::size_t n;
  std::size_t at;
  unsigned bytes;
  std::uint32_t number;
  // What is told first, and where: in the same cell, or where the number there leads to.
  const char* sentence;
  std::size_t toldAt;
  std::size_t keys, values;  // that are told all the same
  std::size_t problems = 1;
};

constexpr std::uint32_t kFirstKey = 0x50;

TEST(HiveReader, Record_Damaged_IsToldAndPassedOver) {
  const Damage rows[] = {
      {"nk", 1, 0, 2, 'x', "E The key does not lie where its offset leads", 0, 3, 2},
      {"nk", 1, 72, 2, 200, "E The key's name is longer than its cell", 76, 3, 2},
      {"nk", 1, 72, 2, 0, "E The key's name is empty", 76, 3, 2},
      {"nk", 1, 77, 1, '\\', "E The key's name has a backslash in it", 76, 3, 2},
      {"nk", 1, 2, 2, 0, "E The key's name ends within a character", 76, 3, 2},
      {"nk", 1, 16, 4, 0x20, "W The key names another key as the one above it", 16, 4, 3},
      {"nk", 1, 20, 4, 5, "E The list of subkeys lies beyond the bins", 28, 4, 3},
      {"nk", 2, 20, 4, 2, "E The number of subkeys is another than that in their list", 20, 4, 3},
      {"nk", 1, 40, 4, 0x10, "E The list of values lies where no cell begins", 40, 4, 2},
      {"nk", 1, 40, 4, 0x54, "E The list of values lies where no cell begins", 40, 4, 2},
      {"nk", 1, 40, 4, kFirstKey,
       "E The list of values lies in a cell that belongs to something else", 40, 4, 2},
      {"nk", 1, 44, 4, 0xFFFFFFFF, "W The key's security descriptor is missing", 44, 4, 3, 2},
      {"nk", 1, 44, 4, kFirstKey,
       "E The key's security descriptor lies in a cell that belongs to something else", 44, 4, 3},
      {"nk", 1, 74, 2, 10, "E The key's class lies beyond the bins", 48, 4, 3},
      {"sk", 0, 0, 2, 'x', "E The security descriptor does not lie where its offset leads", 0, 4,
       3},
      {"sk", 0, 16, 4, 0xFFFFFFFF, "E The security descriptor is longer than its cell", 16, 4, 3},
      {"sk", 0, 16, 4, 19, "E The security descriptor has an unknown form", 20, 4, 3},
      {"sk", 0, 20, 1, 2, "E The security descriptor has an unknown form", 20, 4, 3},
      {"sk", 0, 22, 2, 4, "E The security descriptor has an unknown form", 20, 4, 3},
      {"sk", 0, 8, 4, 0, "W The security descriptor is not followed by another that leads back", 4,
       4, 3},
      {"sk", 0, 12, 4, 3, "W The security descriptor counts other keys than have it", 12, 4, 3},
      {"vk", 0, 0, 2, 'x', "E The value does not lie where its offset leads", 0, 4, 2},
      {"vk", 0, 2, 2, 99, "E The value's name is longer than its cell", 20, 4, 2},
      {"vk", 0, 16, 2, 0, "E The value's name ends within a character", 20, 4, 2},
      {"vk", 0, 4, 4, 0x80000005, "E The value's data is longer than its place", 4, 4, 2},
      {"vk", 1, 8, 4, 0x7FFFFFF8, "E The value's data lies beyond the bins", 8, 4, 2},
      {"vk", 2, 8, 4, kFirstKey,
       "E The list of the data's pieces lies in a cell that belongs to something else", 8, 4, 2},
      {"db", 0, 0, 2, 'x', "E The list of the data's pieces does not lie where its offset leads", 0,
       4, 2},
      {"db", 0, 2, 2, 1, "E The list of the data's pieces has not the number that the size wants",
       0, 4, 2},
      {"db", 0, 4, 4, 0, "E The list of the data's pieces lies where no cell begins", 4, 4, 2},
      {"lh", 1, 0, 2, 'x', "E The list of subkeys does not lie where its offset leads", 0, 1, 2, 2},
      {"lh", 1, 2, 2, 500, "E The list of subkeys is longer than its cell", 0, 1, 2, 2},
      {"lh", 1, 4, 4, kFirstKey, "E The key lies in a cell that belongs to something else", 4, 3,
       2},
      {"lh", 1, 12, 4, 0xFFFFFFF8, "E The key lies beyond the bins", 12, 2, 3},
      {"lh", 1, 8, 4, 0,
       "W The subkey's hash does not fit its name, so that the system would not find it", 8, 4, 3},
  };
  for (const Damage& row : rows) {
    std::string file = Sample();
    const std::size_t cell = FindCell(file, row.cell, row.n);
    for (unsigned byte = 0; byte < row.bytes; ++byte) {
      file[cell + row.at + byte] = static_cast<char>(row.number >> (8 * byte));
    }
    Reading reading(file);
    EXPECT_EQ(reading.sentences.size(), row.problems) << row.sentence;
    EXPECT_EQ(reading.sentences.at(0), row.sentence);
    EXPECT_EQ(reading.places.at(0), cell + row.toldAt) << row.sentence;
    EXPECT_EQ(reading.summary.keys, row.keys) << row.sentence;
    EXPECT_EQ(reading.summary.values, row.values) << row.sentence;
    EXPECT_EQ(reading.summary.errors > 0, row.sentence[0] == 'E');
    EXPECT_TRUE(reading.summary.isWhole);
  }
}

// Lists and data have no letters of their own: what leads to them is changed, or their cell.
TEST(HiveReader, Cell_TooShortFreeOrUsedTwice_IsTold) {
  std::string file = Sample();
  PutNumber(file, FindCell(file, "nk", 1) + 36, 0x40000001u);
  EXPECT_EQ(Reading(file).sentences.at(0), "E The list of values is longer than its cell");

  file = Sample();
  PutNumber(file, FindCell(file, "vk", 1) + 4, 100u);
  EXPECT_EQ(Reading(file).sentences.at(0), "E The value's data is longer than its cell");

  file = Sample();
  const std::size_t alpha = FindCell(file, "nk", 1);
  PutNumber(file, alpha - 4, 0u - NumberAt(file, alpha - 4));
  Reading freed(file);
  EXPECT_EQ(freed.sentences, std::vector<std::string>{"E The key lies in a cell that is free"});
  EXPECT_EQ(freed.places.at(0), FindCell(file, "lh", 1) + 4);

  file = Sample();
  PutNumber(file, alpha - 4, 0u);
  EXPECT_EQ(Reading(file).sentences.at(0), "E The cell has a size that cannot be");
  EXPECT_EQ(Reading(file).places.at(0), alpha - 4);

  // One piece stands for both.
  file = Sample();
  const std::size_t pieces = 4096 + 4 + NumberAt(file, FindCell(file, "db") + 4);
  PutNumber(file, pieces + 4, NumberAt(file, pieces));
  Reading twice(file);
  EXPECT_EQ(twice.sentences.at(0),
            "E The piece of a value's data lies in a cell that belongs to something else");
  EXPECT_EQ(twice.places.at(0), pieces + 4);
  EXPECT_EQ(twice.keys.at(0), L"Alpha");
  EXPECT_EQ(twice.summary.values, 2u);

  PutNumber(file, 36, 0x20u);  // the security descriptor's cell
  PutChecksum(file);
  Reading rootless(file);
  EXPECT_EQ(rootless.sentences, std::vector<std::string>{"E The key is longer than its cell"});
  EXPECT_FALSE(rootless.summary.isWhole);
}

TEST(HiveReader, ListOfLists_AmongLists_IsRefused) {
  const HiveKey root = {L"r", {}, {{L"a", {}, {}}, {L"b", {}, {}}, {L"c", {}, {}}}};
  std::string file = BuildHive(root, {5, 'h', 2});
  std::string nested = file;
  nested.replace(FindCell(file, "lh", 1), 2, "ri");
  Reading reading(nested);
  EXPECT_EQ(reading.sentences.at(0), "E The list of subkeys is a list of lists again");
  EXPECT_EQ(reading.summary.keys, 3u);
  PutNumber(file, FindCell(file, "ri") + 2, std::uint16_t{0xFFFF});
  EXPECT_EQ(Reading(file).sentences.at(0),
            "E The list of lists of subkeys is longer than its cell");
}

TEST(HiveReader, Subkeys_OutOfOrder_AreToldWhereThatIsSure) {
  const struct {
    std::vector<std::wstring> names;
    std::vector<std::string> sentences;
  } rows[] = {
      {{L"a", L"B", L"c", L"c_", L"ca"},
       {"W The subkey is out of its order, so that the system would not find it"}},
      {{L"b", L"A"}, {"W The subkey is out of its order, so that the system would not find it"}},
      {{L"Same", L"sAME"}, {"W The subkey has the name of another"}},
      {{L"\xE4", L"z"}, {}},  // how the system capitalises other letters is not ours to say
      {{L"ab", L"abc", L"abd"}, {}},
  };
  for (const auto& row : rows) {
    for (const std::size_t leafKeys : {1u, 500u}) {
      HiveKey root;
      for (const std::wstring& name : row.names) root.subkeys.push_back({name, {}, {}});
      Reading reading(BuildHive(root, {5, 'i', leafKeys}));
      EXPECT_EQ(reading.sentences, row.sentences) << row.names.size();
      EXPECT_EQ(reading.summary.keys, row.names.size() + 1);
      EXPECT_EQ(reading.summary.errors, 0u);
    }
  }
}

TEST(HiveReader, FirstLettersInOlderLists_AreThoseOfTheName) {
  for (const auto& [hint, fits] : {std::pair("ABcd", true), {"abcd", true}, {"abcx", false}}) {
    HiveKey root;
    for (const wchar_t* const name : {L"abcde", L"q", L"\xE4"})
      root.subkeys.push_back({name, {}, {}});
    std::string file = BuildHive(root, {3, 'f'});
    file.replace(FindCell(file, "lf") + 8, 4, hint);
    Reading reading(file);
    EXPECT_EQ(reading.summary.warnings, fits ? 0U : 1U) << hint;
    EXPECT_EQ(reading.summary.errors, 0U);
  }
}

TEST(HiveReader, ValuesOfOneName_AreTold) {
  const auto warnings = [](const std::vector<std::wstring>& names) {
    HiveKey root;
    for (const std::wstring& name : names) root.values.push_back({name, 1, "x"});
    return Reading(BuildHive(root)).sentences;
  };
  const std::string sentence = "W The value has the name of another";
  EXPECT_EQ(warnings({L"a", L"b", L"A"}), std::vector{sentence});
  EXPECT_EQ(warnings({L"", L"a", L""}), std::vector{sentence});
  EXPECT_EQ(warnings({L"a", L"ab", L"\xE4", L"\xC4"}), std::vector<std::string>());
}

// A count of 0 leads to nothing, however much is there.
TEST(HiveReader, KeysAndValuesThatNothingLeadsTo_AreTold) {
  const HiveKey root = {L"r", {{L"v", 1, "data"}}, {{L"k", {{L"w", 1, "data"}}, {}}}};
  ASSERT_EQ(Reading(BuildHive(root)).sentences.size(), 0U);
  for (const auto& [count, sentence] :
       {std::pair(20U, "E A key is in use, and nothing leads to it"),
        {36U, "E A value is in use, and nothing leads to it"}}) {
    std::string file = BuildHive(root);
    PutNumber(file, FindCell(file, "nk") + count, 0U);
    const std::vector<std::string> told = Reading(file).sentences;
    EXPECT_TRUE(std::ranges::find(told, sentence) != told.end()) << sentence;
  }
}

TEST(HiveReader, SecurityDescriptors_StandInOneRing) {
  // A second descriptor is made of a value's data.
  std::string record(44, '\0');
  record.replace(0, 2, "sk");
  const HiveKey root = {L"r", {{L"v", 3, record}}, {{L"k", {}, {}}}};
  std::string file = BuildHive(root);
  const std::size_t first = FindCell(file, "sk");
  const std::size_t value = FindCell(file, "vk");
  const std::uint32_t cell = NumberAt(file, value + 8);
  const std::size_t second = kBaseBlockBytes + cell + 4;
  ASSERT_EQ(file.substr(second, 2), "sk");
  file.replace(second, record.size(), file.substr(first, record.size()));
  PutNumber(file, value + 4, 0x80000000U);
  PutNumber(file, FindCell(file, "nk", 1) + 44, cell);
  for (const std::size_t descriptor : {first, second}) PutNumber(file, descriptor + 12, 1U);
  const auto cellOfFirst = static_cast<std::uint32_t>(first - kBaseBlockBytes - 4);
  const auto link = [&](std::uint32_t behindFirst, std::uint32_t behindSecond) {
    for (const std::size_t at : {4U, 8U}) {
      PutNumber(file, first + at, behindFirst);
      PutNumber(file, second + at, behindSecond);
    }
    return Reading(file).sentences;
  };
  EXPECT_EQ(link(cell, cellOfFirst), std::vector<std::string>());
  EXPECT_EQ(link(cellOfFirst, cell),
            std::vector<std::string>{"W The security descriptor is in no ring with the first"});
}

TEST(HiveReader, Descriptor_LiesInItsBytesWhole) {
  // An owner with two parts and an empty list behind the header.
  std::string whole(44, '\0');
  whole[0] = 1, whole[3] = '\x80', whole[4] = 20, whole[16] = 36;
  whole[20] = 1, whole[21] = 2, whole[36] = 2, whole[38] = 8;
  const struct {
    std::size_t at;
    unsigned char byte;
    bool isDescriptor;
  } rows[] = {{0, 1, true},   {0, 2, false},   {3, 0, false},    {4, 19, false},  {4, 36, false},
              {4, 37, false}, {4, 0, true},    {7, 0x7F, false}, {8, 20, true},   {8, 44, false},
              {12, 36, true}, {12, 38, false}, {16, 0, true},    {16, 37, false}, {20, 2, false},
              {21, 5, false}, {21, 16, false}, {38, 7, false},   {38, 9, false}};
  for (const auto& row : rows) {
    std::string bytes = whole;
    bytes[row.at] = static_cast<char>(row.byte);
    EXPECT_EQ(IsDescriptor(BytesOf(bytes)), row.isDescriptor) << row.at << " " << int{row.byte};
  }
  EXPECT_FALSE(IsDescriptor(BytesOf(whole.substr(0, 19))));
}

TEST(HiveReader, LongAndDeep_AreReadUpToTheRegistrysLimits) {
  const auto keyOf = [](std::size_t length, WideUnit unit) {
    return BuildHive({L"r", {}, {{std::wstring(length, unit), {}, {}}}});
  };
  const auto valueOf = [](std::size_t length) {
    return BuildHive({L"r", {{std::wstring(length, L'v'), 4, "1"}}, {}});
  };
  const auto deep = [](std::size_t levels) {
    HiveKey key = {L"k", {}, {}};
    while (--levels > 0) key = {L"k", {}, {std::move(key)}};
    return BuildHive({L"r", {}, {std::move(key)}});
  };
  const struct {
    std::string hive;
    const char* sentence;
  } rows[] = {
      {keyOf(255, L'n'), nullptr},
      {keyOf(255, L'\x416'), nullptr},
      {valueOf(16383), nullptr},
      {deep(512), nullptr},
      {keyOf(256, L'n'), "E The key's name is longer than the registry allows"},
      {keyOf(256, L'\x416'), "E The key's name is longer than the registry allows"},
      {valueOf(16384), "E The value's name is longer than the registry allows"},
      {deep(513), "E The key lies deeper than the registry allows"},
  };
  for (const auto& row : rows) {
    const Reading reading(row.hive);
    EXPECT_EQ(reading.sentences.size(), row.sentence ? 1u : 0u);
    if (row.sentence) EXPECT_EQ(reading.sentences.at(0), row.sentence);
  }
  EXPECT_EQ(Reading(deep(513)).summary.deepest, 512u);
}

TEST(HiveReader, Link_IsToldAsOne) {
  std::string file = Sample();
  const std::size_t flags = FindCell(file, "nk", 1) + 2;
  file[flags] = static_cast<char>(file[flags] | 0x10);
  Reading reading(file);
  EXPECT_EQ(reading.lines.at(3), L"[Alpha] link");
  EXPECT_EQ(reading.lines.at(5), L"[Beta]");
}

TEST(HiveReader, Visitor_WantsNoMore_IsAskedNoMore) {
  const std::string file = Sample();
  for (int wanted = 1; wanted <= 7; ++wanted) {
    Told told;
    told.left = wanted;
    EXPECT_FALSE(ReadHive(BytesOf(file), told, told.Sink()).isWhole);
    EXPECT_EQ(told.lines.size(), static_cast<std::size_t>(wanted));
  }
}

}  // namespace
}  // namespace vtclass::hive
