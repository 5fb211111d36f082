// The decoded content of a part, as a file or a person takes it.
#pragma once

#include <cstdint>
#include <string>

#include "cli/report.h"
#include "platform/storage/stream.h"

namespace tallowbrook::cli {

// Writes the decoded content of a part to `target`; false when the component or the target refused.
//
// Text comes as UTF-8: from the part's charset; without one it is UTF-8 already or else in the
// system's ANSI code page. Its line ends become LF where its encoding (7bit, 8bit,
// quoted-printable) made them CR LF for the way. Text that came as base64 keeps its line ends, and
// without a charset all its bytes. Everything else is passed on byte for byte. A part without
// content writes nothing. With `line_end_follows` the line end behind the content belongs to what
// follows it, a delimiter (RFC 2046 section 5.1.1) or the end of the file.
[[nodiscard]] bool export_content(const Object& body, const Part& part, bool line_end_follows,
                                  IStream& target);

// The same as a text, without line ends at its end; empty when it cannot be had.
[[nodiscard]] std::string content_text(const Object& body, const Part& part);

}  // namespace tallowbrook::cli
