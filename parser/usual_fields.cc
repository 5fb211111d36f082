#include "parser/usual_fields.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>

#include "core/fold_scan.h"
#include "core/text.h"
#include "model/body_part.h"
#include "model/header_block.h"
#include "parser/usual_values.h"

namespace tallowbrook {
namespace {

// Fields are stored in blocks of so many at most, and none of them is longer than this.
constexpr std::size_t kMostFields = 64;
constexpr std::size_t kMostBytes = 8192;
// From this many bytes on, a name is left to the rules.
constexpr std::size_t kMostName = 64;

constexpr std::array<bool, 256> kNameBytes = [] {
  std::array<bool, 256> table{};
  for (const char c : std::string_view("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                       "0123456789-_")) {
    table[static_cast<unsigned char>(c)] = true;
  }
  return table;
}();

bool is_blank(char c) { return c == ' ' || c == '\t'; }

bool is_usual_name(std::string_view name) {
  return std::all_of(name.begin(), name.end(),
                     [](char c) { return kNameBytes[static_cast<unsigned char>(c)]; });
}

// Whether bytes are the known ones, which are letters or hyphens: a letter has bit 0x40 and differs
// from its capital in bit 0x20.
template <class Bytes>
bool same_bytes(const char* known, const char* bytes) {
  Bytes a = 0;
  Bytes b = 0;
  std::memcpy(&a, known, sizeof a);
  std::memcpy(&b, bytes, sizeof b);
  constexpr auto kLetter = static_cast<Bytes>(0x4040404040404040);
  const auto either_case = static_cast<Bytes>((a & kLetter) >> 1);
  return ((a ^ b) & ~either_case) == 0;
}

bool same_name(std::string_view known, std::string_view name) {
  if (known.size() != name.size()) return false;
  std::size_t i = 0;
  for (; i + 8 <= known.size(); i += 8) {
    if (!same_bytes<std::uint64_t>(known.data() + i, name.data() + i)) return false;
  }
  for (; i < known.size(); ++i) {
    if (!same_bytes<std::uint8_t>(known.data() + i, name.data() + i)) return false;
  }
  return true;
}

std::string_view without_crs(std::string_view line) {
  while (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

// The length of the field's value from its start to the LF that ends it; npos when that is not
// there, or a line of white space, which ends the header, follows.
std::size_t value_length(std::string_view text) {
  for (std::size_t line = 0;;) {
    const std::size_t lf = line + skip_plain_folds(text.substr(line));
    if (lf + 1 >= text.size()) return text.npos;
    if (!is_blank(text[lf + 1])) return lf;
    line = lf + 2;
    while (line < text.size() && is_blank(text[line])) ++line;
    if (line == text.size() || text[line] == '\r' || text[line] == '\n') return text.npos;
  }
}

// Hands on the lines of unstructured text, without their folding. False for one with a CR inside.
template <class Take>
bool for_each_line(std::string_view value, Take&& take) {
  for (;;) {
    const std::size_t lf = value.find('\n');
    const std::string_view line = without_crs(value.substr(0, lf));
    if (line.find('\r') != line.npos) return false;
    take(line);
    if (lf == value.npos) return true;
    value.remove_prefix(value.find_first_not_of(" \t", lf + 1));
  }
}

bool is_one_text(std::string_view value) {
  return for_each_line(value, [](std::string_view) {});
}

HeaderValue joined_lines(HeaderBlock& block, std::string_view value) {
  if (value.find('\n') == value.npos) return block.text(value);
  std::string text;
  for_each_line(value, [&text](std::string_view line) { text.append(line); });
  return block.text(text);
}

}  // namespace

// The names that mean something, by their length.
class UsualFields::KnownNames {
 public:
  KnownNames() {
    for (const FieldInfo& field : all_fields()) {
      const bool text = field.rule == FieldRule::Text;
      add(field.name, text ? Form::SlotText : Form::Slot, static_cast<std::uint8_t>(field.slot));
    }
    add("Received", Form::Received, 0);
    add("MIME-Version", Form::Version, 0);
    add(EntryName::ContentType, Form::Entry);
    add(EntryName::ContentDisposition, Form::Entry);
    add(EntryName::ContentTransferEncoding, Form::Encoding);
    add(EntryName::ContentDescription, Form::EntryText);
    add(EntryName::ContentID, Form::EntryText);
  }

  [[nodiscard]] const Known* find(std::string_view name) const {
    if (name.size() > kLongest) return nullptr;
    for (const Known& known : by_length_[name.size()]) {
      if (same_name(known.name, name)) return &known;
    }
    return nullptr;
  }

 private:
  static constexpr std::size_t kLongest = 25;

  void add(std::string_view name, Form form, std::uint8_t which) {
    by_length_[name.size()].push_back({name, form, which});
  }
  void add(EntryName name, Form form) {
    add(entry_name_text(name), form, static_cast<std::uint8_t>(name));
  }

  std::array<std::vector<Known>, kLongest + 1> by_length_;
};

const UsualFields::KnownNames& UsualFields::known_names() {
  static const KnownNames names;
  return names;
}

// Whether the value is one that the form stands for.
bool UsualFields::is_usual(Field& field) {
  const std::string_view value = field.value;
  switch (field.form) {
    case Form::Slot:
    case Form::Received:
    case Form::Extension:
      return true;
    case Form::SlotText:
      return is_one_text(value);
    case Form::EntryText:
      return !value.empty() && is_one_text(value);
    case Form::Version:
      return value == "1.0";
    case Form::Entry:
      return !starts_ignoring_case(value, "multipart") ||
             static_cast<EntryName>(field.which) == EntryName::ContentDisposition ||
             is_usual_multipart(field);
    case Form::Multipart:
      return true;
    case Form::Encoding:
      for (field.number = kSevenBit; field.number <= kBinary; ++field.number) {
        if (equals_ignoring_case(value, encoding_name(field.number))) return true;
      }
      return false;
  }
  return false;
}

// A multipart's type is looked into, for its boundary.
bool UsualFields::is_usual_multipart(Field& field) {
  if (multipart_.is_set() || !read_usual_multipart(field.value, multipart_, boundary_))
    return false;
  field.form = Form::Multipart;
  return true;
}

std::size_t UsualFields::take(std::string_view text, bool in_part) {
  if (fields_.size() == kMostFields || text.starts_with("--")) return 0;
  const std::size_t at = text.substr(0, kMostName).find(':');
  if (at == 0 || at == text.npos) return 0;
  Field& field = fields_.emplace_back(Field{Form::Extension, 0, 0, text.substr(0, at), {}});
  const std::size_t length = take_value(field, text.substr(at + 1), in_part);
  if (length == 0) fields_.pop_back();
  return length == 0 ? 0 : at + 1 + length;
}

// The length of the field's value, with what is before it and its line end; 0 when it is not usual.
std::size_t UsualFields::take_value(Field& field, std::string_view text, bool in_part) {
  const Known* const known = known_names().find(field.name);
  if (known == nullptr && !is_usual_name(field.name)) return 0;
  if (known != nullptr) {
    const bool content = known->form >= Form::Entry;
    if (content || !in_part) {
      field.form = known->form;
      field.which = known->which;
    }
  }
  std::size_t at = 0;
  while (at < text.size() && is_blank(text[at])) ++at;
  text.remove_prefix(at);
  // The folding that a known name's value begins with belongs to the name.
  const std::size_t length = value_length(text.substr(0, kMostBytes + 2));
  if (length == text.npos || field.name.size() + 1 + at + length > kMostBytes) return 0;
  field.value = without_crs(text.substr(0, length));
  const bool folded_first =
      length > 0 && (text[0] == '\r' || text[0] == '\n') && !field.value.empty();
  if ((folded_first && field.form != Form::Extension) || !is_usual(field)) return 0;
  return at + length + 1;
}

std::size_t UsualFields::room_for(const Field& field) {
  const bool text = field.form == Form::SlotText || field.form == Form::EntryText;
  const bool raw = !text && field.form != Form::Version && field.form != Form::Encoding &&
                   field.form != Form::Multipart;
  std::size_t room = 0;
  if (text) room += HeaderBlock::room_for_text(field.value.size());
  if (raw) room += HeaderBlock::room_for_raw(field.value.size());
  if (field.form >= Form::Received) {  // an unparsed entry gets a third element when it is read
    room += HeaderBlock::room_for_list(field.form == Form::Entry ? 3 : 2);
  }
  if (field.form == Form::Extension) {
    room += HeaderBlock::room_for_list(2) + HeaderBlock::room_for_text(field.name.size());
  }
  return room;
}

HeaderValue UsualFields::store(MessageStore& store) {
  static_assert(kMostFields * (kMostBytes + 512) < HeaderBlock::kMostRoom);
  std::size_t room = 0;
  std::size_t traces = 0;
  std::size_t entries = 0;
  for (const Field& field : fields_) {
    room += room_for(field);
    if (field.form == Form::Received) ++traces;
    if (field.form >= Form::Entry) ++entries;
  }
  HeaderBlock block(room + HeaderBlock::room_for_list(traces) +
                    HeaderBlock::room_for_list(entries));
  const bool first_traces = traces > 0 && !store.received.is_set();
  if (first_traces) store.received = block.list_for(traces);
  HeaderValue list = entries > 0 ? block.list_for(entries) : HeaderValue();
  for (const Field& field : fields_) {
    if (field.form >= Form::Entry) {
      HeaderBlock::append(list, entry_of(field, block));
    } else if (field.form == Form::Slot) {
      store.store_field(static_cast<SlotId>(field.which), block.raw(field.value));
    } else if (field.form == Form::SlotText) {
      if (field.value.empty()) continue;
      store.store_field(static_cast<SlotId>(field.which), joined_lines(block, field.value));
    } else if (field.form == Form::Received) {
      HeaderValue record = block.list({}, block.raw(field.value));
      if (first_traces) {
        HeaderBlock::append(store.received, std::move(record));
      } else {
        store.received.push_back(std::move(record));
      }
    } else {
      store.store_mime_version(1, 0);
    }
  }
  clear();
  return list;
}

HeaderValue UsualFields::entry_of(const Field& field, HeaderBlock& block) {
  const HeaderValue name = entry_name(static_cast<EntryName>(field.which));
  switch (field.form) {
    case Form::EntryText:
      return block.list(name, joined_lines(block, field.value));
    case Form::Encoding:
      return block.list(name, HeaderValue::integer(field.number));
    case Form::Multipart:
      return block.list(name, multipart_);
    case Form::Extension:
      return block.list(name, block.list(block.text(field.name), block.raw(field.value)));
    default:
      return block.list(name, block.raw(field.value), true);
  }
}

}  // namespace tallowbrook
