// The header fields of a body part as an automation object.
#pragma once

#include "core/object.h"
#include "model/header_value.h"
#include "model/message_owner.h"
#include "model/view_mutex.h"
#include "tallowbrook/content.h"

namespace tallowbrook {

// A view on a field list, which it shares.
class CFieldCollection final : public Object<Shared, Dispatching<IFieldCollection>> {
 public:
  CFieldCollection() : CFieldCollection(HeaderValue::list(), nullptr) {}
  CFieldCollection(HeaderValue fields, MessageRef message);

  HRESULT get_Item(LONG index, BSTR* name) override;
  HRESULT get_Count(LONG* count) override;
  HRESULT Remove(VARIANT index) override;
  HRESULT Clear() override;

 private:
  HeaderValue fields_;  // `List`, pinned
  MessageRef message_;
  ViewMutex mutex_;
};

}  // namespace tallowbrook
