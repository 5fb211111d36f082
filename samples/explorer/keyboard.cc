#include "samples/explorer/keyboard.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace bramblescope {
namespace {

constexpr char kEscapeByte = '\x1B';

// The bytes of a character in UTF-8 that begins with `lead`; 1 for what begins none.
std::size_t character_size(char lead) {
  const auto byte = static_cast<unsigned char>(lead);
  return byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
}

// The bytes of the control sequence at the front (ECMA-48 section 5.4, and the three-byte form of
// some keypads); 0 while it is not whole.
std::size_t sequence_size(std::string_view bytes) {
  if (bytes.size() < 2) return 0;
  if (bytes[1] == 'O') return bytes.size() < 3 ? 0 : 3;
  if (bytes[1] != '[') return 1;  // the key Esc and then another
  for (std::size_t i = 2; i < bytes.size(); ++i) {
    if (bytes[i] >= 0x40 && bytes[i] <= 0x7E) return i + 1;
  }
  return 0;
}

// What follows the escape, and its key. Terminals differ.
constexpr std::pair<std::string_view, Key::Kind> kSequences[] = {
    {"", Key::kEscape},     {"[A", Key::kUp},    {"OA", Key::kUp},  //
    {"[B", Key::kDown},     {"OB", Key::kDown},                     //
    {"[C", Key::kRight},    {"OC", Key::kRight},                    //
    {"[D", Key::kLeft},     {"OD", Key::kLeft},                     //
    {"[H", Key::kHome},     {"OH", Key::kHome},  {"[1~", Key::kHome},
    {"[7~", Key::kHome},    {"[F", Key::kEnd},   {"OF", Key::kEnd},
    {"[4~", Key::kEnd},     {"[8~", Key::kEnd},  {"[3~", Key::kDelete},  //
    {"[5~", Key::kPageUp},                                               //
    {"[6~", Key::kPageDown}};

std::optional<Key> sequence_key(std::string_view sequence) {
  for (const auto& [bytes, kind] : kSequences) {
    if (sequence.substr(1) == bytes) return Key{kind, {}};
  }
  return std::nullopt;
}

std::optional<Key> control_key(char byte) {
  switch (byte) {
    case '\r':
    case '\n':
      return Key{Key::kEnter, {}};
    case '\x7F':
    case '\b':
      return Key{Key::kBackspace, {}};
    case '\x15':
      return Key{Key::kClear, {}};
    case '\x01':
      return Key{Key::kHome, {}};
    case '\x05':
      return Key{Key::kEnd, {}};
    case '\x03':
    case '\x04':
      return Key{Key::kQuit, {}};
    default:
      return std::nullopt;
  }
}

}  // namespace

std::vector<Key> take_keys(std::string& bytes, bool complete) {
  std::vector<Key> keys;
  std::string_view left = bytes;
  while (!left.empty()) {
    const bool sequence = left[0] == kEscapeByte;
    std::size_t size = sequence ? sequence_size(left) : character_size(left[0]);
    if (size == 0 || size > left.size()) {
      if (!complete) break;
      size = sequence ? 1 : left.size();
    }
    const std::string_view piece = left.substr(0, size);
    left.remove_prefix(size);
    const auto byte = static_cast<unsigned char>(piece[0]);
    const auto key = sequence                      ? sequence_key(piece)
                     : byte < 0x20 || byte == 0x7F ? control_key(piece[0])
                                                   : Key{Key::kText, std::string(piece)};
    if (key) keys.push_back(*key);
  }
  bytes.erase(0, bytes.size() - left.size());
  return keys;
}

}  // namespace bramblescope
