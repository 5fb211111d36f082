// Writing to streams that take what they can, as one over a socket does.
#pragma once

#include <algorithm>
#include <string_view>

#include "platform/storage/stream.h"

namespace tallowbrook {

// Writes until `target` has taken all of `block`; a write that takes less is followed by another
// one for the rest. STG_E_MEDIUMFULL when one takes nothing, else the first failure. `written`
// counts on by the bytes taken. A target that does not tell took what it says S_OK for. A block is
// below 2 GiB.
[[nodiscard]] inline HRESULT write_whole(ISequentialStream& target, std::string_view block,
                                         ULONG& written) {
  while (!block.empty()) {
    const auto size = static_cast<ULONG>(block.size());
    ULONG count = size;
    const HRESULT status = target.Write(block.data(), size, &count);
    count = FAILED(status) && count >= size ? 0 : std::min(count, size);
    written += count;
    if (FAILED(status)) return status;
    if (count == 0) return STG_E_MEDIUMFULL;
    block.remove_prefix(count);
  }
  return S_OK;
}

}  // namespace tallowbrook
