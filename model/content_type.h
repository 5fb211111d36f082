// The Content-Type field of a body part as an automation object.
#pragma once

#include "core/object.h"
#include "model/header_value.h"
#include "model/message_owner.h"
#include "tallowbrook/content.h"
#include "tallowbrook/mime_body.h"

namespace tallowbrook {

// Major and Minor are those of the part, whose handle this object holds. The field's entry is
// shared: after the field was removed, Parameters edits what nobody writes.
class CContentType final : public Object<Shared, Dispatching<IContentType>> {
 public:
  // Of no part: E_FAIL from every member.
  CContentType() = default;
  CContentType(platform::ComPtr<IMimeBody> body, HeaderValue entry, MessageRef message)
      : body_(std::move(body)), entry_(std::move(entry)), message_(std::move(message)) {}

  HRESULT get_Major(VARIANT* type) override;
  HRESULT put_Major(VARIANT type) override;
  HRESULT get_Minor(VARIANT* type) override;
  HRESULT put_Minor(VARIANT type) override;
  // E_FAIL for a field whose text does not parse.
  HRESULT get_Parameters(IDispatch** parameters) override;

 private:
  platform::ComPtr<IMimeBody> body_;
  HeaderValue entry_;  // pinned
  MessageRef message_;
};

}  // namespace tallowbrook
