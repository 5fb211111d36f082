// Activation by registered class object, by a component that makes itself known, and by a library
// that is compiled here, loaded, and must really go again.
#include "platform/com/activation.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "platform/com/counted.h"
#include "tests/support/scratch_folder.h"

using namespace tallowbrook::platform;

namespace {

constexpr CLSID kThing{0x7A110B01, 0x1234, 0x5678, {1, 2, 3, 4, 5, 6, 7, 8}};

class Factory final : public Counted<IClassFactory> {
 public:
  HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
    return outer != nullptr ? CLASS_E_NOAGGREGATION : QueryInterface(iid, object);
  }
  HRESULT LockServer(BOOL) override { return S_OK; }
};

HRESULT get_class(REFCLSID clsid, REFIID iid, void** object) {
  if (!(clsid == kThing)) return CLASS_E_CLASSNOTAVAILABLE;
  return ComPtr<Factory>::adopt(new Factory)->QueryInterface(iid, object);
}
HRESULT can_unload() { return S_OK; }
HRESULT describe(const ComponentClass** classes, ULONG* count) {
  static constexpr ComponentClass kClasses[] = {{kThing, u"Test.Thing.1", u"Test.Thing", u"Thing"}};
  *classes = kClasses;
  *count = 1;
  return S_OK;
}
constexpr ComponentEntries kEntries{&get_class, &can_unload, &describe};

HRESULT create(REFCLSID clsid, DWORD context = CLSCTX_ALL) {
  ComPtr<IUnknown> object;
  return CoCreateInstance(clsid, nullptr, context, IUnknown::kIid, object.out_void());
}

TEST(Identity, GoesThroughText) {
  OLECHAR text[39];
  EXPECT_EQ(StringFromGUID2(kThing, text, 38), 0);
  ASSERT_EQ(StringFromGUID2(kThing, text, 39), 39);
  EXPECT_EQ(std::u16string_view(text), u"{7A110B01-1234-5678-0102-030405060708}");
  CLSID back{};
  EXPECT_EQ(CLSIDFromString(u"{7a110b01-1234-5678-0102-030405060708}", &back), S_OK);
  EXPECT_EQ(back, kThing);
  for (const OLECHAR* bad :
       {u"{7a110b01-1234-5678-0102-03040506070}", u"", u"No.Such",
        u"{7a110b01+1234-5678-0102-030405060708}", u"{7g110b01-1234-5678-0102-030405060708}"}) {
    EXPECT_EQ(CLSIDFromString(bad, &back), CO_E_CLASSSTRING);
    EXPECT_EQ(back, GUID_NULL);
  }
  GUID other{};
  EXPECT_EQ(CoCreateGuid(&back), S_OK);
  EXPECT_EQ(CoCreateGuid(&other), S_OK);
  EXPECT_FALSE(back == other);
}

// tests/server tries the rest with the component's own classes.
TEST(Activation, ForgetsALinkedComponentAsOftenAsItWasUsed) {
  CLSID clsid{};
  EXPECT_EQ(CLSIDFromProgID(u"Test.Thing", &clsid), CO_E_CLASSSTRING);
  ASSERT_EQ(CoUseComponent(kEntries), S_OK);
  ASSERT_EQ(CoUseComponent(kEntries), S_OK);
  ASSERT_EQ(CLSIDFromProgID(u"TEST.THING", &clsid), S_OK);
  EXPECT_EQ(CoForgetComponent(kEntries), S_OK);
  EXPECT_EQ(create(clsid), S_OK);
  EXPECT_EQ(CoForgetComponent(kEntries), S_OK);
  EXPECT_EQ(CoForgetComponent(kEntries), E_INVALIDARG);
  EXPECT_EQ(create(kThing), REGDB_E_CLASSNOTREG);
}

TEST(Activation, KnowsRegisteredObjects) {
  const auto factory = ComPtr<Factory>::adopt(new Factory);
  DWORD cookie = 0;
  ASSERT_EQ(CoRegisterClassObject(kThing, factory.get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                                  &cookie),
            S_OK);
  EXPECT_EQ(create(kThing), S_OK);
  EXPECT_EQ(create(kThing, CLSCTX_LOCAL_SERVER), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(CoRevokeClassObject(cookie), S_OK);
  EXPECT_EQ(CoRevokeClassObject(cookie), E_INVALIDARG);
  EXPECT_EQ(factory->AddRef(), 2U);
  factory->Release();
}

// A component whose lock the test turns; it makes itself known when it is loaded by any means.
TEST(Activation, LoadedLibrariesReallyGo) {
  const std::string path = PROBE_COMPONENT_PATH;
  const auto resident = [&] {
    void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) dlclose(handle);
    return handle != nullptr;
  };
  HMODULE module = nullptr;
  EXPECT_EQ(CoLoadComponent("/no/such.so", &module), CO_E_DLLNOTFOUND);
  EXPECT_STRNE(CoComponentError(), "");
  ASSERT_EQ(CoLoadComponent(path.c_str(), &module), S_OK) << CoComponentError();
  HMODULE again = nullptr;
  ASSERT_EQ(CoLoadComponent(path.c_str(), &again), S_OK);
  EXPECT_EQ(module, again);
  CLSID clsid{};
  ASSERT_EQ(CLSIDFromProgID(u"Probe.Component", &clsid), S_OK);

  // Threads create objects while loads of the library come and go.
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  for (int at = 0; at < 3; ++at) {
    threads.emplace_back([&] {
      while (!stop) {
        ASSERT_EQ(create(clsid), S_OK);
      }
    });
  }
  for (int round = 0; round < 50; ++round) {
    HMODULE third = nullptr;
    ASSERT_EQ(CoLoadComponent(path.c_str(), &third), S_OK);
    ASSERT_EQ(CoUnloadComponent(third), S_OK);
  }
  stop = true;
  for (std::thread& thread : threads) thread.join();

  ComPtr<IUnknown> object;
  ASSERT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_ALL, IUnknown::kIid, object.out_void()), S_OK);
  EXPECT_EQ(CoUnloadComponent(module), S_OK);
  EXPECT_EQ(CoUnloadComponent(module), S_FALSE);  // the object keeps it
  CoFreeUnusedLibraries();
  EXPECT_TRUE(resident());
  object.reset();
#ifdef __SANITIZE_THREAD__  // which has a thread of its own
  CoFreeUnusedLibrariesEx(0, 0);
#else
  CoFreeUnusedLibraries();
#endif
  EXPECT_FALSE(resident());
  EXPECT_EQ(CLSIDFromProgID(u"Probe.Component", &clsid), CO_E_CLASSSTRING);
  EXPECT_EQ(CoUnloadComponent(module), E_INVALIDARG);
}

// The library is known by the registry alone, so nothing but its objects keeps it.
TEST(Activation, AThreadOnItsWayOutOfALibraryIsNotUnmapped) {
  const tallowbrook::test::ScratchRegistry registry;
  tallowbrook::test::write_file(registry.machine(),
                                "[Software\\Classes\\Probe.Component\\CLSID]\n"
                                "@=\"{7A110B02-0001-0001-0000-000000000000}\"\n"
                                "[Software\\Classes\\CLSID\\{7A110B02-0001-0001-0000-000000000000}"
                                "\\InprocServer32]\n@=\"" PROBE_COMPONENT_PATH "\"\n");
  CLSID clsid{};
  ASSERT_EQ(CLSIDFromProgID(u"Probe.Component", &clsid), S_OK);
  std::atomic<int> running{3};
  std::vector<std::thread> threads;
  for (int at = 0; at < 3; ++at) {
    threads.emplace_back([&] {
      for (int round = 0; round < 500; ++round) {
        if (create(clsid) != S_OK) ADD_FAILURE();
      }
      --running;
    });
  }
  while (running > 0) CoFreeUnusedLibraries();
  for (std::thread& thread : threads) thread.join();
  CoFreeUnusedLibrariesEx(0, 0);
  EXPECT_EQ(dlopen(PROBE_COMPONENT_PATH, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

}  // namespace
