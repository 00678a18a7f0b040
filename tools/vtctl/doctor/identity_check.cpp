#include "tools/vtctl/doctor/identity_check.h"

#include <vtclass/win32.h>

#include <algorithm>

#include "config/registry_values.h"
#include "platform/same_name.h"
#include "tools/vtctl/doctor/checks.h"
#include "tools/vtctl/doctor/libraries_check.h"

namespace vtctl::doctor {
namespace {

using vtclass::platform::IsSameName;

// For the name servers, which these questions need not ask.
constexpr int kNameLimit = vtclass::config::kDnsQueryTimeout.number;

void AskOwnNames(const MachineNames& names, Found& found) {
  std::vector<std::wstring> asked;
  for (const std::wstring& name : {names.computer, names.node, names.dnsHost, names.full}) {
    const auto isSame = [&](const std::wstring& other) { return IsSameName(other, name); };
    if (name.empty() || std::ranges::any_of(asked, isSame)) continue;
    asked.push_back(name);
    const IdentityQuestion question = {name, false, kNameLimit};
    found.Add(JudgeOwnName(question, AskIdentity(question)));
  }
}

}  // namespace

Finding JudgeOwnName(const IdentityQuestion& question, const IdentityAnswer& answer) {
  Finding finding = {.what = Sentence(question, answer) + L" Answered in " +
                             std::to_wstring(answer.milliseconds) + L" ms.",
                     .status = answer.isMe ? 0 : answer.code};
  const std::wstring explain = L"vtctl identity " + question.name + L" shows each step.";
  if (!answer.isMe) {
    finding.verdict = Verdict::problem;
    finding.code = IsSettled(answer) ? "own-name-foreign" : "own-name-untold";
    finding.reason = L"Agents take what is meant for this machine for another one's.";
    finding.remedy = explain;
  } else if (answer.milliseconds >= kSlowAnswer) {
    finding.verdict = Verdict::warning;
    finding.code = "identity-slow";
    finding.reason =
        L"Agents ask this in each job, several times. It takes no name server: a "
        L"cluster, or the machine's network adapters, answer slowly.";
    finding.remedy = explain;
  } else {
    finding.code = "own-name-known";
  }
  return finding;
}

Findings JudgeNames(const MachineNames& names) {
  Findings findings;
  if (names.computer.empty() || names.full.empty()) {
    findings.push_back({.verdict = Verdict::problem,
                        .code = "name-missing",
                        .what = L"The system does not tell this machine's name.",
                        .reason = L"Without it nothing that is meant for this machine is known.",
                        .remedy = L"Set the computer's name, and start the machine anew."});
    return findings;
  }
  findings.push_back({.code = "names-known",
                      .what = L"This machine is " + names.computer + L", in DNS " + names.dnsHost +
                              L", in full " + names.full + L"."});
  if (!IsSameName(names.computer, names.node)) {
    findings.push_back({.verdict = Verdict::note,
                        .code = "name-of-virtual-server",
                        .what = L"Programs here see the name " + names.computer +
                                L"; the machine is " + names.node + L".",
                        .reason = L"A cluster has started this program under the name of a "
                                  L"virtual server."});
  }
  if (names.full.find(L'.') == std::wstring::npos) {
    findings.push_back({.verdict = Verdict::note,
                        .code = "name-without-domain",
                        .what = L"The full name " + names.full + L" has no domain.",
                        .reason = L"Short names of other servers cannot be completed, and "
                                  L"others may not find this machine by its full name.",
                        .remedy = L"If it belongs to a domain, set its primary DNS suffix."});
  }
  return findings;
}

void CheckIdentity(Found& found) {
  const Findings lacking = WithoutNetLibraries();
  if (!lacking.empty()) {
    found.Add(lacking);
    return;
  }
  const MachineNames names = AskMachineNames();
  found.Add(JudgeNames(names));
  AskOwnNames(names, found);
}

}  // namespace vtctl::doctor
