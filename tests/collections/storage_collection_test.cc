#include "collections/storage_collection.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "streams/memory_stream.h"
#include "tests/collections/items.h"
#include "tests/support/element_names.h"

namespace tallowbrook::test {
namespace {

constexpr DWORD kWrite = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

// An object whose property "Text" is what is stored of it.
template <class Self, class Persist>
class StreamItemOf : public PropertyBag<Persist> {
 public:
  static inline int alive = 0;
  static inline HRESULT save_status = S_OK;
  StreamItemOf() { ++alive; }
  ~StreamItemOf() override { --alive; }

  HRESULT GetClassID(CLSID* clsid) override {
    *clsid = Self::kClass;
    return S_OK;
  }
  HRESULT IsDirty() override { return S_OK; }
  HRESULT GetSizeMax(ULARGE_INTEGER*) override { return E_NOTIMPL; }
  HRESULT Load(IStream* stream) override { return ReadVariant(*stream, this->values[u"Text"]); }
  HRESULT Save(IStream* stream, BOOL clear_dirty) override {
    EXPECT_TRUE(clear_dirty);
    const HRESULT status = WriteVariant(*stream, this->values[u"Text"]);
    return FAILED(save_status) ? save_status : status;
  }
};

class StreamItem final : public StreamItemOf<StreamItem, IPersistStream> {
 public:
  static constexpr CLSID kClass{0x51, 0, 0, {1}};
};

class InitItem final : public StreamItemOf<InitItem, IPersistStreamInit> {
 public:
  static constexpr CLSID kClass{0x52, 0, 0, {1}};
  HRESULT InitNew() override { return S_OK; }
};

// The same as a storage of its own.
class StorageItem final : public PropertyBag<IPersistStorage> {
 public:
  static constexpr CLSID kClass{0x53, 0, 0, {1}};
  bool completed = false;

  HRESULT GetClassID(CLSID*) override { return E_NOTIMPL; }
  HRESULT IsDirty() override { return S_OK; }
  HRESULT InitNew(IStorage*) override { return S_OK; }
  HRESULT Load(IStorage* storage) override {
    ComPtr<IStream> stream;
    const HRESULT status = storage->OpenStream(u"text", nullptr, STGM_READ, 0, stream.out());
    return FAILED(status) ? status : ReadVariant(*stream, values[u"Text"]);
  }
  HRESULT Save(IStorage* storage, BOOL same_as_load) override {
    EXPECT_FALSE(same_as_load);
    ComPtr<IStream> stream;
    const HRESULT status = storage->CreateStream(u"text", kWrite, 0, 0, stream.out());
    return FAILED(status) ? status : WriteVariant(*stream, values[u"Text"]);
  }
  HRESULT SaveCompleted(IStorage*) override {
    completed = true;
    return S_OK;
  }
  HRESULT HandsOffStorage() override { return S_OK; }
};

template <class Item>
ComPtr<Item> item_with(std::u16string_view text) {
  auto item = make_object<Item>();
  item->values[u"Text"] = Variant(text);
  return item;
}

class StorageCollection : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(StgCreateDocfile(nullptr, kWrite, 0, storage_.out()), S_OK);
    list_ = make_storage_collection(storage_.get(), StreamItem::kClass);
  }

  template <class Item = StreamItem>
  HRESULT add(std::u16string_view text) {
    return list_->Add(Variant(static_cast<IDispatch*>(item_with<Item>(text).get())));
  }
  void element(const OLECHAR* name) {
    ComPtr<IStream> stream;
    ASSERT_EQ(storage_->CreateStream(name, kWrite, 0, 0, stream.out()), S_OK);
  }
  Names names() { return test::names(*storage_); }
  static std::u16string shown(const VARIANT& item) {
    if (item.vt != VT_DISPATCH) return u"?";
    const auto text = platform::get(item.pdispVal, u"Text").value;
    const auto id = platform::get(item.pdispVal, u"ItemData").value;
    EXPECT_EQ(id.vt, VT_I4);
    std::u16string number;
    for (const char digit : std::to_string(id.lVal)) number += static_cast<char16_t>(digit);
    return number + u":" + std::u16string(text.text());
  }
  std::u16string item(LONG index) {
    Variant value;
    return outcome(list_->get_Item(index, &value), value);
  }
  std::u16string item_by_id(LONG id) {
    Variant value;
    return outcome(list_->ItemByID(id, &value), value);
  }
  static std::u16string outcome(HRESULT status, const Variant& value) {
    return status == S_OK ? shown(value) : status == E_FAIL ? u"none" : u"failed";
  }
  // All items, fetched `at_once` at a time.
  std::u16string all(ULONG at_once = 2) {
    ComPtr<IUnknown> unknown;
    EXPECT_EQ(list_->get__NewEnum(unknown.out()), S_OK);
    const auto walk = unknown.query<IEnumVARIANT>();
    std::u16string text;
    std::vector<Variant> got(at_once);
    ULONG fetched = 0;
    HRESULT status = S_OK;
    while (status == S_OK) {
      for (Variant& value : got) value.clear();
      status = walk->Next(at_once, got.data(), &fetched);
      for (ULONG i = 0; i < fetched; ++i) text += shown(got[i]) + u" ";
    }
    EXPECT_EQ(status, S_FALSE);
    return text;
  }
  LONG count() {
    LONG number = -1;
    EXPECT_EQ(list_->get_Count(&number), S_OK);
    return number;
  }

  ComPtr<IStorage> storage_;
  ComPtr<IComCollection> list_;
  Registered<StreamItem> stream_items_;
  Registered<InitItem> init_items_;
  Registered<StorageItem> storage_items_;
};

TEST(StorageElements, AreNamedByTenDigits) {
  EXPECT_EQ(element_name(0), u"0000000000");
  EXPECT_EQ(element_name(4294967295), u"4294967295");
  EXPECT_EQ(element_id(u"0000000012"), 12u);
  EXPECT_EQ(element_id(u"4294967295"), 4294967295u);
  for (const std::u16string_view other : {u"", u"12", u"00000000001", u"000000001 ", u"-000000001",
                                          u"4294967296", u"9999999999", u"000000000a"}) {
    EXPECT_EQ(element_id(other), std::nullopt);
  }
}

TEST_F(StorageCollection, ItemsAreElements) {
  EXPECT_EQ(count(), 0);
  EXPECT_EQ(item(0), u"none");
  for (const std::u16string_view text : {u"a", u"b", u"c", u"d", u"e"}) EXPECT_EQ(add(text), S_OK);
  EXPECT_EQ(names(),
            (Names{u"0000000000", u"0000000001", u"0000000002", u"0000000003", u"0000000004"}));
  EXPECT_EQ(item(0), u"0:a");
  EXPECT_EQ(item(-3), u"0:a");
  EXPECT_EQ(item(4), u"4:e");
  EXPECT_EQ(item(5), u"none");
  EXPECT_EQ(list_->Remove(2), S_OK);
  EXPECT_EQ(add(u"f"), S_OK);
  EXPECT_EQ(names().back(), u"0000000005");
  EXPECT_EQ(count(), 5);
  EXPECT_EQ(item(2), u"3:d");
  EXPECT_EQ(item_by_id(3), u"3:d");
  EXPECT_EQ(item_by_id(2), u"none");
  EXPECT_EQ(item_by_id(-1), u"none");
  for (const ULONG at_once : {1u, 2u, 5u, 100u}) EXPECT_EQ(all(at_once), u"0:a 1:b 3:d 4:e 5:f ");
  EXPECT_EQ(list_->RemoveByID(5), S_OK);
  EXPECT_EQ(add(u"g"), S_OK);  // the last id was free again
  EXPECT_EQ(all(), u"0:a 1:b 3:d 4:e 5:g ");
  const auto other = make_storage_collection(storage_.get(), StreamItem::kClass);
  EXPECT_EQ(other->RemoveByID(5), S_OK);  // what others do counts
  EXPECT_EQ(add(u"h"), S_OK);
  EXPECT_EQ(other->Add(Variant(static_cast<IDispatch*>(item_with<StreamItem>(u"i").get()))), S_OK);
  EXPECT_EQ(add(u"j"), S_OK);
  EXPECT_EQ(all(), u"0:a 1:b 3:d 4:e 5:h 6:i 7:j ");
  for (const LONG id : {7, 6}) EXPECT_EQ(list_->RemoveByID(id), S_OK);
  EXPECT_EQ(list_->Remove(5), E_FAIL);
  EXPECT_EQ(list_->Remove(-1), E_FAIL);
  EXPECT_EQ(list_->RemoveByID(2), E_FAIL);
  EXPECT_EQ(StreamItem::alive, 0);
  EXPECT_EQ(list_->Clear(), S_OK);
  EXPECT_EQ(names().size(), 0u);
}

// Large enough that listing the elements for each of them takes minutes.
TEST_F(StorageCollection, ManyItemsComeInARow) {
  for (int i = 0; i < 50000; ++i) ASSERT_EQ(add(u"a"), S_OK);
  EXPECT_EQ(count(), 50000);
}

TEST_F(StorageCollection, TellsObjectsWhereTheyLive) {
  const auto told = [](const ComPtr<StreamItem>& object) {
    return object->values[u"ItemData"].lVal;
  };
  const auto one = item_with<StreamItem>(u"one");
  Variant value(static_cast<IDispatch*>(one.get()));
  EXPECT_EQ(list_->Add(value), S_OK);
  EXPECT_EQ(told(one), -1);
  EXPECT_EQ(add(u"two"), S_OK);
  EXPECT_EQ(list_->Modify(1, Variant::by_reference(&value)), S_OK);
  EXPECT_EQ(told(one), 1);
  EXPECT_EQ(list_->Modify(2, value), E_FAIL);
  EXPECT_EQ(told(one), -1);
  EXPECT_EQ(list_->ModifyByID(0, value), S_OK);
  EXPECT_EQ(told(one), 0);
  EXPECT_EQ(list_->ModifyByID(7, value), E_FAIL);
  EXPECT_EQ(told(one), -1);
  EXPECT_EQ(list_->Modify(-1, value), E_FAIL);
  EXPECT_EQ(all(), u"0:one 1:one ");
}

TEST_F(StorageCollection, StoresObjectsAsTheyCanBe) {
  list_ = make_storage_collection(storage_.get(), InitItem::kClass);
  EXPECT_EQ(add<InitItem>(u"init"), S_OK);
  EXPECT_EQ(all(), u"0:init ");

  list_ = make_storage_collection(storage_.get(), StorageItem::kClass);
  const auto whole = item_with<StorageItem>(u"whole");
  EXPECT_EQ(list_->Add(Variant(static_cast<IDispatch*>(whole.get()))), S_OK);
  EXPECT_TRUE(whole->completed);
  EXPECT_EQ(item_by_id(1), u"1:whole");
  EXPECT_EQ(list_->Modify(0, Variant(static_cast<IUnknown*>(whole.query<IUnknown>().get()))), S_OK);
  EXPECT_EQ(all(), u"0:whole 1:whole ");  // a storage in the place of a stream

  list_ = make_storage_collection(storage_.get(), StreamItem::kClass);
  EXPECT_EQ(item(0), u"failed");  // an element of another kind than the class can read
  EXPECT_EQ(list_->Remove(0), S_OK);
  EXPECT_EQ(count(), 1);

  Variant got;
  list_ = make_storage_collection(storage_.get(), GUID_NULL);
  EXPECT_EQ(list_->get_Item(0, &got), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(list_->Remove(0), S_OK);
  EXPECT_EQ(list_->Add(Variant(5)), E_INVALIDARG);
  EXPECT_EQ(list_->Add(Variant(static_cast<IDispatch*>(nullptr))), E_INVALIDARG);
  EXPECT_EQ(list_->Add(Variant(static_cast<IDispatch*>(make_object<PlainItem>().get()))),
            E_NOINTERFACE);
  EXPECT_EQ(names().size(), 0u);
}

TEST_F(StorageCollection, AFailedSaveLeavesWhatWasThere) {
  EXPECT_EQ(add(u"old"), S_OK);
  StreamItem::save_status = E_ACCESSDENIED;
  EXPECT_EQ(add(u"new"), E_ACCESSDENIED);
  EXPECT_EQ(list_->Modify(0, Variant(static_cast<IDispatch*>(item_with<StreamItem>(u"n").get()))),
            E_ACCESSDENIED);
  StreamItem::save_status = S_OK;
  EXPECT_EQ(all(), u"0:old ");
}

TEST_F(StorageCollection, OtherElementsAreNobodysItems) {
  for (const OLECHAR* name : {u"1", u"000000000x", u"9999999999", u"~"}) element(name);
  EXPECT_EQ(count(), 0);
  EXPECT_EQ(add(u"a"), S_OK);
  EXPECT_EQ(add(u"b"), S_OK);
  EXPECT_EQ(all(), u"0:a 1:b ");
  EXPECT_EQ(list_->Clear(), S_OK);
  EXPECT_EQ(names().size(), 4u);

  element(u"4294967294");
  EXPECT_EQ(add(u"the last one"), S_OK);
  EXPECT_EQ(item(1), u"-1:the last one");
  EXPECT_EQ(item_by_id(-1), u"-1:the last one");
  EXPECT_EQ(add(u"one more"), STG_E_MEDIUMFULL);
  EXPECT_EQ(count(), 2);
}

TEST_F(StorageCollection, AWalkPassesOverWhatIsGone) {
  for (const std::u16string_view text : {u"a", u"b", u"c", u"d"}) EXPECT_EQ(add(text), S_OK);
  ComPtr<IUnknown> unknown;
  ASSERT_EQ(list_->get__NewEnum(unknown.out()), S_OK);
  const auto walk = unknown.query<IEnumVARIANT>();
  unknown.reset();
  list_->RemoveByID(1);
  Variant got;
  ULONG fetched = 0;
  EXPECT_EQ(walk->Next(2, &got, nullptr), E_POINTER);
  EXPECT_EQ(walk->Next(1, nullptr, &fetched), E_POINTER);
  EXPECT_EQ(walk->Next(1, &got, &fetched), S_OK);
  EXPECT_EQ(shown(got), u"0:a");
  ComPtr<IEnumVARIANT> twin;
  EXPECT_EQ(walk->Clone(twin.out()), S_OK);
  got.clear();
  EXPECT_EQ(twin->Next(1, &got, nullptr), S_OK);
  EXPECT_EQ(shown(got), u"2:c");
  EXPECT_EQ(walk->Skip(2), S_OK);
  EXPECT_EQ(walk->Skip(1), S_FALSE);
  EXPECT_EQ(walk->Reset(), S_OK);
  EXPECT_EQ(walk->Skip(1), S_OK);

  // One that cannot be read: nothing is handed out, and the position stays.
  ComPtr<IStream> stream;
  EXPECT_EQ(storage_->CreateStream(u"0000000003", kWrite | STGM_CREATE, 0, 0, stream.out()), S_OK);
  stream.reset();
  Variant both[2];
  EXPECT_EQ(walk->Next(2, both, &fetched), E_FAIL);
  EXPECT_EQ(fetched, 0u);
  EXPECT_EQ(both[0].vt, VT_EMPTY);
  got.clear();
  EXPECT_EQ(walk->Next(1, &got, nullptr), S_OK);
  EXPECT_EQ(shown(got), u"2:c");
}

}  // namespace
}  // namespace tallowbrook::test
