#include "tests/support/hive_builder.h"

#include <algorithm>
#include <cstdlib>

namespace vtclass::test {
namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kBinHeader = 32;
constexpr std::size_t kPiece = 16344;
constexpr std::uint32_t kNone = 0xFFFFFFFF;

// Records are put together number by number.
class Record {
 public:
  explicit Record(std::string_view letters = {}) : bytes(letters) {}
  template <typename Number>
  Record& Add(Number number) {
    bytes.resize(bytes.size() + sizeof number);
    PutNumber(bytes, bytes.size() - sizeof number, number);
    return *this;
  }
  Record& Add(const std::string& text) {
    bytes += text;
    return *this;
  }
  const std::string& Bytes() const { return bytes; }

 private:
  std::string bytes;
};

struct PackedName {
  std::string bytes;
  bool isNarrow = true;
};

PackedName Pack(const WideText& name) {
  Record narrow, wide;
  for (const WideUnit unit : name) {
    narrow.Add(static_cast<unsigned char>(unit));
    wide.Add(static_cast<std::uint16_t>(unit));
  }
  const bool isNarrow = std::ranges::all_of(name, [](WideUnit unit) { return unit < 0x100; });
  return {isNarrow ? narrow.Bytes() : wide.Bytes(), isNarrow};
}

std::uint32_t HashOf(const WideText& name) {
  std::uint32_t hash = 0;
  for (const WideUnit unit : name) {
    hash = hash * 37 + (unit >= 'a' && unit <= 'z' ? unit - 32u : unit);
  }
  return hash;
}

class Builder {
 public:
  explicit Builder(const HiveForm& form) : form(form) {}

  std::string Build(const HiveKey& root) {
    // A descriptor that grants everything: no owner, no group, no list.
    Record descriptor;
    descriptor.Add(std::uint16_t{1}).Add(std::uint16_t{0x8004}).Add(std::string(16, '\0'));
    security = AddCell(Record("sk").Add(std::string(14, '\0')).Add(20u).Add(descriptor.Bytes()));
    const std::uint32_t first = AddKey(root, kNone, 0x2C);
    PutNumber(bins, security + 4 + 4, security);
    PutNumber(bins, security + 4 + 8, security);
    PutNumber(bins, security + 4 + 12, keys);
    CloseBin();
    return BaseBlock(first) + bins;
  }

 private:
  std::uint32_t AddCell(const Record& record) {
    const std::string& content = record.Bytes();
    const std::size_t size = (content.size() + 4 + 7) / 8 * 8;
    if (size > room) {
      CloseBin();
      const std::size_t bin = (kBinHeader + size + kPage - 1) / kPage * kPage;
      bins += Record("hbin").Add(At(bins.size())).Add(At(bin)).Add(std::string(20, '\0')).Bytes();
      room = bin - kBinHeader;
    }
    const std::uint32_t offset = At(bins.size());
    bins += Record().Add(0u - At(size)).Add(content).Bytes();
    bins.resize(offset + size);
    room -= size;
    return offset;
  }

  void CloseBin() {
    if (room == 0) return;
    const std::size_t begin = bins.size();
    bins.resize(begin + room);
    PutNumber(bins, begin, At(room));
    room = 0;
  }

  std::uint32_t AddKey(const HiveKey& key, std::uint32_t parent, std::uint16_t flags) {
    ++keys;
    const PackedName name = Pack(key.name);
    if (!name.isNarrow) flags &= static_cast<std::uint16_t>(~0x20u);
    Record record("nk");
    record.Add(flags).Add(std::uint64_t{0}).Add(0u).Add(parent).Add(At(key.subkeys.size())).Add(0u);
    record.Add(kNone).Add(kNone).Add(At(key.values.size())).Add(kNone).Add(security).Add(kNone);
    record.Add(std::string(20, '\0')).Add(static_cast<std::uint16_t>(name.bytes.size()));
    record.Add(std::uint16_t{0}).Add(name.bytes);
    const std::uint32_t cell = AddCell(record);
    if (!key.values.empty()) {
      Record list;
      for (const HiveValue& value : key.values) list.Add(AddValue(value));
      PutNumber(bins, cell + 4 + 40, AddCell(list));
    }
    if (!key.subkeys.empty()) PutNumber(bins, cell + 4 + 28, AddSubkeys(key, cell));
    return cell;
  }

  std::uint32_t AddSubkeys(const HiveKey& key, std::uint32_t parent) {
    std::vector<std::uint32_t> leaves;
    for (std::size_t at = 0; at < key.subkeys.size(); at += form.leafKeys) {
      const std::size_t count = std::min(form.leafKeys, key.subkeys.size() - at);
      Record leaf(std::string("l") + form.leaf);
      leaf.Add(static_cast<std::uint16_t>(count));
      for (std::size_t n = at; n < at + count; ++n) {
        leaf.Add(AddKey(key.subkeys[n], parent, 0x20));
        if (form.leaf == 'h') leaf.Add(HashOf(key.subkeys[n].name));
        if (form.leaf == 'f')
          leaf.Add((Pack(key.subkeys[n].name).bytes + std::string(4, 0)).substr(0, 4));
      }
      leaves.push_back(AddCell(leaf));
    }
    if (leaves.size() == 1) return leaves[0];
    Record lists("ri");
    lists.Add(static_cast<std::uint16_t>(leaves.size()));
    for (const std::uint32_t leaf : leaves) lists.Add(leaf);
    return AddCell(lists);
  }

  std::uint32_t AddValue(const HiveValue& value) {
    std::uint32_t size = At(value.data.size()), data = kNone;
    if (size <= 4) {
      const std::string inside = value.data + std::string(4, '\0');
      data = NumberAt(inside, 0);
      size |= 0x80000000;
    } else if (size > kPiece && form.minorVersion >= 4) {
      data = AddPieces(value.data);
    } else {
      data = AddCell(Record(value.data));
    }
    const PackedName name = Pack(value.name);
    Record record("vk");
    record.Add(static_cast<std::uint16_t>(name.bytes.size())).Add(size).Add(data).Add(value.type);
    record.Add(static_cast<std::uint16_t>(name.isNarrow)).Add(std::uint16_t{0}).Add(name.bytes);
    return AddCell(record);
  }

  std::uint32_t AddPieces(const std::string& data) {
    Record list;
    std::uint16_t count = 0;
    for (std::size_t at = 0; at < data.size(); at += kPiece, ++count) {
      list.Add(AddCell(Record(data.substr(at, kPiece))));
    }
    return AddCell(Record("db").Add(count).Add(AddCell(list)));
  }

  std::string BaseBlock(std::uint32_t first) const {
    Record block("regf");
    block.Add(7u).Add(7u).Add(std::uint64_t{0x01D9000000000000}).Add(1u).Add(form.minorVersion);
    block.Add(0u).Add(1u).Add(first).Add(At(bins.size())).Add(1u);
    std::string page = block.Bytes();
    page.resize(kPage);
    PutChecksum(page);
    return page;
  }

  static std::uint32_t At(std::size_t number) { return static_cast<std::uint32_t>(number); }

  const HiveForm& form;
  std::string bins;
  std::size_t room = 0;  // in the last bin
  std::uint32_t security = kNone;
  std::uint32_t keys = 0;
};

}  // namespace

std::string BuildHive(const HiveKey& root, const HiveForm& form) {
  return Builder(form).Build(root);
}

std::uint32_t NumberAt(const std::string& hive, std::size_t at) {
  std::uint32_t number = 0;
  for (std::size_t byte = 4; byte-- > 0;) {
    number = number << 8 | static_cast<unsigned char>(hive.at(at + byte));
  }
  return number;
}

std::size_t FindCell(const std::string& hive, std::string_view letters, std::size_t n) {
  for (std::size_t bin = kPage; bin < hive.size();) {
    const std::size_t end = bin + NumberAt(hive, bin + 8);
    for (std::size_t cell = bin + kBinHeader; cell < end;) {
      const auto size = static_cast<std::int32_t>(NumberAt(hive, cell));
      if (size < 0 && hive.compare(cell + 4, letters.size(), letters) == 0 && n-- == 0) {
        return cell + 4;
      }
      cell += static_cast<std::size_t>(std::abs(size));
    }
    bin = end;
  }
  std::abort();
}

void PutChecksum(std::string& hive) {
  std::uint32_t sum = 0;
  for (std::size_t at = 0; at < 508; at += 4) sum ^= NumberAt(hive, at);
  PutNumber(hive, 508, sum == 0 ? 1u : sum == 0xFFFFFFFF ? 0xFFFFFFFE : sum);
}

}  // namespace vtclass::test
