#include "server/registration.h"

#include <string>

#include "core/error_text.h"
#include "core/guard.h"
#include "platform/automation/typeinfo.h"
#include "platform/com/activation.h"
#include "platform/com/registrar.h"
#include "platform/kernel/code_page.h"
#include "platform/kernel/library.h"
#include "server/module.h"
#include "server/registry_scripts.h"
#include "server/type_library.h"

namespace tallowbrook {
namespace {

using platform::Bstr;
using platform::RegistryEdit;
using platform::RegistryScript;

bool per_user() { return CoPerUserRegistration() != FALSE; }

// Leaves the reason of a failure, a UTF-8 text, in the thread's error object.
void tell(const std::string& reason) {
  if (reason.empty()) return;
  set_error_text(platform::widen(CP_UTF8, reason), u"Tallowbrook");
}

std::string own_path() {
  static const char address = 0;
  return platform::module_path(&address);
}

HRESULT read_script(const ClassEntry& entry, const std::string& path, RegistryScript* script) {
  const platform::ScriptReplacement module{"MODULE", path};
  platform::ScriptError error;
  if (script->parse(registry_script(entry.script), {&module, 1}, &error)) return S_OK;
  tell("registration script " + std::to_string(entry.script) + ", line " +
       std::to_string(error.line) + ": " + error.text);
  return E_FAIL;
}

using Step = void (RegistryScript::*)(RegistryEdit&, bool) const;

HRESULT change_classes(const std::string& path, Step step) {
  const bool user = per_user();
  const platform::RegistryRoot root =
      platform::place_of(platform::RegistryRoot::kClasses, user).root;
  RegistryEdit edit;
  HRESULT status = edit.open({&root, 1});
  if (FAILED(status)) {
    tell(edit.problem());
    return status;
  }
  for (const ClassEntry& entry : class_table()) {
    RegistryScript script;
    status = read_script(entry, path, &script);
    if (FAILED(status)) break;
    (script.*step)(edit, user);
  }
  const HRESULT written = edit.commit();
  if (SUCCEEDED(written)) return status;
  tell(edit.problem());
  return written;
}

// The folder of the type library's help file, when it names one.
std::u16string help_folder(ITypeLib& library) {
  Bstr file;
  if (FAILED(library.GetDocumentation(-1, nullptr, nullptr, nullptr, file.out()))) return {};
  const std::size_t slash = file.view().rfind(u'/');
  return slash == file.view().npos ? std::u16string()
                                   : std::u16string(file.view().substr(0, slash));
}

HRESULT add_type_library(const std::string& path) {
  ITypeLib* library = nullptr;
  if (const HRESULT status = module_type_library(&library); FAILED(status)) return status;
  std::u16string file = platform::wide_from_path(path);
  std::u16string help = help_folder(*library);
  OLECHAR* const help_text = help.empty() ? nullptr : help.data();
  const HRESULT status = per_user() ? RegisterTypeLibForUser(library, file.data(), help_text)
                                    : RegisterTypeLib(library, file.data(), help_text);
  if (FAILED(status)) tell(CoComponentError());
  return status;
}

HRESULT remove_type_library() {
  const platform::LibraryInfo& info = library_info();
  const auto remove = per_user() ? UnRegisterTypeLibForUser : UnRegisterTypeLib;
  const HRESULT status = remove(info.libid, info.major, info.minor, info.lcid, SYS_WIN64);
  if (FAILED(status)) tell(CoComponentError());
  return status;
}

}  // namespace

HRESULT register_server() {
  return guarded([] {
    const std::string path = own_path();
    const HRESULT status = change_classes(path, &RegistryScript::run);
    return FAILED(status) ? status : add_type_library(path);
  });
}

HRESULT unregister_server() {
  return guarded([] {
    const HRESULT status = change_classes(own_path(), &RegistryScript::undo);
    return FAILED(status) ? status : remove_type_library();
  });
}

}  // namespace tallowbrook
