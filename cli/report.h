// What `show` tells of a message, read from its automation properties once; the text form and the
// JSON form are both made from it. All texts are UTF-8 as the message gave them: not yet safe for a
// terminal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/host.h"
#include "cli/words.h"

namespace tallowbrook::cli {

struct Address {
  std::string name;     // empty when there is none
  std::string address;  // without angle brackets
};

// One header field, unfolded.
struct Field {
  std::string name;
  std::string value;
};

struct Trace {
  std::string value;  // unfolded
  std::string date;   // as Report::date
};

struct AddressField {
  const char* label;  // for people: "Reply-To"
  const char* key;    // in JSON: "replyTo"
  bool list;          // a list property; otherwise at most one address
  std::vector<Address> addresses;
};

// A body part. Parts stand in the order of the text; `parent` is an index into the same list.
struct Part {
  static constexpr std::size_t kNoParent = static_cast<std::size_t>(-1);

  std::size_t parent = kNoParent;
  std::size_t depth = 0;
  std::size_t position = 1;  // among its siblings
  bool last = true;          // no sibling follows
  bool embedded = false;     // the body of a message inside its parent
  bool inside = false;       // it lies in a message inside the message
  bool multipart = false;
  std::string type;  // "text/plain"
  std::string charset;
  std::string encoding;  // as the header names it; empty when the part does not say
  std::string disposition;
  std::string file_name;  // the sender's name for it, decoded; not safe to be used for a file
  std::string description;
  std::string content_id;
  std::string subject;  // of the embedded message, for its body
  std::optional<std::uint64_t>
      size;  // octets of the content on the wire; parts with children: none
  std::size_t children = 0;
};

struct Report {
  std::vector<AddressField> addresses;
  std::string subject;
  std::string date;  // "2024-03-05T09:15:00" in this machine's time, or the text as it stands
  std::string resent_date;
  std::string message_id;
  std::string mime_version;
  std::vector<Field> resent;  // recipients of a resent message
  std::vector<Trace> trace;
  std::vector<Field> extensions;
  std::vector<Part> parts;
  std::optional<std::string> body;  // the message's text, where it was asked for
};

// Messages inside messages are opened down to this depth; deeper ones are shown closed.
inline constexpr int kEmbeddedDepth = 32;

[[nodiscard]] Report read_report(const Object& message, const Words& words);

// The header fields as the message object would write them, unfolded, in that order. A date that
// the writer would make up is left out.
[[nodiscard]] std::vector<Field> read_header(const Object& message);

// True when two field names are the same but for the case of ASCII letters.
[[nodiscard]] bool same_name(std::string_view a, std::string_view b);

}  // namespace tallowbrook::cli
