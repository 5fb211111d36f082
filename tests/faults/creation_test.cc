// For every n, the n-th allocation fails while objects are made through their class objects and
// described, and while the component registers itself: the status tells, nothing is left half-made,
// and the next call works.
#include <gtest/gtest.h>

#include "core/module.h"
#include "platform/automation/typeinfo.h"
#include "server/class_table.h"
#include "server/module.h"
#include "tests/faults/allocation.h"
#include "tests/support/scratch_folder.h"

extern "C" {
HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, void** object);
HRESULT DllRegisterServer();
HRESULT DllUnregisterServer();
}

namespace tallowbrook::test {
namespace {

using platform::ComPtr;

constexpr std::size_t kNever = 100'000;

// Calls `job(n)`, in which the n-th allocation fails, for n from 1 until none does: the first three
// hundred one by one, then every `stride`-th.
template <class Job>
void fail_each(std::size_t stride, Job&& job) {
  for (std::size_t n = 1; n < kNever; n += n < 300 ? 1 : stride) {
    bool failed = false;
    job(n, failed);
    if (!failed) return;
  }
  FAIL() << "the job never ends its allocations";
}

TEST(FailEveryAllocation, OfMakingAndDescribingAnObjectOfEachClass) {
  for (const ClassEntry& entry : class_table()) {
    fail_each(1, [&](std::size_t n, bool& failed) {
      // Class objects and type information are made anew.
      module_detach();
      module_attach();
      ComPtr<IClassFactory> factory;
      ComPtr<IDispatch> object;
      ComPtr<ITypeInfo> info;
      HRESULT found = E_FAIL;
      HRESULT made = E_FAIL;
      HRESULT described = E_FAIL;
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
      if (!factory) return;
      if (made == E_NOTIMPL) return;
      EXPECT_EQ(made, object ? S_OK : E_OUTOFMEMORY) << entry.script << ": " << n;
      if (!object) return;
      EXPECT_EQ(described, info ? S_OK : E_OUTOFMEMORY) << entry.script << ": " << n;
      EXPECT_EQ(object->GetTypeInfo(0, 0, info.out()), S_OK) << entry.script << ": " << n;
    });
    EXPECT_EQ(Module::locks(), 0) << entry.script;
  }
}

TEST(FailEveryAllocation, OfRegistering) {
  const ScratchRegistry registry;
  ASSERT_EQ(DllRegisterServer(), S_OK);
  const std::string whole = read_file(registry.machine());
  ASSERT_EQ(DllUnregisterServer(), S_OK);
  fail_each(97, [&](std::size_t n, bool& failed) {
    HRESULT status = E_FAIL;
    {
      const FailingAllocation failing(n);
      status = DllRegisterServer();
      failed = failing.happened();
    }
    ASSERT_TRUE(status == S_OK || status == E_OUTOFMEMORY) << n << ": " << std::hex << status;
    EXPECT_TRUE(status != S_OK || read_file(registry.machine()) == whole) << n;
    ASSERT_EQ(DllUnregisterServer(), S_OK) << n;
    ASSERT_EQ(read_file(registry.machine()), "") << n;
  });
}

}  // namespace
}  // namespace tallowbrook::test
