#include <vtclass/win32.h>

#include <gtest/gtest.h>
#include <ws2tcpip.h>

#include <cstring>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "vtsocket/vtsocket.h"

namespace {

using namespace VTSocket;

std::string Narrow(const std::wstring& text) {
  std::string narrow;
  for (const wchar_t unit : text) narrow += unit < 0x80 ? static_cast<char>(unit) : '?';
  return narrow;
}

// That other texts are read and printed as the C library does is the fuzzer's (fuzz_address_text).

// The printed form of the address; empty for a text that is none. The narrow reader must agree.
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

// The words of a table.
std::vector<std::wstring> Words(const wchar_t* table) {
  std::wistringstream stream(table);
  return {std::istream_iterator<std::wstring, wchar_t>(stream), {}};
}

TEST(VTIPAddress, Texts_AreReadAndPrintedInTheirShortestForm) {
  // Each text and what is printed for it.
  const auto words = Words(
      L"0.0.0.0 0.0.0.0  255.255.255.255 255.255.255.255  :: ::  0:0:0:0:0:0:0:1 ::1  ::5 ::5 "
      L"2001:DB8:0:0:1:0:0:1 2001:db8::1:0:0:1  2001:db8:0:1:1:1:1:1 2001:db8:0:1:1:1:1:1 "
      L"1:0:0:2:0:0:0:3 1:0:0:2::3  1:2:3:4:5:6:7:: 1:2:3:4:5:6:7:0 "
      L"::2:3:4:5:6:7:8 0:2:3:4:5:6:7:8  FE80::00ab%12 fe80::ab%12  ::1%0 ::1 "
      L"fe80::1%004294967295 fe80::1%4294967295  ::FFFF:10.0.0.1 ::ffff:10.0.0.1 "
      L"::ffff:a00:1 ::ffff:10.0.0.1  ::1.2.3.4 ::1.2.3.4  ::ffff:0:1.2.3.4 ::ffff:0:1.2.3.4 "
      L"fe80::200:5efe:1.2.3.4%3 fe80::200:5efe:1.2.3.4%3 "
      L"1:2:3:4:5:6:7.8.9.10 1:2:3:4:5:6:708:90a");
  for (std::size_t at = 0; at < words.size(); at += 2)
    EXPECT_EQ(Printed(words[at]), words[at + 1]) << Narrow(words[at]);
}

TEST(VTIPAddress, OtherTexts_AreRefused) {
  auto texts = Words(
      L"1 1.2.3 1.2.3. .1.2.3.4 1.2.3.4. 1.2.3.4.5 1..2.3 256.1.1.1 1.2.3.1000 4294967296.1.1.1 "
      L"01.2.3.4 1.2.3.00 0x1.2.3.4 -1.2.3.4 1.2.3.4%1 1.2.3.4:80 1.2.3.\uff14 : ::: ::1:: 1::2::3 "
      L":1::2 1: 1:2:3:4:5:6:7 1:2:3:4:5:6:7: 1:2:3:4:5:6:7:8:9 1:2:3:4::5:6:7:8 12345:: ::g "
      L"[::1] ::1/64 ::1% ::1%eth0 ::1%4294967296 ::1%-1 %1 ::1.2.3 ::1.2.3.4.5 ::1.2.3.04 "
      L"::256.1.1.1 ::1.2.3.4:5 1:2:3:4:5:6:7:1.2.3.4 ::fffff.1.1.1 \u0131:: host");
  texts.insert(texts.end(), {L"", L" ", L" 1.2.3.4", L"1.2.3.4 ", std::wstring(100'000, L'1')});
  for (const auto& text : texts) EXPECT_EQ(Printed(text), L"") << Narrow(text);
  EXPECT_THROW(VTIPAddress::CreateIPAddress(nullptr), VTSocketError);
  EXPECT_FALSE(VTIPAddress::IsIPAddress(nullptr));
}

// Letters for what an address is: loopback, link-local, ISATAP, multicast, compatible, mapped.
std::wstring Kinds(const VTIPAddress& address) {
  const bool is[] = {address.IsLoopback(),  address.IsLinkLocal(),    address.IsISATAP(),
                     address.IsMulticast(), address.IsV4Compatible(), address.IsV4Mapped()};
  std::wstring kinds = L"-";
  for (std::size_t kind = 0; kind < std::size(is); ++kind)
    if (is[kind]) kinds += L"LlIMcm"[kind];
  return kinds;
}

TEST(VTIPAddress, Kinds_FollowTheBits) {
  const auto words = Words(
      L"126.255.255.255 - 127.0.0.0 -L 127.255.255.255 -L 128.0.0.0 - 169.254.0.0 -l "
      L"169.253.255.255 - 223.255.255.255 - 224.0.0.0 -M 239.255.255.255 -M 240.0.0.0 - :: - "
      L"::1 -L ::2 -c ::127.0.0.1 -c ::1:0 -c 1::1 - ::ffff:127.8.8.8 -Lm ::ffff:169.254.1.1 -m "
      L"::fffe:1.2.3.4 - fe7f:: - fe80:: -l febf:: -l fec0:: - feff:: - ff00:: -M "
      L"fe80::5efe:1.2.3.4 -lI 2001::200:5efe:0:0 -I 2001::300:5efe:0:0 - 2001::5eff:0:0 -");
  for (std::size_t at = 0; at < words.size(); at += 2) {
    const auto address = VTIPAddress::CreateIPAddress(words[at].c_str());
    EXPECT_EQ(Kinds(*address), words[at + 1]) << Narrow(words[at]);
    sockaddr_storage socket{};
    address->GetSocketAddress(socket, 0);
    EXPECT_EQ(VTIPAddress::IsLoopback(reinterpret_cast<sockaddr*>(&socket)), address->IsLoopback());
  }
  EXPECT_FALSE(VTIPAddress::IsLoopback(nullptr));
}

TEST(VTIPAddress, SocketAddress_HoldsAddressPortAndScope) {
  const auto bytes = [](const wchar_t* text, unsigned short port, std::size_t size) {
    sockaddr_storage socket{};
    memset(&socket, 0xCC, sizeof(socket));
    VTIPAddress::CreateIPAddress(text)->GetSocketAddress(socket, port);
    return std::string(reinterpret_cast<const char*>(&socket), size);
  };
  EXPECT_EQ(bytes(L"127.2.3.4", 1, 16), std::string("\2\0\0\1\x7F\2\3\4\0\0\0\0\0\0\0\0", 16));
  EXPECT_EQ(bytes(L"fe80::1%7", 443, 28),
            std::string("\x17\0\1\xBB\0\0\0\0\xFE\x80\0\0\0\0\0\0\0\0\0\0\0\0\0\1\7\0\0\0", 28));
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

}  // namespace
