// The border of the runtime layer: memory that cannot be had becomes a status.
#pragma once

#include <new>
#include <utility>

#include "platform/com/types.h"

namespace tallowbrook::platform {

// Runs `body`, which returns a status; E_OUTOFMEMORY when it throws std::bad_alloc.
template <class Body>
HRESULT checked(Body&& body) {
  try {
    return std::forward<Body>(body)();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace tallowbrook::platform
