// Many bytes of quoted-printable content at a time (RFC 2045 section 6.7). CQuotedPrintable decodes
// what is left between them.
#pragma once

#include <cstddef>

namespace tallowbrook {

struct DecodedBlocks {
  std::size_t taken;  // bytes of the text
  std::size_t made;   // bytes of the content
};

// Decodes from the start of `text`, where no escape is under way, until less than kQuotedBlock is
// left or something comes that wants a second look: a dot behind a line end, "=" within an escape,
// "=" before a bare LF. The byte before `text` can be read. `out` has room for as many bytes as the
// text has, and 16 more.
using DecodeQuotedBlocks = DecodedBlocks (*)(const char* text, std::size_t length, char* out);

inline constexpr std::size_t kQuotedBlock = 18;

// For any processor: takes nothing.
[[nodiscard]] DecodeQuotedBlocks portable_quoted_blocks();
// The fastest that this processor has.
[[nodiscard]] DecodeQuotedBlocks fastest_quoted_blocks();

}  // namespace tallowbrook
