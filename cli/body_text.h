// The text that a message says, as a person reads it.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "cli/report.h"

namespace tallowbrook::cli {

// The index of the part that tells best what the message says: of alternatives the plain text, then
// HTML, then any other text; of parts in a row the first one with a text; no attachments; a message
// inside only where nothing around it has a text. Part::kNoParent when there is none.
[[nodiscard]] std::size_t best_text(const std::vector<Part>& parts);

// UTF-8 text of that part, HTML made plain, line ends at its end taken off; empty when the message
// has none. A plain alternative that is blank gives way to the HTML beside it.
[[nodiscard]] std::string body_text(std::vector<Part> parts, const std::vector<Object>& handles);

}  // namespace tallowbrook::cli
