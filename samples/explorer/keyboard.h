// What a terminal sends for a key press, as keys.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "samples/explorer/key.h"

namespace bramblescope {

// Takes whole keys off the front of `bytes`. What may be the beginning of a longer key stays,
// unless `complete` says that nothing follows.
[[nodiscard]] std::vector<Key> take_keys(std::string& bytes, bool complete);

}  // namespace bramblescope
