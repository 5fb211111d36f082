// Walks a message's body parts, messages inside it included, without recursion.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "cli/report.h"
#include "cli/words.h"

namespace tallowbrook::cli {

// The parts in the order of the text, the root first; empty for a message without a body. The
// handles of the parts go to `handles`, one for each, when that is given.
[[nodiscard]] std::vector<Part> read_body(const Object& message, const Words& words,
                                          std::vector<Object>* handles = nullptr);

// The number of a part as mail programs count (RFC 9051 section 6.4.5): "2.1" is the first part of
// the second. A message that is no multipart has the part "1"; a multipart that is the body of a
// message has no number of its own, and its number here is empty. Parts deeper than people count
// are "#" and their index in the list.
[[nodiscard]] std::string part_number(const std::vector<Part>& parts, std::size_t index);

// The indexes of the parts with these numbers, Part::kNoParent for a number that none has. Linear.
[[nodiscard]] std::vector<std::size_t> find_parts(const std::vector<Part>& parts,
                                                  const std::vector<std::string>& numbers);

// "type/subtype" of a part.
[[nodiscard]] std::string content_type_of(const Object& body);

}  // namespace tallowbrook::cli
