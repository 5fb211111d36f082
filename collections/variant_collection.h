// The family of variant collections: mix-ins over an object with a collection interface.
//
//   IMyCollectionOnSTLImpl                the sequence, _NewEnum, Count, items by position
//   IMyVariantCollectionOnSTLImpl         a sequence of VARIANTs: Add, Clear, removal and change by
//                                         position, change notifications, persistence in a stream
//   IVariantCollectionImpl                ICollection: indexes are positions, and the operations by
//                                         id are not built
//   IVariantWithStandardIDCollectionImpl  IDialupCollection: an index is a position or an id, which
//                                         is compared with the property "ID" of the items
//
// Stream format: the count of items (4 bytes), then each item's type (2 bytes) and, for an object
// (VT_DISPATCH), its class id and data, for any other value what WriteVariant writes
// (variant_stream.h). An item that cannot be written is not counted; a null object is, and Load
// passes it over. Where an object cannot be created again Load ends with the items before it, since
// nobody knows how long its data are, and so do the Loads of the collections around it; one whose
// own Load fails is an item nonetheless.
//
// Releasing an item, and reading its ID, can run a host's code, which may call the collection
// again: the sequence is always whole before that.
#pragma once

#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

#include "collections/discard.h"
#include "collections/enumerator.h"
#include "collections/variant_stream.h"
#include "core/erasable_vector.h"
#include "core/guard.h"
#include "core/object.h"
#include "platform/automation/late_bound.h"
#include "platform/storage/stream.h"
#include "tallowbrook/collections.h"

namespace tallowbrook {

// The copy policy of VARIANT sequences: what goes in and out is a deep copy without indirection.
struct VariantCopyPolicy {
  static HRESULT copy(VARIANT* target, const VARIANT& source) {
    if (owns_nothing(source.vt)) {
      *target = source;
      return S_OK;
    }
    if (source.vt == VT_DISPATCH) {
      *target = source;
      if (source.pdispVal != nullptr) source.pdispVal->AddRef();
      return S_OK;
    }
    VariantInit(target);
    return VariantCopyInd(target, &source);
  }

  // As ItemSource::copy_items, for a container that is indexed from 0 and knows its size.
  template <class Container>
  static HRESULT copy_items(const Container& items, ULONG index, ULONG wanted, VARIANT* values,
                            ULONG& copied) {
    for (; copied < wanted && index < items.size(); ++index, ++copied) {
      const HRESULT status = copy(&values[copied], items[index]);
      if (FAILED(status)) return status;
    }
    return copied < wanted ? S_FALSE : S_OK;
  }

 private:
  static constexpr bool owns_nothing(VARTYPE type) {
    return type <= VT_DATE || type == VT_BOOL || type == VT_ERROR ||
           (type >= VT_I1 && type <= VT_UINT);
  }
};

// The copy policy tells how items leave the container. The enumerator walks the live collection as
// an ItemSource, or the container itself when it is made for one.
template <class Base, class Container, class CopyPolicy = VariantCopyPolicy,
          class Enumerator = CComEnumOnSTL>
class IMyCollectionOnSTLImpl : public Base, private ItemSource {
 public:
  HRESULT get__NewEnum(IUnknown** enumerator) override {
    if (enumerator == nullptr) return E_POINTER;
    *enumerator = nullptr;
    return guarded([&] {
      IUnknown* self = nullptr;
      this->QueryInterface(IUnknown::kIid, reinterpret_cast<void**>(&self));
      const auto owner = platform::ComPtr<IUnknown>::adopt(self);
      if constexpr (std::is_constructible_v<Enumerator, IUnknown*, ItemSource*>) {
        *enumerator = make_object<Enumerator>(self, static_cast<ItemSource*>(this)).detach();
      } else {
        *enumerator = make_object<Enumerator>(self, items_).detach();
      }
      return S_OK;
    });
  }

  HRESULT get_Count(LONG* count) override {
    if (count == nullptr) return E_POINTER;
    *count = 0;
    return guarded([&] {
      *count = static_cast<LONG>(items_.size());
      return S_OK;
    });
  }

 protected:
  IMyCollectionOnSTLImpl() = default;
  explicit IMyCollectionOnSTLImpl(Container items) : items_(std::move(items)) {}

  // The item at `index`, the first one for a negative index; E_FAIL past the end.
  HRESULT item_at(LONG index, VARIANT* item) {
    if (item == nullptr) return E_POINTER;
    VariantInit(item);
    ULONG copied = 0;
    const ULONG from = index > 0 ? static_cast<ULONG>(index) : 0;
    const HRESULT status =
        guarded([&] { return CopyPolicy::copy_items(items_, from, 1, item, copied); });
    return status == S_FALSE ? E_FAIL : status;
  }

  Container items_;

 private:
  HRESULT copy_items(ULONG index, ULONG wanted, VARIANT* values, ULONG& copied) override {
    copied = 0;
    return guarded([&] { return CopyPolicy::copy_items(items_, index, wanted, values, copied); });
  }
  ULONG item_count() override { return static_cast<ULONG>(items_.size()); }
};

template <class Base>
class IMyVariantCollectionOnSTLImpl
    : public IMyCollectionOnSTLImpl<Base, ErasableVector<platform::Variant>> {
 public:
  HRESULT Add(VARIANT item) override {
    return guarded([&] {
      platform::Variant copy;
      const HRESULT status = VariantCopyInd(&copy, &item);
      if (FAILED(status)) return status;
      this->items_.push_back(std::move(copy));
      on_item_added(item);
      return S_OK;
    });
  }

  HRESULT Clear() override {
    clear_items();
    return S_OK;
  }

  HRESULT GetClassID(CLSID* clsid) override {
    if (clsid != nullptr) *clsid = GUID_NULL;
    return E_NOTIMPL;
  }
  HRESULT IsDirty() override { return S_OK; }  // nobody keeps track: always worth saving
  HRESULT GetSizeMax(ULARGE_INTEGER* size) override {
    if (size != nullptr) size->QuadPart = 0;
    return E_NOTIMPL;
  }
  HRESULT InitNew() override {
    clear_items();
    return S_OK;
  }

  // Keeps what could be read of a stream that ends early, and succeeds.
  HRESULT Load(IStream* stream) override {
    if (stream == nullptr) return E_POINTER;
    return guarded([&] {
      clear_items();
      LONG count = 0;
      if (FAILED(read_exactly(*stream, &count, sizeof(count)))) return S_OK;
      for (LONG i = 0; i < count; ++i) {
        VARTYPE type = VT_EMPTY;
        if (FAILED(read_exactly(*stream, &type, sizeof(type)))) break;  // nothing can follow
        platform::Variant item;
        bool lost = false;
        if (read_item(*stream, type, item, lost)) this->items_.push_back(std::move(item));
        if (!lost) continue;
        lose_place(*stream);
        break;
      }
      return S_OK;
    });
  }

  HRESULT save_item(IStream* stream) override { return this->Save(stream, FALSE); }

  // A medium that takes no more ends the writing without a failure status.
  HRESULT Save(IStream* stream, BOOL) override {
    if (stream == nullptr) return E_POINTER;
    return guarded([&] {
      const Saving saving(saving_);
      // The stream and the items may call back, so what is counted is what is written.
      const std::vector<platform::Variant> items = writable_items();
      const auto count = static_cast<LONG>(items.size());
      if (FAILED(write_exactly(*stream, &count, sizeof(count)))) return S_OK;
      for (const platform::Variant& item : items) {
        if (FAILED(write_exactly(*stream, &item.vt, sizeof(item.vt)))) break;
        const HRESULT status = item.vt == VT_DISPATCH ? write_object(*stream, item.pdispVal)
                                                      : WriteVariant(*stream, item);
        static_cast<void>(status);
      }
      return S_OK;
    });
  }

 protected:
  ~IMyVariantCollectionOnSTLImpl() override { discard(std::move(this->items_)); }

  // What the collection's `item_class` answers: that it is of class `clsid`. A collection that is
  // being saved cannot be one of its own items.
  HRESULT class_as_item(REFCLSID clsid, CLSID* own) const {
    *own = saving_ ? GUID_NULL : clsid;
    return saving_ ? E_FAIL : S_OK;
  }

  // For a derived class that reacts to changes. The value is the new one; for a removal the one
  // removed, and empty after `Clear`.
  virtual void on_item_added(const VARIANT&) {}
  virtual void on_item_modified(const VARIANT&) {}
  virtual void on_item_removed(const VARIANT&) {}

  // E_INVALIDARG for a position that is not in the sequence, which stays as it is.
  HRESULT remove_at(LONG index) {
    if (!holds(index)) return E_INVALIDARG;
    return guarded([&] {
      const platform::Variant removed = this->items_.take(static_cast<std::size_t>(index));
      on_item_removed(removed);
      return S_OK;
    });
  }

  HRESULT modify_at(LONG index, const VARIANT& item) {
    if (!holds(index)) return E_INVALIDARG;
    return guarded([&] {
      platform::Variant copy;
      const HRESULT status = VariantCopyInd(&copy, &item);
      if (FAILED(status)) return status;
      std::swap(this->items_[static_cast<std::size_t>(index)], copy);
      on_item_modified(item);
      return S_OK;
    });
  }

 private:
  [[nodiscard]] bool holds(LONG index) const {
    return index >= 0 && static_cast<std::size_t>(index) < this->items_.size();
  }

  void clear_items() {
    discard(std::exchange(this->items_, {}));
    on_item_removed(platform::Variant());
  }

  class Saving {
   public:
    explicit Saving(bool& flag) : flag_(flag), outer_(std::exchange(flag, true)) {}
    ~Saving() { flag_ = outer_; }
    Saving(const Saving&) = delete;
    Saving& operator=(const Saving&) = delete;

   private:
    bool& flag_;
    bool outer_;
  };

  [[nodiscard]] std::vector<platform::Variant> writable_items() const {
    constexpr std::size_t kMost = std::numeric_limits<LONG>::max();
    std::vector<platform::Variant> items;
    items.reserve(this->items_.size());
    for (std::size_t i = 0; i < this->items_.size() && items.size() < kMost; ++i) {
      const platform::Variant& item = this->items_[i];
      const bool object = item.vt == VT_UNKNOWN && item.punkVal != nullptr;
      items.push_back(item);
      if (object && !can_write_object(items.back().punkVal)) items.pop_back();
    }
    return items;
  }

  // False for something that is no item. `lost` is set when nothing behind it can be found, since
  // its length, or that of something in it, is unknown.
  static bool read_item(IStream& stream, VARTYPE type, platform::Variant& item, bool& lost) {
    if (type != VT_DISPATCH) return SUCCEEDED(ReadVariant(stream, item, &lost));
    platform::ComPtr<IUnknown> object;
    if (read_object(stream, object, FailedLoad::kKeeps, &lost) != S_OK) return false;
    auto dispatch = object.query<IDispatch>();
    if (!dispatch) return false;
    item.vt = VT_DISPATCH;
    item.pdispVal = dispatch.detach();
    return true;
  }

  bool saving_ = false;
};

template <class Base>
class IVariantCollectionImpl : public IMyVariantCollectionOnSTLImpl<Base> {
 public:
  HRESULT get_Item(LONG index, VARIANT* item) override { return this->item_at(index, item); }
  HRESULT Remove(LONG index) override { return this->remove_at(index); }
  HRESULT Modify(LONG index, VARIANT item) override { return this->modify_at(index, item); }

  HRESULT ItemID(LONG, VARIANT* id, VARIANT* item) override {
    if (id != nullptr) VariantInit(id);
    if (item != nullptr) VariantInit(item);
    return E_NOTIMPL;
  }
  HRESULT ItemByID(VARIANT, VARIANT* item) override {
    if (item != nullptr) VariantInit(item);
    return E_NOTIMPL;
  }
  HRESULT RemoveByID(VARIANT) override { return E_NOTIMPL; }
  HRESULT ModifyByID(VARIANT, VARIANT) override { return E_NOTIMPL; }
};

template <class Base>
class IVariantWithStandardIDCollectionImpl : public IMyVariantCollectionOnSTLImpl<Base> {
 public:
  HRESULT get_Item(VARIANT index, VARIANT* item) override {
    if (item == nullptr) return E_POINTER;
    VariantInit(item);
    return by_index(
        index, [&](LONG position) { return this->item_at(position, item); },
        [&](const VARIANT& id) { return ItemByID(id, item); });
  }
  HRESULT Remove(VARIANT index) override {
    return by_index(
        index, [&](LONG position) { return this->remove_at(position); },
        [&](const VARIANT& id) { return RemoveByID(id); });
  }
  HRESULT Modify(VARIANT index, VARIANT item) override {
    return by_index(
        index, [&](LONG position) { return this->modify_at(position, item); },
        [&](const VARIANT& id) { return ModifyByID(id, item); });
  }

  HRESULT ItemID(LONG index, VARIANT* id, VARIANT* item) override {
    if (id != nullptr) VariantInit(id);
    if (item != nullptr) VariantInit(item);
    if (id == nullptr || item == nullptr) return E_POINTER;
    return guarded([&] {
      platform::Variant object;
      platform::Variant own;
      if (FAILED(this->item_at(index, &object)) || !read_id(object, own)) return E_FAIL;
      own.detach_to(id);
      object.detach_to(item);
      return S_OK;
    });
  }

  HRESULT ItemByID(VARIANT id, VARIANT* item) override {
    if (item == nullptr) return E_POINTER;
    VariantInit(item);
    return by_id(id, [&](LONG, platform::Variant& found) {
      found.detach_to(item);
      return S_OK;
    });
  }
  HRESULT RemoveByID(VARIANT id) override {
    return by_id(id, [&](LONG position, platform::Variant&) { return this->remove_at(position); });
  }
  HRESULT ModifyByID(VARIANT id, VARIANT item) override {
    return by_id(
        id, [&](LONG position, platform::Variant&) { return this->modify_at(position, item); });
  }

 private:
  // An index of type VT_I4, however it was passed, is a position; any other value is an id.
  template <class AtPosition, class WithId>
  HRESULT by_index(const VARIANT& index, AtPosition&& at_position, WithId&& with_id) {
    return guarded([&] {
      platform::Variant value;
      const HRESULT status = VariantCopyInd(&value, &index);
      if (FAILED(status)) return status;
      return value.vt == VT_I4 ? at_position(value.lVal) : with_id(value);
    });
  }

  // Calls `then` with the position of the first item whose ID equals `id`, and the item; E_FAIL
  // when there is none. Items without an ID are passed over.
  template <class Then>
  HRESULT by_id(const VARIANT& id, Then&& then) {
    return guarded([&] {
      platform::Variant wanted;
      const HRESULT status = VariantCopyInd(&wanted, &id);
      if (FAILED(status)) return status;
      for (std::size_t i = 0; i < this->items_.size(); ++i) {
        platform::Variant item = this->items_[i];
        platform::Variant own;
        if (read_id(item, own) && same_id(wanted, own)) return then(static_cast<LONG>(i), item);
      }
      return E_FAIL;
    });
  }

  static bool read_id(const VARIANT& item, platform::Variant& id) {
    if (item.vt != VT_DISPATCH) return false;
    auto read = platform::invoke_by_name(item.pdispVal, u"ID", DISPATCH_PROPERTYGET, nullptr, 0);
    id = std::move(read.value);
    return SUCCEEDED(read.status);
  }

  // Ids of different types differ: the text "5" is not the number 5.
  static bool same_id(const VARIANT& a, const VARIANT& b) {
    if (a.vt != b.vt) return false;
    if (a.vt == VT_UI4) return a.ulVal == b.ulVal;
    return a.vt == VT_NULL || VarCmp(&a, &b, LOCALE_USER_DEFAULT, 0) == VARCMP_EQ;
  }
};

}  // namespace tallowbrook
