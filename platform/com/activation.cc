// The process's table of components and class objects.
//
// The table's mutex is never held while code of a component or host (its AddRef and Release, too),
// or of the loader (which runs a component's constructors and destructors), runs. A component that
// is being called cannot be closed (`calls`); while one is asked whether it may go (`closing`),
// look-ups wait for its answer.
#include "platform/com/activation.h"

#include <dlfcn.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/com/checked.h"
#include "platform/com/identity.h"
#include "platform/com/open_component.h"
#include "platform/com/registry.h"

using tallowbrook::platform::checked;
using tallowbrook::platform::classes_text;
using tallowbrook::platform::ComPtr;
using tallowbrook::platform::guid_of;
using tallowbrook::platform::open_component;
using tallowbrook::platform::text_of;

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kUsualDelay{10'000};

struct Class {
  CLSID clsid;
  std::u16string prog_id;
  std::u16string independent_prog_id;
};

struct Component {
  ComponentEntries entries{};
  std::vector<Class> classes;
  HMODULE handle = nullptr;  // one reference of the loader's, when CoLoadComponent took it
  int loads = 0;             // CoLoadComponent less CoUnloadComponent
  int uses = 0;              // CoUseComponent less CoForgetComponent
  int calls = 0;
  bool closing = false;
  // When it was first found unused, with nothing made of it since.
  std::optional<Clock::time_point> idle_since;
};

struct Registration {
  DWORD cookie;
  CLSID clsid;
  std::shared_ptr<const ComPtr<IUnknown>> object;  // shared, to be copied uncounted
};

struct Table {
  std::mutex mutex;
  std::condition_variable settled;
  std::vector<std::shared_ptr<Component>> components;
  std::vector<Registration> registrations;
  DWORD next_cookie = 1;
};

// Never destroyed: components take leave in their destructors, which may run last of all.
Table& table() {
  static Table& the_table = *new Table;
  return the_table;
}

thread_local std::string last_error;

using Lock = std::unique_lock<std::mutex>;

bool same_name(std::u16string_view a, std::u16string_view b) {
  const auto lower = [](char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
  };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&](char16_t x, char16_t y) { return lower(x) == lower(y); });
}

// --- look-ups; each waits until no component is in doubt -----------------------------------------

void settle(Lock& lock) {
  table().settled.wait(lock, [] {
    const auto& all = table().components;
    return std::none_of(all.begin(), all.end(), [](const auto& one) { return one->closing; });
  });
}

// Looks a class of this process up, by whatever `matches` looks at. It goes before what is
// registered, which may be older.
template <class Matches>
bool find_class(Matches&& matches, Class* found) {
  Lock lock(table().mutex);
  settle(lock);
  for (const auto& component : table().components) {
    for (const Class& one : component->classes) {
      if (!matches(one)) continue;
      *found = one;
      return true;
    }
  }
  return false;
}

// A ProgID as the registry has it; none when it cannot be one.
std::optional<std::string> registry_name(std::u16string_view prog_id) {
  std::string name;
  for (const char16_t unit : prog_id) {
    if (unit >= 0x80) return std::nullopt;
    name += static_cast<char>(unit);
  }
  if (!tallowbrook::platform::valid_key_name(name)) return std::nullopt;
  return name;
}

bool find_registered(std::u16string_view prog_id, CLSID* clsid) {
  const auto name = registry_name(prog_id);
  if (!name) return false;
  auto text = classes_text(*name + "\\CLSID");
  if (!text) {
    const auto version = classes_text(*name + "\\CurVer");
    if (version) text = classes_text(*version + "\\CLSID");
  }
  return text && guid_of(*text, clsid);
}

std::optional<std::string> registered_text(REFCLSID clsid, const char* key) {
  return classes_text("CLSID\\" + text_of(clsid) + "\\" + key);
}

// The components that may have this class, kept from closing; those without a description of their
// classes are asked last.
std::vector<std::shared_ptr<Component>> enter_components(REFCLSID clsid) {
  Lock lock(table().mutex);
  settle(lock);
  std::vector<std::shared_ptr<Component>> result;
  for (const bool described : {true, false}) {
    for (const auto& component : table().components) {
      const auto& classes = component->classes;
      const auto match = [&](const Class& one) { return one.clsid == clsid; };
      const bool wanted = described
                              ? std::any_of(classes.begin(), classes.end(), match)
                              : classes.empty() && component->entries.describe_classes == nullptr;
      if (wanted) result.push_back(component);
    }
  }
  for (const auto& component : result) {
    ++component->calls;
    component->idle_since.reset();
  }
  return result;
}

void leave_components(const std::vector<std::shared_ptr<Component>>& entered) {
  const Lock lock(table().mutex);
  for (const auto& component : entered) --component->calls;
}

ComPtr<IUnknown> registered_object(REFCLSID clsid) {
  std::shared_ptr<const ComPtr<IUnknown>> found;
  {
    const Lock lock(table().mutex);
    const auto& all = table().registrations;
    const auto match = std::find_if(all.begin(), all.end(),
                                    [&](const Registration& one) { return one.clsid == clsid; });
    if (match != all.end()) found = match->object;
  }
  return found ? *found : ComPtr<IUnknown>();
}

// --- the life of a component ---------------------------------------------------------------------

HRESULT read_classes(const ComponentEntries& entries, std::vector<Class>* classes) {
  if (entries.describe_classes == nullptr) return S_OK;
  const ComponentClass* described = nullptr;
  ULONG count = 0;
  const HRESULT status = entries.describe_classes(&described, &count);
  if (FAILED(status)) return status;
  const auto text = [](const OLECHAR* given) {
    return given == nullptr ? std::u16string() : std::u16string(given);
  };
  for (ULONG at = 0; at < count; ++at) {
    classes->push_back({described[at].clsid, text(described[at].prog_id),
                        text(described[at].version_independent_prog_id)});
  }
  return S_OK;
}

// The entry of a component that is known by its class object function; the mutex is held.
std::shared_ptr<Component> find_component(const ComponentEntries& entries) {
  for (const auto& component : table().components) {
    if (component->entries.get_class_object == entries.get_class_object) return component;
  }
  return nullptr;
}

std::shared_ptr<Component> find_or_add(const ComponentEntries& entries,
                                       std::vector<Class>&& classes) {
  if (auto known = find_component(entries)) return known;
  auto component = std::make_shared<Component>();
  component->entries = entries;
  component->classes = std::move(classes);
  table().components.push_back(component);
  return component;
}

void erase_when_unwanted(const std::shared_ptr<Component>& component) {
  if (component->handle != nullptr || component->uses > 0) return;
  auto& all = table().components;
  all.erase(std::remove(all.begin(), all.end(), component), all.end());
}

bool has_other_threads() {
  std::error_code error;
  int threads = 0;
  for (std::filesystem::directory_iterator at("/proc/self/task", error), end; !error && at != end;
       at.increment(error)) {
    ++threads;
  }
  return error || threads > 1;
}

// Closes the library when nothing uses it; S_FALSE when it has to stay. A library that is not used
// any more since less than `delay` stays, too.
HRESULT try_close(const std::shared_ptr<Component>& component, std::chrono::milliseconds delay) {
  {
    Lock lock(table().mutex);
    settle(lock);
    if (component->handle == nullptr) return S_OK;
    if (component->loads > 0 || component->calls > 0) return S_FALSE;
    component->closing = true;
  }
  const bool may_go = component->entries.can_unload_now() == S_OK;
  const auto now = Clock::now();
  HMODULE handle = nullptr;
  {
    const Lock lock(table().mutex);
    component->closing = false;
    if (!may_go) component->idle_since.reset();
    if (may_go && !component->idle_since) component->idle_since = now;
    if (may_go && component->loads == 0 && now - *component->idle_since >= delay) {
      handle = std::exchange(component->handle, nullptr);
      erase_when_unwanted(component);
    }
  }
  table().settled.notify_all();
  if (handle == nullptr) return S_FALSE;
  dlclose(handle);
  return S_OK;
}

template <class Function>
Function* entry_of(HMODULE module, const char* name) {
  return reinterpret_cast<Function*>(dlsym(module, name));
}

// Takes over one reference of the loader's, also when it fails. A library that is loaded for a
// registered class is not counted: it may go when it is unused. `entered` is then kept from
// closing.
HRESULT add_component(HMODULE module, std::shared_ptr<Component>* entered) {
  std::unique_ptr<void, int (*)(void*)> handle(module, &dlclose);
  const ComponentEntries entries{
      entry_of<DllGetClassObjectFunction>(module, "DllGetClassObject"),
      entry_of<DllCanUnloadNowFunction>(module, "DllCanUnloadNow"),
      entry_of<DllDescribeClassesFunction>(module, "DllDescribeClasses")};
  if (entries.get_class_object == nullptr || entries.can_unload_now == nullptr) {
    last_error = "DllGetClassObject or DllCanUnloadNow is missing";
    return CO_E_ERRORINDLL;
  }
  std::vector<Class> classes;
  if (const HRESULT status = read_classes(entries, &classes); FAILED(status)) return status;
  Lock lock(table().mutex);
  settle(lock);
  const auto component = find_or_add(entries, std::move(classes));
  if (entered != nullptr) {
    *entered = component;
    ++component->calls;
  } else {
    ++component->loads;
  }
  component->idle_since.reset();
  // One reference of the loader's is enough.
  if (component->handle == nullptr) component->handle = handle.release();
  return S_OK;
}

// Loads the library that the registry has for the class.
HRESULT load_registered(REFCLSID clsid, std::shared_ptr<Component>* entered) {
  const auto path = registered_text(clsid, "InprocServer32");
  if (!path || path->empty()) return REGDB_E_CLASSNOTREG;
  HMODULE handle = open_component(path->c_str());
  return handle == nullptr ? CO_E_DLLNOTFOUND : add_component(handle, entered);
}

// Keeps the components that may have a class from closing.
class Entered {
 public:
  explicit Entered(REFCLSID clsid) : components_(enter_components(clsid)) {
    components_.reserve(components_.size() + 1);
  }
  ~Entered() { leave_components(components_); }
  Entered(const Entered&) = delete;
  Entered& operator=(const Entered&) = delete;

  HRESULT ask(REFCLSID clsid, REFIID iid, void** object) {
    for (const auto& component : components_) {
      const HRESULT answer = component->entries.get_class_object(clsid, iid, object);
      if (answer != CLASS_E_CLASSNOTAVAILABLE) return answer;
    }
    std::shared_ptr<Component> loaded;
    if (const HRESULT status = load_registered(clsid, &loaded); FAILED(status)) return status;
    components_.push_back(loaded);
    const HRESULT answer = loaded->entries.get_class_object(clsid, iid, object);
    return answer == CLASS_E_CLASSNOTAVAILABLE ? REGDB_E_CLASSNOTREG : answer;
  }

 private:
  std::vector<std::shared_ptr<Component>> components_;
};

HRESULT find_class_object(REFCLSID clsid, DWORD context, Entered& entered, REFIID iid,
                          void** object) {
  if ((context & CLSCTX_INPROC_SERVER) == 0) return REGDB_E_CLASSNOTREG;
  if (const auto registered = registered_object(clsid)) {
    return registered->QueryInterface(iid, object);
  }
  return entered.ask(clsid, iid, object);
}

}  // namespace

HRESULT CLSIDFromProgID(const OLECHAR* prog_id, CLSID* clsid) {
  if (clsid == nullptr) return E_INVALIDARG;
  *clsid = GUID_NULL;
  if (prog_id == nullptr || *prog_id == 0) return CO_E_CLASSSTRING;
  return checked([&]() -> HRESULT {
    const std::u16string_view wanted(prog_id);
    Class found{};
    const auto matches = [&](const Class& one) {
      return same_name(one.prog_id, wanted) || same_name(one.independent_prog_id, wanted);
    };
    if (find_class(matches, &found)) {
      *clsid = found.clsid;
      return S_OK;
    }
    return find_registered(wanted, clsid) ? S_OK : CO_E_CLASSSTRING;
  });
}

HRESULT ProgIDFromCLSID(REFCLSID clsid, OLECHAR** prog_id) {
  if (prog_id == nullptr) return E_INVALIDARG;
  *prog_id = nullptr;
  return checked([&]() -> HRESULT {
    Class found{};
    const auto matches = [&](const Class& one) {
      return one.clsid == clsid && !one.prog_id.empty();
    };
    if (!find_class(matches, &found)) {
      const auto registered = registered_text(clsid, "ProgID");
      if (!registered) return REGDB_E_CLASSNOTREG;
      found.prog_id.assign(registered->begin(), registered->end());
    }
    const std::size_t bytes = (found.prog_id.size() + 1) * sizeof(OLECHAR);
    *prog_id = static_cast<OLECHAR*>(CoTaskMemAlloc(bytes));
    if (*prog_id == nullptr) return E_OUTOFMEMORY;
    std::memcpy(*prog_id, found.prog_id.c_str(), bytes);
    return S_OK;
  });
}

HRESULT CoGetClassObject(REFCLSID clsid, DWORD context, void*, REFIID iid, void** object) {
  if (object == nullptr) return E_INVALIDARG;
  *object = nullptr;
  return checked([&] {
    Entered entered(clsid);
    return find_class_object(clsid, context, entered, iid, object);
  });
}

HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid,
                         void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  return checked([&] {
    // A cached class object locks nothing: the component is kept until the new object does.
    Entered entered(clsid);
    ComPtr<IClassFactory> factory;
    HRESULT status =
        find_class_object(clsid, context, entered, IClassFactory::kIid, factory.out_void());
    if (SUCCEEDED(status) && factory) status = factory->CreateInstance(outer, iid, object);
    return SUCCEEDED(status) && *object == nullptr ? E_POINTER : status;
  });
}

HRESULT CoRegisterClassObject(REFCLSID clsid, IUnknown* object, DWORD, DWORD, DWORD* cookie) {
  if (object == nullptr || cookie == nullptr) return E_INVALIDARG;
  *cookie = 0;
  return checked([&] {
    const auto held = std::make_shared<const ComPtr<IUnknown>>(object);
    const Lock lock(table().mutex);
    table().registrations.push_back({table().next_cookie, clsid, held});
    *cookie = table().next_cookie++;
    return S_OK;
  });
}

HRESULT CoRevokeClassObject(DWORD cookie) {
  std::shared_ptr<const ComPtr<IUnknown>> revoked;  // released after the mutex
  const Lock lock(table().mutex);
  auto& all = table().registrations;
  const auto found = std::find_if(all.begin(), all.end(),
                                  [&](const Registration& one) { return one.cookie == cookie; });
  if (found == all.end()) return E_INVALIDARG;
  revoked = std::move(found->object);
  all.erase(found);
  return S_OK;
}

HRESULT CoLoadComponent(const char* path, HMODULE* module) {
  if (path == nullptr || module == nullptr) return E_INVALIDARG;
  *module = nullptr;
  return checked([&] {
    HMODULE handle = open_component(path);
    if (handle == nullptr) return CO_E_DLLNOTFOUND;
    const HRESULT status = add_component(handle, nullptr);
    if (SUCCEEDED(status)) *module = handle;
    return status;
  });
}

HRESULT CoUnloadComponent(HMODULE module) {
  if (module == nullptr) return E_INVALIDARG;
  std::shared_ptr<Component> component;
  {
    const Lock lock(table().mutex);
    for (const auto& one : table().components) {
      if (one->handle == module && one->loads > 0) component = one;
    }
    if (!component) return E_INVALIDARG;
    if (--component->loads > 0) return S_OK;
  }
  return try_close(component, {});
}

void CoFreeUnusedLibraries() { CoFreeUnusedLibrariesEx(INFINITE, 0); }

void CoFreeUnusedLibrariesEx(DWORD delay, DWORD) {
  try {
    auto wanted = delay == INFINITE ? kUsualDelay : std::chrono::milliseconds(delay);
    if (delay == INFINITE && !has_other_threads()) wanted = {};
    std::vector<std::shared_ptr<Component>> unloaded;
    {
      const Lock lock(table().mutex);
      for (const auto& one : table().components) {
        if (one->handle != nullptr && one->loads == 0) unloaded.push_back(one);
      }
    }
    for (const auto& component : unloaded) try_close(component, wanted);
  } catch (const std::bad_alloc&) {
    // They stay until the next call.
  }
}

const char* CoComponentError() { return last_error.c_str(); }

void tallowbrook::platform::set_component_error(std::string text) { last_error = std::move(text); }

HMODULE tallowbrook::platform::open_component(const char* path) {
  last_error.clear();
  HMODULE handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  const char* const error = handle == nullptr ? dlerror() : nullptr;
  if (error != nullptr) last_error = error;
  return handle;
}

HRESULT CoUseComponent(const ComponentEntries& entries) {
  if (entries.get_class_object == nullptr) return E_INVALIDARG;
  return checked([&] {
    std::vector<Class> classes;
    if (const HRESULT status = read_classes(entries, &classes); FAILED(status)) return status;
    const Lock lock(table().mutex);
    ++find_or_add(entries, std::move(classes))->uses;
    return S_OK;
  });
}

HRESULT CoForgetComponent(const ComponentEntries& entries) {
  const Lock lock(table().mutex);
  const auto component = find_component(entries);
  if (!component || component->uses == 0) return E_INVALIDARG;
  --component->uses;
  erase_when_unwanted(component);
  return S_OK;
}

namespace {

std::atomic<int> per_user{-1};  // -1: as the environment says

}  // namespace

void CoSetPerUserRegistration(BOOL enable) { per_user = enable != FALSE ? 1 : 0; }

BOOL CoPerUserRegistration() {
  if (const int set = per_user; set >= 0) return set;
  const char* const wanted = secure_getenv("TALLOWBROOK_REGISTER_FOR_USER");
  return wanted != nullptr && std::string_view(wanted) == "1" ? TRUE : FALSE;
}
