// Which coder converts text of a named character set (the charset parameter of RFC 2045, the
// charset of an encoded word).
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "coding/mime_code.h"
#include "platform/com/types.h"

namespace tallowbrook {

// A new coder for a charset's name, or none when there is no name (null or empty). "utf-2" and
// "utf-fss", in any case, give a CUTF8Coder whose decoded side is UTF-16 when `mode_flag` is not 0,
// else the ANSI code page; every other name, "utf-8" and unknown ones included, gives a CXCoder.
// Throws std::bad_alloc.
[[nodiscard]] std::unique_ptr<CMIMECode> make_charset_coder(const char* name, int mode_flag);
// True for the names whose coder is no CXCoder.
[[nodiscard]] bool has_utf8_coder(std::string_view name);

// The code page of a charset's name, in any case: as the platform's multi-language service tells,
// else from the component's own table. 0, the ANSI code page, for a name that neither knows.
[[nodiscard]] UINT charset_code_page(std::string_view name);

// The table alone.
[[nodiscard]] UINT charset_table_code_page(std::string_view name);

}  // namespace tallowbrook
