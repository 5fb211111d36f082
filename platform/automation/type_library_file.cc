// Type libraries in shared objects, and their registration.
#include <dlfcn.h>

#include <charconv>
#include <cstdio>
#include <new>
#include <optional>
#include <string>

#include "platform/automation/typeinfo.h"
#include "platform/com/activation.h"
#include "platform/com/checked.h"
#include "platform/com/identity.h"
#include "platform/com/open_component.h"
#include "platform/com/registry.h"
#include "platform/kernel/code_page.h"

namespace tallowbrook::platform {
namespace {

constexpr char kPlatformKey[] = "win64";  // as SYS_WIN64 of TLIBATTR

struct Version {
  WORD major = 0;
  WORD minor = 0;
};

std::string hex(unsigned number) {
  char digits[16];
  std::snprintf(digits, sizeof digits, "%x", number);
  return digits;
}

std::string key_of(REFGUID guid) { return "TypeLib\\" + text_of(guid); }
std::string text_of(const Version& version) {
  return hex(version.major) + "." + hex(version.minor);
}

std::optional<Version> version_of(std::string_view text) {
  Version version;
  const char* const end = text.data() + text.size();
  const auto major = std::from_chars(text.data(), end, version.major, 16);
  if (major.ec != std::errc() || major.ptr == end || *major.ptr != '.') return std::nullopt;
  const auto minor = std::from_chars(major.ptr + 1, end, version.minor, 16);
  if (minor.ec != std::errc() || minor.ptr != end) return std::nullopt;
  return version;
}

// The highest registered minor version of `wanted.major` from `wanted.minor` on.
std::optional<Version> best_version(REFGUID guid, const Version& wanted) {
  std::optional<Version> best;
  for (const bool per_user : {true, false}) {
    const RegistryPlace place = place_of(RegistryRoot::kClasses, per_user);
    const auto tree = read_registry(place.root);
    for (const std::string& name : tree->subkeys(std::string(place.prefix) + key_of(guid))) {
      const auto version = version_of(name);
      if (!version || version->major != wanted.major || version->minor < wanted.minor) continue;
      if (!best || version->minor > best->minor) best = version;
    }
  }
  return best;
}

// None when it is not registered.
std::optional<std::string> registered_path(REFGUID guid, const Version& wanted, LCID lcid) {
  const auto version = best_version(guid, wanted);
  if (!version) return std::nullopt;
  const std::string key = key_of(guid) + "\\" + text_of(*version) + "\\";
  auto path = classes_text(key + hex(lcid) + "\\" + kPlatformKey);
  if (!path && lcid != 0) path = classes_text(key + "0\\" + kPlatformKey);  // for every language
  return path;
}

HRESULT load_file(const std::string& path, ITypeLib** library) {
  HMODULE module = open_component(path.c_str());
  if (module == nullptr) return TYPE_E_CANTLOADLIBRARY;
  auto* const describe =
      reinterpret_cast<DllDescribeTypeLibraryFunction*>(dlsym(module, "DllDescribeTypeLibrary"));
  const void* table = nullptr;
  if (describe == nullptr || FAILED(describe(kTableLayout, &table))) {
    set_component_error("it has no type library that can be read here");
    dlclose(module);
    return TYPE_E_CANTLOADLIBRARY;
  }
  return create_type_library(*static_cast<const LibraryInfo*>(table), library, {nullptr, module});
}

// Runs `change` on HKEY_CLASSES_ROOT, which it gets as a tree and the prefix of its paths.
template <class Change>
HRESULT change_classes(bool per_user, Change&& change) {
  set_component_error({});
  return checked([&] {
    const RegistryPlace place = place_of(RegistryRoot::kClasses, per_user);
    RegistryEdit edit;
    HRESULT status = edit.open({&place.root, 1});
    if (SUCCEEDED(status)) {
      change(edit.tree(place.root), std::string(place.prefix));
      status = edit.commit();
    }
    if (FAILED(status)) set_component_error(edit.problem());
    const bool refused = status == E_ACCESSDENIED || status == E_OUTOFMEMORY;
    return SUCCEEDED(status) || refused ? status : TYPE_E_REGISTRYACCESS;
  });
}

HRESULT register_library(ITypeLib* library, const OLECHAR* path, const OLECHAR* help_folder,
                         bool per_user) {
  if (library == nullptr || path == nullptr) return E_INVALIDARG;
  TLIBATTR* attributes = nullptr;
  if (const HRESULT status = library->GetLibAttr(&attributes); FAILED(status)) return status;
  const TLIBATTR known = *attributes;
  library->ReleaseTLibAttr(attributes);
  Bstr help;
  if (const HRESULT status = library->GetDocumentation(-1, nullptr, help.out(), nullptr, nullptr);
      FAILED(status)) {
    return status;
  }
  return change_classes(per_user, [&](RegistryTree& tree, const std::string& prefix) {
    const std::string key =
        prefix + key_of(known.guid) + "\\" + text_of({known.wMajorVerNum, known.wMinorVerNum});
    tree.set(key, {}, narrow(CP_UTF8, help.view()));
    tree.set(key + "\\" + hex(known.lcid) + "\\" + kPlatformKey, {}, path_from_wide(path));
    tree.set(key + "\\FLAGS", {}, std::to_string(known.wLibFlags));
    if (help_folder != nullptr) tree.set(key + "\\HELPDIR", {}, path_from_wide(help_folder));
  });
}

HRESULT unregister_library(REFGUID guid, const Version& version, LCID lcid, SYSKIND kind,
                           bool per_user) {
  if (kind != SYS_WIN64) return S_OK;  // nothing of another kind is ever registered
  return change_classes(per_user, [&](RegistryTree& tree, const std::string& prefix) {
    const std::string identity = prefix + key_of(guid);
    const std::string key = identity + "\\" + text_of(version);
    const std::string language = key + "\\" + hex(lcid);
    if (!tree.has_key(language)) return;
    tree.remove_key(language + "\\" + kPlatformKey);
    tree.remove_empty_key(language);
    // The version goes with its last language.
    for (const std::string& name : tree.subkeys(key)) {
      if (fold_case(name) != "flags" && fold_case(name) != "helpdir") return;
    }
    tree.remove_key(key);
    tree.remove_empty_key(identity);
  });
}

}  // namespace
}  // namespace tallowbrook::platform

namespace platform = tallowbrook::platform;

HRESULT LoadTypeLib(const OLECHAR* path, ITypeLib** library) {
  if (path == nullptr || library == nullptr) return E_INVALIDARG;
  *library = nullptr;
  return platform::checked(
      [&] { return platform::load_file(platform::path_from_wide(path), library); });
}

HRESULT LoadRegTypeLib(REFGUID guid, WORD major, WORD minor, LCID lcid, ITypeLib** library) {
  if (library == nullptr) return E_INVALIDARG;
  *library = nullptr;
  return platform::checked([&] {
    const auto path = platform::registered_path(guid, {major, minor}, lcid);
    return path ? platform::load_file(*path, library) : TYPE_E_LIBNOTREGISTERED;
  });
}

HRESULT QueryPathOfRegTypeLib(REFGUID guid, WORD major, WORD minor, LCID lcid, BSTR* path) {
  if (path == nullptr) return E_INVALIDARG;
  *path = nullptr;
  return platform::checked([&] {
    const auto found = platform::registered_path(guid, {major, minor}, lcid);
    if (!found) return TYPE_E_LIBNOTREGISTERED;
    *path = platform::Bstr(platform::wide_from_path(*found)).detach();
    return S_OK;
  });
}

HRESULT RegisterTypeLib(ITypeLib* library, const OLECHAR* path, const OLECHAR* help_folder) {
  return platform::register_library(library, path, help_folder, CoPerUserRegistration() != FALSE);
}
HRESULT RegisterTypeLibForUser(ITypeLib* library, OLECHAR* path, OLECHAR* help_folder) {
  return platform::register_library(library, path, help_folder, true);
}
HRESULT UnRegisterTypeLib(REFGUID guid, WORD major, WORD minor, LCID lcid, SYSKIND kind) {
  return platform::unregister_library(guid, {major, minor}, lcid, kind,
                                      CoPerUserRegistration() != FALSE);
}
HRESULT UnRegisterTypeLibForUser(REFGUID guid, WORD major, WORD minor, LCID lcid, SYSKIND kind) {
  return platform::unregister_library(guid, {major, minor}, lcid, kind, true);
}
