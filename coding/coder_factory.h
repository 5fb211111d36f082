// Which coder serves which Content-Transfer-Encoding (RFC 2045 section 6).
#pragma once

#include <cstdint>
#include <memory>

#include "coding/mime_code.h"

namespace tallowbrook {

// A new coder for an EncoderTypes value; the plain copy for any value that names none, -1 (not
// known) included. Throws std::bad_alloc.
[[nodiscard]] std::unique_ptr<CMIMECode> make_coder(std::int32_t encoding);

}  // namespace tallowbrook
