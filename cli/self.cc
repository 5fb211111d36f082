// The commands that tell of the program itself: `manual` and `completion`.
#include <CLI/CLI.hpp>

#include "cli/commands.h"
#include "cli/describe.h"
#include "cli/terminal.h"

namespace tallowbrook::cli {
namespace {

constexpr char kManualFooter[] =
    R"(The page is in the form that man reads.

Examples:
  tallowbrook manual | man -l -
  tallowbrook manual show | man -l -)";

constexpr char kCompletionFooter[] =
    R"(Examples:
  source <(tallowbrook completion bash)
  tallowbrook completion zsh > ~/.zfunc/_tallowbrook)";

int print_or_fail(const std::string& text) { return print(text) ? kFine : kFileFailed; }

}  // namespace

std::vector<const CLI::App*> commands_of(const CLI::App& program) {
  return program.get_subcommands(
      [](const CLI::App* command) { return !command->get_name().empty(); });
}

void add_manual(CLI::App& program, int& status) {
  CLI::App* command = program.add_subcommand("manual", "Print the manual page of a command");
  const auto name = std::make_shared<std::string>();
  command->add_option("COMMAND", *name, "The command; without it the program's own page");
  command->footer(kManualFooter);
  command->callback([&program, &status, name] {
    const CLI::App* described = nullptr;
    for (const CLI::App* each : commands_of(program)) {
      if (each->get_name() == *name) described = each;
    }
    if (!name->empty() && described == nullptr) {
      complain("there is no command " + printable(*name));
      status = kUsage;
      return;
    }
    status = print_or_fail(manual_page(program, described));
  });
}

void add_completion(CLI::App& program, int& status) {
  CLI::App* command =
      program.add_subcommand("completion", "Print the completion script of a shell");
  const auto shell = std::make_shared<std::string>();
  command->add_option("SHELL", *shell, "bash or zsh")
      ->required()
      ->check(CLI::IsMember({"bash", "zsh"}));
  command->footer(kCompletionFooter);
  command->callback([&program, &status, shell] {
    status = print_or_fail(*shell == "zsh" ? zsh_completion(program) : bash_completion(program));
  });
}

}  // namespace tallowbrook::cli
