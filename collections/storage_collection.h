// The collection whose items live in a storage (storage_iterator.h), and its enumerator.
#pragma once

#include <utility>

#include "collections/storage_container.h"
#include "collections/variant_collection.h"

namespace tallowbrook {

using StorageItems = CStorageCollectionContainer<CItemHelper>;

// The copy policy of storages: an item leaves as a new object that knows its id.
struct MyVariantCopy {
  static HRESULT copy_items(const StorageItems& items, ULONG index, ULONG wanted, VARIANT* values,
                            ULONG& copied);
};

// Walks the elements as they were listed when the enumerator was made or reset; one that is gone
// when it is its turn is passed over. A walk costs linear time, however many items each call takes.
class CComEnumWithIDOnSTL final : public Object<Shared, IEnumVARIANT> {
 public:
  CComEnumWithIDOnSTL(IUnknown* owner, StorageItems items)
      : owner_(owner), items_(std::move(items)), next_(items_.begin()) {}
  CComEnumWithIDOnSTL(IUnknown* owner, StorageItems items, StorageItems::iterator next)
      : owner_(owner), items_(std::move(items)), next_(std::move(next)) {}

  // When an item cannot be read, those of the same call are cleared and the position stays.
  HRESULT Next(ULONG wanted, VARIANT* values, ULONG* fetched) override;
  HRESULT Skip(ULONG count) override;
  HRESULT Reset() override;
  HRESULT Clone(IEnumVARIANT** clone) override;

 private:
  platform::ComPtr<IUnknown> owner_;
  StorageItems items_;
  StorageItems::iterator next_;
};

template <class Base>
class IStorageCollectionImpl
    : public IMyCollectionOnSTLImpl<Base, StorageItems, MyVariantCopy, CComEnumWithIDOnSTL> {
 public:
  explicit IStorageCollectionImpl(StorageItems items)
      : IMyCollectionOnSTLImpl<Base, StorageItems, MyVariantCopy, CComEnumWithIDOnSTL>(
            std::move(items)) {}

  HRESULT get_Item(LONG index, VARIANT* item) override { return this->item_at(index, item); }
  HRESULT ItemByID(LONG id, VARIANT* item) override {
    if (item == nullptr) return E_POINTER;
    VariantInit(item);
    return with(by_id(id),
                [&](const StoredItem& element) { return this->items_.read(element, item); });
  }

  HRESULT Add(VARIANT item) override {
    return take(item, kNoElement,
                [&](const VARIANT& object) { return this->items_.push_back(object); });
  }
  HRESULT Modify(LONG index, VARIANT item) override { return store(by_position(index), item); }
  HRESULT ModifyByID(LONG id, VARIANT item) override { return store(by_id(id), item); }

  HRESULT Remove(LONG index) override { return erase(by_position(index)); }
  HRESULT RemoveByID(LONG id) override { return erase(by_id(id)); }
  HRESULT Clear() override {
    return guarded([&] { return this->items_.clear(); });
  }

 protected:
  // For a derived class: the item that goes, empty when it cannot be read.
  virtual void on_item_removed(const VARIANT&) {}

 private:
  static constexpr LONG kNoElement = -1;

  // What finds the element that a call is about.
  auto by_position(LONG index) const {
    return [this, index]() -> std::optional<StoredItem> {
      if (index < 0) return std::nullopt;
      const auto found = this->items_.at(static_cast<ULONG>(index));
      return found.at_end() ? std::nullopt : std::optional<StoredItem>(*found);
    };
  }
  auto by_id(LONG id) const {
    return [this, id] { return this->items_.find(static_cast<ULONG>(id)); };
  }

  // E_FAIL when there is no such element.
  template <class Find, class Body>
  HRESULT with(const Find& find, const Body& body) {
    return guarded([&] {
      const std::optional<StoredItem> element = find();
      const HRESULT status = element ? body(*element) : E_FAIL;
      return status == STG_E_FILENOTFOUND ? E_FAIL : status;
    });
  }

  // An item that comes in is told its element's id first.
  template <class Body>
  HRESULT take(const VARIANT& item, LONG id, const Body& body) {
    return guarded([&] {
      platform::Variant object;
      const HRESULT status = VariantCopyInd(&object, &item);
      if (FAILED(status)) return status;
      CItemHelper::tell_id(object, id);
      return body(object);
    });
  }

  template <class Find>
  HRESULT store(const Find& find, const VARIANT& item) {
    return guarded([&] {
      const std::optional<StoredItem> element = find();
      return take(item, element ? static_cast<LONG>(element->id) : kNoElement,
                  [&](const VARIANT& object) {
                    return element ? this->items_.store(*element, object) : E_FAIL;
                  });
    });
  }

  template <class Find>
  HRESULT erase(const Find& find) {
    return with(find, [&](const StoredItem& element) {
      platform::Variant old;
      const HRESULT status = this->items_.erase(element, &old);
      if (SUCCEEDED(status)) on_item_removed(old);
      return status;
    });
  }
};

class CStorageCollection final
    : public IStorageCollectionImpl<Object<Shared, Dispatching<IComCollection>>> {
 public:
  using IStorageCollectionImpl::IStorageCollectionImpl;
};

// The items of class `item_class` that live in `storage`, which is not null. Throws std::bad_alloc.
[[nodiscard]] platform::ComPtr<IComCollection> make_storage_collection(IStorage* storage,
                                                                       REFCLSID item_class);

}  // namespace tallowbrook
