// One part of a message's body tree.
#pragma once

#include "platform/automation/dispatch.h"

namespace tallowbrook {

// A handle on a part; it edits the message's own tree. Handles on removed parts, and handles that
// outlive their message, stay usable and change nothing that a message writes.
struct IMimeBody : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{
      0xDD6E16BF, 0xD497, 0x4D17, {0x98, 0x97, 0xA8, 0x4E, 0xC7, 0xBB, 0x2C, 0x11}};

  // A handle on child `index` (from 0) of a multipart part; the body of the embedded message of a
  // message part, whatever the index. E_INVALIDARG otherwise.
  virtual HRESULT get_Item(LONG index, IDispatch** part) = 0;
  // Children of a multipart part; 1 for a part with an embedded message; else 0.
  virtual HRESULT get_Count(LONG* count) = 0;
  // Appends a child and yields its handle, unless `part` is null. E_INVALIDARG when this is no
  // multipart part.
  virtual HRESULT AddNew(IDispatch** part) = 0;
  // Takes child `index` out of a multipart part (E_INVALIDARG when there is none); nothing for
  // other parts.
  virtual HRESULT Remove(LONG index) = 0;
  virtual HRESULT Clear() = 0;
  // A number of MajorMimeTypes, or the name of a type outside that table.
  virtual HRESULT get_MajorContentType(VARIANT* type) = 0;
  virtual HRESULT put_MajorContentType(VARIANT type) = 0;
  // A number of the major type's own enumeration, or a name.
  virtual HRESULT get_MinorContentType(VARIANT* type) = 0;
  virtual HRESULT put_MinorContentType(VARIANT type) = 0;
  // The text of the header field `name` that has no property of its own; the empty string when the
  // part has no such field. A put adds the field.
  virtual HRESULT get_ExtField(BSTR name, VARIANT* value) = 0;
  virtual HRESULT put_ExtField(BSTR name, VARIANT value) = 0;
  // A number of EncoderTypes, or the name of another encoding; empty when the part names none.
  virtual HRESULT get_Encoding(VARIANT* encoding) = 0;
  virtual HRESULT put_Encoding(VARIANT encoding) = 0;
  virtual HRESULT get_Description(VARIANT* description) = 0;
  virtual HRESULT put_Description(VARIANT description) = 0;
  virtual HRESULT get_ContentID(VARIANT* id) = 0;
  virtual HRESULT put_ContentID(VARIANT id) = 0;
  // Writes the decoded content into a new file (an existing one is overwritten).
  virtual HRESULT ExportAsFile(BSTR path, VARIANT_BOOL* done) = 0;
  // Makes the file's bytes the decoded content; by reference the part goes on reading the file.
  virtual HRESULT ImportFromFile(BSTR path, VARIANT_BOOL by_reference, VARIANT_BOOL* done) = 0;
  // As the two above, with an object that answers to IStream.
  virtual HRESULT Export(IUnknown* stream, VARIANT_BOOL* done) = 0;
  virtual HRESULT Import(IUnknown* stream, VARIANT_BOOL by_reference, VARIANT_BOOL* done) = 0;
  // The name under which to store the content: the disposition's "filename", else Name. A put sets
  // both.
  virtual HRESULT get_FileName(BSTR* name) = 0;
  virtual HRESULT put_FileName(BSTR name) = 0;
  // The decoded content as text. E_FAIL for a part without content of its own.
  virtual HRESULT get_Value(BSTR* text) = 0;
  virtual HRESULT put_Value(BSTR text) = 0;
  // The IMimeDecoder of a message/rfc822 part; null when there is none.
  virtual HRESULT get_EmbeddedMessage(IDispatch** message) = 0;
  // The part's IContentDisposition; the field is made when it is absent.
  virtual HRESULT get_ContentDisposition(IDispatch** disposition) = 0;
  // The "name" parameter of the content type, decoded; the empty string when absent.
  virtual HRESULT get_Name(BSTR* name) = 0;
  virtual HRESULT put_Name(BSTR name) = 0;
  // The IFieldCollection of the part's header fields. E_FAIL when it has none.
  virtual HRESULT get_Fields(IDispatch** fields) = 0;
  // The "charset" parameter of the content type; the empty string when absent. A put takes a
  // string, anything else is E_INVALIDARG.
  virtual HRESULT get_Charset(VARIANT* charset) = 0;
  virtual HRESULT put_Charset(VARIANT charset) = 0;
  // The part's IContentType; the field is made (text/plain) when it is absent.
  virtual HRESULT get_ContentType(IDispatch** type) = 0;
};

}  // namespace tallowbrook
