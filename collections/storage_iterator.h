// Items that live as elements of a storage, and the cursor over them.
//
// An item's element has the item's id for a name, in ten decimal digits: "0000000000",
// "0000000001", ... An object that implements IPersistStorage is a storage there, any other a
// stream. Elements with other names are nobody's items and are passed over. The position of an item
// is its place among them, in the order in which the storage lists them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/automation/variant.h"
#include "platform/com/activation.h"
#include "platform/storage/storage.h"

namespace tallowbrook {

[[nodiscard]] std::u16string element_name(ULONG id);
[[nodiscard]] std::optional<ULONG> element_id(std::u16string_view name);

// The status of a call on a storage that gives an object: a host's own may say that all is well and
// give none.
template <class T>
[[nodiscard]] HRESULT status_with(HRESULT status, const platform::ComPtr<T>& given) {
  return SUCCEEDED(status) && !given ? E_POINTER : status;
}

struct StoredItem {
  ULONG id = 0;
  DWORD type = 0;  // STGTY_*
};

// How items are made, stored and told their id.
struct CItemHelper {
  CLSID item_class{};

  // A new object of the item class, loaded from the element. STG_E_FILENOTFOUND when the element is
  // gone.
  HRESULT load(IStorage& storage, const StoredItem& element, VARIANT* item) const;

  // Saves the object into the element, in place of what is there when `replaces` is set, and
  // commits the storage; `type` becomes the element's. E_INVALIDARG for a value that is no object,
  // E_NOINTERFACE for an object that cannot be stored, STG_E_FILEALREADYEXISTS.
  HRESULT save(IStorage& storage, ULONG id, const VARIANT& item, bool replaces, DWORD& type) const;

  // Puts the object's property "ItemData"; an object without it is left alone.
  static void tell_id(const VARIANT& item, LONG id);
};

template <class Helper>
class CStorageIterator {
 public:
  static constexpr ULONG kEnd = 0xFFFFFFFF;

  // Past the end.
  CStorageIterator() = default;
  // At the item at `position`, or past the end when there is none.
  CStorageIterator(platform::ComPtr<IStorage> storage, ULONG position)
      : storage_(std::move(storage)) {
    const HRESULT status = storage_->EnumElements(0, nullptr, 0, walk_.out());
    if (FAILED(status_with(status, walk_))) return;
    position_ = 0;
    fetch();
    while (position_ < position) ++*this;
  }
  CStorageIterator(const CStorageIterator& other)
      : storage_(other.storage_), current_(other.current_), position_(other.position_) {
    if (!other.walk_) return;
    const HRESULT status = other.walk_->Clone(walk_.out());
    if (FAILED(status_with(status, walk_))) position_ = kEnd;
  }
  CStorageIterator(CStorageIterator&&) noexcept = default;
  CStorageIterator& operator=(CStorageIterator other) noexcept {
    std::swap(storage_, other.storage_);
    std::swap(walk_, other.walk_);
    std::swap(current_, other.current_);
    std::swap(position_, other.position_);
    return *this;
  }

  [[nodiscard]] bool at_end() const { return position_ == kEnd; }
  [[nodiscard]] ULONG position() const { return position_; }
  // The element here; there must be one.
  [[nodiscard]] const StoredItem& operator*() const { return current_; }
  [[nodiscard]] const StoredItem* operator->() const { return &current_; }

  // Goes on in the elements as they were listed when the cursor was made.
  CStorageIterator& operator++() {
    if (at_end()) return *this;
    ++position_;
    fetch();
    return *this;
  }

 private:
  // Makes the next element that is an item the current one.
  void fetch() {
    STATSTG element{};
    while (walk_->Next(1, &element, nullptr) == S_OK && element.pwcsName != nullptr) {
      const auto id = element_id(element.pwcsName);
      CoTaskMemFree(std::exchange(element.pwcsName, nullptr));
      if (!id) continue;
      current_ = {*id, element.type};
      return;
    }
    position_ = kEnd;
  }

  platform::ComPtr<IStorage> storage_;
  platform::ComPtr<IEnumSTATSTG> walk_;  // stands behind the current element
  StoredItem current_;
  ULONG position_ = kEnd;
};

}  // namespace tallowbrook
