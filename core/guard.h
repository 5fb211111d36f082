// The automation border: no exception crosses it.
#pragma once

#include <new>
#include <utility>

#include "platform/com/types.h"

namespace tallowbrook {

// A failure inside the component that carries the status a host gets.
class StatusError {
 public:
  explicit StatusError(HRESULT status) : status_(status) {}
  [[nodiscard]] HRESULT status() const { return status_; }

 private:
  HRESULT status_;
};

// Runs `body`, which returns a status, and turns what it throws into one: E_OUTOFMEMORY when
// memory ran out, the status of a StatusError, E_FAIL for anything else.
template <class Body>
[[nodiscard]] HRESULT guarded(Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (const StatusError& error) {
    return error.status();
  } catch (...) {
    return E_FAIL;
  }
}

}  // namespace tallowbrook
