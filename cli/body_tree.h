// Walks a message's body parts, messages inside it included, without recursion.
#pragma once

#include <vector>

#include "cli/report.h"

namespace tallowbrook::cli {

// The parts in the order of the text, the root first; empty for a message without a body.
[[nodiscard]] std::vector<Part> read_body(const Object& message);

}  // namespace tallowbrook::cli
