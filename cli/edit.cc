// Changing a message: what is not named stays as it is.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <memory>
#include <optional>
#include <stdexcept>

#include "cli/body_tree.h"
#include "cli/commands.h"
#include "cli/compose.h"
#include "cli/output_file.h"
#include "cli/random_text.h"
#include "cli/terminal.h"

namespace tallowbrook::cli {
namespace {

using platform::ComPtr;
using platform::Variant;

struct Options {
  std::string file;
  std::optional<std::string> subject;
  std::vector<std::string> to, cc, bcc;
  std::vector<std::string> removed;
  std::vector<std::string> attachments;
  std::string out;
  bool in_place = false;
};

std::string lower(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  return result;
}

void remove_parts(const Object& message, const Words& words,
                  const std::vector<std::string>& numbers) {
  std::vector<Object> handles;
  const std::vector<Part> parts = read_body(message, words, &handles);
  std::vector<std::size_t> removed = find_parts(parts, numbers);
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const std::size_t part = removed[i];
    if (part == Part::kNoParent) {
      throw std::runtime_error("there is no part " + printable(numbers[i]));
    }
    if (parts[part].parent == Part::kNoParent || parts[part].embedded) {
      throw std::runtime_error("part " + numbers[i] + " is all that its message has");
    }
  }
  // From the last to the first: positions of those before stay. What a removed part held goes
  // first.
  std::sort(removed.rbegin(), removed.rend());
  removed.erase(std::unique(removed.begin(), removed.end()), removed.end());
  for (const std::size_t part : removed) {
    handles[parts[part].parent].call(u"Remove",
                                     Variant(static_cast<LONG>(parts[part].position - 1)));
  }
}

// The message text as one part of a new multipart/mixed: the fields that tell of its body move to
// that part, everything else stays, byte for byte.
std::string wrapped(std::string_view text) {
  const std::string boundary = "=_" + random_text();
  std::string outer;
  std::string inner;
  std::string* target = &outer;
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
    const std::string_view line = text.substr(at, end - at);
    if (line == "\r\n") break;
    const bool folded = line.front() == ' ' || line.front() == '\t';
    if (!folded) target = lower(line.substr(0, 8)) == "content-" ? &inner : &outer;
    target->append(line);
    at = end;
  }
  outer += "Content-Type: multipart/mixed;\r\n\tboundary=\"" + boundary + "\"\r\n\r\n--" +
           boundary + "\r\n" + inner;
  outer += at < text.size() ? text.substr(at) : std::string_view("\r\n");
  return outer + "\r\n--" + boundary + "--\r\n";
}

Object wrap(const Object& message) {
  const auto saved = ComPtr<Collector>::adopt(new Collector);
  Object result = create(kMessageClass);
  const auto persistence = result.dispatch().query<IPersistStream>();
  HRESULT status = persistence && save_message(message, *saved) == 0 ? S_OK : E_FAIL;
  if (SUCCEEDED(status)) {
    const auto source = ComPtr<TextStream>::adopt(new TextStream(wrapped(saved->take())));
    status = persistence->Load(source.get());
  }
  if (FAILED(status)) {
    throw std::runtime_error("its body cannot be made the first of several parts");
  }
  return result;
}

Object attach(Composer& composer, Object message, const std::vector<std::string>& files) {
  if (content_type_of(message.object(u"Body")) != "multipart/mixed") message = wrap(message);
  message.put(u"Charset", u"utf-8");
  const Object root = message.object(u"Body");
  for (const std::string& file : files) composer.attach(Object(root.call(u"AddNew")), file);
  return message;
}

int edit(Options& options) {
  const auto to = parse_mailboxes(options.to);
  const auto cc = parse_mailboxes(options.cc);
  const auto bcc = parse_mailboxes(options.bcc);
  if (!options.subject && to.empty() && cc.empty() && bcc.empty() && options.removed.empty() &&
      options.attachments.empty()) {
    throw CLI::ValidationError("nothing is to be changed");
  }
  const Host host;
  const Loaded loaded = host.load(options.file, LoadFor::kChanging);
  if (loaded.outcome != Loaded::Outcome::kLoaded) {
    complain(loaded.complaint(options.file));
    return loaded.status();
  }
  Composer composer;
  Object message = loaded.message;
  try {
    if (!options.removed.empty()) remove_parts(message, composer.words(), options.removed);
    if (!options.attachments.empty()) {
      message = attach(composer, std::move(message), options.attachments);
    }
    if (options.subject) composer.set_subject(message, *options.subject);
    composer.add_addresses(message, u"To", "To", to);
    composer.add_addresses(message, u"CC", "cc", cc);
    composer.add_addresses(message, u"BCC", "bcc", bcc);
  } catch (const std::runtime_error& error) {
    complain(display_name(options.file) + ": " + error.what());
    return kFileFailed;
  }
  return write_target(options.in_place ? options.file : options.out, [&](FileStream& target) {
    const int failure = save_message(message, target);
    composer.check_attachments();
    if (failure != 0) return failure;
    return loaded.input->pass_rest(target);
  });
}

}  // namespace

void add_edit(CLI::App& program, int& status) {
  auto* const command = program.add_subcommand("edit", "Change a message and write it to a file");
  const auto options = std::make_shared<Options>();
  const auto several = [&](const char* name, std::vector<std::string>& list, const char* type,
                           const char* text) {
    command->add_option(name, list, text)
        ->type_name(type)
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->allow_extra_args(false);
  };
  command->add_option("FILE", options->file, "The message to read; - is standard input")
      ->required();
  command->add_option("--set-subject", options->subject, "Replace the subject")->type_name("TEXT");
  several("--add-to", options->to, "ADDRESS", "Add recipients");
  several("--add-cc", options->cc, "ADDRESS", "Add recipients of a copy");
  several("--add-bcc", options->bcc, "ADDRESS", "Add recipients whom the others do not see");
  several("--remove-part", options->removed, "N.N", "Remove a part, with all that is in it");
  several("--attach", options->attachments, "FILE", "Attach files");
  auto* const out =
      command->add_option("-o,--output", options->out, "The file to write; - is standard output")
          ->type_name("OUT");
  auto* const in_place =
      command->add_flag("-i,--in-place", options->in_place, "Write the message back to FILE");
  in_place->excludes(out);
  command->footer(
      R"(Parts are named as "extract --list" shows them. A recipient is added behind those
that are there. The parts that are not named keep their bytes. The message is
written anew around them: the header in this program's order, with a Date if it
had none, and multiparts with a preamble of its own and without an epilogue.

OUT appears whole or not at all, and may be FILE.

Examples:
  tallowbrook edit letter.eml --set-subject "Seeds, again" -o again.eml
  tallowbrook edit letter.eml --add-cc "Bob B. <bob@example.net>" --in-place
  tallowbrook edit letter.eml --remove-part 2 --attach seeds.csv -o -)");
  command->callback([options, out, &status] {
    if (!options->in_place && out->count() == 0) {
      throw CLI::RequiredError("-o or --in-place");
    }
    if (options->in_place && options->file == "-") {
      throw CLI::ValidationError("standard input cannot be changed in place");
    }
    status = edit(*options);
  });
}

}  // namespace tallowbrook::cli
