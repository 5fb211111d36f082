#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "cli/commands.h"
#include "cli/terminal.h"

namespace tallowbrook::cli {
namespace {

struct Options {
  std::string file;
  std::vector<std::string> names;
  bool decode = false;
};

int headers(const Options& options) {
  const Host host;
  const Loaded loaded = host.load(options.file);
  if (loaded.outcome != Loaded::Outcome::kLoaded) {
    complain(loaded.complaint(options.file));
    return loaded.status();
  }
  const Words words;
  std::string text;
  for (const Field& field : read_header(loaded.message)) {
    const bool wanted = options.names.empty() ||
                        std::any_of(options.names.begin(), options.names.end(),
                                    [&](const auto& name) { return same_name(name, field.name); });
    if (!wanted) continue;
    const std::string value = options.decode ? unfold(words.decoded(field.value)) : field.value;
    text += printable(field.name) + ": " + printable(value) + "\n";
  }
  return print(text) ? kFine : kFileFailed;
}

}  // namespace

void add_headers(CLI::App& program, int& status) {
  auto* const command =
      program.add_subcommand("headers", "Print header fields, each on one line, folding removed");
  const auto options = std::make_shared<Options>();
  command->add_option("FILE", options->file, "The message to read; - is standard input")
      ->required();
  command->add_option("NAME", options->names,
                      "Fields to print, in any letter case; all when none is named");
  command->add_flag("-d,--decode", options->decode, "Decode encoded words (=?charset?...?=)");
  command->footer(R"(Fields come in the order in which the message would be written: trace headers,
dates, addresses, subject, then the extension fields and the body's own fields.
Fields that occurred several times and belong to one property come as one.

Examples:
  tallowbrook headers letter.eml
  tallowbrook headers --decode letter.eml subject message-id
  tallowbrook headers - received < letter.eml)");
  command->callback([options, &status] { status = headers(*options); });
}

}  // namespace tallowbrook::cli
