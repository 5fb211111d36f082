#include "model/blob.h"

#include <algorithm>
#include <string>

#include "core/creators.h"
#include "core/guard.h"
#include "core/text.h"
#include "tallowbrook/class_ids.h"

namespace tallowbrook {
namespace {
constexpr std::size_t kChunk = 4096;
}  // namespace

HRESULT CBlob::QueryInterface(REFIID iid, void** object) {
  if (iid == IStream::kIid || iid == ISequentialStream::kIid) {
    return content_->QueryInterface(iid, object);
  }
  return Object::QueryInterface(iid, object);
}

HRESULT CBlob::AssignString(BSTR text) {
  return guarded([&] {
    const std::string bytes = to_ansi(platform::view_of(text));
    content_->Clear();
    content_->write(bytes);
    return S_OK;
  });
}

HRESULT CBlob::GetClassID(CLSID* clsid) {
  if (clsid == nullptr) return E_POINTER;
  *clsid = CLSID_Blob;
  return S_OK;
}

HRESULT CBlob::Load(IStream* stream) {
  if (stream == nullptr) return E_POINTER;
  return guarded([&] {
    CISSHelper loaded;  // apart, since the stream may be this object's own
    loaded.append_from(*stream);
    content_->Clear();
    content_->take(loaded);
    return S_OK;
  });
}

HRESULT CBlob::Save(IStream* stream, BOOL) {
  if (stream == nullptr) return E_POINTER;
  return guarded([&] {
    const std::string bytes(content_->bytes());  // the target may be this object's own stream
    for (std::size_t done = 0; done < bytes.size(); done += kChunk) {
      const auto size = static_cast<ULONG>(std::min(kChunk, bytes.size() - done));
      const HRESULT status = stream->Write(bytes.data() + done, size, nullptr);
      if (FAILED(status)) return status;
    }
    return S_OK;
  });
}

HRESULT CBlob::GetSizeMax(ULARGE_INTEGER* size) {
  if (size == nullptr) return E_POINTER;
  content_->rewind();
  size->QuadPart = content_->size();
  return S_OK;
}

HRESULT create_blob(REFIID iid, void** object) { return create_instance<CBlob>(iid, object); }

}  // namespace tallowbrook
