// Class objects, the class table, and the module's lock count.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>
#include <vector>

#include "core/creators.h"
#include "core/module.h"
#include "core/resources.h"
#include "server/class_object.h"
#include "server/type_library.h"
#include "tallowbrook/class_ids.h"

extern "C" {
HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, void** object);
HRESULT DllCanUnloadNow();
}

namespace tallowbrook {
namespace {

using platform::ComPtr;

ComPtr<IClassFactory> factory_of(const CLSID& clsid) {
  ComPtr<IClassFactory> factory;
  EXPECT_EQ(DllGetClassObject(clsid, IClassFactory::kIid, factory.out_void()), S_OK);
  return factory;
}

void* const kStale = reinterpret_cast<void*>(8);

TEST(ClassObject, IsHandedOutForEveryClassOfTheTableAndNoOther) {
  std::set<IUnknown*> factories;
  for (const ClassEntry& entry : class_table()) {
    const auto factory = factory_of(entry.clsid);
    ASSERT_TRUE(factory);
    EXPECT_TRUE(factories.insert(factory.get()).second);
    EXPECT_EQ(factory_of(entry.clsid).get(), factory.get());
    void* other = kStale;
    EXPECT_EQ(DllGetClassObject(entry.clsid, IDispatch::kIid, &other), E_NOINTERFACE);
    EXPECT_EQ(other, nullptr);
  }
  void* object = kStale;
  EXPECT_EQ(DllGetClassObject(GUID_NULL, IUnknown::kIid, &object), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(DllGetClassObject(CLSID_Blob, IUnknown::kIid, nullptr), E_POINTER);
  EXPECT_EQ(DllCanUnloadNow(), S_OK) << "cached class objects hold no lock";
}

TEST(ClassObject, EveryClassAnswersToItsDefaultInterfaceAndHoldsOneLock) {
  const auto coclasses = library_info().coclasses;
  for (std::size_t i = 0; i < kClassCount; ++i) {
    const ClassEntry& entry = class_table()[i];
    const std::string name(entry.coclass,
                           entry.coclass + std::char_traits<char16_t>::length(entry.coclass));
    ASSERT_TRUE(coclasses[i]->clsid == entry.clsid) << name;
    const IID& wanted = coclasses[i]->implements[0].interface->iid;
    const auto factory = factory_of(entry.clsid);
    for (const IID& iid : {IUnknown::kIid, IDispatch::kIid}) {
      void* aggregated = kStale;
      EXPECT_EQ(factory->CreateInstance(factory.get(), iid, &aggregated), CLASS_E_NOAGGREGATION);
      EXPECT_EQ(aggregated, nullptr) << name;
    }
    EXPECT_EQ(factory->CreateInstance(nullptr, IUnknown::kIid, nullptr), E_POINTER);
    ComPtr<IUnknown> object;
    ASSERT_EQ(factory->CreateInstance(nullptr, wanted, object.out_void()), S_OK) << name;
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE) << name;
    object.reset();
    EXPECT_EQ(DllCanUnloadNow(), S_OK) << name;
    void* other = kStale;
    EXPECT_EQ(factory->CreateInstance(nullptr, IClassFactory::kIid, &other), E_NOINTERFACE) << name;
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(DllCanUnloadNow(), S_OK) << name << ": a refused object is destroyed";
  }
}

TEST(ClassObject, LockServerKeepsTheLibrary) {
  const auto factory = factory_of(CLSID_Collection);
  EXPECT_EQ(factory->LockServer(TRUE), S_OK);
  EXPECT_EQ(factory->LockServer(TRUE), S_OK);
  EXPECT_EQ(factory->LockServer(FALSE), S_OK);
  EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
  EXPECT_EQ(factory->LockServer(FALSE), S_OK);
  EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST(ClassObject, ManyThreadsGetTheSameOne) {
  std::vector<IUnknown*> seen(16);
  std::vector<std::thread> threads;
  for (IUnknown*& slot : seen) {
    threads.emplace_back([&slot] {
      const auto factory = factory_of(CLSID_DialupConnection);
      slot = factory.get();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(std::set<IUnknown*>(seen.begin(), seen.end()).size(), 1U);
}

struct Flawed final : Object<Confined, IUnknown> {
  static inline HRESULT failure = S_OK;
  Flawed() {
    if (failure == E_OUTOFMEMORY) throw std::bad_alloc();
    throw StatusError(failure);
  }
};

TEST(ClassObject, TranslatesWhatACreatorThrows) {
  const ClassEntry entry{GUID_NULL, u"", u"", u"", u"", 0, create_instance<Flawed>, nullptr};
  const auto factory = ComPtr<CClassObject>::adopt(new CClassObject(entry));
  for (const HRESULT failure : {E_OUTOFMEMORY, E_ACCESSDENIED}) {
    Flawed::failure = failure;
    void* object = kStale;
    EXPECT_EQ(factory->CreateInstance(nullptr, IUnknown::kIid, &object), failure);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
  }
}

TEST(ClassTable, ProgIdsDifferByTheVersionAlone) {
  for (const ClassEntry& entry : class_table()) {
    EXPECT_EQ(std::u16string(entry.prog_id) + u".1", entry.prog_id_one);
    EXPECT_EQ(std::u16string(entry.coclass) + u" Class", entry.description);
  }
  EXPECT_EQ(std::u16string(class_table()[0].prog_id), u"Tallowbrook.Decoder");
}

TEST(Resources, AreFoundByIdAndLanguage) {
  EXPECT_EQ(string_resource(kStringNoName), "<no name>");
  EXPECT_EQ(string_resource(503), "Subject of this mail");
  EXPECT_EQ(string_resource(kStringProduct, kLanguageGerman), "Tallowbrook");
  EXPECT_EQ(string_resource(kStringNoName, kLanguageGerman), "<no name>") << "from English";
  EXPECT_EQ(string_resource(99), "");
}

}  // namespace
}  // namespace tallowbrook
