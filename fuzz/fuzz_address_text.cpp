#include <arpa/inet.h>

#include <cstring>
#include <string>

#include "companions/vtsocket/address_text.h"
#include "fuzz/fuzz_input.h"

// Address texts: read as the C library reads them (which knows no scope ids), printed as it prints
// them where it knows the form, and read back as what was printed.

namespace {

using vtclass::fuzz::Check;
using namespace vtclass::vtsocket;

std::string Narrow(vtclass::WideView text) {
  std::string narrow;
  for (const auto unit : text) narrow += unit < 0x80 ? static_cast<char>(unit) : '?';
  return narrow;
}

void CompareWithTheSystem(const std::string& text, const std::optional<AddressValue>& address) {
  std::uint8_t bytes[16] = {};
  const bool isIPv4 = inet_pton(AF_INET, text.c_str(), bytes) == 1;
  const bool isIPv6 = !isIPv4 && inet_pton(AF_INET6, text.c_str(), bytes) == 1;
  Check(address.has_value() == (isIPv4 || isIPv6));
  if (!address) return;
  Check(address->isIPv6 == isIPv6);
  Check(std::memcmp(bytes, address->bytes.data(), isIPv6 ? 16 : 4) == 0);
}

// The C library prints the IPv4 part of these as two groups.
bool IsPrintedOtherwise(const AddressValue& address) {
  if (IsISATAP(address)) return true;
  return address.isIPv6 && address.Group(4) == 0xFFFF && address.Group(5) == 0;
}

void CheckPrinted(const AddressValue& address) {
  vtclass::WideUnit text[kAddressTextSize];
  const vtclass::WideView printed(text, PrintAddress(address, text));
  Check(printed.size() < kAddressTextSize);
  const auto again = ParseAddress(printed);
  Check(again == address && again->scope == address.scope);
  if (address.scope != 0 || IsPrintedOtherwise(address)) return;
  char reference[INET6_ADDRSTRLEN];
  inet_ntop(address.isIPv6 ? AF_INET6 : AF_INET, address.bytes.data(), reference,
            sizeof(reference));
  Check(Narrow(printed) == reference);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const auto address = ParseAddress(std::string_view(text));
  vtclass::WideText wide;
  for (const char unit : text) wide += static_cast<unsigned char>(unit);
  Check(ParseAddress(vtclass::WideView(wide)) == address);
  // A zero ends the text for the C library.
  if (text.find_first_of(std::string("%\0", 2)) == std::string::npos)
    CompareWithTheSystem(text, address);
  if (address) CheckPrinted(*address);
  if (size >= 16) {
    AddressValue any{.isIPv6 = true};
    std::memcpy(any.bytes.data(), data, 16);
    CheckPrinted(any);
  }
  return 0;
}
