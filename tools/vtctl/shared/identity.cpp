#include "tools/vtctl/shared/identity.h"

#include <vtclass/win32.h>

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

/* What vtclass says of a name without asking DNS; `error` is why it cannot tell. */
bool IsLocal(const std::wstring& name, bool clusterAware, unsigned long& error) {
  wcstring unused;
  bool isLocal = false;
  unsigned long status = 0;
  error = vtclass::VTConvertServerNamePlus(name, unused, vtclass::computerNameNoConversion,
                                           clusterAware, &isLocal, &status);
  return error == ERROR_SUCCESS && isLocal;
}

std::wstring OwnForm(const wcstring& node, vtclass::_COMPUTER_NAME_FORMAT format) {
  wcstring form;
  bool isLocal = false;
  unsigned long status = 0;
  vtclass::VTConvertServerNamePlus(node, form, format, false, &isLocal, &status);
  return form;
}

std::vector<std::wstring> OwnNames() {
  wcstring computer;
  wcstring node;
  wcstring full;
  vtclass::GetComputerNameInString(computer);
  vtclass::GetComputerNodeName(node);
  vtclass::VTGetFQDN(full);
  std::vector<std::wstring> names = {
      L"computer name " + computer,
      L"DNS host name " + OwnForm(computer, vtclass::computerNameDnsHostname),
      L"fully qualified name " + full};
  if (node != computer) names.push_back(L"cluster node " + node);
  return names;
}

std::vector<std::wstring> OwnAddresses() {
  std::vector<std::wstring> texts;
  const auto hosts = VTSocket::VTDnsResolver::GetHostByName("..localmachine");
  const auto each = hosts->GetAddressEnumerator(VTSocket::AddressFamily::Any);
  while (each->MoveNext()) texts.push_back(each->GetAddress()->ToString());
  return texts;
}

IdentityStep NameStep(const IdentityQuestion& question, const std::wstring& server) {
  const bool isAddress = vtclass::IsIpAddr(server.c_str());
  IdentityStep step;
  step.title = isAddress ? L"This machine's addresses" : L"This machine's names";
  step.compared = isAddress ? OwnAddresses() : OwnNames();
  unsigned long error = ERROR_SUCCESS;
  unsigned long unused = ERROR_SUCCESS;
  step.decides = IsLocal(server, question.clusterAware, error);
  if (step.decides) {
    step.found = L"one of them";
  } else if (question.clusterAware && IsLocal(server, false, unused)) {
    step.found = error == ERROR_SUCCESS
                     ? L"one of them, but a virtual server of a cluster holds it"
                     : L"one of them, but whether a virtual server of the cluster holds it cannot "
                       L"be read: " +
                           ResolverText(error);
  } else {
    step.found = L"none of them";
  }
  return step;
}

IdentityStep RacStep(const std::wstring& server) {
  IdentityStep step;
  step.title = L"Oracle RAC virtual nodes";
  step.compared = {L"RAC-<database>-<identifier> of this machine's databases"};
  const bool isNode = vtclass::IsOracleRACVNodeName(server, &step.decides);
  if (step.decides) {
    step.found = L"one of them";
  } else {
    step.found = isNode ? L"the name of a virtual node, but not of this machine's databases"
                        : L"not the name of a virtual node";
  }
  return step;
}

/* What DNS knows of the name, as far as it answers. */
void AddResolution(IdentityStep& step, const std::wstring& server, const IdentityAnswer& answer) {
  if (vtclass::IsIpAddr(server.c_str())) {
    step.found = L"an address is no alias";
    return;
  }
  wcstring full;
  vtclass::VTGetFQDN(full);
  step.compared = {L"fully qualified name " + full, L"loopback addresses",
                   L"this machine's addresses"};
  /* It has just been answered in time, so it is answered at once now. */
  const Resolution resolution = Resolve(server, answer.milliseconds + 1000);
  if (resolution.error != ERROR_SUCCESS) {
    step.found = L"no host: " + ResolverText(resolution.error);
    return;
  }
  step.found = answer.isMe ? L"an alias" : L"none of them";
  if (answer.isMe) step.warning = kMayBeVirtual;
  step.found += L": DNS calls it " + Printable(resolution.canonicalName);
  for (const ResolvedAddress& address : resolution.addresses) {
    step.found += L", " + AddressLine(address);
  }
}

IdentityStep AliasStep(const std::wstring& server, const IdentityAnswer& answer) {
  IdentityStep step;
  step.title = L"Aliases in DNS";
  step.decides = true;
  if (IsSettled(answer) && answer.code != kNotInAnsi) {
    AddResolution(step, server, answer);
  } else {
    step.found = answer.code == kNotInAnsi ? L"the ANSI code page cannot hold the name"
                                           : L"no answer: " + ResolverText(answer.code);
  }
  return step;
}

}  // namespace

IdentityAnswer AskIdentity(const IdentityQuestion& question) {
  IdentityAnswer answer;
  wcstring server;
  wcstring share;
  answer.server = vtclass::SplitUncPath(question.name, server, share) ? server : question.name;
  const ULONGLONG start = ::GetTickCount64();
  answer.code =
      vtclass::IsThisMeEx(answer.server, &answer.isMe, question.clusterAware, question.timeOut);
  answer.milliseconds = static_cast<unsigned long>(::GetTickCount64() - start);
  return answer;
}

bool IsSettled(const IdentityAnswer& answer) {
  /* A name that the ANSI code page cannot hold is never an alias: that is a plain no. */
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

std::vector<IdentityStep> ExplainIdentity(const IdentityQuestion& question,
                                          const IdentityAnswer& answer) {
  const std::wstring server = ServerOf(answer.server);
  std::vector<IdentityStep> steps = {NameStep(question, server)};
  if (!steps.back().decides) steps.push_back(RacStep(server));
  if (!steps.back().decides) steps.push_back(AliasStep(server, answer));
  return steps;
}

}  // namespace vtctl
