#include <CLI/CLI.hpp>
#include <memory>

#include "cli/body_text.h"
#include "cli/body_tree.h"
#include "cli/commands.h"
#include "cli/terminal.h"

namespace tallowbrook::cli {
namespace {

struct Options {
  std::vector<std::string> files;
  bool json = false;
  bool body = false;
};

std::string body_of(const Object& message, const Words& words) {
  std::vector<Object> handles;
  std::vector<Part> parts = read_body(message, words, &handles);
  return body_text(std::move(parts), handles);
}

// Several texts are told apart as by head(1).
std::string text_form(const Options& options, const std::string& file, const Object& message,
                      const Words& words, bool first) {
  const std::string gap = first ? "" : "\n";
  if (!options.body) return gap + to_text(file, read_report(message, words));
  const std::string head =
      options.files.size() > 1 ? gap + "==> " + display_name(file) + " <==\n" : "";
  return head + printable_lines(body_of(message, words));
}

std::string json_form(const Options& options, const std::string& file, const Object& message,
                      const Words& words) {
  Report report = read_report(message, words);
  if (options.body) report.body = body_of(message, words);
  return to_json(file, report) + "\n";
}

int show(const Options& options) {
  const Host host;
  const Words words;
  int status = kFine;
  bool first = true;
  for (const std::string& file : options.files) {
    const Loaded loaded = host.load(file);
    status = std::max<int>(status, loaded.status());
    std::string text;
    if (loaded.outcome == Loaded::Outcome::kLoaded) {
      text = options.json ? json_form(options, file, loaded.message, words)
                          : text_form(options, file, loaded.message, words, first);
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
  command->add_flag("--body", options->body,
                    "Only the text of the message, as UTF-8; with --json as its member \"body\"");
  command->footer(R"(Dates are shown in this machine's time zone where the message gives an offset.
A part's size is that of its content as it travels, before decoding; the line
end that leads to the next boundary counts. --body prints the plain text of the
message; HTML is made plain where there is nothing else.

JSON: "schema" is 1 and changes when the shape does. "from", "to", "cc", "bcc"
and "returnReceiptTo" are lists of {"name", "address"}; "sender", "replyTo" and
"returnPath" are one such object. "received" has the trace headers in the order
of the text, which servers make newest first; "fields" the extension fields.
"parts" lists the body parts in the order of the text: "parent" is an index into
the same list, null for the root, and "number" is what extract and edit call the
part. What a message does not have is left out. A file that is no message gives
{"schema", "file", "error": {"text", "line"}}.

Examples:
  tallowbrook show letter.eml
  tallowbrook show --body letter.eml
  tallowbrook show --json inbox/*.eml | jq -r '.subject'
  curl -s https://example.org/letter.eml | tallowbrook show -)");
  command->callback([options, &status] { status = show(*options); });
}

}  // namespace tallowbrook::cli
