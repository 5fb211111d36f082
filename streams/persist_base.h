// IPersistBaseImpl: what the persistence interfaces of messages and bodies have in common.
//
//   class CMimeBody final
//       : public IPersistBaseImpl<
//             Object<Confined, Dispatching<IMimeBody>, IPersistStream, IPersistStreamInit>> { ...
//             };
//
// One method here answers for both interfaces; the class adds GetClassID, Load, Save and InitNew.
#pragma once

#include <utility>

#include "platform/storage/stream.h"

namespace tallowbrook {

template <class ObjectBase>
class IPersistBaseImpl : public ObjectBase {
 public:
  // S_OK when there are unsaved changes, S_FALSE when there are none.
  HRESULT IsDirty() override { return dirty_ ? S_OK : S_FALSE; }
  HRESULT GetSizeMax(ULARGE_INTEGER* size) override {
    if (size != nullptr) size->QuadPart = 0;
    return E_NOTIMPL;
  }

 protected:
  template <class... Arguments>
  explicit IPersistBaseImpl(Arguments&&... arguments)
      : ObjectBase(std::forward<Arguments>(arguments)...) {}

  [[nodiscard]] bool dirty() const { return dirty_; }
  void set_dirty(bool dirty) { dirty_ = dirty; }

 private:
  bool dirty_ = false;
};

}  // namespace tallowbrook
