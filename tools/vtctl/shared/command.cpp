#include "tools/vtctl/shared/command.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <string_view>

#include <CLI/CLI.hpp>

#include "tools/vtctl/shared/console.h"
#include "tools/vtctl/shared/json.h"
#include "vtclass/product.h"

namespace vtctl {

// What the words of the command line ask for.
struct ParsedLine {
  std::function<int()> run;
  unsigned long product = 0;
  bool json = false;
  bool quiet = false;
  bool noColour = false;
  std::map<const CLI::Option*, std::vector<std::string>> words;  // that a choice knows
};

namespace {

constexpr char kJson[] = "--json";

// An argument as the operator names it, and what its value is called in the help.
struct Spec {
  std::string name;
  std::string value;
};

Spec Parted(std::string_view spec) {
  const std::size_t blank = spec.find(' ');
  if (blank == std::string_view::npos) return {std::string(spec), " "};
  return {std::string(spec.substr(0, blank)), std::string(spec.substr(blank + 1))};
}

// The options of every command may stand wherever a word may. A group's help does not repeat them.
void AddCommonOptions(CLI::App& app, ParsedLine& line, const char* group) {
  app.add_option("--product", line.product, "1 for the sibling product's registry root")
      ->option_text("N")
      ->check(CLI::Range(0, 1))
      ->group(group);
  app.add_flag("--quiet", line.quiet, "Print nothing but errors; the exit code tells")
      ->group(group);
  app.add_flag("--no-color", line.noColour, "Print without colours, as with NO_COLOR set")
      ->group(group);
}

constexpr const char* kHidden = "";
constexpr const char* kForEvery = "Options of every command";

// What no command need say in its own help.
constexpr const char* kEveryExitCode =
    "\n\nIn every command: 64 wrong usage, 70 vtctl failed, 73 the output cannot be written, 130\n"
    "interrupted. Words behind \"--\" are arguments, also such that begin with a hyphen.";

// "vtctl registry get": the command that the words chose, as far as they were understood.
std::string ChosenName(const CLI::App& app) {
  std::string name = app.get_name();
  for (const CLI::App* command : app.get_subcommands()) name += " " + ChosenName(*command);
  return name;
}

// The same without the program; its name where no command was chosen.
std::string CommandName(const CLI::App& app) {
  const std::string name = ChosenName(app);
  return name.substr(name.find(' ') + 1);  // npos + 1 is 0
}

// A command line that cannot be read asks for JSON as well.
bool AsksForJson(std::span<const std::string> words) {
  const auto end = std::ranges::find(words, "--");
  return std::find(words.begin(), end, kJson) != end;
}

// The parser puts two empty lines between groups of options.
std::string WithoutDoubledLines(std::string text) {
  for (std::size_t at = 0; (at = text.find("\n\n\n", at)) != std::string::npos;) text.erase(at, 1);
  return text;
}

// Help and version go to the output; a wrong command line gets one line and a hint.
int ExplainParse(const CLI::App& app, const CLI::ParseError& error) {
  if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
    std::ostringstream out, err;
    app.exit(error, out, err);
    PrintUtf8(WithoutDoubledLines(out.str()));
    return kExitClean;
  }
  std::string problem = error.what();
  // The parser misses the command before it looks at the words that are none.
  const std::vector<std::string> unknown = app.remaining(true);
  if (dynamic_cast<const CLI::RequiredError*>(&error) && !unknown.empty()) {
    problem = "\"" + unknown.front() + "\" is not known here";
  }
  const int code = Fail(kExitUsage, FromUtf8(problem));
  PrintError(FromUtf8("Run '" + ChosenName(app) + " --help' for help.\n"));
  return code;
}

OptionText TextOf(const CLI::Option& option, const ParsedLine& line) {
  OptionText text;
  text.isPositional = option.get_positional();
  text.name = text.isPositional ? option.get_name(true) : "--" + option.get_lnames().front();
  if (option.get_expected_max() > 0 && option.get_option_text() != " ")
    text.value = option.get_option_text();
  text.description = option.get_description();
  const auto words = line.words.find(&option);
  if (words != line.words.end()) text.words = words->second;
  return text;
}

void Describe(const CLI::App& app, const std::string& name, const ParsedLine& line,
              std::vector<CommandText>& table) {
  const bool isProgram = app.get_parent() == nullptr;
  const auto commands = app.get_subcommands([](const CLI::App*) { return true; });
  CommandText text = {name, app.get_description(), app.get_footer(), !commands.empty(), false, {}};
  for (const CLI::Option* option : app.get_options()) {
    const bool isOwn = !option->get_group().empty() && option->get_group() != kForEvery;
    if (!isProgram && (!isOwn || option == app.get_help_ptr())) continue;
    text.options.push_back(TextOf(*option, line));
    text.printsJson = text.printsJson || (!isProgram && text.options.back().name == kJson);
  }
  table.push_back(text);
  for (const CLI::App* command : commands) {
    Describe(*command, isProgram ? command->get_name() : name + " " + command->get_name(), line,
             table);
  }
}

}  // namespace

void Argument::Required() { option->required(); }

bool Argument::IsGiven() const { return option->count() > 0; }

Command Command::AddGroup(const char* name, const char* description, const char* footer) {
  CLI::App* group = app->add_subcommand(name, description);
  group->require_subcommand(1);
  if (footer) group->footer(footer);
  AddCommonOptions(*group, *line, kHidden);
  group->add_flag(kJson, line->json)->group(kHidden);
  return {*group, *line};
}

Command Command::AddLeaf(const char* name, const char* description, const char* footer,
                         std::shared_ptr<CommonArguments> arguments, std::function<int()> run) {
  CLI::App* leaf = app->add_subcommand(name, description);
  leaf->footer(std::string(footer) + kEveryExitCode);
  AddCommonOptions(*leaf, *line, kForEvery);
  leaf->add_flag(kJson, line->json)->group(kHidden);
  leaf->callback([to = line, arguments = std::move(arguments), run = std::move(run)] {
    to->run = [to, arguments, run] {
      arguments->json = to->json;
      return run();
    };
  });
  return {*leaf, *line};
}

CLI::Option* Command::AddText(const char* spec, const std::function<void(std::wstring)>& take,
                              const char* description) {
  const auto [name, value] = Parted(spec);
  return app
      ->add_option_function<std::string>(
          name, [take](const std::string& word) { take(FromUtf8(word)); }, description)
      ->option_text(value);
}

Argument Command::Text(const char* spec, std::wstring& to, const char* description) {
  return Argument(AddText(spec, [&to](std::wstring word) { to = std::move(word); }, description));
}

Argument Command::Text(const char* spec, std::optional<std::wstring>& to, const char* description) {
  return Argument(AddText(spec, [&to](std::wstring word) { to = std::move(word); }, description));
}

Argument Command::Texts(const char* spec, std::vector<std::wstring>& to, const char* description) {
  const auto [name, value] = Parted(spec);
  CLI::Option* option = app->add_option_function<std::vector<std::string>>(
      name,
      [&to](const std::vector<std::string>& words) {
        std::ranges::transform(words, std::back_inserter(to), FromUtf8);
      },
      description);
  option->option_text(value);
  // An option would swallow the words that follow its value.
  if (!option->get_positional()) option->allow_extra_args(false);
  return Argument(option);
}

Argument Command::File(const char* spec, Path& to, const char* description) {
  const auto take = [&to, name = Parted(spec).name](const std::wstring& word) {
    // It would be taken for one that was not given.
    if (word.empty()) {
      throw CLI::ParseError(name + " is empty.", CLI::ExitCodes::ValidationError);
    }
    to = Path(word);
  };
  return Argument(AddText(spec, take, description));
}

Argument Command::Key(const char* spec, std::optional<KeyPath>& to, const char* description) {
  const auto take = [&to](const std::wstring& word) {
    to = ParseKeyPath(word);
    if (to) return;
    throw CLI::ParseError("\"" + ToUtf8(word) + "\" names no registry key.",
                          CLI::ExitCodes::ValidationError);
  };
  return Argument(AddText(spec, take, description));
}

template <typename Number>
Argument Command::Count(const char* spec, Number& to, const char* description,
                        std::type_identity_t<std::optional<NumberRange<Number>>> range) {
  const auto [name, value] = Parted(spec);
  CLI::Option* option = app->add_option(name, to, description)->option_text(value);
  if (range) option->check(CLI::Range(range->least, range->greatest));
  return Argument(option);
}
template Argument Command::Count(const char*, int&, const char*, std::optional<NumberRange<int>>);
template Argument Command::Count(const char*, unsigned&, const char*,
                                 std::optional<NumberRange<unsigned>>);

Argument Command::Count(const char* spec, std::optional<unsigned>& to, const char* description,
                        std::optional<NumberRange<unsigned>> range) {
  const auto [name, value] = Parted(spec);
  CLI::Option* option = app->add_option_function<unsigned>(
      name, [&to](const unsigned& number) { to = number; }, description);
  option->option_text(value);
  if (range) option->check(CLI::Range(range->least, range->greatest));
  return Argument(option);
}

Argument Command::AddChoice(const char* spec, const std::vector<std::string>& words, bool anyCase,
                            const std::function<void(std::size_t)>& take, const char* description) {
  const auto [name, value] = Parted(spec);
  const auto takeWord = [words, take](const std::string& word) {
    take(static_cast<std::size_t>(std::ranges::find(words, word) - words.begin()));
  };
  CLI::Option* option =
      app->add_option_function<std::string>(name, takeWord, description)->option_text(value);
  option->transform(anyCase ? CLI::IsMember(words, CLI::ignore_case) : CLI::IsMember(words));
  line->words[option] = words;
  return Argument(option);
}

Argument Command::Word(const char* spec, std::wstring& to, const std::vector<std::string>& words,
                       const char* description) {
  return AddChoice(
      spec, words, true, [&to, words](std::size_t chosen) { to = FromUtf8(words[chosen]); },
      description);
}

void Command::Flag(const char* spec, bool& to, const char* description) {
  app->add_flag(spec, to, description);
}

void Command::Json(const char* description) {
  app->get_option(kJson)->description(description)->group("Options");
}

std::function<std::vector<CommandText>()> Command::Table() const {
  return [from = app, line = line] {
    const CLI::App* program = from;
    while (program->get_parent()) program = program->get_parent();
    std::vector<CommandText> table;
    Describe(*program, program->get_name(), *line, table);
    return table;
  };
}

void Command::Require(std::function<std::string()> missing) {
  app->parse_complete_callback([missing = std::move(missing)] {
    const std::string what = missing();
    if (!what.empty()) throw CLI::RequiredError(what);
  });
}

int RunCommandLine(const ProgramText& text, std::span<const AddCommand> commands,
                   std::vector<std::string> words) {
  CLI::App app(text.description, text.name);
  app.set_version_flag("--version", text.version, "Print the version and end");
  app.set_help_flag("-h,--help", "Print this help and end");
  app.require_subcommand(1);
  app.footer(text.footer);
  // A path or a name may begin with a slash.
  app.allow_windows_style_options(false);
  ParsedLine line;
  AddCommonOptions(app, line, kForEvery);
  app.add_flag(kJson, line.json, "Print JSON where the command can")->group(kForEvery);
  Command program(app, line);
  for (const AddCommand add : commands) add(program);
  const bool asksForJson = AsksForJson(words);
  try {
    // The parser takes them last first.
    std::ranges::reverse(words);
    app.parse(std::move(words));
  } catch (const CLI::ParseError& error) {
    BeginJson(asksForJson ? CommandName(app) : "");
    return ExplainParse(app, error);
  }
  BeginJson(line.json ? CommandName(app) : "");
  CMS_SetProd(line.product);
  if (line.quiet) DropOutput();
  if (line.noColour) ForbidColours();
  return line.run();
}

}  // namespace vtctl
