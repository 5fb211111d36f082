// Parameters of a content type, a disposition or a trace header as an automation object.
#pragma once

#include "core/object.h"
#include "model/header_value.h"
#include "model/message_owner.h"
#include "model/view_mutex.h"
#include "tallowbrook/content.h"

namespace tallowbrook {

// A view on a map, which it shares: it stays usable when the map's place in the message is gone.
class CParameterMap final : public Object<Shared, Dispatching<IParameterMap>> {
 public:
  // A map of its own.
  CParameterMap();
  // `map` is an `AddressMap`; `holder` the pinned field entry or trace header that it belongs to,
  // whose source text every change drops. Both are shared. For a trace header, `records` is the
  // pinned list that it stands in: the message hears of changes while that list is its own.
  CParameterMap(HeaderValue map, HeaderValue holder, MessageRef message, HeaderValue records = {});

  HRESULT get_Item(VARIANT index, VARIANT* value) override;
  HRESULT get_Count(LONG* count) override;
  HRESULT Remove(VARIANT index) override;
  HRESULT Clear() override;
  HRESULT Modify(VARIANT index, VARIANT item, VARIANT_BOOL quote) override;
  HRESULT get_ParameterName(LONG index, BSTR* name) override;
  HRESULT Exists(VARIANT index, VARIANT_BOOL* exists) override;

 private:
  void changed();

  HeaderValue map_;      // pinned
  HeaderValue holder_;   // pinned, or empty
  HeaderValue records_;  // empty unless the holder is a trace header
  MessageRef message_;
  ViewMutex mutex_;
};

}  // namespace tallowbrook
