#include <CLI/CLI.hpp>
#include <cstdlib>
#include <memory>

#include "cli/commands.h"
#include "cli/terminal.h"
#include "platform/automation/late_bound.h"
#include "platform/kernel/code_page.h"
#include "platform/kernel/handles.h"

namespace tallowbrook::cli {
namespace {

using platform::Variant;

struct Options {
  std::string action;
  std::string name;
};

// Names are texts in the ANSI code page: they come whole when that is UTF-8.
Object connections() {
  if (std::getenv("TALLOWBROOK_CODE_PAGE") == nullptr) platform::set_ansi_code_page(CP_UTF8);
  const Host host;
  return create(u"Tallowbrook.DialupCollection");
}

int list() {
  const Object all = connections();
  std::string text;
  for (std::int32_t i = 0; i < all.count(); ++i) {
    text += printable(all.item(i).text(u"Name")) + "\n";
  }
  return text.empty() || print(text) ? kFine : kFileFailed;
}

int run(const std::string& name) {
  const Object all = connections();
  const std::u16string wide = platform::wide_from_path(name);
  const Object connection(platform::get(all.dispatch().get(), u"Item", Variant(wide)).value);
  if (!connection) {
    complain("there is no connection \"" + printable(name) + "\"");
    return kFileFailed;
  }
  SetLastError(ERROR_SUCCESS);
  const HRESULT status = platform::call(connection.dispatch().get(), u"Execute").status;
  if (FAILED(status)) {
    complain(printable(name) + ": " + status_text(status));
    return kFileFailed;
  }
  // The object never tells, but the shell leaves its error with the thread.
  if (GetLastError() == ERROR_SUCCESS) return kFine;
  complain(printable(name) + ": the program that dials cannot be started");
  return kFileFailed;
}

}  // namespace

void add_dialup(CLI::App& program, int& status) {
  auto* const command =
      program.add_subcommand("dialup", "List the machine's dial-up connections, or start one");
  const auto options = std::make_shared<Options>();
  command->add_option("ACTION", options->action, "list, or run")
      ->required()
      ->check(CLI::IsMember({"list", "run"}));
  command->add_option("NAME", options->name, "The connection to run");
  command->footer(R"(The connections are the files in /etc/ppp/peers, which run dials with pon, and
the profiles of NetworkManager of the types gsm, cdma, pppoe and vpn, which it
brings up with nmcli. It does not wait until the connection is up.

Examples:
  tallowbrook dialup list
  tallowbrook dialup run office)");
  command->callback([options, &status] {
    const bool runs = options->action == "run";
    if (runs == options->name.empty()) {
      throw CLI::ValidationError(
          "dialup", runs ? "run wants the NAME of a connection" : "list takes no NAME");
    }
    status = runs ? run(options->name) : list();
  });
}

}  // namespace tallowbrook::cli
