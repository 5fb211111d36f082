// Internal to the room.
#pragma once

namespace tallowbrook::platform::net {

// False, with WSANOTINITIALISED as the last error, while nobody has started the layer.
[[nodiscard]] bool started();

}  // namespace tallowbrook::platform::net
