#include "tools/vtctl/shared/json.h"

#include <cstdint>
#include <cstdio>

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/system_text.h"

namespace vtctl {
namespace {

std::string runningCommand;  // empty: it prints no JSON
bool hasAnswered = false;

// Controls that JSON allows, line and paragraph ends, and marks of direction.
bool IsUnseen(unsigned unit) {
  return (unit >= 0x7F && unit <= 0x9F) || unit == 0x061C || unit == 0x200E || unit == 0x200F ||
         (unit >= 0x2028 && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069);
}

unsigned Byte(const std::string& text, std::size_t at) {
  return at < text.size() ? static_cast<std::uint8_t>(text[at]) : 0;
}

}  // namespace

Json TextOrNull(const std::wstring& text) {
  if (text.empty()) return nullptr;
  return ToUtf8(text);
}

void AddStatus(Json& json, unsigned long status) {
  json["error"] = status == 0 ? Json() : Json(ToUtf8(SystemText(status)));
  json["status"] = status == 0 ? Json() : Json(status);
}

// Outside its texts JSON is ASCII, so that every character found here stands in a text.
std::string Escaped(const std::string& json) {
  std::string text;
  text.reserve(json.size());
  for (std::size_t at = 0; at < json.size();) {
    const unsigned lead = Byte(json, at);
    std::size_t length = 1;
    unsigned unit = lead;
    if (lead >= 0xF0) {
      length = 4;
    } else if (lead >= 0xE0) {
      length = 3;
      unit = (lead & 0xF) << 12 | (Byte(json, at + 1) & 0x3F) << 6 | (Byte(json, at + 2) & 0x3F);
    } else if (lead >= 0xC0) {
      length = 2;
      unit = (lead & 0x1F) << 6 | (Byte(json, at + 1) & 0x3F);
    }
    if (length < 4 && IsUnseen(unit)) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", unit);
      text += escape;
    } else {
      text.append(json, at, length);
    }
    at += length;
  }
  return text;
}

void PrintJson(const Json& json) {
  hasAnswered = true;
  PrintUtf8(Escaped(json.dump(2)) + "\n");
}

void PrintJsonLine(const Json& json) { PrintUtf8(Escaped(json.dump()) + "\n"); }

void BeginJson(const std::string& command) {
  runningCommand = command;
  hasAnswered = false;
}

void PrintFailureAsJson(int exitCode, unsigned long status, const std::wstring& sentence) {
  if (runningCommand.empty() || hasAnswered) return;
  PrintJsonLine({{"error", ToUtf8(sentence)},
                 {"status", status == 0 ? Json() : Json(status)},
                 {"command", runningCommand},
                 {"exitCode", exitCode}});
}

}  // namespace vtctl
