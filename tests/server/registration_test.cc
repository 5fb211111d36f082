// The component in the registry: what it writes there, what it leaves, and what others make of it.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "platform/automation/late_bound.h"
#include "platform/automation/typeinfo.h"
#include "platform/com/activation.h"
#include "platform/com/identity.h"
#include "platform/com/registrar.h"
#include "platform/kernel/code_page.h"
#include "server/registry_scripts.h"
#include "server/type_library.h"
#include "tallowbrook/class_ids.h"
#include "tallowbrook/mime_decoder.h"
#include "tests/support/scratch_folder.h"

namespace tallowbrook {
namespace {

using platform::Bstr;
using platform::classes_text;
using platform::ComPtr;
using platform::RegistryRoot;
using test::read_file;
using test::ScratchRegistry;
using test::write_file;

const std::string kLibrary = TALLOWBROOK_COMPONENT;

// Calls an entry point of a component that is loaded for that alone.
HRESULT call_entry(const char* entry, const std::string& library = kLibrary) {
  void* const handle = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) return CO_E_DLLNOTFOUND;
  auto* const function = reinterpret_cast<HRESULT (*)()>(dlsym(handle, entry));
  const HRESULT status = function == nullptr ? CO_E_ERRORINDLL : function();
  dlclose(handle);
  return status;
}

[[nodiscard]] bool is_loaded() {
  void* const handle = dlopen(kLibrary.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle != nullptr) dlclose(handle);
  return handle != nullptr;
}

HRESULT create(const char16_t* prog_id, ComPtr<IDispatch>* object) {
  CLSID clsid{};
  const HRESULT status = CLSIDFromProgID(prog_id, &clsid);
  if (FAILED(status)) return status;
  return CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IDispatch::kIid,
                          object->out_void());
}

std::string error_text() {
  ComPtr<IErrorInfo> info;
  Bstr text;
  if (GetErrorInfo(0, info.out()) != S_OK || FAILED(info->GetDescription(text.out()))) return {};
  return platform::narrow(CP_UTF8, text.view());
}

TEST(Registration, ScriptsHaveTheDescribedShape) {
  EXPECT_EQ(
      registry_script(101),
      "HKCR\n{\n"
      "\tTallowbrook.Decoder.1 = s 'MimeDecoder Class'\n\t{\n"
      "\t\tCLSID = s '{C6A87D9D-09D2-4C84-8544-45EC94E45DCA}'\n\t}\n"
      "\tTallowbrook.Decoder = s 'MimeDecoder Class'\n\t{\n"
      "\t\tCLSID = s '{C6A87D9D-09D2-4C84-8544-45EC94E45DCA}'\n"
      "\t\tCurVer = s 'Tallowbrook.Decoder.1'\n\t}\n"
      "\tNoRemove CLSID\n\t{\n"
      "\t\tForceRemove {C6A87D9D-09D2-4C84-8544-45EC94E45DCA} = s 'MimeDecoder Class'\n\t\t{\n"
      "\t\t\tProgID = s 'Tallowbrook.Decoder.1'\n"
      "\t\t\tVersionIndependentProgID = s 'Tallowbrook.Decoder'\n"
      "\t\t\tForceRemove 'Programmable'\n"
      "\t\t\tInprocServer32 = s '%MODULE%'\n\t\t\t{\n"
      "\t\t\t\tval ThreadingModel = s 'Both'\n\t\t\t}\n"
      "\t\t\t'TypeLib' = s '{F4A7BFE7-B287-4558-8F97-A5C3CC57352E}'\n"
      "\t\t}\n\t}\n}\n");
  EXPECT_EQ(registry_script(102), "");
  for (const ClassEntry& entry : class_table()) EXPECT_NE(registry_script(entry.script), "");
}

TEST(Registration, EveryClassAndTheTypeLibraryStandInTheRegistry) {
  const ScratchRegistry registry;
  ASSERT_EQ(call_entry("DllRegisterServer"), S_OK) << error_text();
  EXPECT_EQ(classes_text("Tallowbrook.Decoder\\CurVer"), "Tallowbrook.Decoder.1");
  for (const ClassEntry& entry : class_table()) {
    const std::string prog_id = platform::narrow(CP_UTF8, entry.prog_id);
    const std::string key = "CLSID\\" + platform::text_of(entry.clsid);
    EXPECT_EQ(classes_text(prog_id + ".1"), platform::narrow(CP_UTF8, entry.description));
    EXPECT_EQ(classes_text(prog_id + ".1\\CLSID"), platform::text_of(entry.clsid));
    EXPECT_EQ(classes_text(prog_id + "\\CLSID"), platform::text_of(entry.clsid));
    EXPECT_EQ(classes_text(key + "\\ProgID"), prog_id + ".1");
    EXPECT_EQ(classes_text(key + "\\VersionIndependentProgID"), prog_id);
    EXPECT_EQ(classes_text(key + "\\InprocServer32"), kLibrary);
    EXPECT_EQ(classes_text(key + "\\InprocServer32", "ThreadingModel"), "Both");
    EXPECT_EQ(classes_text(key + "\\TypeLib"), platform::text_of(LIBID_TALLOWBROOKLib));
    const auto tree = platform::read_registry(RegistryRoot::kLocalMachine);
    EXPECT_TRUE(tree->has_key("Software\\Classes\\" + key + "\\Programmable"));
    EXPECT_TRUE(tree->subkeys("Software\\Classes\\" + key + "\\Programmable").empty());
  }
  const std::string type_library = "TypeLib\\" + platform::text_of(LIBID_TALLOWBROOKLib) + "\\1.0";
  EXPECT_EQ(classes_text(type_library), "Tallowbrook 1.0 Type Library");
  EXPECT_EQ(classes_text(type_library + "\\0\\win64"), kLibrary);
  EXPECT_FALSE(classes_text(type_library + "\\HELPDIR"));
  EXPECT_FALSE(is_loaded());
}

TEST(Registration, UnregisteringLeavesExactlyWhatWasThereBefore) {
  const ScratchRegistry registry;
  ASSERT_EQ(call_entry("DllRegisterServer"), S_OK);
  ASSERT_EQ(call_entry("DllRegisterServer"), S_OK) << "twice is once";
  ASSERT_EQ(call_entry("DllUnregisterServer"), S_OK);
  EXPECT_NE(::access(registry.machine().c_str(), F_OK), 0) << read_file(registry.machine());
  ASSERT_EQ(call_entry("DllUnregisterServer"), S_OK) << "what is gone is no failure";

  const std::string others =
      "; Registered components. Written by programs: \"tallowbrook register\" and the like.\n"
      "\n[Software\\Classes\\CLSID\\{00000000-0000-0000-0000-000000000001}]\n@=\"Other\"\n"
      "\n[Software\\Classes\\Tallowbrook.Blob\\Shell]\n@=\"of another program\"\n"
      "\n[Software\\Classes\\TypeLib\\{00000000-0000-0000-0000-000000000002}]\n@=\"Other\"\n";
  write_file(registry.machine(), others);
  ASSERT_EQ(call_entry("DllRegisterServer"), S_OK);
  EXPECT_NE(read_file(registry.machine()), others);
  ASSERT_EQ(call_entry("DllUnregisterServer"), S_OK);
  EXPECT_EQ(read_file(registry.machine()), others);
}

TEST(Registration, AnyProcessCreatesARegisteredClassByItsProgId) {
  const ScratchRegistry registry;
  ComPtr<IDispatch> message;
  ASSERT_EQ(create(u"Tallowbrook.Decoder", &message), CO_E_CLASSSTRING);
  ASSERT_EQ(call_entry("DllRegisterServer"), S_OK);
  ASSERT_FALSE(is_loaded());
  ASSERT_EQ(create(u"tallowbrook.decoder", &message), S_OK) << CoComponentError();
  ASSERT_EQ(platform::put(message.get(), u"Subject", u"hello").status, S_OK);
  EXPECT_EQ(platform::get(message.get(), u"Subject").value.text(), u"hello");
  OLECHAR* prog_id = nullptr;
  CoFreeUnusedLibrariesEx(0, 0);
  EXPECT_TRUE(is_loaded()) << "the message keeps it";
  message.reset();
  CoFreeUnusedLibrariesEx(60'000, 0);
  EXPECT_TRUE(is_loaded()) << "it was used just now";
  CoFreeUnusedLibrariesEx(0, 0);
  EXPECT_FALSE(is_loaded());
  ASSERT_EQ(ProgIDFromCLSID(CLSID_MimeDecoder, &prog_id), S_OK);
  EXPECT_EQ(std::u16string(prog_id), u"Tallowbrook.Decoder.1");
  CoTaskMemFree(prog_id);
}

TEST(Registration, OfTheUserLeavesTheMachineAlone) {
  const ScratchRegistry registry;
  CoSetPerUserRegistration(TRUE);
  ASSERT_EQ(call_entry("DllRegisterServer"), S_OK) << error_text();
  EXPECT_EQ(read_file(registry.machine()), "");
  ComPtr<IDispatch> message;
  EXPECT_EQ(create(u"Tallowbrook.Decoder", &message), S_OK);
  message.reset();
  CoFreeUnusedLibrariesEx(0, 0);
  ComPtr<ITypeLib> library;
  EXPECT_EQ(LoadRegTypeLib(LIBID_TALLOWBROOKLib, 1, 0, 0, library.out()), S_OK);
  library.reset();
  CoSetPerUserRegistration(FALSE);
  ASSERT_EQ(call_entry("DllUnregisterServer"), S_OK);
  EXPECT_NE(read_file(registry.user()), "") << "the machine's registration is another one";
  CoSetPerUserRegistration(TRUE);
  ASSERT_EQ(call_entry("DllUnregisterServer"), S_OK);
  EXPECT_EQ(read_file(registry.user()), "");
  CoSetPerUserRegistration(FALSE);
}

TEST(Registration, TakesAnyPathOfTheLibrary) {
  const ScratchRegistry registry;
  const std::string folder = registry.folder().file("it's 100% {\xC3\xA4}");
  const std::string copy = folder + "/libtallowbrook.so";
  std::filesystem::create_directories(folder);
  std::filesystem::copy_file(kLibrary, copy);
  ASSERT_EQ(call_entry("DllRegisterServer", copy), S_OK) << error_text();
  ComPtr<IDispatch> message;
  EXPECT_EQ(create(u"Tallowbrook.Decoder", &message), S_OK) << CoComponentError();
  message.reset();
  CoFreeUnusedLibrariesEx(0, 0);
  Bstr path;
  EXPECT_EQ(QueryPathOfRegTypeLib(LIBID_TALLOWBROOKLib, 1, 0, 0, path.out()), S_OK);
  EXPECT_EQ(platform::path_from_wide(path.view()), copy);
}

TEST(Registration, TheLoadedComponentGoesBeforeAStaleRegistration) {
  const ScratchRegistry registry;
  const std::string gone = registry.folder().file("gone.so");
  write_file(registry.machine(), "[Software\\Classes\\Tallowbrook.Decoder\\CLSID]\n@=\"" +
                                     platform::text_of(CLSID_Blob) + "\"\n" +
                                     "[Software\\Classes\\CLSID\\" + platform::text_of(CLSID_Blob) +
                                     "\\InprocServer32]\n@=\"" + gone + "\"\n");
  ComPtr<IDispatch> object;
  EXPECT_EQ(create(u"Tallowbrook.Decoder", &object), CO_E_DLLNOTFOUND);
  EXPECT_NE(std::string(CoComponentError()).find("gone.so"), std::string::npos);
  HMODULE module = nullptr;
  ASSERT_EQ(CoLoadComponent(kLibrary.c_str(), &module), S_OK);
  for (const char16_t* name : {u"Tallowbrook.Decoder", u"Tallowbrook.Blob"}) {
    EXPECT_EQ(create(name, &object), S_OK);
  }
  object.reset();
  EXPECT_EQ(CoUnloadComponent(module), S_OK);
}

TEST(Registration, ATypeLibraryOfAnotherBuildIsNotUsedByTheComponent) {
  const ScratchRegistry registry;
  ASSERT_EQ(call_entry("DllRegisterServer"), S_OK);
  ASSERT_EQ(UnRegisterTypeLib(LIBID_TALLOWBROOKLib, 1, 0, 0, SYS_WIN64), S_OK);
  ComPtr<ITypeLib> library;
  EXPECT_EQ(LoadRegTypeLib(LIBID_TALLOWBROOKLib, 1, 0, 0, library.out()), TYPE_E_LIBNOTREGISTERED);
  // A file that is there and no type library.
  const std::string key = "[Software\\Classes\\TypeLib\\" +
                          platform::text_of(LIBID_TALLOWBROOKLib) + "\\1.0\\0\\win64]\n@=\"";
  write_file(registry.machine(), read_file(registry.machine()) + key + "/proc/self/exe\"\n");
  EXPECT_EQ(LoadRegTypeLib(LIBID_TALLOWBROOKLib, 1, 0, 0, library.out()), TYPE_E_CANTLOADLIBRARY);
  EXPECT_STRNE(CoComponentError(), "");
  ComPtr<IDispatch> message;
  ASSERT_EQ(create(u"Tallowbrook.Decoder", &message), S_OK);
  ASSERT_EQ(platform::put(message.get(), u"Subject", u"s").status, S_OK);
  EXPECT_EQ(platform::get(message.get(), u"SUBJECT").value.text(), u"s");
  ComPtr<ITypeInfo> info;
  EXPECT_EQ(message->GetTypeInfo(0, 0, info.out()), S_OK);
  info.reset();
  message.reset();
  CoFreeUnusedLibrariesEx(0, 0);
}

TEST(Registration, TypeInformationKeepsItsLibraryInMemory) {
  const ScratchRegistry registry;
  ASSERT_EQ(call_entry("DllRegisterServer"), S_OK);
  ComPtr<ITypeLib> library;
  ASSERT_EQ(LoadRegTypeLib(LIBID_TALLOWBROOKLib, 1, 0, 1033, library.out()), S_OK);
  EXPECT_EQ(LoadRegTypeLib(LIBID_TALLOWBROOKLib, 1, 1, 0, ComPtr<ITypeLib>().out()),
            TYPE_E_LIBNOTREGISTERED);
  ComPtr<ITypeInfo> info;
  ASSERT_EQ(library->GetTypeInfoOfGuid(IMimeDecoder::kIid, info.out()), S_OK);
  library.reset();
  EXPECT_TRUE(is_loaded());
  Bstr name;
  EXPECT_EQ(info->GetDocumentation(MEMBERID_NIL, name.out(), nullptr, nullptr, nullptr), S_OK);
  EXPECT_EQ(name.view(), u"IMimeDecoder");
  info.reset();
  EXPECT_FALSE(is_loaded());

  // What an object gives away locks the component.
  ComPtr<IDispatch> message;
  ASSERT_EQ(create(u"Tallowbrook.Decoder", &message), S_OK);
  ASSERT_EQ(message->GetTypeInfo(0, 0, info.out()), S_OK);
  message.reset();
  CoFreeUnusedLibrariesEx(0, 0);
  EXPECT_TRUE(is_loaded());
  info.reset();
  CoFreeUnusedLibrariesEx(0, 0);
  EXPECT_FALSE(is_loaded());
}

TEST(Registration, ARegistryThatCannotBeWrittenIsTold) {
  const ScratchRegistry registry;
  write_file(registry.machine(), "nonsense\n");
  EXPECT_EQ(call_entry("DllRegisterServer"), REGDB_E_READREGDB);
  EXPECT_NE(error_text().find("HKEY_LOCAL_MACHINE.reg:1: "), std::string::npos);
  EXPECT_EQ(call_entry("DllUnregisterServer"), REGDB_E_READREGDB);
  EXPECT_EQ(read_file(registry.machine()), "nonsense\n");

  // Room for the classes, and none for the type library behind them.
  write_file(registry.machine(), "");
  ASSERT_EQ(call_entry("DllRegisterServer"), S_OK);
  ASSERT_EQ(UnRegisterTypeLib(LIBID_TALLOWBROOKLib, 1, 0, 0, SYS_WIN64), S_OK);
  const std::string classes = read_file(registry.machine());
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  const rlimit full{classes.size(), before.rlim_max};
  ASSERT_NE(::signal(SIGXFSZ, SIG_IGN), SIG_ERR);
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &full), 0);
  const HRESULT status = call_entry("DllRegisterServer");
  const std::string reason = error_text();
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
  EXPECT_EQ(status, TYPE_E_REGISTRYACCESS);
  EXPECT_NE(reason.find("HKEY_LOCAL_MACHINE.reg: File too large"), std::string::npos) << reason;
  EXPECT_EQ(read_file(registry.machine()), classes);
}

}  // namespace
}  // namespace tallowbrook
