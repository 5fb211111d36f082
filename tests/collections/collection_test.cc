#include "collections/collection.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/creators.h"
#include "platform/automation/late_bound.h"
#include "platform/com/activation.h"
#include "streams/memory_stream.h"
#include "tallowbrook/class_ids.h"
#include "tests/collections/items.h"
#include "tests/support/host_stream.h"

namespace tallowbrook {
namespace {

using platform::ComPtr;
using platform::Variant;
using test::count_of;
using test::item;
using test::new_collection;
using test::saved;

void add_numbers(ICollection& list, LONG count) {
  for (LONG i = 0; i < count; ++i) ASSERT_EQ(list.Add(Variant(i)), S_OK);
}

std::vector<LONG> numbers(ICollection& list) {
  std::vector<LONG> all;
  for (LONG i = 0; i < count_of(list); ++i) all.push_back(item(list, i).lVal);
  return all;
}

ComPtr<IEnumVARIANT> enumerate(ICollection& list) {
  ComPtr<IUnknown> unknown;
  EXPECT_EQ(list.get__NewEnum(unknown.out()), S_OK);
  return unknown.query<IEnumVARIANT>();
}

// A class that loads another one of its kind from the same stream, without an end.
class Nested final : public test::PropertyBag<IPersistStream> {
 public:
  static constexpr CLSID kClass{0x6A1D41B7, 0x31C6, 0x4C0A, {0x9D, 0x11, 2, 3, 4, 5, 6, 7}};
  static inline int deepest = 0;

  HRESULT GetClassID(CLSID* clsid) override {
    *clsid = kClass;
    return S_OK;
  }
  HRESULT IsDirty() override { return S_OK; }
  HRESULT Load(IStream* stream) override {
    static int depth = 0;
    deepest = std::max(deepest, ++depth);
    const HRESULT status = read_object(*stream, inner_);
    --depth;
    return FAILED(status) ? status : S_OK;
  }
  HRESULT Save(IStream* stream, BOOL) override { return write_object(*stream, inner_.get()); }
  HRESULT GetSizeMax(ULARGE_INTEGER*) override { return E_NOTIMPL; }

 private:
  ComPtr<IUnknown> inner_;
};

TEST(Collection, AddressesItemsByPosition) {
  const auto list = new_collection();
  Variant value;
  EXPECT_EQ(list->get_Item(0, &value), E_FAIL);
  add_numbers(*list, 4);
  EXPECT_EQ(item(*list, -3).lVal, 0);
  EXPECT_EQ(item(*list, 3).lVal, 3);
  EXPECT_EQ(list->get_Item(4, &value), E_FAIL);
  EXPECT_EQ(list->Modify(1, Variant(std::u16string_view(u"one"))), S_OK);
  EXPECT_EQ(item(*list, 1).text(), u"one");
  EXPECT_EQ(list->Remove(1), S_OK);
  EXPECT_EQ(numbers(*list), (std::vector<LONG>{0, 2, 3}));
  for (const LONG outside : {-1, 3, 1000}) {
    EXPECT_EQ(list->Remove(outside), E_INVALIDARG);
    EXPECT_EQ(list->Modify(outside, Variant(5)), E_INVALIDARG);
  }
  EXPECT_EQ(list->get_Item(0, nullptr), E_POINTER);
  EXPECT_EQ(list->get_Count(nullptr), E_POINTER);
  EXPECT_EQ(list->get__NewEnum(nullptr), E_POINTER);
  EXPECT_EQ(list->ItemByID(Variant(0), &value), E_NOTIMPL);
  EXPECT_EQ(list->RemoveByID(Variant(0)), E_NOTIMPL);
  EXPECT_EQ(count_of(*list), 3);
  EXPECT_EQ(list->Clear(), S_OK);
  EXPECT_EQ(count_of(*list), 0);
}

TEST(Collection, AnswersLateCalls) {
  const auto list = new_collection();
  Variant value(2);
  OLECHAR count[] = u"Count";
  OLECHAR* names[] = {count};
  DISPID member = 7;
  EXPECT_EQ(list->GetIDsOfNames(IUnknown::kIid, names, 1, 0, &member), DISP_E_UNKNOWNINTERFACE);
  EXPECT_EQ(member, DISPID_UNKNOWN);
  EXPECT_EQ(
      list->Invoke(1, IUnknown::kIid, 0, DISPATCH_PROPERTYGET, nullptr, &value, nullptr, nullptr),
      DISP_E_UNKNOWNINTERFACE);
  EXPECT_EQ(value.vt, VT_EMPTY);
}

TEST(Collection, TakesCopiesWithoutIndirection) {
  const auto list = new_collection();
  Variant text(std::u16string_view(u"first"));
  EXPECT_EQ(list->Add(Variant::by_reference(&text)), S_OK);
  EXPECT_EQ(list->Add(Variant(0)), S_OK);
  EXPECT_EQ(list->Modify(1, Variant::by_reference(&text)), S_OK);
  text.bstrVal[0] = u'F';
  for (const LONG i : {0, 1}) {
    EXPECT_EQ(item(*list, i).vt, VT_BSTR);
    EXPECT_EQ(item(*list, i).text(), u"first");
  }
  VARIANT bad{};
  bad.vt = 0x777;
  EXPECT_TRUE(FAILED(list->Add(bad)));
  EXPECT_TRUE(FAILED(list->Modify(0, bad)));
  EXPECT_EQ(count_of(*list), 2);
  EXPECT_EQ(item(*list, 0).text(), u"first");
}

TEST(Collection, EnumeratesTheLiveSequence) {
  const auto locks = Module::locks();
  auto list = new_collection();
  add_numbers(*list, 5);
  auto walk = enumerate(*list);
  EXPECT_EQ(Module::locks(), locks + 2);
  VARIANT got[4];
  ULONG fetched = 9;
  EXPECT_EQ(walk->Next(1, nullptr, nullptr), E_POINTER);
  EXPECT_EQ(walk->Next(2, got, nullptr), E_POINTER);
  EXPECT_EQ(walk->Next(1, got, nullptr), S_OK);
  EXPECT_EQ(got[0].lVal, 0);
  EXPECT_EQ(walk->Skip(1), S_OK);
  ComPtr<IEnumVARIANT> twin;
  ASSERT_EQ(walk->Clone(twin.out()), S_OK);
  EXPECT_EQ(walk->Next(4, got, &fetched), S_FALSE);
  EXPECT_EQ(fetched, 3u);
  EXPECT_EQ(got[2].lVal, 4);
  EXPECT_EQ(walk->Skip(1), S_FALSE);
  EXPECT_EQ(walk->Reset(), S_OK);
  EXPECT_EQ(walk->Next(1, got, &fetched), S_OK);

  EXPECT_EQ(list->Remove(4), S_OK);
  EXPECT_EQ(twin->Next(1, got, &fetched), S_OK);
  EXPECT_EQ(got[0].lVal, 2);
  EXPECT_EQ(list->Clear(), S_OK);  // what is gone is never read
  EXPECT_EQ(twin->Next(1, got, &fetched), S_FALSE);
  EXPECT_EQ(twin->Skip(1), S_FALSE);
  add_numbers(*list, 4);
  list.reset();  // the enumerator keeps the collection
  EXPECT_EQ(twin->Next(4, got, &fetched), S_FALSE);
  EXPECT_EQ(fetched, 1u);
  EXPECT_EQ(got[0].lVal, 3);
  walk.reset();
  twin.reset();
  EXPECT_EQ(Module::locks(), locks);
}

TEST(Collection, NextClearsWhatItCopiedWhenAnItemFails) {
  struct Failing final : Object<Confined, IUnknown>, ItemSource {
    HRESULT copy_items(ULONG, ULONG, VARIANT* values, ULONG& copied) override {
      for (copied = 0; copied < 2; ++copied) {
        Variant(std::u16string_view(u"text")).detach_to(&values[copied]);
      }
      return E_OUTOFMEMORY;
    }
    ULONG item_count() override { return 3; }
  };
  const auto source = make_object<Failing>();
  const auto walk = make_object<CComEnumOnSTL>(source.get(), source.get());
  VARIANT got[3];
  ULONG fetched = 9;
  EXPECT_EQ(walk->Next(3, got, &fetched), E_OUTOFMEMORY);
  EXPECT_EQ(fetched, 0u);
  EXPECT_EQ(got[0].vt, VT_EMPTY);
  EXPECT_EQ(make_object<CComEnumOnSTL>(nullptr, nullptr)->Next(1, got, &fetched), E_FAIL);
}

// Large enough that a list which moves all that is behind an item takes minutes.
TEST(Collection, AMillionItemsComeAndGo) {
  const auto list = new_collection();
  constexpr LONG kCount = 1000000;
  add_numbers(*list, kCount);
  const auto walk = enumerate(*list);
  VARIANT got[100];
  ULONG fetched = 0;
  LONG next = 0;
  while (walk->Next(100, got, &fetched) == S_OK) {
    for (ULONG i = 0; i < fetched; ++i) ASSERT_EQ(got[i].lVal, next++);
  }
  EXPECT_EQ(next, kCount);
  for (LONG i = 0; i < kCount / 2; ++i) ASSERT_EQ(list->Remove(0), S_OK);
  EXPECT_EQ(item(*list, 0).lVal, kCount / 2);
}

// --- persistence ---------------------------------------------------------------------------------

ComPtr<ICollection> mixed_collection() {
  const auto list = new_collection();
  list->Add(Variant(-7));
  list->Add(Variant(std::u16string_view(u"a\0\x20AC", 3)));
  list->Add(Variant::date_value(36526.75));
  list->Add(Variant::boolean(true));
  list->Add(Variant(static_cast<IDispatch*>(nullptr)));  // does not survive
  list->Add(Variant(static_cast<IUnknown*>(nullptr)));
  list->Add(Variant(static_cast<IDispatch*>(list.get())));  // inside of itself: neither does this
  // Cannot be written, so it is not counted.
  list->Add(Variant(static_cast<IUnknown*>(make_object<test::PlainItem>().get())));
  Variant null;
  null.vt = VT_NULL;
  list->Add(null);
  list->Add(Variant());
  return list;
}

ComPtr<ICollection> loaded(const std::string& bytes, ULONG step = 1u << 20) {
  auto list = new_collection();
  add_numbers(*list, 2);
  test::HostStream stream(bytes, step);
  EXPECT_EQ(list.query<IPersistStreamInit>()->Load(&stream), S_OK);
  return list;
}

TEST(CollectionPersistence, WritesItsFormat) {
  const auto list = new_collection();
  list->Add(Variant(0x01020304));
  list->Add(Variant(std::u16string_view(u"hi")));
  const std::string expected(
      "\2\0\0\0"
      "\3\0"
      "\3\0\4\3\2\1"
      "\10\0"
      "\10\0\6\0\0\0h\0i\0\0\0",
      26);
  EXPECT_EQ(saved(*list), expected);
  list->Clear();
}

TEST(CollectionPersistence, ValuesSurvive) {
  const auto list = mixed_collection();
  const std::string bytes = saved(*list);
  EXPECT_EQ(bytes[0], 9);
  const VARTYPE kTypes[] = {VT_I4, VT_BSTR, VT_DATE, VT_BOOL, VT_UNKNOWN, VT_NULL, VT_EMPTY};
  for (const ULONG step : {1u, 7u, 4096u}) {
    const auto copy = loaded(bytes, step);
    ASSERT_EQ(count_of(*copy), 7);
    for (LONG i = 0; i < 7; ++i) EXPECT_EQ(item(*copy, i).vt, kTypes[i]);
    EXPECT_EQ(item(*copy, 0).lVal, -7);
    EXPECT_EQ(item(*copy, 1).text(), std::u16string_view(u"a\0\x20AC", 3));
    EXPECT_EQ(item(*copy, 2).date, 36526.75);
    EXPECT_EQ(item(*copy, 3).boolVal, VARIANT_TRUE);
  }
  list->Clear();  // it held itself
}

TEST(CollectionPersistence, CutAndHostileStreamsKeepWhatIsThere) {
  const auto list = mixed_collection();
  const std::string bytes = saved(*list);
  LONG before = 0;
  for (std::size_t length = 0; length <= bytes.size(); ++length) {
    const LONG count = count_of(*loaded(bytes.substr(0, length)));
    EXPECT_GE(count, before);
    before = count;
  }
  list->Clear();
  const std::string huge_count("\xFF\xFF\xFF\x7F\3\0\3\0\1\0\0\0", 12);
  EXPECT_EQ(numbers(*loaded(huge_count)), std::vector<LONG>{1});
  EXPECT_EQ(count_of(*loaded(std::string("\xFF\xFF\xFF\xFF\3\0\3\0\1\0\0\0", 12))), 0);
  EXPECT_EQ(count_of(*loaded(std::string("\1\0\0\0\10\0\10\0\xFE\xFF\xFF\xFFh\0", 14))), 0);

  const auto fresh = new_collection();
  const auto persist = fresh.query<IPersistStreamInit>();
  CLSID clsid{};
  EXPECT_EQ(persist->IsDirty(), S_OK);
  EXPECT_EQ(persist->GetClassID(&clsid), E_NOTIMPL);
  EXPECT_EQ(persist->GetSizeMax(nullptr), E_NOTIMPL);
  EXPECT_EQ(persist->Load(nullptr), E_POINTER);
  add_numbers(*fresh, 3);
  for (int good = 0; good < 6; ++good) {
    test::HostStream full;
    full.writes_before_failure = good;
    EXPECT_EQ(persist->Save(&full, TRUE), S_OK);
  }
  EXPECT_EQ(persist->InitNew(), S_OK);
  EXPECT_EQ(count_of(*fresh), 0);
}

TEST(CollectionPersistence, ObjectsAreCreatedAgainButNeverWithoutEnd) {
  const test::Registered<Nested> registered;
  const auto list = new_collection();
  list->Add(Variant(static_cast<IDispatch*>(make_object<Nested>().get())));
  list->Add(Variant(5));
  const std::string bytes = saved(*list);
  const auto copy = loaded(bytes);
  ASSERT_EQ(count_of(*copy), 2);
  EXPECT_EQ(item(*copy, 0).vt, VT_DISPATCH);
  EXPECT_EQ(item(*copy, 1).lVal, 5);
  // An object is an item also when its own Load fails, but not when its class id is cut.
  const std::size_t object_start = 4 + 2;
  EXPECT_EQ(count_of(*loaded(bytes.substr(0, object_start + sizeof(CLSID)))), 1);
  EXPECT_EQ(count_of(*loaded(bytes.substr(0, object_start + sizeof(CLSID) - 1))), 0);

  std::string endless("\1\0\0\0\11\0", 6);
  for (int i = 0; i < 10000; ++i) {
    endless.append(reinterpret_cast<const char*>(&Nested::kClass), sizeof(CLSID));
  }
  EXPECT_EQ(count_of(*loaded(endless)), 1);
  EXPECT_LE(Nested::deepest, 64);
}

}  // namespace
}  // namespace tallowbrook
