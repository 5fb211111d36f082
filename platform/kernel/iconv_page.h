// Code pages that the C library converts. Internal to the kernel room.
#pragma once

#include <optional>
#include <string_view>

#include "platform/com/types.h"
#include "platform/kernel/unicode.h"

namespace tallowbrook::platform {

struct IconvPage {
  UINT page;
  const char* name;  // the C library's
  // Of a set that holds this one and more, in the same form: it says what the page does not know.
  // What mail sends under the smaller name is often the larger set. Null for none.
  const char* wider = nullptr;
};

// Null for a page that is not known.
[[nodiscard]] const IconvPage* iconv_page(UINT page);

// The unit that a byte alone stands for, U+FFFD when it means nothing; none when the byte is part
// of something longer, switches a state, or the C library has no such converter.
[[nodiscard]] std::optional<char16_t> iconv_unit(const char* name, char byte);

// True for the pages whose converters join a letter and the marks behind it into one character.
[[nodiscard]] constexpr bool joins_marks(UINT page) { return page == 1255 || page == 1258; }

// The bytes of those marks: the Hebrew points, the Vietnamese tones.
[[nodiscard]] constexpr bool is_mark(UINT page, char byte) {
  const auto value = static_cast<unsigned char>(byte);
  if (page == 1255) return value >= 0xC0 && value <= 0xD3 && value != 0xCA;  // CA is none
  return value == 0xCC || value == 0xD2 || value == 0xDE || value == 0xEC || value == 0xF2;
}

// How a conversion went. `converter` is false when the C library has none of that name, and then
// nothing was put out. `loss` tells that something had to be replaced.
struct IconvOutcome {
  bool converter;
  bool loss;
};

// A sequence that means nothing is one U+FFFD, and what follows it is read from its own start.
IconvOutcome iconv_to_wide(const IconvPage& page, std::string_view bytes, WideOutput& out);
// `replacement` stands for characters that the page lacks, converted like any other one.
IconvOutcome iconv_from_wide(const IconvPage& page, std::u16string_view wide, char replacement,
                             ByteOutput& out);

}  // namespace tallowbrook::platform
