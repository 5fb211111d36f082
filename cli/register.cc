#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "cli/commands.h"
#include "cli/terminal.h"
#include "platform/com/activation.h"
#include "platform/com/registry.h"
#include "platform/kernel/library.h"

namespace tallowbrook::cli {
namespace {

struct Options {
  std::string library;
  bool user = false;
};

constexpr char kFooterStart[] =
    R"(The machine's registry lies in /var/lib/tallowbrook/registry
(TALLOWBROOK_MACHINE_REGISTRY names another folder) and is written by root; that
of the user in ~/.local/share/tallowbrook/registry (TALLOWBROOK_USER_REGISTRY).
The user's goes before the machine's.
)";

// The library of `options`, or the component that this program uses.
HMODULE load(const Options& options) {
  if (options.library.empty()) return Host().module();
  const std::string path = std::filesystem::absolute(options.library).string();
  HMODULE module = nullptr;
  if (FAILED(CoLoadComponent(path.c_str(), &module))) {
    throw std::runtime_error(load_problem(path));
  }
  return module;
}

std::string registry_name(bool user) {
  return printable(
      platform::registry_file(platform::place_of(platform::RegistryRoot::kClasses, user).root));
}

int call(const Options& options, const char* entry, const char* failure) {
  const auto function = reinterpret_cast<HRESULT (*)()>(GetProcAddress(load(options), entry));
  if (function == nullptr) {
    throw std::runtime_error("the library does not register itself: it has no " +
                             std::string(entry));
  }
  CoSetPerUserRegistration(options.user ? TRUE : FALSE);
  static_cast<void>(take_error_text());  // an earlier call's
  const HRESULT status = function();
  if (SUCCEEDED(status)) return kFine;
  std::string reason = printable(take_error_text());
  if (reason.empty()) reason = registry_name(options.user) + ": " + status_text(status);
  complain(std::string(failure) + ": " + reason);
  if (status == E_ACCESSDENIED && !options.user) {
    complain("run it as root, or for yourself alone with --user");
  }
  return kFileFailed;
}

// A command that calls one of the component's entry points.
void add(CLI::App& program, int& status, const char* name, const char* help, const char* entry,
         const char* failure, const char* examples) {
  auto* const command = program.add_subcommand(name, help);
  const auto options = std::make_shared<Options>();
  command->add_option("LIBRARY", options->library,
                      "A component's library; the one that this program uses");
  command->add_flag("--user", options->user, "For the present user instead of the whole machine");
  command->footer(std::string(kFooterStart) + examples);
  command->callback([=, &status] { status = call(*options, entry, failure); });
}

}  // namespace

void add_register(CLI::App& program, int& status) {
  add(program, status, "register", "Make the component's classes known to every program",
      "DllRegisterServer", "the component was not registered", R"(
Afterwards any program creates "Tallowbrook.Decoder" without naming the library,
which must stay where it is.

Examples:
  tallowbrook register --user
  sudo tallowbrook register)");
}

void add_unregister(CLI::App& program, int& status) {
  add(program, status, "unregister", "Take back what register did", "DllUnregisterServer",
      "the component was not unregistered", R"(
Examples:
  tallowbrook unregister --user
  sudo tallowbrook unregister)");
}

}  // namespace tallowbrook::cli
