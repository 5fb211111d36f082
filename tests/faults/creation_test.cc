// For every n, the n-th allocation fails while objects are made through their class objects and
// described, and while the component registers itself: the status tells, nothing is left half-made,
// and the next call works.
#include <gtest/gtest.h>

#include "core/module.h"
#include "platform/automation/typeinfo.h"
#include "server/class_table.h"
#include "server/module.h"
#include "tests/faults/failing_calls.h"
#include "tests/support/scratch_folder.h"

extern "C" {
HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, void** object);
HRESULT DllRegisterServer();
HRESULT DllUnregisterServer();
}

namespace tallowbrook::test {
namespace {

using platform::ComPtr;

TEST(FailEveryAllocation, OfMakingAndDescribingAnObjectOfEachClass) {
  for (const ClassEntry& entry : class_table()) {
    const std::size_t last = fail_each([&](std::size_t n) {
      // Class objects and type information are made anew.
      module_detach();
      module_attach();
      ComPtr<IClassFactory> factory;
      ComPtr<IDispatch> object;
      ComPtr<ITypeInfo> info;
      HRESULT found = E_FAIL;
      HRESULT made = E_FAIL;
      HRESULT described = E_FAIL;
      bool failed = false;
      {
        const FailingAllocation failing(n);
        found = DllGetClassObject(entry.clsid, IClassFactory::kIid, factory.out_void());
        if (factory) {
          made = factory->CreateInstance(nullptr, IDispatch::kIid, object.out_void());
        }
        if (object) described = object->GetTypeInfo(0, 0, info.out());
        failed = failing.happened();
      }
      EXPECT_EQ(found, factory ? S_OK : E_OUTOFMEMORY) << entry.script << ": " << n;
      if (!factory || made == E_NOTIMPL) return failed;
      EXPECT_EQ(made, object ? S_OK : E_OUTOFMEMORY) << entry.script << ": " << n;
      if (!object) return failed;
      EXPECT_EQ(described, info ? S_OK : E_OUTOFMEMORY) << entry.script << ": " << n;
      EXPECT_EQ(object->GetTypeInfo(0, 0, info.out()), S_OK) << entry.script << ": " << n;
      return failed;
    });
    EXPECT_GT(last, 1U) << entry.script;
    EXPECT_EQ(Module::locks(), 0) << entry.script;
  }
}

TEST(FailEveryAllocation, OfRegistering) {
  const ScratchRegistry registry;
  ASSERT_EQ(DllRegisterServer(), S_OK);
  const std::string whole = read_file(registry.machine());
  ASSERT_EQ(DllUnregisterServer(), S_OK);
  const auto job = [&](std::size_t n) {
    HRESULT status = E_FAIL;
    bool failed = false;
    {
      const FailingAllocation failing(n);
      status = DllRegisterServer();
      failed = failing.happened();
    }
    EXPECT_TRUE(status == S_OK || status == E_OUTOFMEMORY) << n << ": " << std::hex << status;
    EXPECT_TRUE(status != S_OK || read_file(registry.machine()) == whole) << n;
    EXPECT_EQ(DllUnregisterServer(), S_OK) << n;
    EXPECT_EQ(read_file(registry.machine()), "") << n;
    return failed;
  };
  EXPECT_GT(fail_each(job, 97), 1U);
}

}  // namespace
}  // namespace tallowbrook::test
