#include <vtclass/win32.h>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/resolution.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/net.h"

/* vtctl convert and vtctl resolve. */
namespace vtctl {
namespace {

using Json = nlohmann::ordered_json;

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
    "  vtctl resolve backup01.corp.example --timeout 2000 --json\n"
    "\n"
    "Exit codes: 0 resolved, 66 there is no such host, 69 no answer to be had, 64 an empty name.";

constexpr std::pair<std::string_view, vtclass::_COMPUTER_NAME_FORMAT> kFormats[] = {
    {"netbios", vtclass::computerNameNetBIOS},
    {"dns", vtclass::computerNameDnsHostname},
    {"fqdn", vtclass::computerNameDnsFullyQualified},
    {"ip", vtclass::computerNameIpAddress}};

/* What the conversion's status says, in the operator's words. */
constexpr unsigned long kInvalidArgument = 2;
constexpr unsigned long kReverseLookupFailed = 3;

struct NameArguments {
  std::string name;
  std::string to;
  unsigned long timeOut = 0;
  bool clusterAware = false;
  bool json = false;
};

int Convert(const NameArguments& arguments) {
  const wcstring name = FromUtf8(arguments.name);
  wcstring converted;
  bool isLocal = false;
  unsigned long status = 0;
  const auto* const format =
      std::ranges::find(kFormats, arguments.to, [](const auto& row) { return row.first; });
  const unsigned long result = vtclass::VTConvertServerNamePlus(
      name, converted, format->second, arguments.clusterAware, &isLocal, &status);
  if (result == ERROR_NOT_ENOUGH_MEMORY) return Fail(kExitInternal, SystemText(result));
  if (status == kInvalidArgument) return Fail(kExitUsage, L"The name is empty.");
  if (status == kReverseLookupFailed) {
    return Fail(kExitNoInput,
                L"No host name is known for " + Printable(name) + L": " + SystemText(result));
  }
  if (result != ERROR_SUCCESS) {
    return Fail(kExitNoInput, Printable(name) + L" has no name or address in that form.");
  }
  if (arguments.json) {
    const Json json = {{"name", arguments.name},
                       {"to", arguments.to},
                       {"converted", ToUtf8(converted)},
                       {"thisMachine", isLocal}};
    PrintUtf8(json.dump() + "\n");
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

void PrintResolutionAsJson(const NameArguments& arguments, const Resolution& resolution,
                           const std::wstring& chosen) {
  Json json = {{"name", arguments.name},
               {"canonicalName", ToUtf8(resolution.canonicalName)},
               {"addresses", Json::array()},
               {"preferred", ToUtf8(chosen)}};
  for (const ResolvedAddress& address : resolution.addresses) {
    Json notes = Json::array();
    for (const std::wstring& note : address.notes) notes.push_back(ToUtf8(note));
    json["addresses"].push_back({{"address", ToUtf8(address.text)}, {"notes", notes}});
  }
  PrintUtf8(json.dump(2) + "\n");
}

int ResolveName(const NameArguments& arguments) {
  const std::wstring server = ServerOf(FromUtf8(arguments.name));
  if (server.empty()) return Fail(kExitUsage, L"The name is empty.");
  const Resolution resolution = Resolve(server, arguments.timeOut);
  if (resolution.error != ERROR_SUCCESS) {
    const bool isUnknown = resolution.error == WSAHOST_NOT_FOUND;
    return Fail(isUnknown ? kExitNoInput : kExitNoAnswer,
                Printable(server) + L" cannot be resolved: " + ResolverText(resolution.error));
  }
  const std::wstring chosen = vtclass::GetAnyIpAddress(server);
  arguments.json ? PrintResolutionAsJson(arguments, resolution, chosen)
                 : PrintResolution(resolution, chosen);
  return kExitClean;
}

CLI::App* AddCommand(CLI::App& app, ChosenCommand& chosen, const char* name,
                     const char* description, const char* examples,
                     const std::shared_ptr<NameArguments>& arguments,
                     int (*operation)(const NameArguments&)) {
  CLI::App* command = app.add_subcommand(name, description);
  command->add_option("NAME", arguments->name, "A server name, an address or a UNC path")
      ->required()
      ->option_text(" ");
  command->add_flag("--json", arguments->json, "One JSON object");
  command->footer(examples);
  command->callback([&chosen, arguments, operation] {
    chosen.run = [arguments, operation] { return operation(*arguments); };
  });
  return command;
}

}  // namespace

void AddNameCommands(CLI::App& app, ChosenCommand& chosen) {
  const auto arguments = std::make_shared<NameArguments>();
  CLI::App* convert = AddCommand(app, chosen, "convert", "Print a server name in another form",
                                 kConvertExamples, arguments, &Convert);
  convert->add_option("--to", arguments->to, "netbios, dns, fqdn or ip")
      ->required()
      ->check(CLI::IsMember({"netbios", "dns", "fqdn", "ip"}))
      ->option_text("FORM");
  convert->add_flag("--cluster-aware", arguments->clusterAware,
                    "What a cluster's virtual server holds becomes that server's name");
  CLI::App* resolve = AddCommand(app, chosen, "resolve", "Print the addresses of a host",
                                 kResolveExamples, arguments, &ResolveName);
  resolve
      ->add_option("--timeout", arguments->timeOut,
                   "Milliseconds; without it the system's own limits hold")
      ->check(CLI::Range(1UL, 2000000000UL))
      ->option_text("MS");
}

}  // namespace vtctl
