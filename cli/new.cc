// Writing a new message: text and HTML as alternatives of each other, attachments around them.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <ctime>
#include <memory>

#include "cli/commands.h"
#include "cli/compose.h"
#include "cli/output_file.h"
#include "cli/random_text.h"

namespace tallowbrook::cli {
namespace {

struct Options {
  std::string from;
  std::vector<std::string> to, cc, bcc, reply_to;
  std::string subject;
  std::string text, html;  // files; empty for none
  std::vector<std::string> attachments;
  std::string out;
};

// Unique in the world (RFC 5322 section 3.6.4): the time, random bits, and the sender's domain.
std::string message_id(const std::string& sender) {
  char now[32];
  std::tm parts{};
  const std::time_t time = std::time(nullptr);
  std::strftime(now, sizeof now, "%Y%m%d%H%M%S", ::gmtime_r(&time, &parts));
  const auto at = sender.rfind('@');
  const std::string domain = at == sender.npos ? "localhost" : sender.substr(at + 1);
  return "<" + std::string(now) + "." + random_text() + "@" + domain + ">";
}

Object add_part(const Object& multipart) { return Object(multipart.call(u"AddNew")); }

void write_body(Composer& composer, const Object& root, const Options& options) {
  const bool alone = options.attachments.empty();
  const bool both = !options.text.empty() && !options.html.empty();
  const bool any = !options.text.empty() || !options.html.empty();
  Object place = root;
  if (!alone) {
    make_multipart(root, u"mixed");
    if (any) place = add_part(root);
  }
  if (both) {
    make_multipart(place, u"alternative");
    composer.put_text(add_part(place), u"plain", read_text(options.text), false);
    composer.put_text(add_part(place), u"html", read_text(options.html), false);
  } else if (any || alone) {
    const std::string& file = options.html.empty() ? options.text : options.html;
    const std::string text = any ? read_text(file) : std::string();
    composer.put_text(place, options.html.empty() ? u"plain" : u"html", text, alone);
  }
  for (const std::string& file : options.attachments) composer.attach(add_part(root), file);
}

int write_new(const Options& options) {
  const auto from = parse_mailboxes(options.from);
  const auto to = parse_mailboxes(options.to);
  const auto cc = parse_mailboxes(options.cc);
  const auto bcc = parse_mailboxes(options.bcc);
  const auto reply_to = parse_mailboxes(options.reply_to);
  if (from.size() != 1) throw CLI::ValidationError("--from takes one address");
  if (reply_to.size() > 1) throw CLI::ValidationError("--reply-to takes one address");

  const Host host;
  const Object message = create(kMessageClass);
  Composer composer;
  message.put(u"Charset", u"utf-8");
  composer.add_addresses(message, u"From", "From", from);
  composer.add_addresses(message, u"To", "To", to);
  composer.add_addresses(message, u"CC", "cc", cc);
  composer.add_addresses(message, u"BCC", "bcc", bcc);
  composer.set_address(message, u"ReplyTo", reply_to);
  if (!options.subject.empty()) composer.set_subject(message, options.subject);
  message.put(u"MessageID", to_utf16(message_id(from.front().address)));
  write_body(composer, message.object(u"Body"), options);
  return write_target(options.out, [&](FileStream& target) {
    const int failure = save_message(message, target);
    composer.check_attachments();
    return failure;
  });
}

}  // namespace

void add_new(CLI::App& program, int& status) {
  auto* const command = program.add_subcommand("new", "Write a new message to a file");
  const auto options = std::make_shared<Options>();
  const auto addresses = [&](const char* name, std::vector<std::string>& list, const char* text) {
    command->add_option(name, list, text)
        ->type_name("ADDRESS")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->allow_extra_args(false);
  };
  command->add_option("--from", options->from, "The sender")->type_name("ADDRESS")->required();
  addresses("--to", options->to, "Recipients");
  addresses("--cc", options->cc, "Recipients of a copy");
  addresses("--bcc", options->bcc, "Recipients whom the others do not see; the file names them");
  addresses("--reply-to", options->reply_to, "Where answers go");
  command->add_option("--subject", options->subject, "The subject")->type_name("TEXT");
  command->add_option("--text", options->text, "The plain text, a UTF-8 file; - is standard input")
      ->type_name("FILE");
  command->add_option("--html", options->html, "The text as HTML, a UTF-8 file")->type_name("FILE");
  command->add_option("--attach", options->attachments, "Files to attach")
      ->type_name("FILE")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->allow_extra_args(false);
  command->add_option("-o,--output", options->out, "The file to write; - is standard output")
      ->type_name("OUT")
      ->required();
  command->footer(
      R"(An address is "ada@example.org" or "Ada <ada@example.org>"; several are separated
by commas or given with the option repeated. Names, subject and file names may
hold any characters. Date and Message-ID are set. Text and HTML together become
alternatives of each other. An attachment's type is that of its extension.

OUT appears whole or not at all.

Examples:
  tallowbrook new --from ada@example.org --to "Bob B. <bob@example.net>" \
    --subject "Grüße" --text letter.txt --attach seeds.csv -o letter.eml
  echo Hello | tallowbrook new --from ada@example.org --to bob@example.net \
    --text - -o -)");
  command->callback([options, &status] { status = write_new(*options); });
}

}  // namespace tallowbrook::cli
