// The text of a part between the form in which it is held and its charset.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "coding/mime_code.h"
#include "model/header_value.h"

namespace tallowbrook {

// UTF-16 text as the bytes of a stream and back; an odd last byte is no unit.
[[nodiscard]] std::string_view bytes_of(std::u16string_view text);
[[nodiscard]] std::u16string units_of(std::string_view bytes);

// The charset that a text part names; empty without one, and for other types.
[[nodiscard]] std::string part_charset(const HeaderValue& record);
// The coder of the charset that a text part names; none without one, and for other types.
[[nodiscard]] std::unique_ptr<CMIMECode> make_part_coder(const HeaderValue& record);

// Content that is held decoded, as `coder` (null for none) encodes it: text that was put before the
// charset changed is brought into the form that the charset wants, other content stays.
[[nodiscard]] platform::ComPtr<IStream> charset_input(const HeaderValue& record,
                                                      const CMIMECode* coder);

}  // namespace tallowbrook
