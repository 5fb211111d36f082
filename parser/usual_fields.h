// Header fields as nearly all mail has them, taken in without the grammar.
//
// The scanner offers the text from a line start on for as long as fields are usual: a plain name,
// ":", a value up to a line end that no white space follows. What they say is then stored at once,
// as the grammar's actions would store it. Only fields whose values an ordinary load does not look
// into, or that have one of a few fixed values, are usual; the rest is left to the rules.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "model/message_store.h"

namespace tallowbrook {

class HeaderBlock;

class UsualFields {
 public:
  // Takes the field that `text` begins with. Returns its length with the line end; 0 when it is not
  // usual, is not all there with the byte behind it, or no more fields can be taken now. The bytes
  // must stay until `store`. In a part's header only Content- fields have a meaning.
  [[nodiscard]] std::size_t take(std::string_view text, bool in_part);

  [[nodiscard]] bool empty() const { return fields_.empty(); }
  void clear() {
    fields_.clear();
    multipart_.Reset();
    boundary_.clear();
  }

  // The boundary of a multipart's type among what was taken; empty when there is none.
  [[nodiscard]] const std::string& boundary() const { return boundary_; }

  // Stores what was taken, in order, and forgets it. Fields that have a slot or a list in the
  // message go there; the entries of the others are returned as a `List`, or nothing when there
  // are none.
  [[nodiscard]] HeaderValue store(MessageStore& store);

 private:
  enum class Form : std::uint8_t {
    Slot,       // unparsed
    SlotText,   // unstructured text
    Version,    // "1.0"
    Received,   // unparsed; this and what follows takes a list
    Entry,      // unparsed; this and what follows makes an entry, in a part's header too
    EntryText,  // unstructured text
    Encoding,   // one of the five encodings
    Multipart,  // a type, parsed
    Extension,  // unparsed
  };
  struct Known {
    std::string_view name;
    Form form;
    std::uint8_t which;  // SlotId or EntryName
  };
  struct Field {
    Form form;
    std::uint8_t which;     // SlotId or EntryName
    std::int32_t number;    // of an encoding
    std::string_view name;  // of an extension field
    std::string_view value;
  };
  class KnownNames;

  static const KnownNames& known_names();
  [[nodiscard]] std::size_t take_value(Field& field, std::string_view text, bool in_part);
  bool is_usual(Field& field);
  bool is_usual_multipart(Field& field);
  static std::size_t room_for(const Field& field);
  HeaderValue entry_of(const Field& field, HeaderBlock& block);

  std::vector<Field> fields_;
  HeaderValue multipart_;  // the type, of which one is taken at a time
  std::string boundary_;
};

}  // namespace tallowbrook
