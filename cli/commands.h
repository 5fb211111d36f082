// The program's commands, one file each.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/host.h"
#include "cli/report.h"

namespace CLI {
class App;
}

namespace tallowbrook::cli {

// Each adds its command to the program; when the command line names it, it runs and leaves its
// exit status in `status`. Both references outlive the parse.
void add_show(CLI::App& program, int& status);
void add_headers(CLI::App& program, int& status);
void add_copy(CLI::App& program, int& status);
void add_check(CLI::App& program, int& status);
void add_extract(CLI::App& program, int& status);
void add_new(CLI::App& program, int& status);
void add_edit(CLI::App& program, int& status);
void add_send(CLI::App& program, int& status);
void add_register(CLI::App& program, int& status);
void add_unregister(CLI::App& program, int& status);
void add_typelib(CLI::App& program, int& status);
void add_dialup(CLI::App& program, int& status);
void add_manual(CLI::App& program, int& status);
void add_completion(CLI::App& program, int& status);

// The program's commands in the order in which they were added.
[[nodiscard]] std::vector<const CLI::App*> commands_of(const CLI::App& program);

// The JSON form of a message, one object on one line, without control characters: all that is not
// ASCII is escaped. Its shape is described in the help of `show` and changes only together with
// its member "schema".
[[nodiscard]] std::string to_json(std::string_view file, const Report& report);
// The same for a file that holds no message.
[[nodiscard]] std::string to_json(std::string_view file, const Loaded& failure);

// The form for people.
[[nodiscard]] std::string to_text(std::string_view file, const Report& report);

// Writes to standard output; false (after a complaint) when it does not take it.
[[nodiscard]] bool print(std::string_view text);

}  // namespace tallowbrook::cli
