#include <CLI/CLI.hpp>
#include <memory>

#include "cli/commands.h"

namespace tallowbrook::cli {
namespace {

struct Options {
  std::vector<std::string> files;
  bool json = false;
};

int show(const Options& options) {
  const Host host;
  int status = kFine;
  bool first = true;
  for (const std::string& file : options.files) {
    const Loaded loaded = host.load(file);
    status = std::max<int>(status, loaded.status());
    std::string text;
    if (loaded.outcome == Loaded::Outcome::kLoaded) {
      const Report report = read_report(loaded.message);
      text = options.json ? to_json(file, report) + "\n" : to_text(file, report);
      if (!options.json && !first) text.insert(0, "\n");
      first = false;
    } else {
      complain(loaded.complaint(file));
      if (options.json && loaded.outcome == Loaded::Outcome::kUnparsable) {
        text = to_json(file, loaded) + "\n";
      }
    }
    if (!print(text)) return kFileFailed;
  }
  return status;
}

}  // namespace

void add_show(CLI::App& program, int& status) {
  auto* const command = program.add_subcommand(
      "show", "Print addresses, subject, dates, trace headers and the body tree of messages");
  const auto options = std::make_shared<Options>();
  command->add_option("FILE", options->files, "Messages to read; - is standard input")->required();
  command->add_flag("--json", options->json, "One JSON object per message, each on its own line");
  command->footer(R"(Dates are shown in this machine's time zone where the message gives an offset.
A part's size is that of its content as it travels, before decoding; the line
end that leads to the next boundary counts.

JSON: "schema" is 1 and changes when the shape does. "from", "to", "cc", "bcc"
and "returnReceiptTo" are lists of {"name", "address"}; "sender", "replyTo" and
"returnPath" are one such object. "received" has the trace headers, newest
first, "fields" the extension fields. "parts" lists the body parts in the order
of the text: "parent" is an index into the same list, null for the root. What a
message does not have is left out. A file that is no message gives {"schema",
"file", "error": {"text", "line"}}.

Examples:
  tallowbrook show letter.eml
  tallowbrook show --json inbox/*.eml | jq -r '.subject'
  curl -s https://example.org/letter.eml | tallowbrook show -)");
  command->callback([options, &status] { status = show(*options); });
}

}  // namespace tallowbrook::cli
