// Code pages that the C library converts. Internal to the kernel room.
#pragma once

#include <string_view>

#include "platform/com/types.h"
#include "platform/kernel/unicode.h"

namespace tallowbrook::platform {

// The C library's name of a code page; null for one that is not known.
[[nodiscard]] const char* iconv_name(UINT page);

// How a conversion went. `converter` is false when the C library has none of that name, and then
// nothing was put out. `loss` tells that something had to be replaced.
struct IconvOutcome {
  bool converter;
  bool loss;
};

IconvOutcome iconv_to_wide(const char* name, std::string_view bytes, WideOutput& out);
// `replacement` stands for characters that the page lacks, converted like any other one.
IconvOutcome iconv_from_wide(const char* name, std::u16string_view wide, char replacement,
                             ByteOutput& out);

}  // namespace tallowbrook::platform
