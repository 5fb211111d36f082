// Texts of a page that can be parted are converted in pieces that stay in the processor's cache;
// each is cut before a byte (or unit) below 0x80, where a character starts. Other texts go whole.
#include "coding/x_coder.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

#include "coding/charset.h"
#include "coding/multi_language_service.h"
#include "coding/rest_of_input.h"
#include "core/text.h"
#include "platform/kernel/code_page.h"

namespace tallowbrook {

namespace {

constexpr std::size_t kPiece = 32768;

// The length of the next piece of a text.
template <class Unit>
std::size_t piece_length(std::basic_string_view<Unit> text, bool parts) {
  if (!parts || text.size() <= kPiece) return text.size();
  const auto starts = [](Unit unit) { return (unit & ~0x7F) == 0; };
  std::size_t at = kPiece;
  while (at > 0 && !starts(text[at])) --at;
  if (at > 0) return at;
  return static_cast<std::size_t>(std::find_if(text.begin() + kPiece, text.end(), starts) -
                                  text.begin());
}

// Room for converted text, kept from piece to piece.
template <class Unit>
struct Room {
  std::unique_ptr<Unit[]> units;
  std::size_t size = 0;

  Unit* with(std::size_t wanted) {
    if (wanted > size) {
      units.reset(new Unit[wanted]);
      size = wanted;
    }
    return units.get();
  }
};

// Converts a text with one of the service's two conversions, in room of `guess` units and, where
// that is too small, in as many as it measures. Answers false when the service does not convert.
template <class Source, class Result, class Convert>
bool through_service(std::basic_string_view<Source> text, std::size_t guess, Room<Result>& room,
                     UINT& units, Convert convert) {
  constexpr std::size_t kMost = std::numeric_limits<UINT>::max() / sizeof(Result);
  if (text.size() > kMost) return false;
  auto taken = static_cast<UINT>(text.size());
  units = static_cast<UINT>(std::min(guess, kMost));
  HRESULT status = convert(text.data(), &taken, room.with(units), &units);
  if (status == E_FAIL) {
    units = 0;
    taken = static_cast<UINT>(text.size());
    status = convert(text.data(), &taken, nullptr, &units);
    if (status != S_OK) return false;
    taken = static_cast<UINT>(text.size());
    status = convert(text.data(), &taken, room.with(units), &units);
  }
  return status == S_OK;
}

template <class Unit>
void write(IStream& output, const Unit* units, std::size_t count) {
  write_block(output, {reinterpret_cast<const char*>(units), count * sizeof(Unit)});
}

void decode_piece(UINT page, std::string_view piece, Room<char16_t>& room, IStream& output) {
  UINT units = 0;
  IMultiLanguage* service = multi_language_service();
  const auto convert = [&](const char* from, UINT* taken, OLECHAR* to, UINT* count) {
    return service->ConvertStringToUnicode(nullptr, page, from, taken, to, count);
  };
  if (service != nullptr && through_service(piece, piece.size(), room, units, convert)) {
    write(output, room.units.get(), units);
    return;
  }
  const std::u16string wide = platform::widen(page, piece);
  write(output, wide.data(), wide.size());
}

void encode_piece(UINT page, std::u16string_view piece, Room<char>& room, IStream& output) {
  UINT bytes = 0;
  IMultiLanguage* service = multi_language_service();
  const auto convert = [&](const OLECHAR* from, UINT* taken, char* to, UINT* count) {
    return service->ConvertStringFromUnicode(nullptr, page, from, taken, to, count);
  };
  if (service != nullptr && through_service(piece, 3 * piece.size(), room, bytes, convert)) {
    write(output, room.units.get(), bytes);
    return;
  }
  const std::string narrow = platform::narrow(page, piece);
  write(output, narrow.data(), narrow.size());
}

}  // namespace

CXCoder::CXCoder(std::string_view charset) : page_(charset_code_page(charset)) {}

void CXCoder::Decode(IStream& input, IStream& output) {
  const ULONGLONG length = remaining_length(input);
  if (length == 0) return;
  const RestOfInput rest(input);
  const bool parts = platform::parts_before_ascii(page_);
  Room<char16_t> room;
  for (std::string_view text = rest.text().substr(0, length); !text.empty();) {
    const std::size_t piece = piece_length(text, parts);
    decode_piece(page_, text.substr(0, piece), room, output);
    text.remove_prefix(piece);
  }
}

std::u16string CXCoder::decode(std::string_view text) const {
  IMultiLanguage* service = multi_language_service();
  std::u16string wide(text.size(), u'\0');
  auto taken = static_cast<UINT>(text.size());
  auto units = taken;
  if (service == nullptr || text.size() > kPiece ||
      service->ConvertStringToUnicode(nullptr, page_, text.data(), &taken, wide.data(), &units) !=
          S_OK) {
    return platform::widen(page_, text);
  }
  wide.resize(units);
  return wide;
}

// ASCII in the pages that mail names most goes without the service, which would say the same.
platform::Bstr CXCoder::decode_to_bstr(std::string_view text) const {
  constexpr UINT kAscii = 20127;
  constexpr UINT kLatin1 = 28591;
  const bool holds_ascii =
      page_ == CP_ACP || page_ == CP_UTF8 || page_ == kAscii || page_ == kLatin1;
  return holds_ascii && is_ascii(text) ? ascii_to_bstr(text) : platform::Bstr(decode(text));
}

void CXCoder::Encode(IStream& input, IStream& output) {
  const ULONGLONG length = remaining_length(input);
  if (length == 0) return;
  const RestOfInput rest(input);
  const std::string_view bytes = rest.text().substr(0, length);
  // The text as units that may be read as such: a stream's bytes can stand anywhere.
  const std::size_t count = bytes.size() / sizeof(char16_t);
  const bool aligned = reinterpret_cast<std::uintptr_t>(bytes.data()) % alignof(char16_t) == 0;
  Room<char16_t> copy;
  const auto* units = reinterpret_cast<const char16_t*>(bytes.data());
  if (!aligned) {
    std::memcpy(copy.with(count), bytes.data(), count * sizeof(char16_t));
    units = copy.units.get();
  }
  const bool parts = platform::parts_before_ascii(page_);
  Room<char> room;
  for (std::u16string_view text(units, count); !text.empty();) {
    const std::size_t piece = piece_length(text, parts);
    encode_piece(page_, text.substr(0, piece), room, output);
    text.remove_prefix(piece);
  }
}

}  // namespace tallowbrook
