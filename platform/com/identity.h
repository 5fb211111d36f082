// Identities as 8-bit text, the form that the registry has.
#pragma once

#include <string>
#include <string_view>

#include "platform/com/types.h"

namespace tallowbrook::platform {

// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}"
[[nodiscard]] std::string text_of(REFGUID guid);
// False, with GUID_NULL, for anything but that form.
[[nodiscard]] bool guid_of(std::string_view text, GUID* guid);

}  // namespace tallowbrook::platform
