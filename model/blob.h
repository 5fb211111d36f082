// A byte container that a host fills from a string or a stream and hands on as a stream.
#pragma once

#include "core/object.h"
#include "platform/storage/stream.h"
#include "streams/memory_stream.h"
#include "tallowbrook/content.h"

namespace tallowbrook {

// Asked for a stream, it gives out its inner memory stream itself.
class CBlob final : public Object<Shared, Dispatching<IBlob>, IPersistStream> {
 public:
  HRESULT QueryInterface(REFIID iid, void** object) override;

  HRESULT AssignString(BSTR text) override;

  HRESULT GetClassID(CLSID* clsid) override;
  HRESULT IsDirty() override { return S_FALSE; }
  // From the stream's current position.
  HRESULT Load(IStream* stream) override;
  HRESULT Save(IStream* stream, BOOL clear_dirty) override;
  // The content's size; the inner stream is positioned at its start.
  HRESULT GetSizeMax(ULARGE_INTEGER* size) override;

 private:
  platform::ComPtr<CISSHelper> content_ = CISSHelper::create();
};

}  // namespace tallowbrook
