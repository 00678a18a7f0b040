#ifndef VTCLASS_TOOLS_VTCTL_SHARED_COMMAND_H
#define VTCLASS_TOOLS_VTCTL_SHARED_COMMAND_H

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tools/vtctl/shared/exit_code.h"
#include "tools/vtctl/shared/key_path.h"
#include "tools/vtctl/shared/paths.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace vtctl {

struct ParsedLine;

/* An option or argument as the help tells of it. */
struct OptionText {
  std::string name;  /* "--view", "KEY" */
  std::string value; /* what its value is called; empty: it takes none */
  std::string description;
  std::vector<std::string> words; /* what its value may be; empty: anything */
  bool isPositional = false;
};

/* The program, a group or a command as its help tells of it. */
struct CommandText {
  std::string name; /* "vtctl", "registry", "registry get" */
  std::string description;
  std::string footer;
  bool isGroup = false;
  bool printsJson = false;
  std::vector<OptionText> options; /* without those of every command, which the program has */
};

/* What each command's arguments begin with. --product, --quiet and --no-color are carried out
 * before the command runs, so that it need not know of them. */
struct CommonArguments {
  bool json = false;
};

/* The least and the greatest number that an argument may be. */
template <typename Number>
struct NumberRange {
  Number least;
  Number greatest;
};

/* How long an operator may have a command wait. Every limit of time is in seconds: --timeout for
 * the answer of another, --for for a command that watches. */
inline constexpr NumberRange<unsigned> kSeconds = {1, 1000000};

/* One argument of a command, to say more of it. */
class Argument {
 public:
  explicit Argument(CLI::Option* option) : option(option) {}
  void Required();
  bool IsGiven() const;

 private:
  CLI::Option* option;
};

/*
 * A command or a group of commands, as the operator may write it. The parser hides behind it, and
 * arguments arrive as the commands want them: text in UTF-16, paths and keys read, one of several
 * words as what it stands for. What cannot be read ends the program with kExitUsage before any
 * command runs.
 *
 * `spec` names an argument: "NAME" for one that stands for itself, "--name VALUE" for an option.
 * What an argument is stored in has to live until the command has run; Add provides it. Words
 * behind "--" are arguments, whatever they begin with.
 */
class Command {
 public:
  Command(CLI::App& app, ParsedLine& line) : app(&app), line(&line) {}

  /* A group of commands, one of which has to be given. Without a footer its help ends as the
   * program's does. */
  Command AddGroup(const char* name, const char* description, const char* footer = nullptr);

  /* A command that runs `operation` and ends the program with its exit code. */
  template <typename Arguments>
  auto Add(const char* name, const char* description, const char* footer,
           int (*operation)(const Arguments&));

  Argument Text(const char* spec, std::wstring& to, const char* description);
  Argument Text(const char* spec, std::optional<std::wstring>& to, const char* description);
  /* Words of an argument that stands for itself come one after the other; an option is repeated. */
  Argument Texts(const char* spec, std::vector<std::wstring>& to, const char* description);
  Argument File(const char* spec, Path& to, const char* description);
  Argument Key(const char* spec, std::optional<KeyPath>& to, const char* description);
  template <typename Number>
  Argument Count(const char* spec, Number& to, const char* description,
                 std::type_identity_t<std::optional<NumberRange<Number>>> range = std::nullopt);
  Argument Count(const char* spec, std::optional<unsigned>& to, const char* description,
                 std::optional<NumberRange<unsigned>> range = std::nullopt);
  /* One of these words, in any case, stored as it stands here. */
  Argument Word(const char* spec, std::wstring& to, const std::vector<std::string>& words,
                const char* description);
  /* One of these words, stored as what stands beside it. */
  template <typename Value>
  Argument Choice(const char* spec, Value& to,
                  const std::vector<std::pair<const char*, Value>>& choices,
                  const char* description);
  void Flag(const char* spec, bool& to, const char* description);
  /* --json stands in the command's help; commands without it take it and have nothing to print. */
  void Json(const char* description);

  /* Tells when it is called of the program and of all groups and commands, each group before those
   * in it. */
  std::function<std::vector<CommandText>()> Table() const;

  /* Looks at the arguments together; what is not empty is missing. */
  void Require(std::function<std::string()> missing);

 private:
  Command AddLeaf(const char* name, const char* description, const char* footer,
                  std::shared_ptr<CommonArguments> arguments, std::function<int()> run);
  CLI::Option* AddText(const char* spec, const std::function<void(std::wstring)>& take,
                       const char* description);
  Argument AddChoice(const char* spec, const std::vector<std::string>& words, bool anyCase,
                     const std::function<void(std::size_t)>& take, const char* description);

  CLI::App* app;
  ParsedLine* line;
};

/* A command with the place for its arguments: command->name. */
template <typename Arguments>
class CommandWith : public Command {
 public:
  CommandWith(const Command& command, Arguments& arguments)
      : Command(command), arguments(&arguments) {}
  Arguments* operator->() const { return arguments; }

 private:
  Arguments* arguments;
};

template <typename Arguments>
auto Command::Add(const char* name, const char* description, const char* footer,
                  int (*operation)(const Arguments&)) {
  const auto arguments = std::make_shared<Arguments>();
  const Command command = AddLeaf(name, description, footer, arguments,
                                  [arguments, operation] { return operation(*arguments); });
  return CommandWith<Arguments>(command, *arguments);
}

template <typename Value>
Argument Command::Choice(const char* spec, Value& to,
                         const std::vector<std::pair<const char*, Value>>& choices,
                         const char* description) {
  std::vector<std::string> words;
  std::vector<Value> values;
  for (const auto& [word, value] : choices) {
    words.emplace_back(word);
    values.push_back(value);
  }
  return AddChoice(
      spec, words, false, [&to, values](std::size_t chosen) { to = values[chosen]; }, description);
}

/* What the program says of itself, and its commands in the order of the help. */
struct ProgramText {
  const char* name;
  const char* version;
  const char* description;
  const char* footer;
};
using AddCommand = void (*)(Command& program);

/* Reads the words of the command line (UTF-8, without the program's name) and runs the command that
 * they choose. Returns the exit code. */
int RunCommandLine(const ProgramText& text, std::span<const AddCommand> commands,
                   std::vector<std::string> words);

}  // namespace vtctl

#endif
