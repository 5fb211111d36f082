// The content of values of each kind, for header_value.cc and header_block.h.
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

struct HeaderValue::AddressBox : Box {
  HeaderValue address;
  HeaderValue name;
};

// Nearly all zones are five characters long, and need no box of their own.
struct HeaderValue::DateBox : Box {
  DateFields fields;
  char short_zone[7] = {};
  std::uint8_t short_size = 0;
  HeaderValue long_zone;

  void set_zone(std::string_view zone) {
    if (zone.size() > sizeof short_zone) {
      long_zone = text(zone);
    } else {
      short_size = static_cast<std::uint8_t>(zone.copy(short_zone, sizeof short_zone));
    }
  }
  [[nodiscard]] std::string_view zone() const {
    return long_zone.is_set() ? long_zone.text_view() : std::string_view(short_zone, short_size);
  }
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
