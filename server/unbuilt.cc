// Answers for the classes that are not built. Each creator is weak, so that the room that builds
// the class replaces it by defining its own.
#include "core/creators.h"

namespace tallowbrook {
namespace {

HRESULT not_built(void** object) {
  *object = nullptr;
  return E_NOTIMPL;
}

}  // namespace

[[gnu::weak]] HRESULT create_dialup_connection(REFIID, void** object) { return not_built(object); }

}  // namespace tallowbrook
