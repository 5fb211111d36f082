// CStorageCollectionContainer: a storage as a list of items.
//
// It holds the storage and nothing of what is in it: every call looks at the elements as they are,
// which others may change as well. So a call by position lists the elements; a walk with an
// iterator lists them once, a call by id looks at one, and additions in a row list them once.
#pragma once

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

#include "collections/storage_iterator.h"

namespace tallowbrook {

template <class Helper>
class CStorageCollectionContainer {
 public:
  using iterator = CStorageIterator<Helper>;

  CStorageCollectionContainer(platform::ComPtr<IStorage> storage, Helper helper)
      : storage_(std::move(storage)), helper_(helper) {}

  [[nodiscard]] const Helper& helper() const { return helper_; }

  [[nodiscard]] iterator begin() const { return at(0); }
  [[nodiscard]] iterator end() const { return {}; }
  [[nodiscard]] iterator at(ULONG position) const { return {storage_, position}; }
  [[nodiscard]] ULONG size() const {
    ULONG count = 0;
    for (auto item = begin(); !item.at_end(); ++item) ++count;
    return count;
  }
  // The element with the id, whatever its position.
  [[nodiscard]] std::optional<StoredItem> find(ULONG id) const {
    const std::u16string name = element_name(id);
    const DWORD mode = STGM_READ | STGM_SHARE_EXCLUSIVE;
    platform::ComPtr<IStream> stream;
    platform::ComPtr<IStorage> storage;
    HRESULT status = storage_->OpenStream(name.c_str(), nullptr, mode, 0, stream.out());
    if (SUCCEEDED(status_with(status, stream))) {
      return StoredItem{id, STGTY_STREAM};
    }
    status = storage_->OpenStorage(name.c_str(), nullptr, mode, nullptr, 0, storage.out());
    if (SUCCEEDED(status_with(status, storage))) {
      return StoredItem{id, STGTY_STORAGE};
    }
    return std::nullopt;
  }

  // The item as a new object that knows its id. `item` holds no value before.
  HRESULT read(const StoredItem& element, VARIANT* item) const {
    platform::Variant made;
    const HRESULT status = helper_.load(*storage_, element, &made);
    if (FAILED(status)) return status;
    Helper::tell_id(made, static_cast<LONG>(element.id));
    made.detach_to(item);
    return S_OK;
  }

  // Stores the item under the id behind the last one. When another writer takes that id meanwhile,
  // the next one is tried. STG_E_MEDIUMFULL when there is no id behind the last one.
  HRESULT push_back(const VARIANT& item) {
    constexpr int kMostTries = 100;
    HRESULT status = E_FAIL;
    ULONGLONG id = added_at_ != 0 && changed() == added_at_ ? next_ : behind_last();
    for (int i = 0; i < kMostTries; ++i, id = behind_last()) {
      if (id > std::numeric_limits<ULONG>::max()) return STG_E_MEDIUMFULL;
      DWORD type = 0;
      status = helper_.save(*storage_, static_cast<ULONG>(id), item, false, type);
      if (status != STG_E_FILEALREADYEXISTS) break;
    }
    added_at_ = SUCCEEDED(status) ? changed() : 0;
    next_ = id + 1;
    return status;
  }

  HRESULT store(const StoredItem& element, const VARIANT& item) {
    DWORD type = 0;
    return helper_.save(*storage_, element.id, item, true, type);
  }

  // Reads the item back into `old` first, where that is asked for and the item can be read.
  HRESULT erase(const StoredItem& element, VARIANT* old) {
    added_at_ = 0;
    if (old != nullptr) static_cast<void>(read(element, old));
    const HRESULT status = storage_->DestroyElement(element_name(element.id).c_str());
    return FAILED(status) ? status : commit_removal();
  }

  HRESULT clear() {
    added_at_ = 0;
    HRESULT status = S_OK;
    for (auto element = begin(); !element.at_end() && SUCCEEDED(status); ++element) {
      status = storage_->DestroyElement(element_name(element->id).c_str());
      if (status == STG_E_FILENOTFOUND) status = S_OK;
    }
    const HRESULT committed = commit_removal();
    return SUCCEEDED(status) ? committed : status;
  }

 private:
  HRESULT commit_removal() {
    const HRESULT status = storage_->Commit(STGC_CONSOLIDATE);
    return FAILED(status) ? storage_->Commit(STGC_DEFAULT) : status;
  }

  [[nodiscard]] ULONGLONG behind_last() const {
    ULONGLONG id = 0;
    for (auto element = begin(); !element.at_end(); ++element) {
      id = std::max(id, ULONGLONG{element->id} + 1);
    }
    return id;
  }

  // When elements last came or went; 0 when the storage does not tell.
  [[nodiscard]] ULONGLONG changed() const {
    STATSTG stat{};
    if (FAILED(storage_->Stat(&stat, STATFLAG_NONAME))) return 0;
    return (ULONGLONG{stat.mtime.dwHighDateTime} << 32) | stat.mtime.dwLowDateTime;
  }

  platform::ComPtr<IStorage> storage_;
  Helper helper_;
  // The last addition: `changed` behind it, or 0, and the next id.
  ULONGLONG added_at_ = 0;
  ULONGLONG next_ = 0;
};

}  // namespace tallowbrook
