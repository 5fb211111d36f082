#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "cli/commands.h"
#include "cli/terminal.h"
#include "cli/type_model.h"
#include "platform/com/activation.h"
#include "platform/kernel/code_page.h"
#include "tallowbrook/class_ids.h"

namespace tallowbrook::cli {
namespace {

using platform::ComPtr;

struct Options {
  std::string file;
  bool registered = false;
  bool json = false;
};

// The library that the component's own objects are described by.
ComPtr<ITypeLib> own_library(const Host&) {
  const Object message = create(kMessageClass);
  ComPtr<ITypeInfo> info;
  ComPtr<ITypeLib> library;
  UINT index = 0;
  if (FAILED(message.dispatch()->GetTypeInfo(0, LOCALE_USER_DEFAULT, info.out())) ||
      FAILED(info->GetContainingTypeLib(library.out(), &index))) {
    throw std::runtime_error("the component has no type library");
  }
  return library;
}

ComPtr<ITypeLib> open_library(const Options& options) {
  ComPtr<ITypeLib> library;
  if (options.registered) {
    const HRESULT status = LoadRegTypeLib(LIBID_TALLOWBROOKLib, 1, 0, 0, library.out());
    if (status == TYPE_E_LIBNOTREGISTERED) {
      throw std::runtime_error("no type library is registered for TALLOWBROOKLib 1.0");
    }
    if (FAILED(status)) throw std::runtime_error(load_problem("the registered library"));
  } else if (!options.file.empty()) {
    const std::string path = std::filesystem::absolute(options.file).string();
    if (FAILED(LoadTypeLib(platform::wide_from_path(path).c_str(), library.out()))) {
      throw std::runtime_error(load_problem(path));
    }
  } else {
    library = own_library(Host());
  }
  return library;
}

int typelib(const Options& options) {
  const ComPtr<ITypeLib> library = open_library(options);
  const TypeModel model = read_type_library(*library);
  return print(options.json ? to_json(model) : to_interface_definitions(model)) ? kFine
                                                                                : kFileFailed;
}

}  // namespace

void add_typelib(CLI::App& program, int& status) {
  auto* const command =
      program.add_subcommand("typelib", "Print a type library as interface definitions");
  const auto options = std::make_shared<Options>();
  auto* const file = command->add_option("FILE", options->file, "The library of a component");
  command
      ->add_flag("--registered", options->registered,
                 "The library that is registered for Tallowbrook")
      ->excludes(file);
  command->add_flag("--json", options->json, "One JSON object, for programs");
  command->footer(R"(Prints every enumeration, interface and class with identities, dispatch ids,
parameters, default values and help strings. Without FILE or --registered the
library of the component that this program uses.

Examples:
  tallowbrook typelib | less
  tallowbrook typelib --json | jq -r '.types[] | select(.kind == "class").name'
  tallowbrook typelib /usr/lib/libtallowbrook.so)");
  command->callback([options, &status] { status = typelib(*options); });
}

}  // namespace tallowbrook::cli
