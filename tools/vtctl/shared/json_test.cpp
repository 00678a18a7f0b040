#include "tools/vtctl/shared/json.h"

#include <gtest/gtest.h>

#include "tools/vtctl/shared/console.h"

namespace vtctl {
namespace {

TEST(Json, Escaped_WhatCannotBeSeenIsWrittenOut) {
  const struct {
    std::wstring text;
    const char* escaped;
  } rows[] = {{L"plain \x00E9 \x6F22 \xD83D\xDE00", nullptr},
              {L"\x007E\x007F\x0080", "~\\u007f\\u0080"},
              {L"\x009F\x00A0", "\\u009f\xC2\xA0"},
              {L"\x061B\x061C", "\xD8\x9B\\u061c"},
              {L"\x200D\x200E\x200F\x2010", "\xE2\x80\x8D\\u200e\\u200f\xE2\x80\x90"},
              {L"\x2027\x2028\x202A\x202E\x202F", "\xE2\x80\xA7\\u2028\\u202a\\u202e\xE2\x80\xAF"},
              {L"\x2065\x2066\x2069\x206A", "\xE2\x81\xA5\\u2066\\u2069\xE2\x81\xAA"}};
  for (const auto& row : rows) {
    const std::string plain = "{\"a\":\"" + ToUtf8(row.text) + "\"}";
    const std::string expected =
        row.escaped ? "{\"a\":\"" + std::string(row.escaped) + "\"}" : plain;
    EXPECT_EQ(Escaped(plain), expected);
    EXPECT_EQ(Json::parse(Escaped(plain)), Json::parse(plain));
  }
  // Text that ends in the middle of a character stays as it is.
  EXPECT_EQ(Escaped("\xE2\x80"), "\xE2\x80");
}

TEST(Json, AddStatus_HasBothMembersInEachCase) {
  Json json = Json::object();
  AddStatus(json, 0);
  EXPECT_EQ(json.dump(), R"({"error":null,"status":null})");
  AddStatus(json, 5);
  EXPECT_EQ(json["status"], 5);
  EXPECT_TRUE(json["error"].get<std::string>().ends_with(" (5)")) << json;
}

}  // namespace
}  // namespace vtctl
