// For every n, the n-th allocation fails while collections are filled, saved, loaded, walked and
// kept in a storage: the status tells, what was there stays, and every reference is given back.
#include <gtest/gtest.h>

#include "collections/storage_collection.h"
#include "core/creators.h"
#include "platform/com/activation.h"
#include "streams/memory_stream.h"
#include "tallowbrook/class_ids.h"
#include "tests/faults/failing_calls.h"

extern "C" {
HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, void** object);
HRESULT DllCanUnloadNow();
HRESULT DllDescribeClasses(const ComponentClass** classes, ULONG* count);
}

namespace tallowbrook::test {
namespace {

using platform::ComPtr;
using platform::Variant;

bool expected(HRESULT status) {
  return SUCCEEDED(status) || status == E_OUTOFMEMORY || status == STG_E_MEDIUMFULL;
}

ComPtr<ICollection> new_list() {
  ComPtr<ICollection> list;
  static_cast<void>(create_collection(ICollection::kIid, list.out_void()));
  return list;
}

LONG count_of(ICollection& list) {
  LONG count = -1;
  EXPECT_EQ(list.get_Count(&count), S_OK);
  return count;
}

class FailingCollections : public ::testing::Test {
 protected:
  FailingCollections() {
    EXPECT_EQ(CoUseComponent(entries_), S_OK);
    list_ = new_list();
    const auto inner = new_list();
    EXPECT_EQ(inner->Add(Variant(std::u16string_view(u"inside"))), S_OK);
    EXPECT_EQ(list_->Add(Variant(std::u16string_view(u"a text"))), S_OK);
    EXPECT_EQ(list_->Add(Variant(static_cast<IDispatch*>(inner.get()))), S_OK);
    EXPECT_EQ(list_->Add(Variant(7)), S_OK);
  }
  ~FailingCollections() override { CoForgetComponent(entries_); }

  // Calls `job` with a failure of each of its allocations, and `tidy` before it without one.
  template <class Tidy, class Job>
  static void fail_each_allocation(Tidy&& tidy, Job&& job) {
    const auto locks = Module::locks();
    const auto attempt = [&](std::size_t n) {
      tidy();
      const FailingAllocation failing(n);
      job();
      EXPECT_EQ(Module::locks(), locks) << n;
      return failing.happened();
    };
    EXPECT_GT(fail_each(attempt), 1U);
  }

  ComPtr<ICollection> list_;

 private:
  ComponentEntries entries_{&DllGetClassObject, &DllCanUnloadNow, &DllDescribeClasses};
};

TEST_F(FailingCollections, FillWalkSaveAndLoad) {
  CISSHelper saved;
  ASSERT_EQ(list_.query<IPersistStream>()->Save(&saved, FALSE), S_OK);
  const std::string whole(saved.bytes());
  const auto nothing = [] {};
  fail_each_allocation(nothing, [&] {
    const auto copy = new_list();
    if (!copy) return;
    saved.rewind();
    const HRESULT loaded = copy.query<IPersistStream>()->Load(&saved);
    EXPECT_TRUE(expected(loaded)) << std::hex << loaded;
    const LONG before = count_of(*copy);
    const HRESULT added = copy->Add(Variant(8));
    EXPECT_EQ(count_of(*copy), before + (SUCCEEDED(added) ? 1 : 0));
    ComPtr<IUnknown> unknown;
    if (FAILED(copy->get__NewEnum(unknown.out()))) return;
    Variant got[5];
    ULONG fetched = 0;
    EXPECT_TRUE(expected(unknown.query<IEnumVARIANT>()->Next(5, got, &fetched)));
    EXPECT_TRUE(expected(copy->Remove(0)));
  });
  fail_each_allocation(nothing, [&] {
    CISSHelper target;
    EXPECT_TRUE(expected(list_.query<IPersistStream>()->Save(&target, FALSE)));
  });
  saved.Clear();
  EXPECT_EQ(list_.query<IPersistStream>()->Save(&saved, FALSE), S_OK);
  EXPECT_EQ(saved.bytes(), whole);
}

TEST_F(FailingCollections, ItemsOfAStorage) {
  ComPtr<IStorage> storage;
  ASSERT_EQ(StgCreateDocfile(nullptr, STGM_READWRITE, 0, storage.out()), S_OK);
  const auto items = make_storage_collection(storage.get(), CLSID_Collection);
  const Variant item(static_cast<IDispatch*>(list_.get()));
  ASSERT_EQ(items->Add(item), S_OK);
  // An element that cannot be looked for is not found.
  const auto storage_expected = [](HRESULT status) {
    return expected(status) || status == E_FAIL || status == STG_E_FILEALREADYEXISTS;
  };
  const auto keep_one = [&] {
    while (items->Remove(1) == S_OK) {
    }
  };
  fail_each_allocation(keep_one, [&] {
    EXPECT_TRUE(storage_expected(items->Add(item)));
    EXPECT_TRUE(storage_expected(items->Modify(0, item)));
    Variant got;
    EXPECT_TRUE(storage_expected(items->ItemByID(0, &got)));
    ComPtr<IUnknown> unknown;
    if (FAILED(items->get__NewEnum(unknown.out()))) return;
    Variant all[3];
    ULONG fetched = 0;
    EXPECT_TRUE(storage_expected(unknown.query<IEnumVARIANT>()->Next(3, all, &fetched)));
  });
  Variant got;
  EXPECT_EQ(items->get_Item(0, &got), S_OK);
  EXPECT_EQ(count_of(*platform::query<ICollection>(got.pdispVal)), 3);
}

}  // namespace
}  // namespace tallowbrook::test
