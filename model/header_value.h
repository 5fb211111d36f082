// HeaderValue: the tagged value that holds every header field, parameter map, address list, date
// and body part of a message.
//
// A value is two words: its kind, a number, and a reference to the content. Copying it copies the
// reference; writing through a value whose content is shared makes the content its own first. Two
// contents are exceptions, because a part tree and the objects that a host holds on it share them:
//  - the content stream of a `Raw` value is an identity, whoever writes it;
//  - a list or map that was pinned (`pin`) is shared by reference from then on.
//
// Counting is plain: a value and all its copies belong to one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model/calendar.h"
#include "platform/com/unknown.h"
#include "platform/storage/stream.h"
#include "streams/memory_stream.h"

namespace tallowbrook {

namespace platform {
class Variant;
}

enum class ValueKind : std::int8_t {
  Empty = -1,      // absent
  Text = 0,        // 8-bit text
  Integer = 1,     // signed 32-bit
  Character = 2,   // signed 8-bit
  Address = 3,     // address text and display name
  AddressMap = 4,  // unique names, in byte order, to values
  TimeOfDay = 5,   // hour, minute, second, zone
  DateTime = 6,    // the six fields and the zone
  List = 7,        // values in order
  Raw = 8,         // unparsed text, or content bytes, behind a stream
  Foreign = 9,     // a host's VARIANT that no other kind can hold (parameters only)
};

class AddressList;
class AddressMap;
class HeaderValue;

// Names of field entries, held as texts that are never counted or freed.
enum class EntryName {
  ExtField,
  ContentType,
  ContentDisposition,
  ContentTransferEncoding,
  ContentDescription,
  ContentID,
};
[[nodiscard]] HeaderValue entry_name(EntryName name);
[[nodiscard]] std::string_view entry_name_text(EntryName name);

class HeaderValue {
 public:
  HeaderValue() = default;
  HeaderValue(const HeaderValue& other);
  HeaderValue(HeaderValue&& other) noexcept
      : kind_(other.kind_), borrowed_(other.borrowed_), number_(other.number_), p_(other.p_) {
    other.forget();
  }
  HeaderValue& operator=(const HeaderValue& other) {
    if (this != &other) *this = HeaderValue(other);
    return *this;
  }
  HeaderValue& operator=(HeaderValue&& other) noexcept;
  ~HeaderValue() { drop(); }

  [[nodiscard]] static HeaderValue text(std::string_view text);
  // A `Text` that only looks at bytes owned elsewhere, as its copies do. For the scanner's body
  // lines, which are consumed before the next token is read.
  [[nodiscard]] static HeaderValue borrowed_text(std::string_view text);
  // The same value with bytes of its own.
  [[nodiscard]] static HeaderValue owned(HeaderValue value) {
    return value.borrowed_ ? text(value.text_view()) : std::move(value);
  }
  [[nodiscard]] static HeaderValue integer(std::int32_t number);
  [[nodiscard]] static HeaderValue character(std::int8_t character);
  [[nodiscard]] static HeaderValue address(HeaderValue address_text, HeaderValue name);
  [[nodiscard]] static HeaderValue map();
  // A map of these mailboxes, which are sorted.
  [[nodiscard]] static HeaderValue map(std::shared_ptr<const AddressList> mailboxes);
  [[nodiscard]] static HeaderValue list();
  [[nodiscard]] static HeaderValue list(HeaderValue first);
  [[nodiscard]] static HeaderValue list(HeaderValue first, HeaderValue second);
  [[nodiscard]] static HeaderValue list(HeaderValue first, HeaderValue second, HeaderValue third);
  // `zone` as written: a sign and four digits, a zone name, or empty.
  [[nodiscard]] static HeaderValue date_time(const DateFields& fields, std::string_view zone);
  [[nodiscard]] static HeaderValue time_of_day(std::int32_t hour, std::int32_t minute,
                                               std::int32_t second, std::string_view zone);
  // Unparsed text that costs what it weighs; the stream comes into being when it is asked for.
  [[nodiscard]] static HeaderValue raw(std::string_view text = {});
  // A `Raw` value over a memory stream from the start, with room for so many bytes: for body
  // content.
  [[nodiscard]] static HeaderValue raw_content(std::size_t room = 0);
  // A `Raw` value over somebody's stream, which is shared, not copied.
  [[nodiscard]] static HeaderValue raw_stream(platform::ComPtr<IStream> stream);
  [[nodiscard]] static HeaderValue foreign(const platform::Variant& value);

  [[nodiscard]] ValueKind kind() const { return kind_; }
  [[nodiscard]] bool is(ValueKind kind) const { return kind_ == kind; }
  [[nodiscard]] bool is_set() const { return kind_ != ValueKind::Empty; }
  [[nodiscard]] bool is_integer(std::int32_t number) const {
    return kind_ == ValueKind::Integer && number_ == number;
  }

  void Reset() {
    drop();
    forget();
  }
  void SetKind(ValueKind kind);
  // Joins another value to this one: text to text, entries to a map, an element to a list, content
  // to a raw value; a combination without a meaning does nothing.
  void Append(HeaderValue other);
  // To a `Text`, to the name of an `Address`, to the content of a `Raw`.
  void AppendText(std::string_view text);
  void AppendChar(char byte);
  // The value as header text; see the kinds in the .cc file.
  [[nodiscard]] std::string AsText() const;
  // The same as a `Text` that no change of this value reaches; nothing is copied where it is one.
  // Empty for an empty text.
  [[nodiscard]] HeaderValue shared_text() const;

  // --- Text, Integer, Character -------------------------------------------------------------
  [[nodiscard]] std::string_view text_view() const;  // empty for other kinds
  [[nodiscard]] std::int32_t number() const { return number_; }
  // True for a text that is this name; costs no look at the text where `entry_name` made it.
  [[nodiscard]] bool is_entry_name(EntryName name) const;

  // --- Address ------------------------------------------------------------------------------
  [[nodiscard]] std::string_view address_text() const;
  [[nodiscard]] const HeaderValue& name() const;

  // --- TimeOfDay, DateTime ------------------------------------------------------------------
  [[nodiscard]] const DateFields& date() const;
  [[nodiscard]] std::string_view zone() const;

  // --- AddressMap ---------------------------------------------------------------------------
  [[nodiscard]] const AddressMap& entries() const;
  [[nodiscard]] AddressMap& mutable_entries();
  // The mailboxes that the map was made of, while nobody asked for its entries; else null.
  [[nodiscard]] std::shared_ptr<const AddressList> mailboxes() const;

  // --- List ---------------------------------------------------------------------------------
  [[nodiscard]] std::size_t size() const;  // 0 for other kinds
  // An element, or the shared empty value past the end.
  [[nodiscard]] const HeaderValue& operator[](std::size_t index) const;
  // An element to write to; the list grows by empty values when it is shorter.
  [[nodiscard]] HeaderValue& element(std::size_t index);
  // All elements side by side; nothing for a list from whose midst some were taken.
  [[nodiscard]] std::span<const HeaderValue> elements() const;
  void push_back(HeaderValue value);
  void erase_element(std::size_t index);
  void clear_elements();
  // A hash of what an element is looked up by, which stays the same while it is in the list.
  using HashOf = std::size_t (*)(const HeaderValue& element);
  using Fits = std::function<bool(const HeaderValue& element)>;
  // The position of the first element that fits; size() when there is none. All that fit have this
  // hash. The list keeps a table for one `hash_of`, so that n lookups, losses and additions cost
  // n log n.
  [[nodiscard]] std::size_t find_hashed(std::size_t hash, HashOf hash_of, const Fits& fits) const;

  // --- Raw ----------------------------------------------------------------------------------
  // The content where it lies in memory, else nothing (a host's stream is not looked through).
  [[nodiscard]] std::string_view raw_view() const;
  [[nodiscard]] bool raw_in_memory() const;
  // True while nobody asked for the content's stream.
  [[nodiscard]] bool is_unopened_raw() const;
  // The content's stream, made when it is first asked for.
  [[nodiscard]] platform::ComPtr<IStream> stream() const;
  // All the content; a host's stream is read from its start.
  [[nodiscard]] std::string raw_text() const;
  void set_stream(platform::ComPtr<IStream> stream);
  // Set when a uuencode begin line is among the lines of a body.
  [[nodiscard]] bool has_begin_line() const;
  void set_begin_line();
  // Content that is whole: gives back the room that was meant for more.
  void trim_raw();
  // An object that shows this content as something else; whoever sets it takes it away before the
  // object dies. Null when there is none.
  [[nodiscard]] void* companion() const;
  void set_companion(void* companion);

  // --- Foreign ------------------------------------------------------------------------------
  [[nodiscard]] const platform::Variant& variant() const;

  // From now on this list or map is shared by reference: copies made later see each other's
  // changes. Content shared with earlier copies is made this value's own first.
  void pin();
  // True when both refer to the very same content.
  [[nodiscard]] bool same_content(const HeaderValue& other) const {
    return p_ != nullptr && p_ == other.p_;
  }

  struct Box;
  struct Block;
  struct TextBox;
  struct ListBox;

 private:
  friend class HeaderBlock;
  struct AddressBox;
  struct DateBox;
  struct MapBox;
  struct RawBox;
  struct ForeignBox;
  friend HeaderValue entry_name(EntryName name);

  HeaderValue(ValueKind kind, Box* box) : kind_(kind), p_(box) {}
  void forget() {
    kind_ = ValueKind::Empty;
    borrowed_ = false;
    number_ = 0;
    p_ = nullptr;
  }
  void drop() {
    if (p_ != nullptr && !borrowed_) release(static_cast<Box*>(p_));
  }
  static void release(Box* box);
  static void destroy(Box* box);
  static void give_back(Box* box);
  static void destroy_list(ListBox* list);
  template <class B>
  B& as() const {
    return *static_cast<B*>(static_cast<Box*>(p_));
  }
  template <class B>
  B& own();
  TextBox& own_text(std::size_t room);

  ValueKind kind_ = ValueKind::Empty;
  bool borrowed_ = false;
  // Integer, Character; the length of a borrowed text, the number of an entry name, from 1.
  std::int32_t number_ = 0;
  void* p_ = nullptr;  // Box, or the bytes of a borrowed text
};
static_assert(sizeof(HeaderValue) == 16);

// The value that stands for every absent one.
[[nodiscard]] const HeaderValue& empty_value();

// Name to value, ordered by plain byte-wise comparison.
//
// The entries lie in order in blocks of a bounded size, none of them empty; one entry alone, as
// nearly all maps have, lies in the map itself. A name is found by halving; a position by walking
// over blocks, from the one where the last walk ended: it passes the entries of a block at a time,
// so reading or taking out all entries in whatever order costs little more than linear time.
class AddressMap {
 public:
  struct Entry {
    std::string name;
    HeaderValue value;
  };
  using Block = std::vector<Entry>;

  class Iterator {
   public:
    Iterator(const AddressMap& map, std::size_t block) : map_(&map), block_(block) {}
    const Entry& operator*() const { return map_->block(block_)[index_]; }
    Iterator& operator++() {
      if (++index_ == map_->block(block_).size()) {
        ++block_;
        index_ = 0;
      }
      return *this;
    }
    bool operator==(const Iterator&) const = default;

   private:
    const AddressMap* map_;
    std::size_t block_;
    std::size_t index_ = 0;
  };

  // Adds the entry unless the name is there already.
  void insert(std::string_view name, HeaderValue value);
  // The value under `name`, added empty when absent. Valid until the next change of the map.
  HeaderValue& at_or_add(std::string_view name);
  [[nodiscard]] const HeaderValue* find(std::string_view name) const;
  [[nodiscard]] HeaderValue* find(std::string_view name);
  bool erase(std::string_view name);
  // The entry at a position in map order; null past the end.
  [[nodiscard]] const Entry* at(std::size_t position) const;
  void erase_at(std::size_t position);  // position is below size()
  void clear();
  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] bool empty() const { return size_ == 0; }
  [[nodiscard]] Iterator begin() const { return {*this, 0}; }
  [[nodiscard]] Iterator end() const { return {*this, block_count()}; }

 private:
  struct Place {
    std::size_t block;  // block_count() behind the last entry
    std::size_t index;
  };

  [[nodiscard]] std::size_t block_count() const { return only_ ? 1 : blocks_.size(); }
  [[nodiscard]] std::span<const Entry> block(std::size_t block) const {
    return only_ ? std::span<const Entry>(&*only_, 1) : std::span<const Entry>(blocks_[block]);
  }

  [[nodiscard]] Place lower_bound(std::string_view name) const;
  [[nodiscard]] bool is_at(const Place& place, std::string_view name) const;
  [[nodiscard]] Place place_of(std::size_t position) const;
  [[nodiscard]] Entry& entry(const Place& place) {
    return only_ ? *only_ : blocks_[place.block][place.index];
  }
  void open_block();
  [[nodiscard]] Place make_room(Place place);
  HeaderValue& add(Place place, std::string_view name, HeaderValue value);
  void take_out(const Place& place);

  std::optional<Entry> only_;  // instead of a block
  std::vector<Block> blocks_;
  std::size_t size_ = 0;
  mutable std::size_t cursor_ = 0;         // the block where the last walk ended
  mutable std::size_t cursor_before_ = 0;  // entries in the blocks before it
};

}  // namespace tallowbrook

#include "model/list_box.h"  // IWYU pragma: export
