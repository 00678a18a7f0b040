#include "tools/vtctl/shared/value.h"

#include <algorithm>
#include <cstring>

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/printable.h"

namespace vtctl {
namespace {

constexpr size_t kDumpBytesPerLine = 16;
// What a list shows of long data.
constexpr size_t kOneLineBytes = 24;

const wchar_t* const kTypeNames[] = {L"REG_NONE",
                                     L"REG_SZ",
                                     L"REG_EXPAND_SZ",
                                     L"REG_BINARY",
                                     L"REG_DWORD",
                                     L"REG_DWORD_BIG_ENDIAN",
                                     L"REG_LINK",
                                     L"REG_MULTI_SZ",
                                     L"REG_RESOURCE_LIST",
                                     L"REG_FULL_RESOURCE_DESCRIPTOR",
                                     L"REG_RESOURCE_REQUIREMENTS_LIST",
                                     L"REG_QWORD"};

std::wstring HexDump(const std::vector<unsigned char>& data) {
  std::wstring text;
  for (size_t line = 0; line < data.size(); line += kDumpBytesPerLine) {
    const size_t end = std::min(line + kDumpBytesPerLine, data.size());
    std::wstring characters;
    text += HexDigits(line, 8);
    text += L"  ";
    for (size_t i = line; i < line + kDumpBytesPerLine; ++i) {
      if (i < end) {
        text += HexDigits(data[i], 2);
        characters += data[i] >= 0x20 && data[i] < 0x7F ? static_cast<wchar_t>(data[i]) : L'.';
      } else {
        text += L"  ";
      }
      text += i % 8 == 7 ? L"  " : L" ";
    }
    text += characters + L"\n";
  }
  return text;
}

}  // namespace

std::wstring HexDigits(unsigned long long number, int digits) {
  std::wstring text;
  for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4) {
    text += L"0123456789abcdef"[(number >> shift) & 0xF];
  }
  return text;
}

bool IsText(DWORD type) { return type == REG_SZ || type == REG_EXPAND_SZ; }

std::optional<unsigned long long> NumberOf(const Value& value) {
  unsigned long long number = 0;
  if (value.type == REG_DWORD && value.data.size() == sizeof(DWORD)) {
    std::memcpy(&number, value.data.data(), sizeof(DWORD));
    return number;
  }
  if (value.type == REG_QWORD && value.data.size() == sizeof(number)) {
    std::memcpy(&number, value.data.data(), sizeof(number));
    return number;
  }
  return std::nullopt;
}

std::wstring TypeName(DWORD type) {
  if (type < std::size(kTypeNames)) return kTypeNames[type];
  return L"type " + std::to_wstring(type);
}

std::wstring TextOf(const Value& value) { return TextIn(value.data); }

std::vector<std::wstring> ItemsOf(const Value& value) { return ItemsIn(value.data); }

std::wstring ShownName(const std::wstring& name) {
  return name.empty() ? L"(default)" : Printable(name);
}

std::wstring OneLine(const Value& value) {
  if (IsText(value.type)) return Printable(TextOf(value));
  if (value.type == REG_MULTI_SZ) {
    std::wstring line;
    for (const std::wstring& item : ItemsOf(value)) line += (line.empty() ? L"" : L" | ") + item;
    return Printable(line);
  }
  std::wstring line;
  if (const auto number = NumberOf(value)) {
    line = std::to_wstring(*number) + L" (0x";
    line += HexDigits(*number, value.type == REG_DWORD ? 8 : 16);
    return line + L")";
  }
  const size_t shown = std::min(value.data.size(), kOneLineBytes);
  for (size_t i = 0; i < shown; ++i) {
    if (i > 0) line += L' ';
    line += HexDigits(value.data[i], 2);
  }
  if (shown < value.data.size()) {
    line += L" ... (" + std::to_wstring(value.data.size()) + L" bytes)";
  }
  return line;
}

std::wstring FullText(const Value& value) {
  if (IsText(value.type)) return Printable(TextOf(value)) + L"\n";
  if (const auto number = NumberOf(value)) return std::to_wstring(*number) + L"\n";
  if (value.type != REG_MULTI_SZ) return HexDump(value.data);
  std::wstring lines;
  for (const std::wstring& item : ItemsOf(value)) lines += Printable(item) + L"\n";
  return lines;
}

Json ToJson(const Value& value) {
  Json json = {{"type", ToUtf8(TypeName(value.type))}};
  if (IsText(value.type)) {
    json["data"] = ToUtf8(TextOf(value));
  } else if (const auto number = NumberOf(value)) {
    json["data"] = *number;
  } else if (value.type == REG_MULTI_SZ) {
    json["data"] = Json::array();
    for (const std::wstring& item : ItemsOf(value)) json["data"].push_back(ToUtf8(item));
  } else {
    std::wstring hex;
    for (const unsigned char byte : value.data) hex += HexDigits(byte, 2);
    json["data"] = ToUtf8(hex);
  }
  return json;
}

}  // namespace vtctl
