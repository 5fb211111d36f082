// Dates, content types and dispositions as nearly all mail has them, read without the grammar.
#pragma once

#include <string>
#include <string_view>

#include "model/header_value.h"

namespace tallowbrook {

// Each sets `value` to the very value that the grammar makes of the text; false, with `value`
// untouched, for a text in any other form. Linear.

// "Fri, 20 Mar 2020 02:03:52 -0100 (comment)"; without the weekday, the seconds or the comment,
// and with the zone GMT or UT (RFC 5322 section 3.3).
[[nodiscard]] bool read_usual_date(std::string_view text, HeaderValue& value);

// "type/subtype; name=word; name=\"quoted string\"" (RFC 2045 section 5.1), of a leaf that is no
// message; folded or with blanks where ";" stands.
[[nodiscard]] bool read_usual_type(std::string_view text, HeaderValue& value);

// The same of a multipart. `boundary` becomes what its delimiter lines hold.
[[nodiscard]] bool read_usual_multipart(std::string_view text, HeaderValue& value,
                                        std::string& boundary);

// "word; name=word; name=\"quoted string\"" (RFC 2183 section 2).
[[nodiscard]] bool read_usual_disposition(std::string_view text, HeaderValue& value);

}  // namespace tallowbrook
