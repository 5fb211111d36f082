// The Content-Disposition field of a body part (RFC 2183) as an automation object.
#pragma once

#include "core/object.h"
#include "model/header_value.h"
#include "model/message_owner.h"
#include "tallowbrook/content.h"

namespace tallowbrook {

// A view on the field's entry, which it shares.
class CContentDisposition final : public Object<Shared, Dispatching<IContentDisposition>> {
 public:
  // Of no field: a put fails.
  CContentDisposition() = default;
  CContentDisposition(HeaderValue entry, MessageRef message)
      : entry_(std::move(entry)), message_(std::move(message)) {}

  HRESULT get_Value(VARIANT* value) override;
  HRESULT put_Value(VARIANT value) override;
  // E_FAIL for a field whose text does not parse.
  HRESULT get_Parameters(IDispatch** parameters) override;

 private:
  HeaderValue entry_;  // pinned, or empty
  MessageRef message_;
};

}  // namespace tallowbrook
