#include <vtclass/win32.h>

#include <memory>
#include <string>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "tools/vtctl/session/session.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/identity.h"
#include "tools/vtctl/shared/paths.h"
#include "tools/vtctl/shared/system_text.h"
#include "vtclass/net.h"
#include "vtclass/product.h"

namespace vtctl {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kExamples =
    "Reads every file below the folder, keeps nothing, and writes the job log that an agent's\n"
    "backup job would write: joblog-YYYYMMDD-HHMMSS.xml. Links are not followed.\n"
    "\n"
    "With SERVER the session first asks whether that server is this machine, as an agent does\n"
    "when it is handed a job, and ends when it is another one. A UNC path is also the folder,\n"
    "unless --root names one. 'vtctl identity SERVER --cluster-aware' explains the answer.\n"
    "\n"
    "Settings come from the registry, values of the key \"Session\" below the product's root;\n"
    "missing ones are written there with their defaults:\n"
    "  Job Name               Backup session   name of the job in its log\n"
    "  Read File Data         1                0: list the folders and open no file\n"
    "  Buffer Size KB         256              size of each reading, 4 to 65536\n"
    "  Report Large Files MB  100              files from that size on get their own entry\n"
    "  Largest Files Listed   10               length of that list, 0 to 100\n"
    "  Report Links           0                1: a link that is not followed is a warning\n"
    "  Workers                (processors)     threads that read and write, 1 to 64; the default "
    "is\n"
    "                                          one for each processor, 8 at most\n"
    "\n"
    "While CreateDebugLog is switched on (vtctl settings set CreateDebugLog 1), also during the\n"
    "session, it traces to vtctl-session.log in the same folder, with a line a folder at\n"
    "\"Engine NDMP Debug Level\" 2; vtctl debuglog follow shows it.\n"
    "\n"
    "Examples:\n"
    "  vtctl session --root C:\\Data --out C:\\Logs\n"
    "  vtctl session --root \\\\server\\share\\data --out . --language DE --name \"Weekly check\"\n"
    "  vtctl session --root \\\\server\\share --out . --workers 16\n"
    "  vtctl session \\\\backup01\\data --out C:\\Logs\n"
    "  vtctl session --root D:\\ --out C:\\Logs --json\n"
    "\n"
    "Exit codes: 0 everything was read, 1 warnings, 2 errors; 66 the folder is missing, 68 SERVER\n"
    "is another machine, 69 whether it is cannot be told, 73 the job log cannot be written, 130\n"
    "interrupted (the job log is finished properly).";

/* The words of the command line, in UTF-8 as the parser stores them. */
struct SessionArguments {
  std::string server;
  std::string root;
  std::string out;
  std::string language;
  std::string name;
  std::string settings;
  unsigned long product = 0;
  unsigned long workers = 0;
  size_t show = 10;
  bool json = false;
};

bool IsUncPath(const std::wstring& server) {
  wcstring host;
  wcstring share;
  return vtclass::SplitUncPath(server, host, share) && !share.empty();
}

/* A job for another machine is not this agent's to run: what lies here under the same path is not
 * what the operator means. An exit code unless `server` is this machine. */
int CheckServer(const std::wstring& server, bool json) {
  const IdentityQuestion question = {server, true};
  const IdentityAnswer answer = AskIdentity(question);
  const std::wstring sentence = Sentence(question, answer);
  if (!answer.isMe) return Fail(ExitCodeOf(answer), sentence);
  if (!json) Print(sentence + L"\n");
  return kExitClean;
}

/* Checks the folder that is to be read. An exit code when it cannot be. */
int CheckRoot(const Messages& messages, const std::wstring& root, const std::wstring& asGiven) {
  const DWORD attributes =
      root.empty() ? INVALID_FILE_ATTRIBUTES : ::GetFileAttributesW(root.c_str());
  const DWORD error = ::GetLastError();
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    return Fail(kExitNoInput, messages.Text(MSG_ROOT_NOT_FOUND, {asGiven, SystemText(error)}));
  }
  if (!(attributes & FILE_ATTRIBUTE_DIRECTORY)) {
    return Fail(kExitNoInput, messages.Text(MSG_ROOT_NOT_A_FOLDER, {asGiven}));
  }
  return kExitClean;
}

int ExitCodeOf(const SessionResult& result) {
  if (result.logError != ERROR_SUCCESS) return kExitCannotWrite;
  switch (result.status) {
    case SessionResult::cancelled:
      return kExitCancelled;
    case SessionResult::failed:
      return kExitErrors;
    case SessionResult::exceptions:
      return kExitWarnings;
    default:
      return kExitClean;
  }
}

void PrintLines(const std::wstring& title, const std::vector<std::wstring>& lines) {
  std::wstring text = title + L"\n";
  for (const std::wstring& line : lines) text += L"  " + line + L"\n";
  Print(text + L"\n");
}

void PrintFindings(const Messages& messages, const SessionResult& result) {
  if (result.findings.empty()) return;
  const bool colours = OutputIsTerminal();
  std::vector<std::wstring> lines;
  for (const ShownFinding& finding : result.findings) {
    const std::wstring start = finding.isError ? L"\x1b[31m" : L"\x1b[33m";
    lines.push_back(colours ? start + finding.line + L"\x1b[0m" : finding.line);
  }
  const uint64_t all = result.totals.warnings + result.totals.errors;
  if (all > lines.size()) {
    lines.push_back(messages.Text(MSG_MORE_ENTRIES, {messages.Number(all - lines.size())}));
  }
  PrintLines(messages.Text(MSG_LABEL_WARNINGS) + L", " + messages.Text(MSG_LABEL_ERRORS), lines);
}

void PrintResult(const Messages& messages, const SessionResult& result) {
  PrintFindings(messages, result);
  PrintLines(messages.Text(MSG_LABEL_SUMMARY), result.summary);
  Print(messages.Text(MSG_JOB_LOG_FILE, {ShownPath(result.logPath)}) + L"\n");
}

const char* StatusName(const SessionResult& result) {
  if (result.logError != ERROR_SUCCESS) return "log-not-written";
  switch (result.status) {
    case SessionResult::cancelled:
      return "cancelled";
    case SessionResult::failed:
      return "failed";
    case SessionResult::exceptions:
      return "exceptions";
    default:
      return "successful";
  }
}

void PrintResultAsJson(const SessionRequest& request, const SessionResult& result) {
  const Totals& totals = result.totals;
  Json json = {{"status", StatusName(result)},
               {"root", ToUtf8(ShownPath(request.root))},
               {"jobLog", ToUtf8(ShownPath(result.logPath))},
               {"folders", totals.folders},
               {"files", totals.files},
               {"bytes", totals.bytes},
               {"skipped", totals.skipped},
               {"warnings", totals.warnings},
               {"errors", totals.errors},
               {"milliseconds", result.milliseconds},
               {"findings", Json::array()}};
  for (const ShownFinding& finding : result.findings) {
    json["findings"].push_back(
        {{"severity", finding.isError ? "error" : "warning"}, {"text", ToUtf8(finding.line)}});
  }
  PrintUtf8(json.dump(2) + "\n");
}

int LogFailure(const Messages& messages, const SessionResult& result) {
  return Fail(kExitCannotWrite,
              messages.Text(MSG_JOB_LOG_WRITE_FAILED,
                            {ShownPath(result.logPath), SystemText(result.logError)}));
}

int RunSession(const SessionRequest& request, const Messages& messages, bool json) {
  Progress progress(json ? Progress::none : Progress::automatic);
  Session session(request, messages, progress);
  if (!session.Start()) return LogFailure(messages, session.Result());
  if (!json) {
    PrintLines(messages.Text(MSG_LABEL_SETTINGS), session.Result().settings);
    Print(messages.Text(MSG_ROOT_FOLDER, {ShownPath(request.root)}) + L"\n\n");
  }
  const SessionResult result = session.Run();
  if (json) {
    PrintResultAsJson(request, result);
  } else {
    PrintResult(messages, result);
  }
  return result.logError == ERROR_SUCCESS ? ExitCodeOf(result) : LogFailure(messages, result);
}

int Run(const SessionArguments& arguments) {
  CMS_SetProd(arguments.product);
  if (!arguments.server.empty()) {
    const int serverCheck = CheckServer(FromUtf8(arguments.server), arguments.json);
    if (serverCheck != kExitClean) return serverCheck;
  }
  SessionRequest request;
  request.language = FromUtf8(arguments.language);
  request.settingsKey = SessionKey();
  if (!arguments.settings.empty()) {
    const auto key = ParseKeyPath(FromUtf8(arguments.settings));
    if (!key) {
      return Fail(kExitUsage, L"\"" + FromUtf8(arguments.settings) + L"\" names no registry key.");
    }
    request.settingsKey = *key;
  }
  Messages messages;
  if (!messages.Load(request.language)) {
    return Fail(kExitInternal, L"The message library vterrors.dll is missing beside vtctl.exe.");
  }
  const std::wstring folder = FromUtf8(arguments.root.empty() ? arguments.server : arguments.root);
  request.root = SystemPath(folder);
  const int rootCheck = CheckRoot(messages, request.root, folder);
  if (rootCheck != kExitClean) return rootCheck;
  request.out = SystemPath(FromUtf8(arguments.out));
  const DWORD status = request.out.empty() ? ::GetLastError() : MakeFolders(request.out);
  if (status != ERROR_SUCCESS) {
    return Fail(kExitCannotWrite, L"The folder " + FromUtf8(arguments.out) + L" cannot be made: " +
                                      SystemText(status));
  }
  request.jobName = FromUtf8(arguments.name);
  request.shownFindings = arguments.show;
  request.workers = arguments.workers;
  return RunSession(request, messages, arguments.json);
}

}  // namespace

void AddSessionCommand(CLI::App& app, ChosenCommand& chosen) {
  const auto arguments = std::make_shared<SessionArguments>();
  CLI::App* session =
      app.add_subcommand("session", "Play a backup job over a folder tree and write its job log");
  session->add_option("SERVER", arguments->server, "The server whose folder it is, or a UNC path")
      ->option_text(" ");
  const CLI::Option* root =
      session->add_option("--root", arguments->root, "The folder to read")->option_text("DIR");
  session->add_option("--out", arguments->out, "The folder for the job log; made if missing")
      ->required()
      ->option_text("DIR");
  session
      ->add_option("--language", arguments->language,
                   "Language of the messages: EN, DE, FR, JP (if not given: the registry's)")
      ->transform(CLI::IsMember(KnownLanguages(), CLI::ignore_case))
      ->option_text("XX");
  session->add_option("--name", arguments->name, "Name of the job")->option_text("JOB");
  session
      ->add_option("--settings", arguments->settings,
                   "The registry key with the settings, in place of the product's")
      ->option_text("KEY");
  session->add_option("--product", arguments->product, "1 for the sibling product's registry root")
      ->option_text("N");
  session
      ->add_option(
          "--workers", arguments->workers,
          "Threads, 1 to 64 (if not given: the registry's); the job log is always the same")
      ->check(CLI::Range(1UL, kMostWorkers))
      ->option_text("N");
  session->add_option("--show", arguments->show, "How many warnings and errors to print (10)")
      ->option_text("N");
  session->add_flag("--json", arguments->json, "Print the result as one JSON object, nothing else");
  session->footer(kExamples);
  session->callback([&chosen, arguments, root] {
    if (root->count() == 0 && !IsUncPath(FromUtf8(arguments->server))) {
      throw CLI::RequiredError("--root, or a UNC path as SERVER,");
    }
    chosen.run = [arguments] { return Run(*arguments); };
  });
}

}  // namespace vtctl
