// The family of variant collections: mix-ins over an object with a collection interface.
//
//   IMyCollectionOnSTLImpl         the sequence, _NewEnum, Count, items by position
//   IMyVariantCollectionOnSTLImpl  a vector of VARIANTs: Add, Clear, removal and change by
//   position,
//                                  change notifications, persistence in a stream
//   IVariantCollectionImpl         ICollection: indexes are positions, the operations by id are not
//                                  built
//
// A collection with ids of its items stands beside IVariantCollectionImpl and binds its interface
// to the same operations by position (`item_at`, `remove_at`, `modify_at`).
//
// Stream format: the count of items (4 bytes), then each item's type (2 bytes) and, for an object
// (VT_DISPATCH), its class id and data, for any other value what WriteVariant writes
// (variant_stream.h). Objects that are null or cannot be created again are passed over by Load; one
// whose own Load fails is an item nonetheless.
//
// Releasing an item can run a host's code, which may call the collection again: the sequence is
// always whole before an old item goes.
#pragma once

#include <utility>

#include "collections/enumerator.h"
#include "collections/variant_stream.h"
#include "core/erasable_vector.h"
#include "core/guard.h"
#include "core/object.h"
#include "platform/storage/stream.h"
#include "tallowbrook/collections.h"

namespace tallowbrook {

// The copy policy of VARIANT sequences: what goes in and out is a deep copy without indirection.
struct VariantCopyPolicy {
  static HRESULT copy(VARIANT* target, const VARIANT& source) {
    VariantInit(target);
    return VariantCopyInd(target, &source);
  }
};

// `Container` is indexed from 0 and knows its size.
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
      *enumerator = make_object<Enumerator>(self, static_cast<ItemSource*>(this)).detach();
      return S_OK;
    });
  }

  HRESULT get_Count(LONG* count) override {
    if (count == nullptr) return E_POINTER;
    *count = static_cast<LONG>(items_.size());
    return S_OK;
  }

 protected:
  // The item at `index`, the first one for a negative index; E_FAIL past the end.
  HRESULT item_at(LONG index, VARIANT* item) {
    if (item == nullptr) return E_POINTER;
    VariantInit(item);
    const HRESULT status = copy_item(index > 0 ? static_cast<ULONG>(index) : 0, item);
    return status == S_FALSE ? E_FAIL : status;
  }

  Container items_;

 private:
  HRESULT copy_item(ULONG index, VARIANT* item) override {
    if (index >= items_.size()) return S_FALSE;
    return guarded([&] { return CopyPolicy::copy(item, items_[index]); });
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
        if (read_item(*stream, type, item)) this->items_.push_back(std::move(item));
      }
      return S_OK;
    });
  }

  // A medium that takes no more ends the writing without a failure status.
  HRESULT Save(IStream* stream, BOOL) override {
    if (stream == nullptr) return E_POINTER;
    return guarded([&] {
      const auto count = static_cast<LONG>(this->items_.size());
      if (FAILED(write_exactly(*stream, &count, sizeof(count)))) return S_OK;
      for (std::size_t i = 0; i < this->items_.size(); ++i) {
        const platform::Variant item = this->items_[i];  // the stream may call back
        if (FAILED(write_exactly(*stream, &item.vt, sizeof(item.vt)))) break;
        const HRESULT status = item.vt == VT_DISPATCH ? write_object(*stream, item.pdispVal)
                                                      : WriteVariant(*stream, item);
        static_cast<void>(status);
      }
      return S_OK;
    });
  }

 protected:
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
    const auto removed = std::exchange(this->items_, {});
    on_item_removed(platform::Variant());
  }

  static bool read_item(IStream& stream, VARTYPE type, platform::Variant& item) {
    if (type != VT_DISPATCH) return SUCCEEDED(ReadVariant(stream, item));
    platform::ComPtr<IUnknown> object;
    if (read_object(stream, object, FailedLoad::kKeeps) != S_OK) return false;
    auto dispatch = object.query<IDispatch>();
    if (!dispatch) return false;
    item.vt = VT_DISPATCH;
    item.pdispVal = dispatch.detach();
    return true;
  }
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

}  // namespace tallowbrook
