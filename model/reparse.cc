#include "model/reparse.h"

#include <algorithm>
#include <string>
#include <utility>

#include "core/text.h"
#include "model/header_text.h"
#include "parser/load.h"

namespace tallowbrook {
namespace {

// From this many commas on, a list is cut without the grammar.
constexpr std::ptrdiff_t kManyCommas = 512;

// The blank of ": ", which the first piece of a list keeps like the blank after any comma.
constexpr std::string_view kAfterColon = " ";

bool parse(MessageOwner& message, std::string_view name, std::string_view text,
           HeaderValue& value) {
  return SUCCEEDED(message.ParseHeaderInto(name, text, value));
}

// Appends what one piece of a lenient list says.
void append_piece(MessageOwner& message, const HeaderValue& piece, HeaderValue& list) {
  const std::string text = piece.AsText();
  HeaderValue parsed;
  if (!parse(message, kPseudoAddress, text, parsed)) {
    // Encoded words of a name stay where the code page lacks what they stand for.
    const std::u16string decoded = decode_header_text(text);
    std::string ansi = to_ansi(decoded);
    if (text.find('<') != text.npos && to_wide(ansi) != decoded) ansi = text;
    list.push_back(HeaderValue::address(HeaderValue::text(ansi), {}));
  } else if (parsed.is(ValueKind::AddressMap)) {
    for (const auto& [address, name] : parsed.entries()) {
      list.push_back(HeaderValue::address(HeaderValue::text(address), name));
    }
  } else {
    list.push_back(std::move(parsed));
  }
}

HeaderValue addresses_of(MessageOwner& message, const HeaderValue& pieces) {
  HeaderValue list = HeaderValue::list();
  for (std::size_t i = 0; i < pieces.size(); ++i) append_piece(message, pieces[i], list);
  return list;
}

bool parse_leniently(MessageOwner& message, std::string_view text, HeaderValue& value) {
  HeaderValue pieces;
  if (std::count(text.begin(), text.end(), ',') >= kManyCommas) {
    pieces = split_at_commas(std::string(kAfterColon).append(text));
  } else if (!parse(message, kPseudoCommaList, text, pieces)) {
    return false;
  }
  value = pieces.is(ValueKind::List) ? addresses_of(message, pieces) : std::move(pieces);
  return true;
}

// A single value that says less than the text: nothing at all, or a date that is none.
bool is_poorer(const HeaderValue& value, ReadMode mode) {
  if (value.is(ValueKind::DateTime)) return !is_valid(value.date());
  return mode == ReadMode::Single && !value.is_set();
}

}  // namespace

HeaderValue split_at_commas(std::string_view text) {
  HeaderValue list = HeaderValue::list();
  std::string piece;
  for (const char byte : text) {
    if (byte == ',') {
      list.push_back(HeaderValue::text(piece));
      piece.clear();
    } else if (byte != '\r' && byte != '\n' && byte != '\t' && byte != '\0') {
      piece += byte;
    }
  }
  if (!piece.empty()) list.push_back(HeaderValue::text(piece));
  return list;
}

void ReparseHeader(MessageOwner& message, FieldSlot& slot, std::string_view name, ReadMode mode) {
  if (!slot.value.is(ValueKind::Raw)) return;
  const HeaderValue source = slot.value;
  const HeaderValue held = mode == ReadMode::List ? slot.list_text() : source.shared_text();
  const std::string_view text = held.text_view();
  HeaderValue value;
  if (!parse(message, name, text, value) &&
      (mode == ReadMode::Single || !parse_leniently(message, text, value))) {
    return;
  }
  if (is_poorer(value, mode) || !slot.value.same_content(source)) return;
  slot.value = std::move(value);
  slot.source = source;
}

}  // namespace tallowbrook
