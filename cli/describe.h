// What the program can tell about its own commands: manual pages and shell completion, both made
// from the command-line definitions themselves, so that they are never behind `--help`.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace tallowbrook::cli {

// The manual page of the program, or of one of its commands, as roff source (man macros).
[[nodiscard]] std::string manual_page(const CLI::App& program, const CLI::App* command);

// The completion script of a shell.
[[nodiscard]] std::string bash_completion(const CLI::App& program);
[[nodiscard]] std::string zsh_completion(const CLI::App& program);

}  // namespace tallowbrook::cli
