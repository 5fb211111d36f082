// tallowbrook: the command-line host of the mail component.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "cli/commands.h"
#include "cli/terminal.h"

namespace tallowbrook::cli {

bool print(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size()) return true;
  complain(std::string("standard output: ") + std::strerror(errno));
  return false;
}

namespace {

constexpr char kFooter[] =
    R"(Exit status: 0 all is fine; 1 a message could not be parsed; 2 wrong usage;
3 a file could not be read or written. Of several, the highest.

Characters of a message that could steer a terminal are shown as \xNN or
\u{NNNN}. "tallowbrook COMMAND --help" explains a command with examples.)";

// Names what stands where a command should, and points to the help that is about the fault.
void complain_of_usage(const CLI::App& program, const CLI::ParseError& error) {
  const auto commands = program.get_subcommands();
  const auto rest = program.remaining();
  if (commands.empty() && !rest.empty()) {
    const bool option = rest.front().starts_with('-');
    complain(printable((option ? "there is no option " : "there is no command ") + rest.front()));
  } else {
    complain(printable(error.what()));
  }
  const std::string command = commands.empty() ? "" : commands.front()->get_name() + " ";
  complain("try \"tallowbrook " + command + "--help\"");
}

int run(int argc, char** argv) {
  CLI::App program("Reads, checks, writes and changes Internet mail messages.", "tallowbrook");
  program.require_subcommand(1);
  program.footer(kFooter);
  program.set_version_flag("--version", "tallowbrook " TALLOWBROOK_VERSION,
                           "Print the version and exit");
  int status = kFine;
  add_show(program, status);
  add_headers(program, status);
  add_copy(program, status);
  add_check(program, status);
  add_extract(program, status);
  add_new(program, status);
  add_edit(program, status);
  add_send(program, status);
  add_register(program, status);
  add_unregister(program, status);
  add_typelib(program, status);
  add_dialup(program, status);
  add_manual(program, status);
  add_completion(program, status);
  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
      return program.exit(error);  // --help
    }
    complain_of_usage(program, error);
    return kUsage;
  }
  if (std::fflush(stdout) != 0) {
    complain(std::string("standard output: ") + std::strerror(errno));
    return kFileFailed;
  }
  return status;
}

}  // namespace
}  // namespace tallowbrook::cli

int main(int argc, char** argv) {
  using tallowbrook::cli::complain;
  try {
    return tallowbrook::cli::run(argc, argv);
  } catch (const std::exception& error) {
    complain(error.what());
  }
  return tallowbrook::cli::kFileFailed;
}
