// What a storage knows of the elements that are open from it: how to put them in their place.
// Internal to the storage room.
#pragma once

#include <memory>
#include <set>
#include <utility>

#include "platform/storage/elements.h"

namespace tallowbrook::platform {

class OpenElement;

// Shared by a storage and what was opened from it, whichever goes first.
using OpenElements = std::set<OpenElement*>;

// A stream or a storage that may have something to put in place. It is in its storage's set for as
// long as it lives.
class OpenElement {
 public:
  explicit OpenElement(std::shared_ptr<OpenElements> siblings) : siblings_(std::move(siblings)) {
    if (siblings_) siblings_->insert(this);
  }
  OpenElement(const OpenElement&) = delete;
  OpenElement& operator=(const OpenElement&) = delete;

  // Puts what is new in its place; S_OK when nothing is.
  virtual HRESULT publish(bool durable) = 0;
  // Forgets what is new.
  virtual void drop() = 0;
  // The elements that are open from this one; null for a stream.
  [[nodiscard]] virtual OpenElements* children() { return nullptr; }

 protected:
  ~OpenElement() {
    if (siblings_) siblings_->erase(this);
  }

 private:
  std::shared_ptr<OpenElements> siblings_;
};

struct NewStream {
  std::shared_ptr<OpenElements> siblings;
  std::shared_ptr<Elements> elements;  // where its content goes
  std::u16string name;
  DWORD mode = STGM_READ;
  Content content;      // what it starts with
  bool is_new = false;  // it has no place yet
};

// Throws std::bad_alloc.
[[nodiscard]] IStream* new_element_stream(NewStream stream);
[[nodiscard]] IEnumSTATSTG* new_element_list(std::shared_ptr<Elements> elements);

// A copy of the text for CoTaskMemFree. Throws std::bad_alloc.
[[nodiscard]] OLECHAR* task_copy(std::u16string_view text);

}  // namespace tallowbrook::platform
