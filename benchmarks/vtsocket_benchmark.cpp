#include <vtclass/win32.h>

#include <benchmark/benchmark.h>
#include <ws2tcpip.h>

#include <string>

#include "companions/vtsocket/address_text.h"
#include "vtsocket/vtsocket.h"

// Address texts beside the system's reader, and the price of a time limit beside the same call
// without one. The look-ups are of names that need no server, so that the resolver itself is quick.

namespace {

const wchar_t* const kIPv4[] = {L"10.1.20.255", L"192.168.100.200", L"127.0.0.1", L"8.8.8.8"};
const wchar_t* const kIPv6[] = {L"fe80::0202:b3ff:fe1e:8329", L"2001:db8::1:0:0:1",
                                L"2001:0db8:85a3:0000:0000:8a2e:0370:7334", L"::ffff:10.20.30.40"};

bool Parse(const wchar_t* text) { return vtclass::vtsocket::ParseAddress(text).has_value(); }

template <int Family>
bool ParseBySystem(const wchar_t* text) {
  in6_addr address{};
  return ::InetPtonW(Family, text, &address) == 1;
}

bool Create(const wchar_t* text) {
  return VTSocket::VTIPAddress::CreateIPAddress(text)->GetFamily() == VTSocket::AddressFamily::Any;
}

void LookUp(benchmark::State& state, const char* name, timeval limit) {
  for (auto _ : state) {
    addrinfo* list = nullptr;
    if (VTSocket::GetAddrInfoWithTimeOut(name, nullptr, nullptr, &list, &limit) != 0) {
      state.SkipWithError("the name cannot be resolved");
      return;
    }
    ::freeaddrinfo(list);
  }
}

// The system's call, and the 50 microseconds that a time limit may cost on top of it.
void PlainLookUp(benchmark::State& state, const char* name, long long microseconds) {
  LARGE_INTEGER frequency, now;
  ::QueryPerformanceFrequency(&frequency);
  for (auto _ : state) {
    addrinfo* list = nullptr;
    if (::getaddrinfo(name, nullptr, nullptr, &list) == 0) ::freeaddrinfo(list);
    ::QueryPerformanceCounter(&now);
    const long long end = now.QuadPart + microseconds * frequency.QuadPart / 1'000'000;
    while (now.QuadPart < end) ::QueryPerformanceCounter(&now);
  }
}

template <std::size_t Count>
void RegisterAddresses(const std::string& family, const wchar_t* const (&texts)[Count],
                       bool (*system)(const wchar_t*)) {
  const auto add = [&](const std::string& name, bool (*read)(const wchar_t*)) {
    benchmark::RegisterBenchmark(("Vtsocket/" + name).c_str(), [&texts, read](auto& state) {
      for (auto _ : state)
        for (const wchar_t* text : texts) benchmark::DoNotOptimize(read(text));
    });
  };
  add("Parse" + family + "/ours", &Parse);
  add("Parse" + family + "/peer_inetpton", system);
  add("Create" + family + "/ours", &Create);
  add("Create" + family + "/peer_inetpton", system);
}

void RegisterLookUps(const std::string& kind, const char* name) {
  const std::string start = "Vtsocket/LookUp" + kind + "/";
  const auto add = [&](const char* role, auto run, auto argument) {
    benchmark::RegisterBenchmark((start + role).c_str(), run, name, argument)->UseRealTime();
  };
  add("ours", &LookUp, timeval{60, 0});
  add("plain_getaddrinfo", &PlainLookUp, 0);
  add("limit_plain_and_50us", &PlainLookUp, 50);
}

}  // namespace

int main(int argc, char** argv) {
  WSADATA data;
  ::WSAStartup(MAKEWORD(2, 2), &data);
  RegisterAddresses("IPv4", kIPv4, &ParseBySystem<AF_INET>);
  RegisterAddresses("IPv6", kIPv6, &ParseBySystem<AF_INET6>);
  RegisterLookUps("Address", "127.0.0.1");
  RegisterLookUps("HostsName", "localhost");
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
