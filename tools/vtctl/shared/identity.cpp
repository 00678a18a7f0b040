#include "tools/vtctl/shared/identity.h"

#include <vtclass/win32.h>

#include <algorithm>

#include "tools/vtctl/shared/exit_code.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/resolution.h"
#include "vtclass/net.h"

namespace vtctl {
namespace {

constexpr unsigned long kNotInAnsi = 0xFFFFFFFF;

constexpr const wchar_t* kMayBeVirtual =
    L"in a cluster this may be a virtual server whose address lies on this node now; without DNS "
    L"the answer is no";

using vtclass::Step;

// The first step of that kind; null when it was not taken.
const Step* Find(const IdentityAnswer& answer, vtclass::IdentityStep what) {
  const auto step = std::ranges::find(answer.steps, int{what}, &Step::what);
  return step == answer.steps.end() ? nullptr : &*step;
}

std::wstring OwnForm(const wcstring& node, vtclass::_COMPUTER_NAME_FORMAT format) {
  wcstring form;
  bool isLocal = false;
  unsigned long status = 0;
  vtclass::VTConvertServerNamePlus(node, form, format, false, &isLocal, &status);
  return form;
}

std::vector<std::wstring> OwnNames() {
  const MachineNames own = AskMachineNames();
  std::vector<std::wstring> names = {L"computer name " + own.computer,
                                     L"DNS host name " + own.dnsHost,
                                     L"fully qualified name " + own.full};
  if (own.node != own.computer) names.push_back(L"cluster node " + own.node);
  return names;
}

std::vector<std::wstring> OwnAddresses() {
  std::vector<std::wstring> texts;
  const auto hosts = VTSocket::VTDnsResolver::GetHostByName("..localmachine");
  const auto each = hosts->GetAddressEnumerator(VTSocket::AddressFamily::Any);
  while (each->MoveNext()) texts.push_back(each->GetAddress()->ToString());
  return texts;
}

ExplainedStep NameStep(const IdentityAnswer& answer) {
  const bool isAddress = Find(answer, vtclass::stepOwnAddress) != nullptr;
  ExplainedStep step;
  step.title = isAddress ? L"This machine's addresses" : L"This machine's names";
  step.compared = isAddress ? OwnAddresses() : OwnNames();
  const Step* const own = Find(answer, isAddress ? vtclass::stepOwnAddress : vtclass::stepOwnName);
  const Step* const holder = Find(answer, vtclass::stepVirtualServer);
  if (!own) {
    step.found = L"cannot be compared: " + ResolverText(answer.code);
  } else if (own->answer == 0) {
    step.found = L"none of them";
  } else if (holder && holder->code != ERROR_SUCCESS) {
    step.found =
        L"one of them, but whether a virtual server of the cluster holds it cannot be read: " +
        ResolverText(holder->code);
  } else if (holder && holder->answer != 0) {
    step.found = L"one of them, but a virtual server of a cluster holds it";
  } else {
    step.found = L"one of them";
    step.decides = true;
  }
  return step;
}

ExplainedStep RacStep(const IdentityAnswer& answer) {
  ExplainedStep step;
  step.title = L"Oracle RAC virtual nodes";
  step.compared = {L"RAC-<database>-<identifier> of this machine's databases"};
  const Step* const node = Find(answer, vtclass::stepRacNode);
  const Step* const shape = Find(answer, vtclass::stepRacShape);
  step.decides = node && node->answer != 0;
  if (step.decides) {
    step.found = L"one of them";
  } else if (shape && shape->answer != 0) {
    step.found = L"the name of a virtual node, but not of this machine's databases";
  } else {
    step.found = L"not the name of a virtual node";
  }
  return step;
}

std::wstring NoHostText(unsigned long code) {
  if (code == kNotInAnsi) return L"the ANSI code page cannot hold the name";
  return (code == WSAHOST_NOT_FOUND ? L"no host: " : L"no answer: ") + ResolverText(code);
}

// What DNS knows of the name.
std::wstring HostText(const IdentityAnswer& answer, const Step& host) {
  std::wstring text = (answer.isMe ? L"an alias: DNS calls it " : L"none of them: DNS calls it ") +
                      Printable(host.text);
  for (const Step& step : answer.steps) {
    if (step.what != vtclass::stepDnsAddress) continue;
    text += L", " + AddressLine(Described(step.text, step.answer != 0));
  }
  return text;
}

ExplainedStep AliasStep(const IdentityAnswer& answer) {
  ExplainedStep step;
  step.title = L"Aliases in DNS";
  step.decides = true;
  const Step* const host = Find(answer, vtclass::stepDnsHost);
  if (host && IsSettled(answer) && host->code != kNotInAnsi) {
    wcstring full;
    vtclass::VTGetFQDN(full);
    step.compared = {L"fully qualified name " + full, L"loopback addresses",
                     L"this machine's addresses"};
  }
  if (host) {
    step.found = host->code != ERROR_SUCCESS ? NoHostText(host->code) : HostText(answer, *host);
    if (answer.isMe) step.warning = kMayBeVirtual;
  } else if (Find(answer, vtclass::stepOwnDnsName)) {
    step.found = L"this machine's own DNS name is no alias";
  } else if (answer.code == ERROR_SUCCESS && Find(answer, vtclass::stepOwnAddress)) {
    step.found = L"an address is no alias";
  } else {
    step.found = L"no answer: " + ResolverText(answer.code);
  }
  return step;
}

}  // namespace

MachineNames AskMachineNames() {
  wcstring computer;
  wcstring node;
  wcstring full;
  vtclass::GetComputerNameInString(computer);
  vtclass::GetComputerNodeName(node);
  vtclass::VTGetFQDN(full);
  return {computer, node, OwnForm(computer, vtclass::computerNameDnsHostname), full};
}

IdentityAnswer AskIdentity(const IdentityQuestion& question) {
  IdentityAnswer answer;
  wcstring server;
  wcstring share;
  answer.server = vtclass::SplitUncPath(question.name, server, share) ? server : question.name;
  const ULONGLONG start = ::GetTickCount64();
  answer.code = vtclass::IsThisMeExWithSteps(answer.server, &answer.isMe, question.clusterAware,
                                             question.timeout, answer.steps);
  answer.milliseconds = static_cast<unsigned long>(::GetTickCount64() - start);
  return answer;
}

bool IsSettled(const IdentityAnswer& answer) {
  // A name that the ANSI code page cannot hold is never an alias: that is a plain no.
  return answer.code == ERROR_SUCCESS || answer.code == kNotInAnsi;
}

std::wstring Sentence(const IdentityQuestion& question, const IdentityAnswer& answer) {
  const std::wstring name = Printable(question.name);
  if (answer.isMe) return name + L" is this machine.";
  if (IsSettled(answer)) return name + L" is not this machine.";
  return L"Whether " + name + L" is this machine cannot be told: " + ResolverText(answer.code);
}

int ExitCodeOf(const IdentityAnswer& answer) {
  if (answer.isMe) return kExitClean;
  if (IsSettled(answer)) return kExitNotThisMachine;
  return ServerOf(answer.server).empty() ? kExitUsage : kExitNoAnswer;
}

std::vector<ExplainedStep> ExplainIdentity(const IdentityAnswer& answer) {
  std::vector<ExplainedStep> steps = {NameStep(answer)};
  if (!steps.back().decides) steps.push_back(RacStep(answer));
  if (!steps.back().decides) steps.push_back(AliasStep(answer));
  return steps;
}

}  // namespace vtctl
