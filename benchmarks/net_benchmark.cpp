#include <vtclass/win32.h>

#include <benchmark/benchmark.h>

#include "vtclass/net.h"

// The identity question, beside the system calls that an answer cannot do without: the NetBIOS
// name, which may change and is asked for at each check, and for an address this machine's
// addresses. All other names are remembered.
namespace {

void Ask(benchmark::State& state, const wcstring& name, bool expected) {
  bool isMe = false;
  for (auto _ : state) benchmark::DoNotOptimize(vtclass::IsThisMe(name, &isMe, false));
  if (isMe != expected) state.SkipWithError("a wrong answer");
}

void OwnName(benchmark::State& state) {
  wcstring name;
  vtclass::VTGetFQDN(name);
  Ask(state, name, true);
}

void ForeignName(benchmark::State& state) { Ask(state, L"no-such-host.example", false); }
void OwnAddress(benchmark::State& state) { Ask(state, L"127.0.0.1", true); }
void ForeignAddress(benchmark::State& state) { Ask(state, L"192.0.2.199", false); }

void AskForNetBios() {
  wchar_t name[1000];
  DWORD size = ARRAYSIZE(name);
  benchmark::DoNotOptimize(::GetComputerNameExW(ComputerNameNetBIOS, name, &size));
}

void NetBios(benchmark::State& state) {
  for (auto _ : state) AskForNetBios();
}

void NetBiosAndAddresses(benchmark::State& state) {
  for (auto _ : state) {
    AskForNetBios();
    benchmark::DoNotOptimize(VTSocket::VTDnsResolver::GetHostByName("..localmachine"));
  }
}

}  // namespace

BENCHMARK(OwnName)->Name("Net/OwnName/ours");
BENCHMARK(NetBios)->Name("Net/OwnName/limit_computername");
BENCHMARK(ForeignName)->Name("Net/ForeignName/ours");
BENCHMARK(NetBios)->Name("Net/ForeignName/limit_computername");
BENCHMARK(OwnAddress)->Name("Net/OwnAddress/ours");
BENCHMARK(NetBiosAndAddresses)->Name("Net/OwnAddress/limit_names_addresses");
BENCHMARK(ForeignAddress)->Name("Net/ForeignAddress/ours");
BENCHMARK(NetBiosAndAddresses)->Name("Net/ForeignAddress/limit_names_addresses");

BENCHMARK_MAIN();
