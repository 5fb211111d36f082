#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "cli/commands.h"
#include "cli/terminal.h"

namespace tallowbrook::cli {
namespace {

struct Options {
  std::vector<std::string> files;
  bool quiet = false;
};

int check(const Options& options) {
  const Host host;
  Progress progress(options.files.size());
  int status = kFine;
  for (const std::string& file : options.files) {
    const Loaded loaded = host.load(file);
    status = std::max<int>(status, loaded.status());
    std::string line;
    switch (loaded.outcome) {
      case Loaded::Outcome::kLoaded:
        if (!options.quiet) line = display_name(file) + ": ok\n";
        break;
      case Loaded::Outcome::kUnparsable:
        line = loaded.complaint(file) + "\n";
        break;
      case Loaded::Outcome::kUnreadable:
        progress.clear();
        complain(loaded.complaint(file));
        break;
    }
    if (!line.empty()) {
      progress.clear();
      if (!print(line)) return kFileFailed;
    }
    progress.step();
  }
  return status;
}

}  // namespace

void add_check(CLI::App& program, int& status) {
  auto* const command =
      program.add_subcommand("check", "Tell of each file whether it is a well-formed message");
  const auto options = std::make_shared<Options>();
  command->add_option("FILE", options->files, "Messages to read; - is standard input")->required();
  command->add_flag("-q,--quiet", options->quiet, "Print only the files that are not well-formed");
  command->footer(R"(Prints one line per file, "FILE: ok" or "FILE:LINE: what is wrong there". On a
terminal a bar on standard error shows how far a long run is. Files that cannot
be read are told on standard error.

Examples:
  tallowbrook check letter.eml
  tallowbrook check -q inbox/*.eml
  find mail -name '*.eml' -print0 | xargs -0 tallowbrook check -q)");
  command->callback([options, &status] { status = check(*options); });
}

}  // namespace tallowbrook::cli
