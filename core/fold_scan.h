// Walks over the folds of a long header field (RFC 5322 section 2.2.3), many bytes at a time.
#pragma once

#include <cstddef>
#include <string_view>

namespace tallowbrook {

// The offset of the first LF behind which there is not just one blank (space or TAB) and then a
// byte above " "; text.size() when there is none. An LF whose next two bytes are missing is such a
// one.
[[nodiscard]] std::size_t skip_plain_folds(std::string_view text);
// The same by the way for any processor.
[[nodiscard]] std::size_t portable_skip_plain_folds(std::string_view text);

}  // namespace tallowbrook
