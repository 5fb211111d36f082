// A part's content between a host and the part: as text, as a stream, as a file.
#include <utility>

#include "core/guard.h"
#include "core/text.h"
#include "model/body_part.h"
#include "model/mime_body.h"
#include "streams/file_stream.h"
#include "streams/memory_stream.h"
#include "writer/part_transfer.h"

namespace tallowbrook {

using platform::ComPtr;

bool CMimeBody::import(ComPtr<IStream> stream, bool by_reference) {
  resolve_field(record_, EntryName::ContentType, message_);
  if (!stream || !import_content(record_, std::move(stream), by_reference)) return false;
  changed();
  return true;
}

HRESULT CMimeBody::Export(IUnknown* stream, VARIANT_BOOL* done) {
  if (done == nullptr) return E_POINTER;
  *done = VARIANT_FALSE;
  return guarded([&] {
    const ComPtr<IStream> target = platform::query<IStream>(stream);
    if (target && export_content(record_, *target)) *done = VARIANT_TRUE;
    return S_OK;
  });
}

HRESULT CMimeBody::ExportAsFile(BSTR path, VARIANT_BOOL* done) {
  if (done == nullptr) return E_POINTER;
  *done = VARIANT_FALSE;
  return guarded([&] {
    const ComPtr<CFileSystemStream> file = CFileSystemStream::open_for_writing(path);
    if (!file) return S_OK;
    const bool exported = export_content(record_, *file);
    const bool flushed = SUCCEEDED(file->flush()) && SUCCEEDED(file->write_status());
    if (exported && flushed) *done = VARIANT_TRUE;
    return S_OK;
  });
}

HRESULT CMimeBody::Import(IUnknown* stream, VARIANT_BOOL by_reference, VARIANT_BOOL* done) {
  if (done == nullptr) return E_POINTER;
  *done = VARIANT_FALSE;
  return guarded([&] {
    if (import(platform::query<IStream>(stream), by_reference != VARIANT_FALSE)) {
      *done = VARIANT_TRUE;
    }
    return S_OK;
  });
}

HRESULT CMimeBody::ImportFromFile(BSTR path, VARIANT_BOOL by_reference, VARIANT_BOOL* done) {
  if (done == nullptr) return E_POINTER;
  *done = VARIANT_FALSE;
  return guarded([&] {
    if (import(CFileSystemStream::open_for_reading(path), by_reference != VARIANT_FALSE)) {
      *done = VARIANT_TRUE;
    }
    return S_OK;
  });
}

HRESULT CMimeBody::get_Value(BSTR* text) {
  if (text == nullptr) return E_POINTER;
  *text = nullptr;
  return guarded([&] {
    const ComPtr<CISSHelper> content = CISSHelper::create();
    if (!export_content(record_, *content)) return E_FAIL;
    *text = to_bstr(content->bytes()).detach();
    return S_OK;
  });
}

HRESULT CMimeBody::put_Value(BSTR text) {
  return guarded([&] {
    ComPtr<IStream> content = CISSHelper::create_with(to_ansi(platform::view_of(text)));
    return import(std::move(content), true) ? S_OK : E_FAIL;
  });
}

}  // namespace tallowbrook
