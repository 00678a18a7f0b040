#include "tools/vtctl/doctor/resolver_check.h"

#include <vtclass/win32.h>
#include <winsock2.h>

#include <algorithm>

#include "config/registry_values.h"
#include "tools/vtctl/doctor/checks.h"
#include "tools/vtctl/doctor/libraries_check.h"
#include "tools/vtctl/shared/identity.h"

namespace vtctl::doctor {
namespace {

// ".invalid" is reserved: no name server of the world has such a name.
constexpr const wchar_t* kForeignName = L"vtctl-doctor.invalid";

std::wstring Took(unsigned long milliseconds) {
  return L"in " + std::to_wstring(milliseconds) + L" ms";
}

constexpr const wchar_t* kCheckServers =
    L"Check the name servers of this machine's network adapters, and whether they answer.";

ResolvedName Ask(const std::wstring& name, unsigned long limit) {
  const ULONGLONG start = ::GetTickCount64();
  ResolvedName resolved = {name, Resolve(name, limit), 0};
  resolved.milliseconds = static_cast<unsigned long>(::GetTickCount64() - start);
  return resolved;
}

std::wstring AddressesOf(const Resolution& resolution) {
  std::wstring text;
  for (const ResolvedAddress& address : resolution.addresses) {
    text += (text.empty() ? L"" : L", ") + AddressLine(address);
  }
  return text;
}

Finding Silent(const ResolvedName& asked, Verdict verdict) {
  const bool isLate = asked.resolution.error == WSAETIMEDOUT;
  return {.verdict = verdict,
          .code = "resolver-silent",
          .what = L"No answer for " + asked.name + L" " + Took(asked.milliseconds) + L": " +
                  ResolverText(asked.resolution.error),
          .reason = isLate ? L"Each question about a name that is not this machine's own takes as "
                             L"long as \"DnsQueryTimeOut\" allows, and ends without an answer."
                           : L"No question about a name that is not this machine's own has an "
                             L"answer: the name servers, or this machine's resolver, refuse it.",
          .remedy = kCheckServers,
          .status = asked.resolution.error};
}

Finding Slow(const ResolvedName& asked) {
  return {.verdict = Verdict::warning,
          .code = "resolver-slow",
          .what = L"The answer for " + asked.name + L" came " + Took(asked.milliseconds) + L".",
          .reason = L"Agents ask for names in each job, and wait as long for each.",
          .remedy = kCheckServers};
}

bool IsUnknownHost(unsigned long error) {
  return error == WSAHOST_NOT_FOUND || error == WSANO_DATA;
}

}  // namespace

unsigned long NameLimit(unsigned long checkLimit) {
  constexpr unsigned long kUsual = vtclass::config::kDnsQueryTimeout.number;
  return std::min(kUsual, checkLimit / 20 * 9);
}

Finding JudgeOwnAddress(const ResolvedName& own) {
  const Resolution& resolution = own.resolution;
  const auto& addresses = resolution.addresses;
  Finding finding = {.verdict = Verdict::warning,
                     .what = own.name + L" resolves to " + AddressesOf(resolution) + L".",
                     .remedy =
                         L"Correct the name's addresses in DNS, or in this machine's file "
                         L"of hosts."};
  const auto here = std::ranges::count(addresses, true, &ResolvedAddress::isOwn);
  if (IsUnknownHost(resolution.error) || (resolution.error == 0 && addresses.empty())) {
    finding.code = "own-name-unknown";
    finding.status = resolution.error;
    finding.what = own.name + L", this machine's full name, is known to no name server.";
    finding.reason = L"Media servers that are given this name do not find the machine.";
    finding.remedy = L"Enter the name in DNS.";
  } else if (resolution.error != 0) {
    return Silent(own, Verdict::problem);
  } else if (here == 0) {
    finding.verdict = Verdict::problem;
    finding.code = "own-name-elsewhere";
    finding.reason =
        L"None of these is an address of this machine: what is sent to its name goes "
        L"elsewhere.";
  } else if (here < std::ssize(addresses)) {
    finding.code = "own-name-partly-elsewhere";
    finding.reason =
        L"Not all of these are addresses of this machine, so some connections go "
        L"elsewhere.";
  } else if (std::ranges::all_of(addresses, &ResolvedAddress::isLoopback)) {
    finding.code = "own-name-is-loopback";
    finding.reason =
        L"That reaches this machine from itself only. An agent that tells others "
        L"this address is not found.";
  } else if (own.milliseconds >= kSlowAnswer) {
    return Slow(own);
  } else {
    finding = {.code = "own-name-resolves"};
    finding.what = own.name + L" resolves to " + AddressesOf(resolution) + L" " +
                   Took(own.milliseconds) + L".";
  }
  return finding;
}

Finding JudgeForeignName(const ResolvedName& foreign) {
  const Resolution& resolution = foreign.resolution;
  if (resolution.error == 0) {
    return {
        .verdict = Verdict::warning,
        .code = "resolver-knows-all",
        .what = foreign.name + L", which nobody has, resolves to " + AddressesOf(resolution) + L".",
        .reason =
            L"A name server gives an address for every name. A wrong server name is "
            L"not noticed, and jobs connect to a stranger.",
        .remedy = L"Use a name server that says no where there is no such name."};
  }
  if (!IsUnknownHost(resolution.error)) return Silent(foreign, Verdict::warning);
  if (foreign.milliseconds >= kSlowAnswer) return Slow(foreign);
  return {
      .code = "foreign-name-refused",
      .what = L"A name that nobody has is answered with no " + Took(foreign.milliseconds) + L"."};
}

void CheckResolver(Found& found) {
  const Findings lacking = WithoutNetLibraries();
  if (!lacking.empty()) {
    found.Add(lacking);
    return;
  }
  const unsigned long limit = NameLimit(found.Limit());
  const std::wstring name = AskMachineNames().full;
  if (!name.empty()) found.Add(JudgeOwnAddress(Ask(name, limit)));
  found.Add(JudgeForeignName(Ask(kForeignName, limit)));
}

}  // namespace vtctl::doctor
