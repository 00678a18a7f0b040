#include <vtclass/win32.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "tools/vtctl/session/session.h"
#include "tools/vtctl/shared/command.h"
#include "tools/vtctl/shared/commands.h"
#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/csv.h"
#include "tools/vtctl/shared/identity.h"
#include "tools/vtctl/shared/json.h"
#include "tools/vtctl/shared/number_text.h"
#include "tools/vtctl/shared/paths.h"
#include "tools/vtctl/shared/printable.h"
#include "tools/vtctl/shared/system_text.h"
#include "tools/vtctl/shared/terminal_text.h"
#include "vtclass/net.h"

namespace vtctl {
namespace {

constexpr const char* kExamples =
    "Reads every file below the folder, keeps nothing, and writes the job log that an agent's\n"
    "backup job would write: joblog-YYYYMMDD-HHMMSS.xml. Its own log is not read. Links are not\n"
    "followed; a volume that is mounted in a folder is a warning, and read with --cross-volumes\n"
    "unless it is one that the folder lies on. The log tells the volume of DIR, with its free\n"
    "space before and after.\n"
    "\n"
    "With --as the tree is read as that account, as an agent reads the data of a job's account;\n"
    "logs and settings stay those of the one who has started vtctl. The password is the sealed "
    "one\n"
    "of the settings where they name the same account; else it is asked for without echo, or read "
    "as\n"
    "one line where standard input is no terminal. Give a UNC path for --root then: a drive "
    "letter\n"
    "of a share is yours, not the account's. 'vtctl logon ACCOUNT' tells why a logon is refused.\n"
    "\n"
    "When less than 100 MB are free for the job log, standard error and the log itself say so\n"
    "beforehand, and the session goes on: a folder takes some 500 bytes of the log.\n"
    "\n"
    "In a PATTERN * stands for any characters and ? for one; case does not matter. One with a\n"
    "backslash is compared with the path below DIR, one without with the name alone; one with a\n"
    "backslash at its end matches folders only. A folder that --exclude names is left out with\n"
    "everything below it; --include chooses among files only, and --exclude goes before it.\n"
    "\n"
    "How far it is stands on standard error, where that is a terminal.\n"
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
    "  Account, Account Password               an account and its sealed password (vtctl "
    "credential\n"
    "                                          seal), for --as: the session tells whose the "
    "password\n"
    "                                          is, and warns when it does not open; neither is\n"
    "                                          written\n"
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
    "  vtctl session --root E:\\Mounted --out C:\\Logs --cross-volumes\n"
    "  vtctl session --root D:\\ --out C:\\Logs --json\n"
    "  vtctl session --root D:\\ --out C:\\Logs --exclude *.tmp --exclude \\Cache --dry-run\n"
    "  vtctl session --root D:\\ --out C:\\Logs --csv > findings.csv\n"
    "  vtctl session --root \\\\server\\share --out C:\\Logs --as NORVANE\\backup\n"
    "\n"
    "Exit codes: 0 everything was read, 1 warnings, 2 errors; 65 the password is too long, 66\n"
    "the folder is missing or the account is refused, 68 SERVER is another machine, 69 whether it\n"
    "is cannot be told, 73 the job log cannot be written, 130 interrupted (the job log is\n"
    "finished properly).";

struct SessionArguments : CommonArguments {
  std::optional<std::wstring> server;
  Path root;
  Path out;
  std::wstring language;
  std::wstring name;
  std::optional<KeyPath> settings;
  std::optional<std::wstring> account;
  unsigned workers = 0;
  std::vector<std::wstring> include, exclude;
  bool isDryRun = false;
  bool crossVolumes = false;
  std::optional<unsigned> show;
  bool csv = false;
};

// So many findings are printed where people read them; a script gets all of them.
constexpr unsigned kShownToPeople = 10;

bool IsUncPath(const std::wstring& server) {
  wcstring host;
  wcstring share;
  return vtclass::SplitUncPath(server, host, share) && !share.empty();
}

void PrintSentence(const std::wstring& sentence) {
  Print(ForTerminal(Printable(sentence) + L"\n"));
}

// A job for another machine is not this agent's to run: what lies here under the same path is not
// what the operator means. An exit code unless `server` is this machine.
int CheckServer(const std::wstring& server, bool isText) {
  const IdentityQuestion question = {server, true};
  const IdentityAnswer answer = AskIdentity(question);
  const std::wstring sentence = Sentence(question, answer);
  if (!answer.isMe) return Fail(ExitCodeOf(answer), sentence);
  if (isText) PrintSentence(sentence);
  return kExitClean;
}

// Checks the folder that is to be read, as the one who reads it. An exit code when it cannot be.
int CheckRoot(const Messages& messages, const SessionRequest& request) {
  const Path& root = request.root;
  const ReadingAs acting(request.reader.token.Get());
  if (acting.Error() != ERROR_SUCCESS) {
    return FailWith(kExitNoInput, acting.Error(), SystemText(acting.Error()));
  }
  const DWORD attributes = ::GetFileAttributesW(root.System().c_str());
  const DWORD error = root.System().empty() ? root.Error() : ::GetLastError();
  if (root.System().empty() || attributes == INVALID_FILE_ATTRIBUTES) {
    const unsigned id = error == ERROR_ACCESS_DENIED ? MSG_FOLDER_LIST_FAILED : MSG_ROOT_NOT_FOUND;
    return FailWith(kExitNoInput, error, messages.Text(id, {root.Written(), SystemText(error)}));
  }
  if (!(attributes & FILE_ATTRIBUTE_DIRECTORY)) {
    return Fail(kExitNoInput, messages.Text(MSG_ROOT_NOT_A_FOLDER, {root.Written()}));
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
  for (const std::wstring& line : lines) text += L"  " + Printable(line) + L"\n";
  Print(ForTerminal(text + L"\n"));
}

std::wstring Coloured(const std::wstring& line, bool isError) {
  std::wstring text = Printable(line);
  if (!ColoursWanted()) return text;
  return (isError ? L"\x1b[31m" : L"\x1b[33m") + text + L"\x1b[0m";
}

const wchar_t* SeverityWord(bool isError) { return isError ? L"error" : L"warning"; }

// How often each thing was found: one line a kind and reason, as wide as the terminal at most.
void PrintReasons(const Messages& messages, const SessionResult& result) {
  size_t columns = 0;
  for (const ReasonCount& reason : result.reasons) {
    columns = std::max(columns, messages.Number(reason.count).size());
  }
  const auto width = static_cast<size_t>(TerminalWidth() - 1);
  std::wstring text;
  for (const ReasonCount& reason : result.reasons) {
    const std::wstring count = messages.Number(reason.count);
    const std::wstring line = std::wstring(columns - count.size(), L' ') + count + L"  " +
                              Fitted(SeverityWord(reason.isError), 9) +
                              Fitted(CodeText(reason.code), 18) + Printable(reason.text);
    text += Coloured(OutputIsTerminal() ? Shortened(line, width) : line, reason.isError) + L"\n";
  }
  Print(text + L"\n");
}

void PrintFindings(const Messages& messages, const SessionResult& result) {
  if (result.reasons.empty()) return;
  PrintReasons(messages, result);
  std::wstring text =
      messages.Text(MSG_LABEL_WARNINGS) + L", " + messages.Text(MSG_LABEL_ERRORS) + L"\n";
  for (const Finding& finding : result.findings) {
    text += L"  " + Coloured(FindingLine(finding.code, finding.text), finding.IsError()) + L"\n";
  }
  const uint64_t more = result.totals.warnings + result.totals.errors - result.findings.size();
  if (more > 0) {
    text += L"  " + messages.Text(MSG_MORE_ENTRIES, {messages.Number(more)}) + L"\n";
  }
  Print(ForTerminal(text + L"\n"));
}

void PrintResult(const Messages& messages, const SessionResult& result) {
  PrintFindings(messages, result);
  PrintLines(messages.Text(MSG_LABEL_SUMMARY), result.summary);
  if (result.logPath.System().empty()) {
    PrintSentence(messages.Text(MSG_DESTINATION, {messages.Text(MSG_DESTINATION_DRY_RUN)}));
  } else {
    PrintSentence(messages.Text(MSG_JOB_LOG_FILE, {result.logPath.Shown()}));
  }
}

const char* VerdictName(const SessionResult& result) {
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

Json ToJson(const RootVolume& volume) {
  if (volume.path.empty()) return nullptr;
  const auto orNull = [](const std::optional<uint64_t>& bytes) {
    return bytes ? Json(*bytes) : Json();
  };
  return {{"path", ToUtf8(ShownPath(volume))},
          {"name", TextOrNull(volume.name)},
          {"freeSpaceBefore", orNull(volume.freeBefore)},
          {"freeSpaceAfter", orNull(volume.freeAfter)}};
}

Json ToJson(const Finding& finding) {
  Json json = {{"severity", ToUtf8(SeverityWord(finding.IsError()))},
               {"code", ToUtf8(CodeText(finding.code))},
               {"path", TextOrNull(finding.path)},
               {"status", nullptr},
               {"text", ToUtf8(finding.text)}};
  if (finding.status != 0) json["status"] = finding.status;
  return json;
}

void PrintResultAsCsv(const SessionResult& result) {
  Json rows = Json::array();
  for (const Finding& finding : result.findings) rows.push_back(ToJson(finding));
  Print(Csv(ToJson(Finding()), rows));
}

void PrintResultAsJson(const SessionRequest& request, const SessionResult& result) {
  const Totals& totals = result.totals;
  Json json = {{"verdict", VerdictName(result)},
               {"root", ToUtf8(request.root.Stored())},
               {"readAs", TextOrNull(request.reader.name)},
               {"volume", ToJson(result.volume)},
               {"jobLog", TextOrNull(result.logPath.Stored())},
               {"folders", totals.folders},
               {"files", totals.files},
               {"bytes", totals.bytes},
               {"skipped", totals.skipped},
               {"excluded", totals.excluded},
               {"warnings", totals.warnings},
               {"errors", totals.errors},
               {"milliseconds", result.milliseconds},
               {"started", result.started},
               {"ended", result.ended},
               {"reasons", Json::array()},
               {"findings", Json::array()},
               {"findingsLeftOut", totals.warnings + totals.errors - result.findings.size()}};
  for (const ReasonCount& reason : result.reasons) {
    json["reasons"].push_back({{"severity", ToUtf8(SeverityWord(reason.isError))},
                               {"code", ToUtf8(CodeText(reason.code))},
                               {"count", reason.count},
                               {"text", ToUtf8(reason.text)}});
  }
  for (const Finding& finding : result.findings) json["findings"].push_back(ToJson(finding));
  PrintJson(json);
}

int LogFailure(const Messages& messages, const SessionResult& result) {
  return FailWith(kExitCannotWrite, result.logError,
                  messages.Text(MSG_JOB_LOG_WRITE_FAILED,
                                {result.logPath.Stored(), SystemText(result.logError)}));
}

enum class Form { text, json, csv };

int RunSession(const SessionRequest& request, const Messages& messages, Form form) {
  Progress progress(Progress::automatic);
  Session session(request, messages, progress);
  if (!session.Start()) return LogFailure(messages, session.Result());
  if (form == Form::text) {
    PrintLines(messages.Text(MSG_LABEL_SETTINGS), session.Result().settings);
    PrintSentence(messages.Text(MSG_ROOT_FOLDER, {request.root.Shown()}));
    if (request.reader.token) {
      PrintSentence(messages.Text(MSG_READ_AS, {request.reader.name}));
    }
    Print(L"\n");
  }
  const SessionResult result = session.Run();
  if (form == Form::json) {
    PrintResultAsJson(request, result);
  } else if (form == Form::csv) {
    PrintResultAsCsv(result);
  } else {
    PrintResult(messages, result);
  }
  return result.logError == ERROR_SUCCESS ? ExitCodeOf(result) : LogFailure(messages, result);
}

// The folder for the job log; an exit code when it cannot be made.
int PrepareOut(const SessionArguments& arguments, const Messages& messages,
               SessionRequest& request) {
  if (request.isDryRun) return kExitClean;
  request.out = arguments.out;
  const DWORD status = MakeFolders(request.out);
  if (status != ERROR_SUCCESS) {
    return Fail(kExitCannotWrite, L"The folder " + request.out.Written() + L" cannot be made",
                status);
  }
  request.note = LogSpaceWarning(messages, request.out);
  if (!request.note.empty()) Remark(request.note);
  return kExitClean;
}

int Run(const SessionArguments& arguments) {
  if (arguments.csv && arguments.json) {
    return Fail(kExitUsage, L"--csv and --json do not go together.");
  }
  if (arguments.server && arguments.server->empty()) {
    return Fail(kExitUsage, L"The server is empty.");
  }
  if (arguments.settings && arguments.settings->subkey.empty()) {
    return Fail(kExitUsage, L"--settings names the root of a registry, not a key below it.");
  }
  Form form = arguments.json ? Form::json : Form::text;
  if (arguments.csv) form = Form::csv;
  if (arguments.server) {
    const int serverCheck = CheckServer(*arguments.server, form == Form::text);
    if (serverCheck != kExitClean) return serverCheck;
  }
  SessionRequest request;
  request.language = arguments.language;
  request.settingsKey = arguments.settings.value_or(SessionKey());
  Messages messages;
  if (!messages.Load(request.language)) {
    return Fail(kExitInternal, L"The message library vterrors.dll is missing beside vtctl.exe.");
  }
  request.root = arguments.server && arguments.root.Written().empty() ? Path(*arguments.server)
                                                                      : arguments.root;
  if (arguments.account) {
    if (arguments.account->empty()) return Fail(kExitUsage, L"The account is empty.");
    const int logon = LogOnReader(*arguments.account, request.settingsKey, request.reader);
    if (logon != kExitClean) return logon;
  }
  const int rootCheck = CheckRoot(messages, request);
  if (rootCheck != kExitClean) return rootCheck;
  request.selection = {arguments.include, arguments.exclude};
  request.isDryRun = arguments.isDryRun;
  if (const int outCode = PrepareOut(arguments, messages, request)) return outCode;
  request.jobName = arguments.name;
  if (form == Form::text || arguments.show) {
    request.keptFindings = arguments.show.value_or(kShownToPeople);
  }
  request.workers = arguments.workers;
  request.crossVolumes = arguments.crossVolumes;
  return RunSession(request, messages, form);
}

}  // namespace

void AddSessionCommand(Command& program) {
  auto session = program.Add(
      "session", "Play a backup job over a folder tree and write its job log", kExamples, Run);
  session.Text("SERVER", session->server, "The server whose folder it is, or a UNC path");
  const Argument root = session.File("--root DIR", session->root, "The folder to read");
  const Argument out =
      session.File("--out DIR", session->out, "The folder for the job log; made if missing");
  session.Texts("--include PATTERN", session->include, "Read only files that match; repeatable");
  session.Texts("--exclude PATTERN", session->exclude,
                "Leave out files and folders that match; repeatable");
  session.Flag("--dry-run", session->isDryRun,
               "Count what would be read: open no file, write nothing anywhere");
  session.Word("--language XX", session->language, KnownLanguages(),
               "Language of the messages: EN, DE, FR, JP (if not given: the registry's)");
  session.Text("--name JOB", session->name, "Name of the job");
  session.Key("--settings KEY", session->settings,
              "The registry key with the settings, in place of the product's");
  session.Count("--workers N", session->workers,
                "Threads, 1 to 64 (if not given: the registry's); the job log is always the same",
                NumberRange<unsigned>{1, kMostWorkers});
  session.Text("--as ACCOUNT", session->account, "Read the tree as this account");
  session.Flag("--cross-volumes", session->crossVolumes,
               "Read volumes that are mounted below the folder, too");
  session.Count("--show N", session->show,
                "How many warnings and errors to print (10; with --json and --csv all)");
  session.Flag("--csv", session->csv, "Print the warnings and errors alone, for spreadsheets");
  session.Json("Print the result as one JSON object, nothing else");
  session.Require([root, out, session] {
    if (!out.IsGiven() && !session->isDryRun) return std::string("--out");
    const bool isThere = root.IsGiven() || (session->server && IsUncPath(*session->server));
    return isThere ? std::string() : "--root, or a UNC path as SERVER,";
  });
}

}  // namespace vtctl
