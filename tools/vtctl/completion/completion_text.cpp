#include "tools/vtctl/completion/completion_text.h"

#include <algorithm>
#include <string_view>

namespace vtctl {
namespace {

// A word of the scripts that stands for itself; `quote` is how one quotation mark is written in it.
std::string Quoted(std::string_view text, std::string_view quote) {
  std::string quoted = "'";
  for (const char character : text) {
    if (character == '\'') {
      quoted += quote;
    } else {
      quoted += character;
    }
  }
  return quoted + "'";
}

std::string InBash(std::string_view text) { return Quoted(text, "'\\''"); }
std::string InPowerShell(std::string_view text) { return Quoted(text, "''"); }

// "vtctl registry get"
std::string PathOf(const CommandTable& table, const CommandText& row) {
  const std::string& program = table.front().name;
  return &row == &table.front() ? program : program + " " + row.name;
}

// The last word of a name.
std::string WordOf(const CommandText& row) { return row.name.substr(row.name.rfind(' ') + 1); }

// The rows right below a group.
std::vector<const CommandText*> Below(const CommandTable& table, const CommandText& group) {
  std::vector<const CommandText*> rows;
  for (const CommandText& row : table) {
    if (&row == &table.front()) continue;
    const std::size_t blank = row.name.rfind(' ');
    const std::string above = blank == std::string::npos ? "" : row.name.substr(0, blank);
    if (above == (&group == &table.front() ? "" : group.name)) rows.push_back(&row);
  }
  return rows;
}

std::string Spaced(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

constexpr const char* kBashFunction = R"(_vtctl() {
  local word=${COMP_WORDS[COMP_CWORD]} command=vtctl before='' each
  for each in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    [[ -z ${_vtctl_words["$command $each"]+x} ]] || command+=" $each"
    before=$each
  done
  local words=${_vtctl_words["$command"]}
  if [[ -n ${_vtctl_values["$command $before"]+x} ]]; then
    words=${_vtctl_values["$command $before"]}
  elif [[ $word == -* ]]; then
    words="${_vtctl_options["$command"]} $_vtctl_common"
  fi
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}
complete -o default -F _vtctl vtctl vtctl.exe
)";

constexpr const char* kPowerShellFunction = R"(
  $command = 'vtctl'
  $before = ''
  foreach ($element in ($line.CommandElements | Select-Object -Skip 1)) {
    if ($element.Extent.EndOffset -ge $position) { break }
    $before = $element.Extent.Text
    if ($words.ContainsKey("$command $before")) { $command = "$command $before" }
  }
  $choices = $words[$command]
  if ($values.ContainsKey("$command $before")) {
    $choices = $values["$command $before"]
  } elseif ($word.StartsWith('-')) {
    $choices = $options[$command] + $common
  }
  $choices.GetEnumerator() | Where-Object { $_.Key.StartsWith($word) } | ForEach-Object {
    [System.Management.Automation.CompletionResult]::new($_.Key, $_.Key, 'ParameterValue', $_.Value)
  }
}
)";

// What the two scripts hold, each written in its own way.
class Script {
 public:
  virtual ~Script() = default;

  std::string Of(const CommandTable& table) {
    for (const CommandText& row : table) {
      const std::string path = PathOf(table, row);
      Choices words;
      Choices options;
      for (const CommandText* below : Below(table, row)) {
        words.push_back({WordOf(*below), below->description});
      }
      for (const OptionText& option : row.options) {
        if (option.isPositional) {
          for (const std::string& word : option.words) words.push_back({word, option.description});
          continue;
        }
        const bool isCommon = std::ranges::find(common, option.name, &Choice::word) != common.end();
        if (!isCommon) options.push_back({option.name, option.description});
        if (option.value.empty()) continue;
        Choices values;
        for (const std::string& word : option.words) values.push_back({word, option.description});
        Add(valueRows, path + " " + option.name, values);
      }
      Add(wordRows, path, words);
      if (&row == &table.front()) {
        // The version is the program's alone; its other options are those of every command.
        common = options;
        std::erase_if(common, [](const Choice& choice) { return choice.word == "--version"; });
        std::erase_if(options, [](const Choice& choice) { return choice.word != "--version"; });
      }
      Add(optionRows, path, options);
    }
    return Text();
  }

 protected:
  struct Choice {
    std::string word;
    std::string description;
  };
  using Choices = std::vector<Choice>;

  virtual void Add(std::string& rows, const std::string& path, const Choices& choices) = 0;
  virtual std::string Text() = 0;

  std::string wordRows;    // what may follow a command's name
  std::string optionRows;  // a command's own options
  std::string valueRows;   // what may follow an option
  Choices common;
};

class Bash : public Script {
  static std::string Words(const Choices& choices) {
    std::vector<std::string> words;
    words.reserve(choices.size());
    for (const Choice& choice : choices) words.push_back(choice.word);
    return InBash(Spaced(words));
  }
  void Add(std::string& rows, const std::string& path, const Choices& choices) override {
    rows += "  [" + InBash(path) + "]=" + Words(choices) + "\n";
  }
  std::string Text() override {
    return "# Completion of vtctl for bash: source this file, or put it where bash-completion "
           "looks.\n"
           "declare -gA _vtctl_words=(\n" +
           wordRows + ")\ndeclare -gA _vtctl_options=(\n" + optionRows +
           ")\ndeclare -gA _vtctl_values=(\n" + valueRows + ")\n_vtctl_common=" + Words(common) +
           "\n" + kBashFunction;
  }
};

class PowerShell : public Script {
  static std::string Words(const Choices& choices) {
    std::string text = "@{";
    for (const Choice& choice : choices) {
      text += InPowerShell(choice.word) + " = " + InPowerShell(choice.description) + "; ";
    }
    return text + "}";
  }
  void Add(std::string& rows, const std::string& path, const Choices& choices) override {
    rows += "    " + InPowerShell(path) + " = " + Words(choices) + "\n";
  }
  std::string Text() override {
    return "# Completion of vtctl for PowerShell: dot-source this file in your profile.\n"
           "Register-ArgumentCompleter -Native -CommandName vtctl, vtctl.exe -ScriptBlock {\n"
           "  param($word, $line, $position)\n  $words = @{\n" +
           wordRows + "  }\n  $options = @{\n" + optionRows + "  }\n  $values = @{\n" + valueRows +
           "  }\n  $common = " + Words(common) + kPowerShellFunction;
  }
};

// Text as man pages want it: nothing in it is a request or an escape.
std::string InMan(std::string_view text) {
  std::string page;
  bool isAtBegin = true;
  for (const char character : text) {
    if (isAtBegin && (character == '.' || character == '\'')) page += "\\&";
    isAtBegin = character == '\n';
    switch (character) {
      case '\\':
        page += "\\e";
        break;
      case '-':
        page += "\\-";
        break;
      case '"':
        page += "\\(dq";
        break;
      case '^':
        page += "\\(ha";
        break;
      case '~':
        page += "\\(ti";
        break;
      default:
        page += character;
    }
  }
  return page;
}

std::string Literal(const std::string& text) {
  return text.empty() ? "" : ".PP\n.nf\n" + InMan(text) + "\n.fi\n";
}

std::string Synopsis(const CommandTable& table, const CommandText& row) {
  std::string text = PathOf(table, row);
  for (const OptionText& option : row.options) {
    if (option.isPositional) text += " " + option.name;
  }
  return text + (row.isGroup ? " COMMAND ..." : " [OPTION ...]");
}

std::string OptionsInMan(const CommandText& row) {
  std::string text;
  for (const OptionText& option : row.options) {
    const bool hasValue = !option.isPositional && !option.value.empty();
    text += ".TP\n.B " + InMan(option.name + (hasValue ? " " + option.value : "")) + "\n" +
            InMan(option.description) + "\n";
  }
  return text;
}

}  // namespace

std::string BashScript(const CommandTable& table) { return Bash().Of(table); }

std::string PowerShellScript(const CommandTable& table) { return PowerShell().Of(table); }

std::string ManPage(const CommandTable& table) {
  const CommandText& program = table.front();
  std::string page = ".TH VTCTL 1\n.SH NAME\nvtctl \\- " + InMan(program.description) +
                     "\n.SH SYNOPSIS\n.B " + InMan(Synopsis(table, program)) +
                     "\n.SH OPTIONS OF EVERY COMMAND\n" + OptionsInMan(program) +
                     ".SH EXAMPLES AND EXIT CODES\n" + Literal(program.footer) + ".SH COMMANDS\n";
  std::string above;  // the text of the group at hand
  for (const CommandText& row : table) {
    if (&row == &program) continue;
    page += ".SS \"" + InMan(Synopsis(table, row)) + "\"\n" + InMan(row.description) + ".\n" +
            OptionsInMan(row);
    // Many groups have one text for all their commands.
    if (row.isGroup || above.empty() || !row.footer.starts_with(above)) page += Literal(row.footer);
    if (row.isGroup) above = row.footer;
  }
  return page;
}

Json ToJson(const CommandTable& table) {
  Json rows = Json::array();
  for (const CommandText& row : table) {
    Json options = Json::array();
    for (const OptionText& option : row.options) {
      options.push_back({{"name", option.name},
                         {"value", option.value.empty() ? Json() : Json(option.value)},
                         {"description", option.description},
                         {"words", option.words},
                         {"positional", option.isPositional}});
    }
    rows.push_back({{"command", row.name},
                    {"description", row.description},
                    {"group", row.isGroup},
                    {"json", row.printsJson},
                    {"help", row.footer},
                    {"options", options}});
  }
  return rows;
}

}  // namespace vtctl
