#include <algorithm>
#include <string>

#include "tools/vtctl/credential/report_text.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/seal.h"
#include "tools/vtctl/shared/secret.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/crypto.h"

namespace vtctl {
namespace {

constexpr const char* kExamples =
    "A sealed credential is a line of printable characters, as components store it in the\n"
    "registry. What an ordinary seal protects against: somebody who sees the value. Whoever has "
    "it\n"
    "and any copy of the product can open it, for the key is in every copy. One that is bound to\n"
    "this machine (--machine) cannot be opened elsewhere, nor here after a new installation: keep "
    "a\n"
    "way to enter the credential again. Who may read the registry key decides in both cases.\n"
    "\n"
    "Texts come from standard input, never from the command line, where others could see them. At "
    "a\n"
    "terminal what is sealed is not shown and asked for twice. The line end that closes the text "
    "is\n"
    "not part of it. Nothing else is changed: what is sealed are its bytes, which are UTF-8 when\n"
    "typed. Agents take their credentials for texts of the machine's ANSI code page; with ASCII\n"
    "characters only it makes no difference.\n"
    "\n"
    "A seal may hold < > ^ \\ ` @: on a command line it needs quotation marks.\n"
    "\n"
    "Examples:\n"
    "  vtctl credential seal\n"
    "  vtctl credential seal --machine < secret.txt > sealed.txt\n"
    "  vtctl credential open < sealed.txt\n"
    "  vtctl credential report --json\n"
    "\n"
    "Exit codes: 0 clean; 65 the text cannot be sealed, is no seal or does not open; 66 standard\n"
    "input cannot be read; 70 the system cannot seal for this machine. report: 1 every user of "
    "the\n"
    "machine may read a credential's key, who may is not known, or a key was not read; 2 a\n"
    "credential is not sealed or does not open.";

constexpr int kRoomOrdinary = *vtclass::crypto::ArmourCapacity(kMostOrdinaryBytes);

struct SealArguments : CommonArguments {
  bool isForMachine = false;
};

// Why a text is not sealed; empty when it can be.
std::wstring ProblemOf(const std::string& text, bool isForMachine) {
  if (text.empty()) return L"There is nothing to seal: the text is empty.";
  if (!isForMachine && text.size() > kMostOrdinaryBytes) {
    return L"The text is too long: it has " + std::to_wstring(text.size()) +
           L" bytes, and an ordinary seal holds " + std::to_wstring(kMostOrdinaryBytes) +
           L". --machine takes more.";
  }
  if (text.find('\0') != std::string::npos) {
    return L"The text holds a zero byte, where its readers would end. Is it UTF-16? It should be "
           L"UTF-8.";
  }
  if (text.starts_with("\xEF\xBB\xBF")) {
    return L"The text begins with a byte order mark, which its readers would take for a part of "
           L"it. Save it without one.";
  }
  return {};
}

std::string OrdinarySeal(const std::string& text) {
  char sealed[kRoomOrdinary] = {};
  const bool isDone = EncryptAndAsciify(kSealAlgorithm, sealed, kRoomOrdinary, text.data(),
                                        static_cast<int>(text.size()));
  return isDone ? sealed : "";
}

int Seal(const SealArguments& arguments) {
  Secret secret;
  const int code =
      ReadSecret({.prompt = L"Text to seal (not shown): ", .again = L"The same again: "}, secret);
  if (code != kExitClean) return code;
  const std::wstring problem = ProblemOf(secret.text, arguments.isForMachine);
  if (!problem.empty()) return Fail(kExitBadInput, problem);
  std::string sealed;
  if (arguments.isForMachine) {
    const unsigned long status = vtclass::SealForMachine(secret.text, sealed);
    if (status != 0) {
      return Fail(kExitInternal, L"The system does not seal for this machine", status);
    }
  } else {
    sealed = OrdinarySeal(secret.text);
    if (sealed.empty()) return Fail(kExitInternal, L"The text cannot be sealed: memory is short.");
  }
  Print(FromUtf8(sealed) + L"\n");
  if (std::ranges::any_of(secret.text, [](char character) { return character < 0; })) {
    Remark(
        L"Note: the text has other characters than ASCII. They were sealed as they came; a "
        L"component that takes them for another code page gets another text.");
  }
  return kExitClean;
}

// What is wrong with a seal; empty when it opens.
std::wstring ProblemOf(const OpenedSeal& seal) {
  switch (seal.form) {
    case SealForm::nothing:
      return L"There is nothing to open: the text is empty.";
    case SealForm::none:
      return L"This is no sealed credential, or it is damaged.";
    case SealForm::later:
      return L"This seal is of a later version of the product, or damaged.";
    case SealForm::machineBound:
      if (seal.opens) return {};
      return L"This seal does not open. It is damaged, or it was made on another machine: " +
             SystemText(seal.status);
    default:
      if (seal.opens) return {};
      return L"This seal opens to no text: it is damaged, or it was made with another key.";
  }
}

int Open(const CommonArguments&) {
  Secret sealed;
  const int code = ReadSecret({.prompt = L"Sealed text: ", .isShown = true}, sealed);
  if (code != kExitClean) return code;
  Secret secret;
  const std::wstring problem = ProblemOf(OpenSeal(sealed.text, secret));
  if (!problem.empty()) return Fail(kExitBadInput, problem);
  PrintSecret(secret.text);
  Print(L"\n");
  if (OutputIsTerminal()) {
    Remark(L"Note: the secret stands on this screen now, and in what it scrolls back.");
  }
  return kExitClean;
}

int Report(const CommonArguments& arguments) {
  const CredentialReport report = ReadCredentials();
  arguments.json ? PrintJson(ToJson(report)) : Print(Text(report));
  return Severity(report);
}

}  // namespace

void AddCredentialCommand(Command& program) {
  Command credential = program.AddGroup(
      "credential", "Seal and open stored credentials; tell how the product's are stored",
      kExamples);
  auto seal = credential.Add("seal", "Seal a text from standard input", kExamples, Seal);
  seal.Flag("--machine", seal->isForMachine, "Bind the seal to this machine");
  credential.Add("open", "Open a sealed text from standard input and print what is in it",
                 kExamples, Open);
  auto report = credential.Add(
      "report", "Tell for each stored credential how it is sealed and who can open it", kExamples,
      Report);
  report.Json("One JSON object");
}

}  // namespace vtctl
