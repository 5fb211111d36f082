// The elements of one storage, apart from the interfaces over them: what MemoryElements and
// FolderElements have in common. Internal to the storage room.
//
// Names here are valid ones (`is_element_name`). Statuses are those of storage.h; functions that
// take memory throw std::bad_alloc.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/storage/storage.h"

namespace tallowbrook::platform {

// The content of a stream as it stood at some time; never null, and never changed.
using Content = std::shared_ptr<const std::string>;

struct ElementName {
  std::u16string name;
  DWORD type = 0;  // STGTY_*
};

// What Stat tells of an element besides its name.
struct ElementFacts {
  DWORD type = 0;
  ULONGLONG size = 0;
  FILETIME created{};
  FILETIME accessed{};
  FILETIME modified{};
  CLSID clsid{};  // of a storage
  DWORD state_bits = 0;
};

// Times to set; null ones stay.
struct ElementTimes {
  const FILETIME* created;
  const FILETIME* accessed;
  const FILETIME* modified;
};

// How an element comes to its place.
struct Placing {
  bool replaces = false;  // else STG_E_FILEALREADYEXISTS for a name that is taken
  bool durable = true;    // its content is on the disk before its name is
};

class Elements {
 public:
  virtual ~Elements() = default;

  // All elements, in the order of their names.
  virtual HRESULT list(std::vector<ElementName>& names) = 0;
  virtual HRESULT facts(std::u16string_view name, ElementFacts& facts) = 0;
  virtual HRESULT own_facts(ElementFacts& facts) = 0;

  virtual HRESULT read(std::u16string_view name, Content& content) = 0;
  virtual HRESULT open(std::u16string_view name, std::shared_ptr<Elements>& storage) = 0;
  // A new storage that has no place yet. It is gone with its last reference unless it is placed.
  virtual HRESULT make(std::shared_ptr<Elements>& storage) = 0;

  // Each in one step: whoever looks finds the old element or the new one.
  virtual HRESULT place(std::u16string_view name, const Content& content, Placing how) = 0;
  virtual HRESULT place(std::u16string_view name, Elements& made_here, Placing how) = 0;
  virtual HRESULT remove(std::u16string_view name) = 0;
  virtual HRESULT rename(std::u16string_view name, std::u16string_view new_name) = 0;

  // An empty name means the storage itself.
  virtual HRESULT set_times(std::u16string_view name, const ElementTimes& times) = 0;
  virtual HRESULT set_identity(const CLSID& clsid, DWORD state_bits) = 0;

  // Waits until names that were placed and removed are on the disk.
  virtual HRESULT flush() = 0;
  // Clears away what processes left that were killed while they wrote.
  virtual void consolidate() = 0;
};

[[nodiscard]] bool is_element_name(std::u16string_view name);

[[nodiscard]] std::shared_ptr<Elements> make_memory_elements();

}  // namespace tallowbrook::platform
