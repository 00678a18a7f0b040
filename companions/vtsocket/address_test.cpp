#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <ws2tcpip.h>

#include <cstring>
#include <random>
#include <string>

#include "vtsocket/vtsocket.h"

namespace {

using namespace VTSocket;

std::string Narrow(const std::wstring& text) {
  std::string narrow;
  for (const wchar_t unit : text) narrow += unit < 0x80 ? static_cast<char>(unit) : '?';
  return narrow;
}

/* The printed form of the address; empty for a text that is none. The narrow reader must agree. */
std::wstring Printed(const std::wstring& text) {
  std::wstring printed;
  try {
    printed = VTIPAddress::CreateIPAddress(text.c_str())->ToString();
  } catch (const VTSocketError& error) {
    EXPECT_EQ(error.GetErrorCode(), static_cast<unsigned long>(WSAEINVAL));
  }
  EXPECT_EQ(VTIPAddress::IsIPAddress(Narrow(text).c_str()), !printed.empty()) << Narrow(text);
  return printed;
}

TEST(VTIPAddress, Texts_AreReadAndPrintedInTheirShortestForm) {
  const struct {
    const wchar_t *text, *printed;
  } kCases[] = {
      {L"0.0.0.0", L"0.0.0.0"},
      {L"255.255.255.255", L"255.255.255.255"},
      {L"::", L"::"},
      {L"0:0:0:0:0:0:0:1", L"::1"},
      {L"2001:DB8:0:0:1:0:0:1", L"2001:db8::1:0:0:1"},
      {L"2001:db8:0:1:1:1:1:1", L"2001:db8:0:1:1:1:1:1"},
      {L"1:0:0:2:0:0:0:3", L"1:0:0:2::3"},
      {L"1:2:3:4:5:6:7::", L"1:2:3:4:5:6:7:0"},
      {L"::2:3:4:5:6:7:8", L"0:2:3:4:5:6:7:8"},
      {L"FE80::00ab%12", L"fe80::ab%12"},
      {L"fe80::1%004294967295", L"fe80::1%4294967295"},
      {L"::1%0", L"::1"},
      {L"::FFFF:10.0.0.1", L"::ffff:10.0.0.1"},
      {L"::ffff:a00:1", L"::ffff:10.0.0.1"},
      {L"::1.2.3.4", L"::1.2.3.4"},
      {L"::5", L"::5"},
      {L"::ffff:0:1.2.3.4", L"::ffff:0:1.2.3.4"},
      {L"fe80::200:5efe:1.2.3.4%3", L"fe80::200:5efe:1.2.3.4%3"},
      {L"1:2:3:4:5:6:7.8.9.10", L"1:2:3:4:5:6:708:90a"},
  };
  for (const auto& c : kCases) EXPECT_EQ(Printed(c.text), c.printed) << Narrow(c.text);
}

TEST(VTIPAddress, OtherTexts_AreRefused) {
  const wchar_t* const kTexts[] = {L"",
                                   L" ",
                                   L"1",
                                   L"1.2.3",
                                   L"1.2.3.",
                                   L".1.2.3.4",
                                   L"1.2.3.4.",
                                   L"1.2.3.4.5",
                                   L"1..2.3",
                                   L"256.1.1.1",
                                   L"1.2.3.1000",
                                   L"4294967296.1.1.1",
                                   L"01.2.3.4",
                                   L"1.2.3.00",
                                   L"0x1.2.3.4",
                                   L"-1.2.3.4",
                                   L" 1.2.3.4",
                                   L"1.2.3.4 ",
                                   L"1.2.3.4%1",
                                   L"1.2.3.4:80",
                                   L"1.2.3.\uff14",
                                   L":",
                                   L":::",
                                   L"::1::",
                                   L"1::2::3",
                                   L":1::2",
                                   L"1:",
                                   L"1:2:3:4:5:6:7",
                                   L"1:2:3:4:5:6:7:",
                                   L"1:2:3:4:5:6:7:8:9",
                                   L"1:2:3:4::5:6:7:8",
                                   L"12345::",
                                   L"::g",
                                   L"[::1]",
                                   L"::1/64",
                                   L"::1%",
                                   L"::1%eth0",
                                   L"::1%4294967296",
                                   L"::1%-1",
                                   L"%1",
                                   L"::1.2.3",
                                   L"::1.2.3.4.5",
                                   L"::1.2.3.04",
                                   L"::256.1.1.1",
                                   L"::1.2.3.4:5",
                                   L"1:2:3:4:5:6:7:1.2.3.4",
                                   L"::fffff.1.1.1",
                                   L"\u0131::",
                                   L"host"};
  for (const auto* text : kTexts) EXPECT_EQ(Printed(text), L"") << Narrow(text);
  EXPECT_EQ(Printed(std::wstring(100'000, L'1')), L"");
  EXPECT_THROW(VTIPAddress::CreateIPAddress(nullptr), VTSocketError);
  EXPECT_FALSE(VTIPAddress::IsIPAddress(nullptr));
}

/* Letters for what an address is: loopback, link-local, ISATAP, multicast, compatible, mapped. */
std::string Kinds(const VTIPAddress& address) {
  std::string kinds;
  if (address.IsLoopback()) kinds += 'L';
  if (address.IsLinkLocal()) kinds += 'l';
  if (address.IsISATAP()) kinds += 'I';
  if (address.IsMulticast()) kinds += 'M';
  if (address.IsV4Compatible()) kinds += 'c';
  if (address.IsV4Mapped()) kinds += 'm';
  return kinds;
}

TEST(VTIPAddress, Kinds_FollowTheBits) {
  const struct {
    const wchar_t* text;
    const char* kinds;
  } kCases[] = {
      {L"126.255.255.255", ""},
      {L"127.0.0.0", "L"},
      {L"127.255.255.255", "L"},
      {L"128.0.0.0", ""},
      {L"169.254.0.0", "l"},
      {L"169.253.255.255", ""},
      {L"223.255.255.255", ""},
      {L"224.0.0.0", "M"},
      {L"239.255.255.255", "M"},
      {L"240.0.0.0", ""},
      {L"::", ""},
      {L"::1", "L"},
      {L"::2", "c"},
      {L"::127.0.0.1", "c"},
      {L"::1:0", "c"},
      {L"1::1", ""},
      {L"::ffff:127.8.8.8", "Lm"},
      {L"::ffff:169.254.1.1", "m"},
      {L"::fffe:1.2.3.4", ""},
      {L"fe7f::", ""},
      {L"fe80::", "l"},
      {L"febf::", "l"},
      {L"fec0::", ""},
      {L"feff::", ""},
      {L"ff00::", "M"},
      {L"fe80::5efe:1.2.3.4", "lI"},
      {L"2001::200:5efe:0:0", "I"},
      {L"2001::300:5efe:0:0", ""},
      {L"2001::5eff:0:0", ""},
  };
  for (const auto& c : kCases) {
    const auto address = VTIPAddress::CreateIPAddress(c.text);
    EXPECT_EQ(Kinds(*address), c.kinds) << Narrow(c.text);
    sockaddr_storage socket{};
    address->GetSocketAddress(socket, 0);
    EXPECT_EQ(VTIPAddress::IsLoopback(reinterpret_cast<sockaddr*>(&socket)), address->IsLoopback());
  }
}

TEST(VTIPAddress, SocketAddress_HoldsAddressPortAndScope) {
  sockaddr_storage socket{};
  memset(&socket, 0xCC, sizeof(socket));
  VTIPAddress::CreateIPAddress(L"fe80::1%7")->GetSocketAddress(socket, 443);
  sockaddr_in6 expected{};
  expected.sin6_family = AF_INET6;
  expected.sin6_port = 0xBB01;
  expected.sin6_scope_id = 7;
  expected.sin6_addr.s6_addr[0] = 0xFE;
  expected.sin6_addr.s6_addr[1] = 0x80;
  expected.sin6_addr.s6_addr[15] = 1;
  EXPECT_EQ(memcmp(&socket, &expected, sizeof(expected)), 0);

  VTIPAddress::CreateIPAddress(L"127.2.3.4")->GetSocketAddress(socket, 1);
  sockaddr_in ipv4{};
  ipv4.sin_family = AF_INET;
  ipv4.sin_port = 0x0100;
  ipv4.sin_addr.s_addr = 0x0403027F;
  EXPECT_EQ(memcmp(&socket, &ipv4, sizeof(ipv4)), 0);

  socket.ss_family = AF_UNSPEC;
  EXPECT_FALSE(VTIPAddress::IsLoopback(reinterpret_cast<sockaddr*>(&socket)));
  EXPECT_FALSE(VTIPAddress::IsLoopback(nullptr));
}

TEST(VTIPAddress, Equality_ComparesBitsAndFamilyOnly) {
  const auto equal = [](const wchar_t* a, const wchar_t* b) {
    return *VTIPAddress::CreateIPAddress(a) == *VTIPAddress::CreateIPAddress(b);
  };
  EXPECT_TRUE(equal(L"FE80:0::1%3", L"fe80::1%4"));
  EXPECT_FALSE(equal(L"fe80::1", L"fe80::2"));
  EXPECT_FALSE(equal(L"1.2.3.4", L"::ffff:1.2.3.4"));
  EXPECT_FALSE(equal(L"1.0.0.0", L"100::"));
}

/* Texts that are addresses, or nearly. */
class Grammar {
 public:
  std::wstring Next() {
    std::wstring text = Pick(3) == 0 ? IPv4() : IPv6();
    for (unsigned faults = Pick(4) == 0 ? 1 + Pick(2) : 0; faults > 0; --faults) {
      const std::size_t at = Pick(static_cast<unsigned>(text.size()) + 1);
      static constexpr wchar_t kUnits[] = L"0123456789abcdefABCDEFg.:: ";
      if (Pick(2) == 0) {
        text.insert(at, 1, kUnits[Pick(_countof(kUnits) - 1)]);
      } else if (at < text.size()) {
        text.erase(at, 1);
      }
    }
    return text;
  }

 private:
  unsigned Pick(unsigned below) { return random() % below; }

  std::wstring IPv4() {
    std::wstring text;
    for (int part = 0; part < 4; ++part)
      text += (part ? L"." : L"") + std::to_wstring(Pick(Pick(8) == 0 ? 300 : 256));
    return text;
  }

  std::wstring Group() {
    if (Pick(3) == 0) return L"0";
    wchar_t text[8];
    const wchar_t* const kFormats[] = {L"%x", L"%X", L"%04x"};
    swprintf(text, _countof(text), kFormats[Pick(3)], Pick(0x10000) >> 4 * Pick(4));
    return text;
  }

  std::wstring IPv6() {
    static constexpr const wchar_t* kStarts[] = {L"::", L"::ffff:", L"fe80::5efe:", L"0::", L"::"};
    const bool mixed = Pick(4) == 0;
    if (mixed && Pick(2) == 0) return kStarts[Pick(_countof(kStarts))] + IPv4();
    const unsigned count = mixed ? 6 : 8;
    const unsigned gap = Pick(2) == 0 ? Pick(count) : count;
    const unsigned length = gap < count ? 1 + Pick(count - gap) : 0;
    std::wstring text;
    for (unsigned group = 0; group < count; ++group) {
      if (group == gap) {
        text += L"::";
        group += length - 1;
        continue;
      }
      if (group > 0 && group != gap + length) text += L":";
      text += Group();
    }
    if (mixed) text += (gap + length == count ? L"" : L":") + IPv4();
    return text;
  }

  std::mt19937 random{20010};
};

/* What the system says of the text: its own printed form, or nothing. */
std::wstring PrintedBySystem(const std::wstring& text) {
  in6_addr address{};
  wchar_t printed[64];
  for (const int family : {AF_INET, AF_INET6})
    if (::InetPtonW(family, text.c_str(), &address) == 1)
      return ::InetNtopW(family, &address, printed, _countof(printed));
  return L"";
}

/* Systems take "::1.2.3.04", where an IPv4 address of its own would be refused. */
bool HasLeadingZeroInTail(const std::wstring& text) {
  const std::size_t dot = text.find(L'.');
  if (dot == std::wstring::npos || text.find(L':') == std::wstring::npos) return false;
  std::size_t part = text.rfind(L':', dot) + 1;
  for (; part < text.size(); part = text.find(L'.', part)) {
    if (text[part] == L'.') ++part;
    if (part + 1 < text.size() && text[part] == L'0' && iswdigit(text[part + 1])) return true;
  }
  return false;
}

TEST(VTIPAddress, RandomTexts_AgreeWithTheSystem) {
  Grammar grammar;
  int addresses = 0, leadingZeros = 0, failures = 0;
  for (int round = 0; round < 200'000 && failures < 20; ++round) {
    const std::wstring text = grammar.Next();
    const std::wstring ours = Printed(text), theirs = PrintedBySystem(text);
    if (!ours.empty()) ++addresses;
    if (ours == theirs) continue;
    if (ours.empty() && HasLeadingZeroInTail(text)) {
      ++leadingZeros;
      continue;
    }
    ++failures;
    ADD_FAILURE() << Narrow(text) << ": ours \"" << Narrow(ours) << "\", the system's \""
                  << Narrow(theirs) << '"';
  }
  RecordProperty("addresses", addresses);
  RecordProperty("leadingZeros", leadingZeros);
  EXPECT_GT(addresses, 100'000);
}

}  // namespace
