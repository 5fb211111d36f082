// Completion scripts: the first word is a command, a word that begins with "-" is one of its
// options, and everything else is a file, but for the few commands that take one of certain words.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

#include "cli/commands.h"
#include "cli/describe.h"

namespace tallowbrook::cli {
namespace {

// The option's names as they are typed, each with a blank before it.
std::string names(const CLI::App& app) {
  std::string all;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_snames()) all += " -" + name;
    for (const std::string& name : option->get_lnames()) all += " --" + name;
  }
  return all;
}

std::string names_of_commands(const CLI::App& program) {
  std::string all;
  for (const CLI::App* command : commands_of(program)) all += " " + command->get_name();
  return all.substr(1);
}

// The words that may stand behind the command, with blanks between them; none where it takes files.
std::string words_of(const CLI::App& program, const CLI::App& command) {
  if (command.get_name() == "manual") return names_of_commands(program);
  for (const CLI::Option* option : command.get_options()) {
    const std::string type = option->get_type_name();  // "TEXT:{list,run}"
    const auto open = type.find('{');
    if (!option->get_positional() || open == type.npos) continue;
    std::string words = type.substr(open + 1, type.find('}') - open - 1);
    std::replace(words.begin(), words.end(), ',', ' ');
    return words;
  }
  return {};
}

// For a zsh description inside '...' and [...].
std::string quoted(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '\'') {
      escaped += "'\\''";
    } else if (c == '[' || c == ']' || c == ':' || c == '\\') {
      escaped += std::string("\\") + c;
    } else {
      escaped += c;
    }
  }
  return escaped;
}

void write_zsh_options(std::ostream& script, const CLI::App& app) {
  for (const CLI::Option* option : app.get_options()) {
    if (!option->nonpositional()) continue;
    const auto write = [&](const std::string& name) {
      script << " \\\n        '*" << name << '[' << quoted(option->get_description()) << ']';
      if (option->get_items_expected_max() != 0) {
        script << ':' << quoted(option->get_type_name()) << ":_files";
      }
      script << '\'';
    };
    for (const std::string& name : option->get_snames()) write("-" + name);
    for (const std::string& name : option->get_lnames()) write("--" + name);
  }
}

}  // namespace

std::string bash_completion(const CLI::App& program) {
  std::ostringstream script;
  script << "# bash completion of " << program.get_name() << "\n_tallowbrook() {\n"
         << "  local word=${COMP_WORDS[COMP_CWORD]} words=''\n"
         << "  if [[ $COMP_CWORD -eq 1 ]]; then\n"
         << "    words='" << names_of_commands(program) << names(program) << "'\n"
         << "  elif [[ $word == -* ]]; then\n"
         << "    case ${COMP_WORDS[1]} in\n";
  for (const CLI::App* command : commands_of(program)) {
    script << "      " << command->get_name() << ") words='" << names(*command).substr(1)
           << "' ;;\n";
  }
  script << "    esac\n"
         << "  elif [[ $COMP_CWORD -eq 2 ]]; then\n"
         << "    case ${COMP_WORDS[1]} in\n";
  for (const CLI::App* command : commands_of(program)) {
    const std::string words = words_of(program, *command);
    if (!words.empty())
      script << "      " << command->get_name() << ") words='" << words << "' ;;\n";
  }
  script << "    esac\n"
         << "  fi\n"
         << "  mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")\n"
         << "}\n"
         << "complete -o bashdefault -o default -F _tallowbrook " << program.get_name() << '\n';
  return script.str();
}

std::string zsh_completion(const CLI::App& program) {
  std::ostringstream script;
  script << "#compdef " << program.get_name() << "\n\n_tallowbrook() {\n"
         << "  if (( CURRENT == 2 )); then\n"
         << "    local -a commands=(\n";
  for (const CLI::App* command : commands_of(program)) {
    script << "      '" << command->get_name() << ':' << quoted(command->get_description())
           << "'\n";
  }
  script << "    )\n"
         << "    _describe command commands\n"
         << "    return\n"
         << "  fi\n"
         << "  local command=${words[2]}\n"
         << "  shift words\n"
         << "  (( CURRENT-- ))\n"
         << "  case $command in\n";
  for (const CLI::App* command : commands_of(program)) {
    script << "    " << command->get_name() << ")\n      _arguments -s";
    write_zsh_options(script, *command);
    const std::string words = words_of(program, *command);
    if (!words.empty()) script << " \\\n        '1:word:(" << words << ")'";
    script << " \\\n        '*:file:_files'\n      ;;\n";
  }
  script << "  esac\n"
         << "}\n\n"
         << "_tallowbrook \"$@\"\n";
  return script.str();
}

}  // namespace tallowbrook::cli
