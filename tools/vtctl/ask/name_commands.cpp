#include <vtclass/win32.h>

#include <string>
#include <utility>
#include <vector>

#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/resolution.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/net.h"

// vtctl convert and vtctl resolve.
namespace vtctl {
namespace {

constexpr const char* kConvertExamples =
    "Prints NAME with its server converted; a UNC path keeps its backslashes and its tail.\n"
    "\n"
    "Examples:\n"
    "  vtctl convert \\\\backup01.corp.example\\data --to netbios\n"
    "  vtctl convert 10.1.2.3 --to fqdn\n"
    "  vtctl convert backup01 --to ip --json\n"
    "\n"
    "Exit codes: 0 converted, 66 there is no such name or address, 64 an empty name.";

constexpr const char* kResolveExamples =
    "Prints what DNS knows of NAME, and the address that the product would use.\n"
    "\n"
    "Examples:\n"
    "  vtctl resolve backup01\n"
    "  vtctl resolve backup01.corp.example --timeout 2 --json\n"
    "\n"
    "Exit codes: 0 resolved, 66 there is no such host, 69 no answer to be had, 64 an empty name.";

struct Form {
  const char* name;
  vtclass::_COMPUTER_NAME_FORMAT format;
};
constexpr Form kForms[] = {{"netbios", vtclass::computerNameNetBIOS},
                           {"dns", vtclass::computerNameDnsHostname},
                           {"fqdn", vtclass::computerNameDnsFullyQualified},
                           {"ip", vtclass::computerNameIpAddress}};

// What the conversion's status says, in the operator's words.
constexpr unsigned long kInvalidArgument = 2;
constexpr unsigned long kReverseLookupFailed = 3;

struct ConvertArguments : CommonArguments {
  std::wstring name;
  const Form* to = nullptr;
  bool clusterAware = false;
};

struct ResolveArguments : CommonArguments {
  std::wstring name;
  unsigned seconds = 0;
};

int Convert(const ConvertArguments& arguments) {
  const wcstring name = arguments.name;
  wcstring converted;
  bool isLocal = false;
  unsigned long status = 0;
  const unsigned long result = vtclass::VTConvertServerNamePlus(
      name, converted, arguments.to->format, arguments.clusterAware, &isLocal, &status);
  if (result == ERROR_NOT_ENOUGH_MEMORY) return FailWith(kExitInternal, result, SystemText(result));
  if (status == kInvalidArgument) return Fail(kExitUsage, L"The name is empty.");
  if (status == kReverseLookupFailed) {
    return Fail(kExitNoInput, L"No host name is known for " + Printable(name), result);
  }
  if (result != ERROR_SUCCESS) {
    return Fail(kExitNoInput, Printable(name) + L" has no name or address in that form.");
  }
  if (arguments.json) {
    PrintJsonLine({{"name", ToUtf8(arguments.name)},
                   {"to", arguments.to->name},
                   {"converted", ToUtf8(converted)},
                   {"thisMachine", isLocal}});
  } else {
    Print(Printable(converted) + L"\n");
  }
  return kExitClean;
}

void PrintResolution(const Resolution& resolution, const std::wstring& chosen) {
  Print(L"Canonical name  " + Printable(resolution.canonicalName) + L"\n");
  for (const ResolvedAddress& address : resolution.addresses) {
    Print(L"Address         " + AddressLine(address) + L"\n");
  }
  Print(L"Preferred       " + (chosen.empty() ? L"(none)" : chosen) + L"\n");
}

void PrintResolutionAsJson(const ResolveArguments& arguments, const Resolution& resolution,
                           const std::wstring& chosen) {
  Json json = {{"name", ToUtf8(arguments.name)},
               {"canonicalName", ToUtf8(resolution.canonicalName)},
               {"addresses", Json::array()},
               {"preferred", TextOrNull(chosen)}};
  for (const ResolvedAddress& address : resolution.addresses) {
    Json notes = Json::array();
    for (const std::wstring& note : address.notes) notes.push_back(ToUtf8(note));
    json["addresses"].push_back({{"address", ToUtf8(address.text)}, {"notes", notes}});
  }
  PrintJson(json);
}

int ResolveName(const ResolveArguments& arguments) {
  const std::wstring server = ServerOf(arguments.name);
  if (server.empty()) return Fail(kExitUsage, L"The name is empty.");
  const Resolution resolution = Resolve(server, arguments.seconds * 1000);
  if (resolution.error != ERROR_SUCCESS) {
    const bool isUnknown = resolution.error == WSAHOST_NOT_FOUND;
    return FailWith(isUnknown ? kExitNoInput : kExitNoAnswer, resolution.error,
                    Printable(server) + L" cannot be resolved: " + ResolverText(resolution.error));
  }
  const std::wstring chosen = vtclass::GetAnyIpAddress(server);
  arguments.json ? PrintResolutionAsJson(arguments, resolution, chosen)
                 : PrintResolution(resolution, chosen);
  return kExitClean;
}

constexpr const char* kNameText = "A server name, an address or a UNC path";

}  // namespace

void AddConvertCommand(Command& program) {
  auto convert =
      program.Add("convert", "Print a server name in another form", kConvertExamples, Convert);
  convert.Text("NAME", convert->name, kNameText).Required();
  convert.Json("One JSON object");
  std::vector<std::pair<const char*, const Form*>> forms;
  for (const Form& form : kForms) forms.emplace_back(form.name, &form);
  convert.Choice("--to FORM", convert->to, forms, "netbios, dns, fqdn or ip").Required();
  convert.Flag("--cluster-aware", convert->clusterAware,
               "What a cluster's virtual server holds becomes that server's name");
}

void AddResolveCommand(Command& program) {
  auto resolve =
      program.Add("resolve", "Print the addresses of a host", kResolveExamples, ResolveName);
  resolve.Text("NAME", resolve->name, kNameText).Required();
  resolve.Json("One JSON object");
  resolve.Count("--timeout SECONDS", resolve->seconds,
                "Seconds; without it the system's own limits hold", kSeconds);
}

}  // namespace vtctl
