// Class activation: which class objects exist in this process, and how objects are made of them.
//
// A class is creatable when a component that describes it was loaded or made itself known, when a
// class object was registered, or when the registry (registry.h) names the library of its
// component, which is then loaded. They are asked in this order: what is in the process goes before
// what is registered, which may be stale. All functions may be called from any thread.
#pragma once

#include <cstddef>

#include "platform/com/unknown.h"

inline constexpr DWORD CLSCTX_INPROC_SERVER = 1;
inline constexpr DWORD CLSCTX_INPROC_HANDLER = 2;
inline constexpr DWORD CLSCTX_LOCAL_SERVER = 4;
inline constexpr DWORD CLSCTX_SERVER = 21;  // in this process, on this machine, or elsewhere
inline constexpr DWORD CLSCTX_ALL = 23;
inline constexpr DWORD COINIT_MULTITHREADED = 0;
inline constexpr DWORD COINIT_APARTMENTTHREADED = 2;
inline constexpr DWORD REGCLS_SINGLEUSE = 0;
inline constexpr DWORD REGCLS_MULTIPLEUSE = 1;

// --- the thread and its memory -------------------------------------------------------------------

// Counted per thread and otherwise without effect: S_OK for the first call, S_FALSE later.
HRESULT CoInitialize(void* reserved);
HRESULT CoInitializeEx(void* reserved, DWORD model);
void CoUninitialize();

void* CoTaskMemAlloc(std::size_t size);
void* CoTaskMemRealloc(void* memory, std::size_t size);  // size 0 frees
void CoTaskMemFree(void* memory);

// --- identities as text --------------------------------------------------------------------------

HRESULT CoCreateGuid(GUID* guid);
// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" and the closing zero; returns the 39 units written, or 0
// when `room` is smaller.
INT StringFromGUID2(REFGUID guid, OLECHAR* text, INT room);
// The text is freed with CoTaskMemFree.
HRESULT StringFromCLSID(REFCLSID clsid, OLECHAR** text);
// Reads that form, or a ProgID. A null text gives GUID_NULL; CO_E_CLASSSTRING for anything else.
HRESULT CLSIDFromString(const OLECHAR* text, CLSID* clsid);

// --- classes -------------------------------------------------------------------------------------

// Without regard to ASCII case; CO_E_CLASSSTRING when no known class has the name.
HRESULT CLSIDFromProgID(const OLECHAR* prog_id, CLSID* clsid);
// The version-dependent ProgID, freed with CoTaskMemFree; REGDB_E_CLASSNOTREG.
HRESULT ProgIDFromCLSID(REFCLSID clsid, OLECHAR** prog_id);

// REGDB_E_CLASSNOTREG for a class that is not known, CO_E_DLLNOTFOUND or CO_E_ERRORINDLL when its
// registered library cannot be used (`CoComponentError` says why). Creating: E_POINTER for a
// class that says that all is well and makes nothing.
HRESULT CoGetClassObject(REFCLSID clsid, DWORD context, void* server, REFIID iid, void** object);
HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** object);

// Makes `object` the class object of `clsid` until it is revoked. It goes before components.
HRESULT CoRegisterClassObject(REFCLSID clsid, IUnknown* object, DWORD context, DWORD flags,
                              DWORD* cookie);
HRESULT CoRevokeClassObject(DWORD cookie);

// --- components ----------------------------------------------------------------------------------

// A creatable class as its component describes it. Texts may be null.
struct ComponentClass {
  CLSID clsid;
  const OLECHAR* prog_id;
  const OLECHAR* version_independent_prog_id;
  const OLECHAR* description;
};

using DllGetClassObjectFunction = HRESULT(REFCLSID clsid, REFIID iid, void** object);
using DllCanUnloadNowFunction = HRESULT();
// Lends the component's table.
using DllDescribeClassesFunction = HRESULT(const ComponentClass** classes, ULONG* count);

// What a component exports under the names "DllGetClassObject", "DllCanUnloadNow" and
// "DllDescribeClasses".
struct ComponentEntries {
  DllGetClassObjectFunction* get_class_object;
  DllCanUnloadNowFunction* can_unload_now;
  DllDescribeClassesFunction* describe_classes;
};

// Loads a shared object and makes its classes creatable. Loading it again counts; each load wants
// its CoUnloadComponent. CO_E_DLLNOTFOUND when it cannot be loaded (`CoComponentError` says why),
// CO_E_ERRORINDLL when it lacks an entry point.
HRESULT CoLoadComponent(const char* path, HMODULE* module);
// Undoes one CoLoadComponent. The library leaves memory at once when nobody else wants it and
// DllCanUnloadNow answers S_OK; S_FALSE when it has to stay until CoFreeUnusedLibraries. The caller
// knows that no other thread is still inside the component's code, in a Release for instance.
HRESULT CoUnloadComponent(HMODULE module);
// Lets every library go that was unloaded, or was loaded for a registered class, and has been
// unused for `delay` milliseconds and at an earlier call already: a thread that has given back the
// last object may still be on its way out of the library. INFINITE is ten seconds, or no delay when
// the calling thread is the only one. A host that holds a bare class object keeps the library with
// IClassFactory::LockServer.
void CoFreeUnusedLibrariesEx(DWORD delay, DWORD reserved);
void CoFreeUnusedLibraries();  // with INFINITE
// Why the thread's last load or registration of a library failed, as text; empty for none.
const char* CoComponentError();

// For a component that is linked in or was loaded by other means: makes its classes creatable until
// CoForgetComponent. The same entries twice count twice. A component calls the second at the latest
// when it is unloaded.
HRESULT CoUseComponent(const ComponentEntries& entries);
HRESULT CoForgetComponent(const ComponentEntries& entries);

// --- registration --------------------------------------------------------------------------------

// Whether components register themselves for the user (HKEY_CLASSES_ROOT stands for
// HKEY_CURRENT_USER\Software\Classes then) instead of the machine. Of the process; until it is set,
// the environment variable TALLOWBROOK_REGISTER_FOR_USER says it with "1".
void CoSetPerUserRegistration(BOOL enable);
[[nodiscard]] BOOL CoPerUserRegistration();
