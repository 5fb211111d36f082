// A handle on one body part of a message.
//
// The handle shares the part's record: it stays usable when the part is removed, its message loads
// anew or dies, and then edits data that no message writes.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "collections/variant_stream.h"
#include "core/object.h"
#include "model/header_value.h"
#include "model/message_owner.h"
#include "streams/persist_base.h"
#include "tallowbrook/mime_body.h"

namespace tallowbrook {

class CMimeDecoder;

// How the writer binds parts; handles for a host have neither.
struct BodyFlags {
  bool no_embedded_message = false;  // never looks into a message/rfc822 part
  bool header_only = false;          // Save leaves out the content
};

class CMimeBody final
    : public IPersistBaseImpl<Object<Confined, Dispatching<IMimeBody>, IPersistStream,
                                     IPersistStreamInit, IStoredItem>> {
 public:
  // Bound to no part: properties act on a record of its own, Save fails.
  CMimeBody();
  // `slot` becomes a `List` when it is none, and is shared from then on. `parent` is null for the
  // root.
  CMimeBody(HeaderValue& slot, platform::ComPtr<CMimeBody> parent, MessageRef message,
            BodyFlags flags);

  HRESULT get_Item(LONG index, IDispatch** part) override;
  HRESULT get_Count(LONG* count) override;
  HRESULT AddNew(IDispatch** part) override;
  HRESULT Remove(LONG index) override;
  HRESULT Clear() override;
  HRESULT get_MajorContentType(VARIANT* type) override;
  HRESULT put_MajorContentType(VARIANT type) override;
  HRESULT get_MinorContentType(VARIANT* type) override;
  HRESULT put_MinorContentType(VARIANT type) override;
  HRESULT get_ExtField(BSTR name, VARIANT* value) override;
  HRESULT put_ExtField(BSTR name, VARIANT value) override;
  HRESULT get_Encoding(VARIANT* encoding) override;
  HRESULT put_Encoding(VARIANT encoding) override;
  HRESULT get_Description(VARIANT* description) override;
  HRESULT put_Description(VARIANT description) override;
  HRESULT get_ContentID(VARIANT* id) override;
  HRESULT put_ContentID(VARIANT id) override;
  HRESULT ExportAsFile(BSTR path, VARIANT_BOOL* done) override;
  HRESULT ImportFromFile(BSTR path, VARIANT_BOOL by_reference, VARIANT_BOOL* done) override;
  HRESULT Export(IUnknown* stream, VARIANT_BOOL* done) override;
  HRESULT Import(IUnknown* stream, VARIANT_BOOL by_reference, VARIANT_BOOL* done) override;
  HRESULT get_FileName(BSTR* name) override;
  HRESULT put_FileName(BSTR name) override;
  HRESULT get_Value(BSTR* text) override;
  HRESULT put_Value(BSTR text) override;
  HRESULT get_EmbeddedMessage(IDispatch** message) override;
  HRESULT get_ContentDisposition(IDispatch** disposition) override;
  HRESULT get_Name(BSTR* name) override;
  HRESULT put_Name(BSTR name) override;
  HRESULT get_Fields(IDispatch** fields) override;
  HRESULT get_Charset(VARIANT* charset) override;
  HRESULT put_Charset(VARIANT charset) override;
  HRESULT get_ContentType(IDispatch** type) override;

  HRESULT GetClassID(CLSID* clsid) override;
  HRESULT Load(IStream* stream) override;
  HRESULT Save(IStream* stream, BOOL clear_dirty) override;
  HRESULT InitNew() override;
  // A part cannot be loaded, so it is no item of a stored collection.
  HRESULT item_class(CLSID*) override { return E_NOTIMPL; }
  HRESULT save_item(IStream*) override { return E_NOTIMPL; }

 private:
  ~CMimeBody() override;

  void changed();
  // The message that the part holds, which this handle keeps from then on; null when it holds none.
  [[nodiscard]] CMimeDecoder* embedded() { return embedded(content_type()); }
  [[nodiscard]] CMimeDecoder* embedded(const HeaderValue& type);
  // The Content-Type value, parsed; empty when the part has none.
  [[nodiscard]] const HeaderValue& content_type();
  [[nodiscard]] bool multipart();
  // A child of a multipart/digest is a message unless it says otherwise (RFC 2046 section 5.1.5).
  [[nodiscard]] bool in_digest() const;
  // The Content-Type of a part that has none: text/plain, or message/rfc822 in a digest.
  [[nodiscard]] HeaderValue default_type() const;
  [[nodiscard]] std::string message_charset() const;
  [[nodiscard]] std::string type_parameter(std::string_view name);
  // The entry of a field whose parameters are about to change; empty when the field's text does
  // not parse, and must not be lost.
  [[nodiscard]] HeaderValue entry_with_parameters(EntryName name);
  [[nodiscard]] HRESULT put_type_parameter(std::string_view name, std::string_view value);
  [[nodiscard]] HRESULT get_field(EntryName name, VARIANT* value);
  [[nodiscard]] HRESULT put_field(EntryName name, const VARIANT& value);
  [[nodiscard]] bool export_to(IStream& target);
  [[nodiscard]] bool import(platform::ComPtr<IStream> stream, bool by_reference);

  HeaderValue record_;  // `List`, pinned
  platform::ComPtr<CMimeBody> parent_;
  MessageRef message_;
  BodyFlags flags_;
  bool bound_ = false;
  bool looks_inside_ = false;  // into a message/rfc822 part
  platform::ComPtr<CMimeDecoder> embedded_;
};

// A new handle on the record in `slot`; see CMimeBody.
[[nodiscard]] platform::ComPtr<CMimeBody> make_mime_body(HeaderValue& slot,
                                                         platform::ComPtr<CMimeBody> parent,
                                                         MessageRef message, BodyFlags flags = {});
// A new handle on a message's root part.
[[nodiscard]] inline platform::ComPtr<CMimeBody> make_root_body(MessageStore& store,
                                                                MessageRef message) {
  return make_mime_body(store.root, nullptr, std::move(message));
}

}  // namespace tallowbrook
