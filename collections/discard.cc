#include "collections/discard.h"

#include <new>
#include <utility>
#include <vector>

namespace tallowbrook {

void discard(ErasableVector<platform::Variant> items) {
  using Waiting = std::vector<ErasableVector<platform::Variant>>;
  static thread_local Waiting* t_waiting = nullptr;  // set while this thread is in the loop below
  if (items.size() == 0) return;
  if (t_waiting != nullptr) {
    try {
      t_waiting->push_back(std::move(items));
    } catch (const std::bad_alloc&) {
      // No room to wait in: they go right here, at the end of this call.
    }
    return;
  }
  Waiting waiting;
  t_waiting = &waiting;
  for (;;) {
    { const auto gone = std::move(items); }
    if (waiting.empty()) break;
    items = std::move(waiting.back());
    waiting.pop_back();
  }
  t_waiting = nullptr;
}

}  // namespace tallowbrook
