// Content lies in counted boxes. A text box holds its bytes behind its own header, so a text is one
// allocation; a list box made for a known number of elements holds them likewise. Boxes die without
// recursion: a list that dies puts the lists among its elements on a chain.
#include "model/header_value.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "core/text.h"
#include "model/value_boxes.h"
#include "platform/automation/variant.h"

namespace tallowbrook {

using platform::ComPtr;
using platform::Variant;

// --- boxes ---------------------------------------------------------------------------------------

void HeaderValue::release(Box* box) {
  if (box->references == kImmortal) return;
  if (--box->references == 0) destroy(box);
}

void HeaderValue::destroy(Box* box) {
  switch (box->kind) {
    case ValueKind::Text:
      give_back(box);
      break;
    case ValueKind::List:
      destroy_list(static_cast<ListBox*>(box));
      break;
    case ValueKind::Address:
      delete static_cast<AddressBox*>(box);
      break;
    case ValueKind::AddressMap:
      if (box->home == 0) {
        delete static_cast<MapBox*>(box);
      } else {
        static_cast<MapBox*>(box)->~MapBox();
        give_back(box);
      }
      break;
    case ValueKind::TimeOfDay:
    case ValueKind::DateTime:
      delete static_cast<DateBox*>(box);
      break;
    case ValueKind::Raw:
      static_cast<RawBox*>(box)->~RawBox();
      give_back(box);
      break;
    case ValueKind::Foreign:
      delete static_cast<ForeignBox*>(box);
      break;
    case ValueKind::Empty:
    case ValueKind::Integer:
    case ValueKind::Character:
      break;
  }
}

void HeaderValue::destroy_list(ListBox* list) {
  list->forget_order();
  list->next = nullptr;
  ListBox* chain = list;
  while (chain != nullptr) {
    ListBox* dying = std::exchange(chain, chain->next);
    for (std::uint32_t i = 0; i < dying->size; ++i) {
      HeaderValue& item = dying->items()[i];
      if (item.kind_ == ValueKind::List && item.as<ListBox>().references == 1) {
        auto* inner = &item.as<ListBox>();
        inner->forget_order();
        inner->next = std::exchange(chain, inner);
        item.forget();
      }
      item.~HeaderValue();
    }
    dying->free();
  }
}

// The box to write to: this value's own, or the shared one of a pinned list or map.
template <class B>
B& HeaderValue::own() {
  B& shared = as<B>();
  if (shared.references == 1 || shared.pinned) return shared;
  B* copy;
  if constexpr (std::is_same_v<B, ListBox>) {
    copy = ListBox::make(static_cast<std::uint32_t>(shared.count()));
    for (std::size_t i = 0; i < shared.count(); ++i) copy->push(HeaderValue(shared.at(i)));
  } else {
    copy = new B(shared);
    copy->references = 1;
    copy->home = 0;
  }
  release(&shared);
  p_ = static_cast<Box*>(copy);
  return *copy;
}

HeaderValue::TextBox& HeaderValue::own_text(std::size_t room) {
  const std::string_view old = text_view();
  const std::size_t needed = old.size() + room;
  if (borrowed_ || as<TextBox>().references != 1 || as<TextBox>().home != 0) {
    TextBox* copy = TextBox::make(old, needed);
    drop();
    borrowed_ = false;
    number_ = 0;
    p_ = static_cast<Box*>(copy);
  } else {
    p_ = static_cast<Box*>(TextBox::grown(&as<TextBox>(), needed));
  }
  return as<TextBox>();
}

// --- construction --------------------------------------------------------------------------------

HeaderValue HeaderValue::text(std::string_view text) {
  return {ValueKind::Text, TextBox::make(text, text.size())};
}

HeaderValue HeaderValue::borrowed_text(std::string_view text) {
  if (text.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
    return HeaderValue::text(text);
  }
  HeaderValue value;
  value.kind_ = ValueKind::Text;
  value.borrowed_ = true;
  value.number_ = static_cast<std::int32_t>(text.size());
  value.p_ = const_cast<char*>(text.data());
  return value;
}

HeaderValue HeaderValue::integer(std::int32_t number) {
  HeaderValue value;
  value.kind_ = ValueKind::Integer;
  value.number_ = number;
  return value;
}

HeaderValue HeaderValue::character(std::int8_t character) {
  HeaderValue value;
  value.kind_ = ValueKind::Character;
  value.number_ = character;
  return value;
}

HeaderValue HeaderValue::address(HeaderValue address_text, HeaderValue name) {
  auto* box =
      new AddressBox{{.kind = ValueKind::Address}, std::move(address_text), std::move(name)};
  return {ValueKind::Address, box};
}

HeaderValue HeaderValue::map() {
  return {ValueKind::AddressMap, new MapBox{{.kind = ValueKind::AddressMap}, {}, {}}};
}

HeaderValue HeaderValue::map(SharedAddresses mailboxes) {
  return {ValueKind::AddressMap,
          new MapBox{{.kind = ValueKind::AddressMap}, {}, std::move(mailboxes)}};
}

HeaderValue HeaderValue::list() { return {ValueKind::List, ListBox::make(0)}; }

HeaderValue HeaderValue::list(HeaderValue first) {
  ListBox* box = ListBox::make(1);
  box->push(std::move(first));
  return {ValueKind::List, box};
}

HeaderValue HeaderValue::list(HeaderValue first, HeaderValue second) {
  ListBox* box = ListBox::make(2);
  box->push(std::move(first));
  box->push(std::move(second));
  return {ValueKind::List, box};
}

HeaderValue HeaderValue::list(HeaderValue first, HeaderValue second, HeaderValue third) {
  ListBox* box = ListBox::make(3);
  box->push(std::move(first));
  box->push(std::move(second));
  box->push(std::move(third));
  return {ValueKind::List, box};
}

HeaderValue HeaderValue::date_time(const DateFields& fields, std::string_view zone) {
  auto* box = new DateBox{{.kind = ValueKind::DateTime}, fields, {}, 0, {}};
  HeaderValue value(ValueKind::DateTime, box);
  box->set_zone(zone);
  return value;
}

HeaderValue HeaderValue::time_of_day(std::int32_t hour, std::int32_t minute, std::int32_t second,
                                     std::string_view zone) {
  HeaderValue value = date_time({.hour = hour, .minute = minute, .second = second}, zone);
  value.kind_ = value.as<Box>().kind = ValueKind::TimeOfDay;
  return value;
}

HeaderValue HeaderValue::raw(std::string_view bytes) {
  HeaderValue content = bytes.empty() ? HeaderValue() : text(bytes);
  void* memory = std::malloc(sizeof(RawBox));
  if (memory == nullptr) throw std::bad_alloc();
  auto* box = ::new (memory) RawBox{{.kind = ValueKind::Raw}, {}, {}};
  box->text = std::move(content);
  return {ValueKind::Raw, box};
}

HeaderValue HeaderValue::raw_content(std::size_t room) {
  HeaderValue value = raw();
  RawBox& box = value.as<RawBox>();
  box.open();
  box.memory->reserve(static_cast<ULONG>(room));
  return value;
}

HeaderValue HeaderValue::raw_stream(ComPtr<IStream> stream) {
  HeaderValue value = raw();
  value.set_stream(std::move(stream));
  return value;
}

HeaderValue HeaderValue::foreign(const Variant& variant) {
  return {ValueKind::Foreign, new ForeignBox{{.kind = ValueKind::Foreign}, variant}};
}

void HeaderValue::SetKind(ValueKind kind) {
  switch (kind) {
    case ValueKind::Empty:
      Reset();
      break;
    case ValueKind::Text:
      *this = text({});
      break;
    case ValueKind::Integer:
      *this = integer(0);
      break;
    case ValueKind::Character:
      *this = character(0);
      break;
    case ValueKind::Address:
      *this = address({}, {});
      break;
    case ValueKind::AddressMap:
      *this = map();
      break;
    case ValueKind::TimeOfDay:
      *this = time_of_day(0, 0, 0, {});
      break;
    case ValueKind::DateTime:
      *this = date_time({}, {});
      break;
    case ValueKind::List:
      *this = list();
      break;
    case ValueKind::Raw:
      *this = raw();
      break;
    case ValueKind::Foreign:
      *this = foreign(Variant());
      break;
  }
}

// --- joining -------------------------------------------------------------------------------------

void HeaderValue::Append(HeaderValue other) {
  switch (kind_) {
    case ValueKind::Text:
      if (other.is(ValueKind::Text)) AppendText(other.text_view());
      if (other.is(ValueKind::Character)) AppendChar(static_cast<char>(other.number_));
      break;
    case ValueKind::Integer:
    case ValueKind::Character:
      if (other.is(ValueKind::Integer) || other.is(ValueKind::Character)) {
        number_ = static_cast<std::int32_t>(static_cast<std::uint32_t>(number_) +
                                            static_cast<std::uint32_t>(other.number_));
      }
      break;
    case ValueKind::AddressMap:
      if (other.is(ValueKind::Address)) {
        mutable_entries().insert(other.address_text(), other.name());
      } else if (other.is(ValueKind::AddressMap)) {
        AddressMap& target = mutable_entries();
        for (const auto& [name, value] : other.entries()) target.insert(name, value);
      }
      break;
    case ValueKind::List:
      push_back(std::move(other));
      break;
    case ValueKind::Raw:
      if (other.is(ValueKind::Text)) {
        as<RawBox>().write(other.text_view());
      } else if (other.is(ValueKind::Raw) && !same_content(other)) {
        RawBox& box = as<RawBox>();
        if (!box.stream && !box.text.is_set() && !other.as<RawBox>().stream) {
          box.text = other.as<RawBox>().text;
        } else {
          box.write(other.raw_in_memory() ? other.raw_view() : std::string_view(other.raw_text()));
        }
      }
      break;
    default:
      break;
  }
}

void HeaderValue::AppendText(std::string_view bytes) {
  switch (kind_) {
    case ValueKind::Text: {
      if (bytes.empty()) break;
      TextBox& box = own_text(bytes.size());
      std::memcpy(box.bytes() + box.size, bytes.data(), bytes.size());
      box.size += static_cast<std::uint32_t>(bytes.size());
      break;
    }
    case ValueKind::Address: {
      HeaderValue& name = own<AddressBox>().name;
      if (!name.is_set()) {
        name = text(bytes);
      } else {
        name.AppendText(bytes);
      }
      break;
    }
    case ValueKind::Raw:
      as<RawBox>().write(bytes);
      break;
    default:
      break;
  }
}

void HeaderValue::AppendChar(char byte) {
  if (is(ValueKind::Text) || is(ValueKind::Raw)) AppendText({&byte, 1});
}

// --- reading -------------------------------------------------------------------------------------

namespace {

std::string clock_text(const DateFields& f) {
  char buffer[48];
  std::snprintf(buffer, sizeof buffer, "%02ld:%02ld:%02ld", static_cast<long>(f.hour),
                static_cast<long>(f.minute), static_cast<long>(f.second));
  return buffer;
}

std::string date_text(const DateFields& f) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%s, %ld %s %ld ", kWeekdayNames[weekday(f)],
                static_cast<long>(f.day), kMonthNames[f.month - 1], static_cast<long>(f.year));
  return buffer + clock_text(f);
}

}  // namespace

// Text: itself. Dates as RFC 5322 section 3.3 writes them (day not padded), empty when the fields
// are no date. Raw: all the content. Numbers in decimal, an address as its display name; anything
// else is empty.
std::string HeaderValue::AsText() const {
  switch (kind_) {
    case ValueKind::Text:
      return std::string(text_view());
    case ValueKind::Integer:
    case ValueKind::Character:
      return std::to_string(number_);
    case ValueKind::Address:
      return name().AsText();
    case ValueKind::TimeOfDay:
    case ValueKind::DateTime: {
      if (is(ValueKind::DateTime) && !is_valid(date())) return {};
      std::string result = is(ValueKind::DateTime) ? date_text(date()) : clock_text(date());
      if (!zone().empty()) result.append(" ").append(zone());
      return result;
    }
    case ValueKind::Raw:
      return raw_text();
    case ValueKind::Foreign: {
      Variant text;
      if (FAILED(VariantChangeType(&text, &variant(), 0, VT_BSTR))) return {};
      return to_ansi(text.text());
    }
    default:
      return {};
  }
}

HeaderValue HeaderValue::shared_text() const {
  if (is(ValueKind::Text)) return *this;
  if (is(ValueKind::Raw) && !as<RawBox>().stream) return as<RawBox>().text;
  return text(AsText());
}

std::string_view HeaderValue::address_text() const {
  return is(ValueKind::Address) ? as<AddressBox>().address.text_view() : std::string_view();
}

const HeaderValue& HeaderValue::name() const {
  return is(ValueKind::Address) ? as<AddressBox>().name : empty_value();
}

const DateFields& HeaderValue::date() const {
  static constexpr DateFields kNone{};
  return is(ValueKind::DateTime) || is(ValueKind::TimeOfDay) ? as<DateBox>().fields : kNone;
}

std::string_view HeaderValue::zone() const {
  return is(ValueKind::DateTime) || is(ValueKind::TimeOfDay) ? as<DateBox>().zone()
                                                             : std::string_view();
}

const AddressMap& HeaderValue::entries() const {
  static const AddressMap kNone;
  if (!is(ValueKind::AddressMap)) return kNone;
  as<MapBox>().open();
  return as<MapBox>().entries;
}

AddressMap& HeaderValue::mutable_entries() {
  if (!is(ValueKind::AddressMap)) *this = map();
  MapBox& box = own<MapBox>();
  box.open();
  return box.entries;
}

SharedAddresses HeaderValue::mailboxes() const {
  return is(ValueKind::AddressMap) ? as<MapBox>().mailboxes : nullptr;
}

const Variant& HeaderValue::variant() const {
  static const Variant kNone;
  return is(ValueKind::Foreign) ? as<ForeignBox>().value : kNone;
}

// --- lists ---------------------------------------------------------------------------------------

HeaderValue& HeaderValue::element(std::size_t index) {
  if (!is(ValueKind::List)) *this = list();
  ListBox& box = own<ListBox>();
  while (box.count() <= index) box.push({});
  return box.at(index);
}

void HeaderValue::push_back(HeaderValue value) {
  if (!is(ValueKind::List)) *this = list();
  own<ListBox>().push(std::move(value));
}

void HeaderValue::erase_element(std::size_t index) {
  if (index >= size()) return;
  const HeaderValue dying = own<ListBox>().take(index);
}

std::size_t HeaderValue::find_hashed(std::size_t hash, HashOf hash_of, const Fits& fits) const {
  return is(ValueKind::List) ? as<ListBox>().find(hash, hash_of, fits) : 0;
}

void HeaderValue::clear_elements() {
  if (!is(ValueKind::List)) return;
  ListBox& box = own<ListBox>();
  ListBox* dying = ListBox::make(box.is_inline() ? box.size : 0);
  box.forget_order();
  if (box.is_inline()) {
    ListBox::move_values(dying->block, box.items(), box.size);
  } else {
    dying->block = std::exchange(box.block, box.inline_block());
    dying->front = box.front;
    dying->capacity = std::exchange(box.capacity, 0);
  }
  box.front = 0;
  dying->size = std::exchange(box.size, 0);
  box.holes = 0;
  destroy_list(dying);
}

void HeaderValue::pin() {
  if (is(ValueKind::List)) {
    own<ListBox>().pinned = true;
  } else if (is(ValueKind::AddressMap)) {
    own<MapBox>().pinned = true;
  }
}

// --- raw content ---------------------------------------------------------------------------------

bool HeaderValue::raw_in_memory() const {
  return is(ValueKind::Raw) && (!as<RawBox>().stream || as<RawBox>().memory != nullptr);
}

bool HeaderValue::is_unopened_raw() const { return is(ValueKind::Raw) && !as<RawBox>().stream; }

std::string_view HeaderValue::raw_view() const {
  if (!is(ValueKind::Raw)) return {};
  const RawBox& box = as<RawBox>();
  return box.memory != nullptr ? box.memory->bytes() : box.text.text_view();
}

ComPtr<IStream> HeaderValue::stream() const {
  if (!is(ValueKind::Raw)) return {};
  as<RawBox>().open();
  return as<RawBox>().stream;
}

std::string HeaderValue::raw_text() const {
  if (raw_in_memory()) return std::string(raw_view());
  if (!is(ValueKind::Raw)) return {};
  CISSHelper copy;
  IStream& source = *as<RawBox>().stream;
  source.Seek({0}, STREAM_SEEK_SET, nullptr);
  copy.append_from(source);
  return std::string(copy.bytes());
}

void HeaderValue::set_stream(ComPtr<IStream> stream) {
  RawBox& box = as<RawBox>();
  box.text.Reset();
  ComPtr<CISSHelper> own = platform::query<CISSHelper>(stream.get());
  box.memory = own.get() == stream.get() ? own.get() : nullptr;  // a wrapper may pass queries on
  box.stream = std::move(stream);
}

bool HeaderValue::has_begin_line() const { return is(ValueKind::Raw) && as<RawBox>().begin_line; }

void HeaderValue::trim_raw() {
  if (is(ValueKind::Raw) && as<RawBox>().memory != nullptr) as<RawBox>().memory->trim();
}

void HeaderValue::set_begin_line() {
  if (is(ValueKind::Raw)) as<RawBox>().begin_line = true;
}

void* HeaderValue::companion() const {
  return is(ValueKind::Raw) ? as<RawBox>().companion : nullptr;
}

void HeaderValue::set_companion(void* companion) {
  if (is(ValueKind::Raw)) as<RawBox>().companion = companion;
}

// --- constants -----------------------------------------------------------------------------------

const HeaderValue& empty_value() {
  static constinit HeaderValue kEmpty;
  return kEmpty;
}

namespace {

constexpr std::string_view kEntryNames[] = {"ExtField",
                                            "Content-Type",
                                            "Content-Disposition",
                                            "Content-Transfer-Encoding",
                                            "Content-Description",
                                            "Content-ID"};

}  // namespace

std::string_view entry_name_text(EntryName name) {
  return kEntryNames[static_cast<std::size_t>(name)];
}

// Text boxes in static storage, each followed by its bytes; they are filled once, never counted
// (so threads may share them) and never freed.
HeaderValue entry_name(EntryName name) {
  constexpr std::size_t kRoom = sizeof(HeaderValue::TextBox) + 32;
  struct Boxes {
    alignas(HeaderValue::TextBox) std::byte memory[std::size(kEntryNames)][kRoom];
    Boxes() {
      for (std::size_t i = 0; i < std::size(kEntryNames); ++i) {
        auto* box = ::new (memory[i]) HeaderValue::TextBox{{.kind = ValueKind::Text}};
        box->references = kImmortal;
        box->size = box->capacity = static_cast<std::uint32_t>(kEntryNames[i].size());
        std::memcpy(box->bytes(), kEntryNames[i].data(), kEntryNames[i].size());
      }
    }
  };
  static Boxes boxes;
  auto* memory = boxes.memory[static_cast<std::size_t>(name)];
  HeaderValue value(ValueKind::Text, std::launder(reinterpret_cast<HeaderValue::TextBox*>(memory)));
  value.number_ = static_cast<std::int32_t>(name) + 1;
  return value;
}

}  // namespace tallowbrook
