// Copying through the component: IN is loaded, then saved.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <memory>

#include "cli/commands.h"
#include "cli/output_file.h"

namespace tallowbrook::cli {
namespace {

struct Options {
  std::string in;
  std::string out;
};

// The component reads a message up to the line "." that ends it; what follows that line is copied
// behind it.
int save(const Loaded& loaded, FileStream& target) {
  const auto persistence = loaded.message.dispatch().query<IPersistStream>();
  if (!persistence || FAILED(persistence->Save(&target, FALSE))) return EIO;
  loaded.source->pass_rest(target);
  return loaded.source->error();
}

int copy(const Options& options) {
  const Host host;
  const Loaded loaded = host.load(options.in, LoadFor::kCopying);
  if (loaded.outcome != Loaded::Outcome::kLoaded) {
    complain(loaded.complaint(options.in));
    return loaded.status();
  }
  return write_target(options.out, [&](FileStream& target) { return save(loaded, target); });
}

}  // namespace

void add_copy(CLI::App& program, int& status) {
  auto* const command = program.add_subcommand("copy", "Load a message and write it to a file");
  const auto options = std::make_shared<Options>();
  command->add_option("IN", options->in, "The message to read; - is standard input")->required();
  command->add_option("OUT", options->out, "The file to write; - is standard output")->required();
  command->footer(R"(The copy has the same bytes as IN. OUT appears whole or not at all: the message
is written to a new file beside OUT, flushed to the disk and renamed. OUT may
be IN. When IN is no well-formed message, nothing is written.

Examples:
  tallowbrook copy letter.eml archive/letter.eml
  tallowbrook copy - archive/letter.eml < letter.eml
  tallowbrook copy letter.eml - | gzip > letter.eml.gz)");
  command->callback([options, &status] { status = copy(*options); });
}

}  // namespace tallowbrook::cli
