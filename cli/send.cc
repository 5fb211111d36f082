// Sending through the component's socket object.
//
// Everyone in To, cc and bcc gets the message, and its text goes out without the bcc fields. The
// message is saved twice: once to learn its size, its header and whether its dots are doubled, then
// onto the connection.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cstring>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "cli/commands.h"
#include "cli/dialogue.h"
#include "cli/envelope.h"
#include "cli/outgoing.h"
#include "cli/terminal.h"
#include "cli/words.h"
#include "platform/automation/late_bound.h"
#include "platform/com/activation.h"
#include "platform/kernel/code_page.h"

namespace tallowbrook::cli {
namespace {

using platform::ComPtr;
using platform::Variant;

// Where it failed.
enum SendStatus : int {
  kNoConnection = 10,
  kNoGreeting = 11,
  kNoSender = 12,
  kNoRecipient = 13,
  kNoData = 14,
  kNoResult = 15,
};

struct Options {
  std::vector<std::string> files;
  std::string server;
  bool dry_run = false;
  bool verbose = false;
};

struct Address {
  std::string host;
  std::int32_t port = 25;
};

// HOST or HOST:PORT, the host also as [ADDRESS]; an empty host for anything else.
Address parse_address(const std::string& text) {
  const bool bracketed = text.starts_with('[') && text.find(']') != std::string::npos;
  const bool literal = !bracketed && text.find(':') != text.rfind(':');
  const std::size_t host = bracketed ? text.find(']') + 1 : literal ? text.size() : text.find(':');
  Address address{bracketed ? text.substr(1, host - 2) : text.substr(0, host), 25};
  if (host >= text.size()) return address;
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data() + host + 1, end, address.port);
  const bool good = text[host] == ':' && parsed.ec == std::errc() && parsed.ptr == end &&
                    address.port >= 1 && address.port <= 65535;
  return good ? address : Address{};
}

// A message that is ready to be sent.
struct Letter {
  explicit Letter(const std::string& path, Loaded message)
      : file(display_name(path)), loaded(std::move(message)) {
    const auto collector = ComPtr<Collector>::adopt(new Collector);
    loaded.source->pass_rest(*collector);
    rest = collector->take();
    const auto probe = ComPtr<TextProbe>::adopt(new TextProbe);
    save(*probe);
    probe->finish();
    size = probe->size();
    plain = !probe->ends_with_dot_line();
    several = !plain && probe->dot_lines() > 1;
    envelope =
        ComPtr<Envelope>::adopt(new Envelope(probe->header(), create(u"Tallowbrook.Collection")));
  }

  // The component has read up to the first line "."; in a plain text it ends nothing.
  void save(IStream& target) const {
    const auto persistence = loaded.message.dispatch().query<IPersistStream>();
    const HRESULT status = persistence ? persistence->Save(&target, FALSE) : E_NOINTERFACE;
    if (FAILED(status)) {
      throw std::runtime_error("the message cannot be saved (" + status_text(status) + ")");
    }
    constexpr std::size_t kBlock = 65536;
    for (std::string_view left = rest; !left.empty();) {
      const std::string_view block = left.substr(0, kBlock);
      if (FAILED(target.Write(block.data(), static_cast<ULONG>(block.size()), nullptr))) return;
      left.remove_prefix(block.size());
    }
  }

  // Writes the text to `target`, which may be null; the bytes written, or nothing when it failed.
  [[nodiscard]] std::optional<std::uint64_t> write(ComPtr<ISequentialStream> target) const {
    Progress progress(size);
    const auto text = ComPtr<OutgoingText>::adopt(new OutgoingText(
        std::move(target), plain, [&progress](std::size_t count) { progress.step(count); }));
    save(*text);
    if (!text->pass_end()) return std::nullopt;
    return text->sent();
  }

  std::string file;
  Loaded loaded;
  std::string rest;  // of the file
  ComPtr<Envelope> envelope;
  std::size_t size = 0;
  bool plain = true;
  bool several = false;  // a line "." ends the text, and one stands before it
};

int failed(const Letter& letter, int status, const std::string& reason) {
  complain(letter.file + ": " + reason);
  return status;
}

// The server's words, or the component's when it said nothing.
std::string reason_of(const Exchange& exchange, const Dialogue& dialogue) {
  const std::string& reason = exchange.reply.empty() ? dialogue.failure() : exchange.reply;
  return printable(unfold(reason));
}

// ---- a server -----------------------------------------------------------------------------------

class Server {
 public:
  Server(Address address, bool verbose)
      : address_(std::move(address)),
        dialogue_(verbose),
        socket_(create(u"Tallowbrook.ClientSocket")) {}

  // kFine when connected, also when it was before.
  int connect();
  int send(const Letter& letter);
  void disconnect() { static_cast<void>(call(u"DisconnectSMTP")); }

 private:
  template <class... Argument>
  bool call(std::u16string_view method, const Argument&... arguments) {
    const auto outcome = platform::call(socket_.dispatch().get(), method, arguments...);
    return SUCCEEDED(outcome.status) && outcome.value.vt == VT_BOOL &&
           outcome.value.boolVal != VARIANT_FALSE;
  }
  int deliver(const Letter& letter);
  int rejected(const Letter& letter, std::size_t accepted);
  std::size_t report_envelope();

  Address address_;
  Dialogue dialogue_;
  Object socket_;
};

int Server::connect() {
  dialogue_.start();
  if (call(u"ConnectSMTP", platform::wide_from_path(address_.host), address_.port)) return kFine;
  complain(printable(address_.host) + ":" + std::to_string(address_.port) + ": " +
           reason_of(dialogue_.exchanges().empty() ? Exchange{} : dialogue_.exchanges().back(),
                     dialogue_));
  return dialogue_.connected() ? kNoGreeting : kNoConnection;
}

// Tells what became of each address; the number of recipients that were accepted.
std::size_t Server::report_envelope() {
  std::string lines;
  std::size_t accepted = 0;
  for (const Exchange& exchange : dialogue_.exchanges()) {
    const bool sender = exchange.command.rfind("MAIL", 0) == 0;
    if (!sender && exchange.command.rfind("RCPT", 0) != 0) continue;
    // 251 takes a recipient whose mail is forwarded.
    const bool taken = exchange.answered("250") || (!sender && exchange.answered("251"));
    if (taken && !sender) ++accepted;
    const std::string address = exchange.command.substr(exchange.command.find(':') + 2);
    lines += (sender ? "  sender     " : "  recipient  ") + printable(address) +
             (taken ? "  accepted" : "  rejected: " + reason_of(exchange, dialogue_)) + "\n";
  }
  static_cast<void>(print(lines));
  return accepted;
}

// Which step the server, or the component before it, did not take.
int Server::rejected(const Letter& letter, std::size_t accepted) {
  const Exchange mail = dialogue_.last("MAIL");
  if (mail.command.empty()) {
    return failed(letter, letter.envelope->sender().empty() ? kNoSender : kNoRecipient,
                  reason_of({}, dialogue_));
  }
  if (!mail.answered("250")) {
    return failed(letter, kNoSender, "the sender was rejected: " + reason_of(mail, dialogue_));
  }
  if (accepted == 0) return failed(letter, kNoRecipient, "no recipient was accepted");
  return failed(letter, kNoData,
                "the text was refused: " + reason_of(dialogue_.last("DATA"), dialogue_));
}

int Server::deliver(const Letter& letter) {
  dialogue_.start();
  const bool ready = call(u"PrepareSMTP", static_cast<IDispatch*>(letter.envelope.get()));
  const std::size_t accepted = report_envelope();
  if (!ready || accepted == 0) return rejected(letter, accepted);
  const auto sent = letter.write(socket_.dispatch().query<IStream>());
  if (!sent) return failed(letter, kNoData, "the text was not sent: " + reason_of({}, dialogue_));
  const bool done = call(u"GetResultSMTP");
  const Exchange result = dialogue_.last("(");
  const std::string reason = reason_of(result, dialogue_);
  if (!done) return failed(letter, kNoResult, "the message was not taken: " + reason);
  return print("  message    " + std::to_string(*sent) + " bytes  accepted: " + reason + "\n")
             ? kFine
             : kFileFailed;
}

int Server::send(const Letter& letter) {
  int status = print(letter.file + "\n") ? connect() : kFileFailed;
  if (status == kFine) status = deliver(letter);
  // What a failed transaction left at the server does not outlive the connection.
  if (status != kFine) disconnect();
  return status;
}

// ---- without a server ---------------------------------------------------------------------------

// An address as the debug output has it.
std::string shown(const std::string& route) {
  return printable(recovered(platform::widen(CP_ACP, route)));
}

// What would be said of this message, and before it of the `first` one.
int show_dialogue(const Letter& letter, bool first) {
  const Envelope& envelope = *letter.envelope;
  std::string lines = letter.file + "\n";
  if (first) {
    char name[80]{};
    if (::gethostname(name, sizeof name - 1) != 0)
      return failed(letter, kNoGreeting, "no host name");
    lines += std::string("  > HELO ") + name + "\n";
  }
  lines += "  > MAIL From: " + shown(envelope.sender()) + "\n";
  for (const std::string& recipient : envelope.recipients()) {
    lines += "  > RCPT TO: " + shown(recipient) + "\n";
  }
  const auto size = letter.write({});
  lines += "  > DATA\n  > (" + std::to_string(size.value_or(0)) + " bytes of message)\n";
  return print(lines) ? kFine : kFileFailed;
}

// -------------------------------------------------------------------------------------------------

int check(const Letter& letter) {
  if (const int error = letter.loaded.source->error(); error != 0) {
    return failed(letter, kFileFailed, std::strerror(error));
  }
  if (letter.several) {
    return failed(letter, kUnparsable, "text follows the line \".\" that ends the message");
  }
  if (letter.envelope->sender().empty()) {
    return failed(letter, kNoSender, "the message names no sender");
  }
  if (letter.envelope->recipients().empty()) {
    return failed(letter, kNoRecipient, "the message names no recipient");
  }
  return kFine;
}

int send(const Options& options) {
  Address address = parse_address(options.server);
  if (address.host.empty()) {
    complain("--server takes HOST or HOST:PORT, not \"" + printable(options.server) + "\"");
    return kUsage;
  }
  if (address.host.find(':') != std::string::npos) {
    complain("--server takes no IPv6 address, as messages are sent over IPv4: " +
             printable(options.server));
    return kUsage;
  }
  const Host host;
  std::unique_ptr<Server> server;
  bool shown = false;
  int worst = kFine;
  for (const std::string& file : options.files) {
    Loaded loaded = host.load(file, LoadFor::kCopying);
    int status = loaded.status();
    if (loaded.outcome != Loaded::Outcome::kLoaded) {
      complain(loaded.complaint(file));
    } else {
      const Letter letter(file, std::move(loaded));
      status = check(letter);
      if (status == kFine && options.dry_run) {
        status = show_dialogue(letter, !std::exchange(shown, true));
      } else if (status == kFine) {
        if (!server) server = std::make_unique<Server>(address, options.verbose);
        status = server->send(letter);
      }
    }
    worst = std::max(worst, status);
    if (status == kNoConnection) break;  // nor would it be there for the next message
  }
  if (server) server->disconnect();
  if (shown && !print("  > QUIT\n")) worst = std::max<int>(worst, kFileFailed);
  return worst;
}

}  // namespace

void add_send(CLI::App& program, int& status) {
  auto* const command = program.add_subcommand("send", "Send messages to a mail server");
  const auto options = std::make_shared<Options>();
  command->add_option("FILE", options->files, "Messages to send; - is standard input")->required();
  command->add_option("--server", options->server, "The mail server: HOST or HOST:PORT; port 25")
      ->required();
  command->add_flag("--dry-run", options->dry_run,
                    "Show what would be said, and connect to nobody");
  command->add_flag("--verbose", options->verbose, "Print what is said on both sides");
  command->footer(R"(Everyone in To, Cc and Bcc gets the message, members of groups too; lists that
are not quite in order are read as they are meant. The message goes out without
its Bcc fields, and without the line "From ..." that a mailbox file puts before
it, else as FILE has it, with lines ended by CR LF. The sender is that of the
field Sender, or the first of From. What the server says to each address is
printed. A FILE that ends with the line "." has the dots that begin its lines
doubled already, as a saved message has; for any other they are doubled here.
The connection is made over IPv4.

With --verbose each line has a mark: > sent, < received, ? received unasked,
* done, ! failed. On a terminal a bar on standard error shows how far a large
message is.

Exit status: 1 to 3 as for all commands; 10 no connection; 11 no greeting; 12
the sender, 13 every recipient, 14 the text was refused; 15 the message was not
taken. Of several, the highest. That some of the recipients were rejected is
printed and does not count as a failure.

Examples:
  tallowbrook send letter.eml --server mail.example.org
  tallowbrook send letter.eml --server localhost:2525 --verbose
  tallowbrook send --dry-run --server mail.example.org outbox/*.eml)");
  command->callback([options, &status] { status = send(*options); });
}

}  // namespace tallowbrook::cli
