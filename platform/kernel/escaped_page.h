// Code pages of seven bits whose texts switch between sets of characters. Internal to the kernel
// room.
//
//   50220 to 50222   ISO-2022-JP (RFC 1468): "ESC ( B" and its kin
//   52936            HZ (RFC 1843): "~{" and "~}" around characters of two bytes
//
// Reading takes what mail sends under these names: the sets of the larger members of the
// ISO-2022-JP family, half-width katakana and the characters that vendors added. Every line begins
// in ASCII.
#pragma once

#include <string_view>

#include "platform/com/types.h"
#include "platform/kernel/unicode.h"

namespace tallowbrook::platform {

[[nodiscard]] bool is_escaped_page(UINT page);

// Both tell whether something had to be replaced.
bool decode_escaped(UINT page, std::string_view bytes, WideOutput& out);
bool encode_escaped(UINT page, std::u16string_view wide, char replacement, ByteOutput& out);

}  // namespace tallowbrook::platform
