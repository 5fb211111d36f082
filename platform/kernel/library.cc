#include "platform/kernel/library.h"

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>
#include <new>
#include <tuple>
#include <vector>

#include "platform/kernel/code_page.h"
#include "platform/kernel/handles.h"

namespace tallowbrook::platform {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kRemembered{1};
constexpr std::size_t kMostRemembered = 64;

// What a search depends on.
struct SearchView {
  std::string_view name;
  std::string_view search_path;  // the environment variable's value
  const link_map* module;        // the caller's
};
struct Search {
  std::string name;
  std::string search_path;
  const link_map* module;
};
struct BySearch {
  using is_transparent = void;
  template <class A, class B>
  bool operator()(const A& a, const B& b) const {
    return key(a) < key(b);
  }
  template <class S>
  static std::tuple<const link_map*, std::string_view, std::string_view> key(const S& search) {
    return {search.module, search.name, search.search_path};
  }
};

struct Answer {
  std::string found;  // what to give to the loader; empty: nothing
  DWORD error;        // when nothing was found
  Clock::time_point until;
};

std::mutex answers_lock;

auto& answers() {
  static auto& map = *new std::map<Search, Answer, BySearch>;  // outlives static objects
  return map;
}

bool remembered(const SearchView& search, Answer& answer) {
  const std::lock_guard hold(answers_lock);
  const auto known = answers().find(search);
  if (known == answers().end() || known->second.until <= Clock::now()) return false;
  answer = known->second;
  return true;
}

void remember(const SearchView& search, Answer answer) {
  const std::lock_guard hold(answers_lock);
  if (answers().size() >= kMostRemembered) answers().clear();
  answer.until = Clock::now() + kRemembered;
  answers().insert_or_assign(
      Search{std::string(search.name), std::string(search.search_path), search.module},
      std::move(answer));
}

const link_map* map_of(HMODULE module) {
  link_map* map = nullptr;
  return module != nullptr && dlinfo(module, RTLD_DI_LINKMAP, &map) == 0 ? map : nullptr;
}

// The loaded module that holds `address`; null when none does. Unlike dladdr it looks at no
// symbols.
const link_map* map_holding(const void* address) {
  dl_find_object found;
  return _dl_find_object(const_cast<void*>(address), &found) == 0 ? found.dlfo_link_map : nullptr;
}

std::string program_path() {
  std::string path(256, '\0');
  for (;;) {
    const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
    if (length < 0) return {};
    if (static_cast<std::size_t>(length) < path.size()) {
      path.resize(static_cast<std::size_t>(length));
      return path;
    }
    path.resize(path.size() * 2);
  }
}

std::string path_of(const link_map* map) {
  if (map == nullptr) return {};
  if (map->l_name == nullptr || *map->l_name == '\0') return program_path();
  std::error_code error;
  const auto absolute = std::filesystem::absolute(map->l_name, error);
  return error ? std::string(map->l_name) : absolute.string();
}

std::string_view plugin_search_path() {
  const char* value = secure_getenv("TALLOWBROOK_PLUGIN_PATH");
  return value == nullptr ? std::string_view() : std::string_view(value);
}

// The file names of a library, best first: "X.dll" is libX.so, then X.dll; others are tried as they
// are and then as libX.so.
std::vector<std::string> file_names(std::string_view name) {
  constexpr std::string_view kSuffix = ".dll";
  const auto same_letter = [](char a, char b) { return (a | 0x20) == (b | 0x20); };
  const bool dll =
      name.size() > kSuffix.size() &&
      std::equal(kSuffix.begin(), kSuffix.end(), name.end() - kSuffix.size(), same_letter);
  const std::string_view stem = dll ? name.substr(0, name.size() - kSuffix.size()) : name;
  std::string shared = "lib" + std::string(stem) + ".so";
  if (dll) return {std::move(shared), std::string(name)};
  return {std::string(name), std::move(shared)};
}

// The names to give to the loader, in the order of the search.
std::vector<std::string> candidates(std::string_view name, std::string_view search_path,
                                    const link_map* module) {
  std::vector<std::string> names;
  const std::size_t slash = name.rfind('/');
  if (slash != std::string_view::npos) {
    names.emplace_back(name);
    for (const std::string& file : file_names(name.substr(slash + 1))) {
      names.push_back(std::string(name.substr(0, slash + 1)) + file);
    }
    return names;
  }
  const std::vector<std::string> files = file_names(name);
  const auto add_directory = [&](std::string_view directory) {
    if (directory.empty()) return;
    for (const std::string& file : files) {
      names.push_back(std::string(directory) + "/" + file);
    }
  };
  while (!search_path.empty()) {
    const std::size_t end = std::min(search_path.find(':'), search_path.size());
    add_directory(search_path.substr(0, end));
    search_path.remove_prefix(std::min(end + 1, search_path.size()));
  }
  const std::string beside = path_of(module);
  add_directory(std::string_view(beside).substr(0, beside.rfind('/') + 1));
  names.insert(names.end(), files.begin(), files.end());
  return names;
}

HMODULE open_library(const std::string& name) {
  return dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
}

HMODULE search_library(const SearchView& search) {
  Answer answer{{}, ERROR_MOD_NOT_FOUND, {}};
  HMODULE module = nullptr;
  for (std::string& name : candidates(search.name, search.search_path, search.module)) {
    const bool is_path = name.find('/') != std::string::npos;
    if (is_path && ::access(name.c_str(), F_OK) != 0) continue;
    module = open_library(name);
    if (module != nullptr) {
      answer.found = std::move(name);
      break;
    }
    if (is_path) answer.error = ERROR_BAD_EXE_FORMAT;
  }
  if (module == nullptr) SetLastError(answer.error);
  remember(search, std::move(answer));
  return module;
}

}  // namespace

HMODULE load_library(std::string_view name, const void* near) {
  if (name.empty()) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  const SearchView search{name, plugin_search_path(), map_holding(near)};
  Answer answer;
  if (remembered(search, answer)) {
    if (answer.found.empty()) {
      SetLastError(answer.error);
      return nullptr;
    }
    if (HMODULE module = open_library(answer.found)) return module;
  }
  return search_library(search);
}

std::string module_path(const void* address) { return path_of(map_holding(address)); }

}  // namespace tallowbrook::platform

namespace platform = tallowbrook::platform;

namespace {

template <class Convert>
HMODULE load_converted(Convert convert) {
  try {
    return platform::load_library(convert(), nullptr);
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
}

}  // namespace

HMODULE LoadLibraryA(const char* name) {
  return load_converted(
      [name] { return name == nullptr ? std::string() : platform::path_from_ansi(name); });
}

HMODULE LoadLibraryW(const OLECHAR* name) {
  return load_converted(
      [name] { return name == nullptr ? std::string() : platform::path_from_wide(name); });
}

FARPROC GetProcAddress(HMODULE module, const char* name) {
  const link_map* map = platform::map_of(module);
  void* address = map == nullptr || name == nullptr ? nullptr : dlsym(module, name);
  if (address != nullptr && platform::map_holding(address) == map) {
    return reinterpret_cast<FARPROC>(address);
  }
  SetLastError(map == nullptr ? ERROR_INVALID_HANDLE : ERROR_PROC_NOT_FOUND);
  return nullptr;
}

BOOL FreeLibrary(HMODULE module) {
  if (module == nullptr || dlclose(module) != 0) return platform::fail(ERROR_INVALID_HANDLE);
  return TRUE;
}

DWORD GetModuleFileNameA(HMODULE module, char* path, DWORD size) {
  if (path == nullptr || size == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  try {
    const std::string name = platform::ansi_from_path(
        module == nullptr ? platform::program_path() : platform::path_of(platform::map_of(module)));
    const std::size_t kept = std::min<std::size_t>(name.size(), size - 1);
    name.copy(path, kept);
    path[kept] = '\0';
    if (name.empty()) SetLastError(ERROR_MOD_NOT_FOUND);
    if (kept < name.size()) SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return static_cast<DWORD>(kept);
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return 0;
  }
}
