// Icon group 203: a message in a host explorer's tree, an envelope that is closed with wax.
#pragma once

#include "platform/shell/icon.h"

namespace tallowbrook {

inline constexpr UINT kIconMessage = 203;

// Drawn in 16, 24, 32 and 48 pixels.
[[nodiscard]] const platform::IconGroup& message_icon();

}  // namespace tallowbrook
