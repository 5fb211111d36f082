// The content of values of each kind, for header_value.cc and header_block.cc. A text box holds its
// bytes behind its own header, so a text is one allocation.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

#include "model/address_list.h"
#include "model/list_box.h"
#include "platform/automation/variant.h"
#include "streams/block.h"

namespace tallowbrook {

struct HeaderValue::TextBox : Box {
  std::uint32_t size = 0;
  std::uint32_t capacity = 0;

  [[nodiscard]] char* bytes() { return reinterpret_cast<char*>(this + 1); }
  [[nodiscard]] std::string_view view() { return {bytes(), size}; }

  static TextBox* make(std::string_view text, std::size_t capacity) {
    if (capacity > kImmortal - sizeof(TextBox)) throw std::bad_alloc();
    void* memory = std::malloc(sizeof(TextBox) + capacity);
    if (memory == nullptr) throw std::bad_alloc();
    return place(memory, text, capacity);
  }

  // In memory for the header and `capacity` bytes.
  static TextBox* place(void* memory, std::string_view text, std::size_t capacity) {
    auto* box = ::new (memory) TextBox{{.kind = ValueKind::Text}};
    box->capacity = static_cast<std::uint32_t>(capacity);
    if (!text.empty()) std::memcpy(box->bytes(), text.data(), text.size());
    box->size = static_cast<std::uint32_t>(text.size());
    return box;
  }

  // The same box with room for `needed` bytes, perhaps elsewhere. Only for a box with one owner and
  // memory of its own.
  static TextBox* grown(TextBox* box, std::size_t needed) {
    if (needed <= box->capacity) return box;
    const std::size_t spare = std::min<std::size_t>(box->capacity, kMostSpare);
    const std::size_t wanted = std::max<std::size_t>(needed, box->capacity + spare);
    const std::size_t capacity = std::min<std::size_t>(wanted, kImmortal - sizeof(TextBox));
    if (needed > capacity) throw std::bad_alloc();
    void* memory = std::realloc(static_cast<void*>(box), sizeof(TextBox) + capacity);
    if (memory == nullptr) throw std::bad_alloc();
    auto* moved = static_cast<TextBox*>(memory);
    moved->capacity = static_cast<std::uint32_t>(capacity);
    return moved;
  }
};

struct HeaderValue::AddressBox : Box {
  HeaderValue address;
  HeaderValue name;
};

struct HeaderValue::DateBox : Box {
  DateFields fields;
  HeaderValue zone;
};

struct HeaderValue::MapBox : Box {
  AddressMap entries;
  SharedAddresses mailboxes;  // what the entries are to be made of when somebody asks for them

  void open() {
    if (mailboxes == nullptr) return;
    AddressMap made;
    for (std::size_t i = 0; i < mailboxes->size(); ++i) {
      const std::string_view name = mailboxes->name(i);
      made.insert(mailboxes->address(i), name.empty() ? HeaderValue() : text(name));
    }
    entries = std::move(made);
    mailboxes.reset();
  }
};

struct HeaderValue::RawBox : Box {
  HeaderValue text;                  // the content while no stream was asked for
  platform::ComPtr<IStream> stream;  // the content from then on
  CISSHelper* memory = nullptr;      // `stream` when it is one of ours
  void* companion = nullptr;         // not held
  bool begin_line = false;

  void open() {
    if (stream) return;
    adopt(CISSHelper::create_with(text.text_view(), 100000, 0));
    text.Reset();
  }
  void adopt(platform::ComPtr<CISSHelper> own) {
    memory = own.get();
    stream = std::move(own);
  }
  void write(std::string_view bytes) {
    if (memory != nullptr) {
      memory->write(bytes);
    } else if (stream) {
      if (!bytes.empty()) stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
    } else {
      if (!text.is_set()) text = HeaderValue::text({});
      text.AppendText(bytes);
    }
  }
};

struct HeaderValue::ForeignBox : Box {
  platform::Variant value;
};

}  // namespace tallowbrook
