// A part's content between a host and the part: as text, as a stream, as a file.
#include <utility>

#include "core/error_text.h"
#include "core/guard.h"
#include "model/body_part.h"
#include "model/mime_body.h"
#include "model/variant_conversion.h"
#include "streams/file_stream.h"
#include "writer/part_transfer.h"

namespace tallowbrook {

using platform::ComPtr;

bool CMimeBody::import(ComPtr<IStream> stream, bool by_reference) {
  resolve_field(record_, EntryName::ContentType, message_);
  if (!stream || !import_content(record_, std::move(stream), by_reference)) return false;
  changed();
  return true;
}

bool CMimeBody::export_to(IStream& target) {
  resolve_field(record_, EntryName::ContentType, message_);
  return export_content(record_, target);
}

HRESULT CMimeBody::Export(IUnknown* stream, VARIANT_BOOL* done) {
  if (done == nullptr) return E_POINTER;
  *done = VARIANT_FALSE;
  return guarded([&] {
    const ComPtr<IStream> target = platform::query<IStream>(stream);
    if (target && export_to(*target)) *done = VARIANT_TRUE;
    return S_OK;
  });
}

HRESULT CMimeBody::ExportAsFile(BSTR path, VARIANT_BOOL* done) {
  if (done == nullptr) return E_POINTER;
  *done = VARIANT_FALSE;
  return guarded([&] {
    const ComPtr<CFileSystemStream> file = CFileSystemStream::open_for_writing(path);
    if (file) {
      const bool exported = export_to(*file);
      const bool flushed = SUCCEEDED(file->flush()) && SUCCEEDED(file->write_status());
      if (exported && flushed) *done = VARIANT_TRUE;
    }
    if (*done == VARIANT_FALSE) set_file_error(kFileNotWritten, path);
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
    const ComPtr<CFileSystemStream> file = CFileSystemStream::open_for_reading(path);
    if (!file) set_file_error(kFileNotFound, path);
    if (import(file, by_reference != VARIANT_FALSE)) *done = VARIANT_TRUE;
    return S_OK;
  });
}

HRESULT CMimeBody::get_Value(BSTR* text) {
  if (text == nullptr) return E_POINTER;
  *text = nullptr;
  return guarded([&] {
    resolve_field(record_, EntryName::ContentType, message_);
    auto value = content_text(record_);
    if (!value) return E_FAIL;
    *text = value->detach();
    return S_OK;
  });
}

HRESULT CMimeBody::put_Value(BSTR text) {
  return guarded([&] {
    resolve_field(record_, EntryName::ContentType, message_);
    if (!put_content_text(record_, platform::view_of(text))) return E_FAIL;
    changed();
    return S_OK;
  });
}

HRESULT CMimeBody::get_Encoding(VARIANT* encoding) {
  return get_field(EntryName::ContentTransferEncoding, encoding);
}

HRESULT CMimeBody::put_Encoding(VARIANT encoding) {
  return guarded([&] {
    HeaderValue value = number_or_name(encoding, encoding_from_name, kSevenBit);
    if (!recode_content(record_, value.number())) return E_FAIL;
    HeaderValue entry = find_or_add_entry(record_, EntryName::ContentTransferEncoding);
    edit_value(entry) = std::move(value);
    changed();
    return S_OK;
  });
}

}  // namespace tallowbrook
