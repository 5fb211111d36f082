// CMimeDecoder: the message object, a thin automation face over a message store.
//
//   mime_decoder.cc         life, load and save, the road of a change
//   mime_decoder_fields.cc  the mail properties
//   mime_decoder_node.cc    the message as a node in an explorer's tree
#pragma once

#include "collections/variant_stream.h"
#include "core/object.h"
#include "model/embedded_message.h"
#include "model/explorer_node.h"
#include "model/message_owner.h"
#include "model/plugin_hook.h"
#include "model/reparse.h"
#include "model/view_mutex.h"
#include "platform/com/connection_point.h"
#include "platform/shell/context_menu.h"
#include "streams/memory_stream.h"
#include "streams/persist_base.h"
#include "tallowbrook/mime_decoder.h"
#include "tallowbrook/options.h"
#include "writer/message_writer.h"

namespace tallowbrook {

class CMimeDecoder final
    : public IPersistBaseImpl<Object<Confined, Dispatching<IMimeDecoder>, IPersistStream,
                                     IPersistStreamInit, IConnectionPointContainer, IContextMenu,
                                     ISupportErrorInfo, IPersistOptions, IStoredItem>>,
      public MessageOwner {
 public:
  CMimeDecoder();
  // A message that lies in a part of another one, which every change is written through to.
  CMimeDecoder(MessageRef enclosing, EmbeddedPlace place);

  // --- for the objects that look into the message -------------------------------------------
  [[nodiscard]] MessageStore& store() override { return store_; }
  // The link for those who look into the message; that of an embedded message keeps it alive.
  [[nodiscard]] MessageRef link();
  void NotifyChanged() override;
  void drop_raw_copy() override { raw_copy_.reset(); }
  [[nodiscard]] HRESULT ParseHeaderInto(std::string_view name, std::string_view text,
                                        HeaderValue& target) override;

  // --- IPersistStream, IPersistStreamInit -----------------------------------------------------
  HRESULT GetClassID(CLSID* clsid) override;
  HRESULT Load(IStream* stream) override;
  HRESULT Save(IStream* stream, BOOL clear_dirty) override;
  HRESULT InitNew() override;
  HRESULT item_class(CLSID* clsid) override { return GetClassID(clsid); }
  // Always with an end line, and nothing behind it.
  HRESULT save_item(IStream* stream) override;

  // --- ISupportErrorInfo, IConnectionPointContainer ------------------------------------------
  HRESULT InterfaceSupportsErrorInfo(REFIID iid) override;
  HRESULT EnumConnectionPoints(IEnumConnectionPoints** all) override;
  HRESULT FindConnectionPoint(REFIID iid, IConnectionPoint** point) override;

  // --- load and save --------------------------------------------------------------------------
  HRESULT LoadFromFile(BSTR path, VARIANT_BOOL* done) override;
  HRESULT SaveToFile(BSTR path, VARIANT_BOOL* done) override;
  HRESULT Load(IDispatch* stream_object, VARIANT_BOOL* done) override;
  HRESULT Save(IDispatch* stream_object, VARIANT_BOOL* done) override;

  // --- mail properties ------------------------------------------------------------------------
  HRESULT get_ReturnPath(VARIANT* value) override;
  HRESULT put_ReturnPath(VARIANT value) override;
  HRESULT get_ReplyTo(VARIANT* value) override;
  HRESULT put_ReplyTo(VARIANT value) override;
  HRESULT get_From(VARIANT* value) override;
  HRESULT put_From(VARIANT value) override;
  HRESULT get_Sender(VARIANT* value) override;
  HRESULT put_Sender(VARIANT value) override;
  HRESULT get_ResentReplyTo(VARIANT* value) override;
  HRESULT put_ResentReplyTo(VARIANT value) override;
  HRESULT get_ResentFrom(VARIANT* value) override;
  HRESULT put_ResentFrom(VARIANT value) override;
  HRESULT get_ResentSender(VARIANT* value) override;
  HRESULT put_ResentSender(VARIANT value) override;
  HRESULT get_Date(VARIANT* value) override;
  HRESULT put_Date(VARIANT value) override;
  HRESULT get_ResentDate(VARIANT* value) override;
  HRESULT put_ResentDate(VARIANT value) override;
  HRESULT get_To(VARIANT* value) override;
  HRESULT put_To(VARIANT value) override;
  HRESULT get_CC(VARIANT* value) override;
  HRESULT put_CC(VARIANT value) override;
  HRESULT get_BCC(VARIANT* value) override;
  HRESULT put_BCC(VARIANT value) override;
  HRESULT get_ReturnReceiptTo(VARIANT* value) override;
  HRESULT put_ReturnReceiptTo(VARIANT value) override;
  HRESULT get_Subject(VARIANT* value) override;
  HRESULT put_Subject(VARIANT value) override;
  HRESULT get_MessageID(VARIANT* value) override;
  HRESULT put_MessageID(VARIANT value) override;
  HRESULT get_SubjectRaw(VARIANT* value) override;
  HRESULT put_SubjectRaw(VARIANT value) override;
  HRESULT get_Body(VARIANT* value) override;
  HRESULT put_Body(VARIANT value) override;
  HRESULT get_MajorMimeVersion(LONG* version) override;
  HRESULT put_MajorMimeVersion(LONG version) override;
  HRESULT get_MinorMimeVersion(LONG* version) override;
  HRESULT put_MinorMimeVersion(LONG version) override;
  HRESULT get_InterpretEmbeddedMails(VARIANT_BOOL* interpret) override;
  HRESULT put_InterpretEmbeddedMails(VARIANT_BOOL interpret) override;
  HRESULT get_CollectRawStream(VARIANT_BOOL* collect) override;
  HRESULT put_CollectRawStream(VARIANT_BOOL collect) override;
  HRESULT put_Charset(VARIANT charset) override;
  HRESULT get_Received(IDispatch** trace_headers) override;
  HRESULT get_MessageHeader(BSTR* header) override;

  // Loads the message that lies in a part from the part's content.
  [[nodiscard]] HRESULT load_from_part(IStream& content);

  // --- the message as a node ------------------------------------------------------------------
  HRESULT get_Item(VARIANT index, VARIANT* child) override;
  HRESULT get_Count(LONG* count) override;
  HRESULT get_HasChildren(LONG* has_children) override;
  HRESULT get_Image(VARIANT* image) override;
  HRESULT get_CanSeeEnd(LONG* can_see) override;
  HRESULT get_IsSameSiblingImage(LONG* is_same) override;
  HRESULT get_SmallImageList(IUnknown** stream) override;
  HRESULT get_LargeImageList(IUnknown** stream) override;
  HRESULT get_ID(BSTR* id) override;
  HRESULT get_Name(BSTR* name) override;
  HRESULT get_CanUpdateName(VARIANT_BOOL* can_update) override;
  HRESULT put_UpdateName(BSTR name) override;
  HRESULT get_Options(IDispatch** options) override;
  HRESULT get_CurrentValues(BSTR id, VARIANT_BOOL put, IDispatch** values) override;
  HRESULT get_ChoiceValues(BSTR id, VARIANT_BOOL put, IDispatch** values) override;
  HRESULT LoadOptions(IStorage* storage) override;
  HRESULT SaveOptions(IStorage* storage) override;
  HRESULT DebugPrint(BSTR text) override;
  HRESULT QueryContextMenu(HMENU menu, UINT index, UINT first, UINT last, UINT flags) override;
  HRESULT InvokeCommand(CMINVOKECOMMANDINFO* info) override;
  HRESULT GetCommandString(std::uintptr_t command, UINT kind, UINT* reserved, char* buffer,
                           UINT size) override;

 private:
  using Reader = platform::Variant (*)(const HeaderValue&);

  ~CMimeDecoder() override;
  // A reference that keeps the message alive while a host's code may run.
  [[nodiscard]] platform::ComPtr<IMimeDecoder> self() {
    return platform::ComPtr<IMimeDecoder>(this);
  }

  void forget_everything();
  // What was read ahead of the message's end: taken, or given back to the stream, in which other
  // objects may follow. A raw copy keeps what it took. A stream of our own is read by nobody else,
  // and nobody learns in which line of it an error is.
  enum class Behind { kTakes, kGivesBack, kIsOurs };
  [[nodiscard]] HRESULT load(IStream& stream, Behind behind = Behind::kTakes);
  // Turns uuencoded blocks of a text body into attachments.
  void extract_uuencoded_blocks();
  [[nodiscard]] WriteOutcome write(IStream& target, bool header_only);
  // False when a change goes no further: the part that this message lay in has other content now.
  bool write_through();

  [[nodiscard]] HRESULT get_field(SlotId id, ReadMode mode, Reader reader, VARIANT* value);
  [[nodiscard]] HRESULT put_field(SlotId id, HeaderValue value);
  [[nodiscard]] HRESULT put_date_field(SlotId id, const VARIANT& date);
  [[nodiscard]] HRESULT put_plain_text(SlotId id, const VARIANT& value);
  [[nodiscard]] HRESULT get_address(SlotId id, VARIANT* value);
  [[nodiscard]] HRESULT put_address(SlotId id, const VARIANT& value);
  [[nodiscard]] HRESULT get_addresses(SlotId id, VARIANT* value);
  [[nodiscard]] HRESULT put_addresses(SlotId id, const VARIANT& value);
  void raise_subject_changed();
  [[nodiscard]] ExplorerNode& node();
  template <class Out, class Ask>
  [[nodiscard]] HRESULT ask_node(Out* out, Ask ask);

  MessageStore store_;
  MessageRef link_;
  MessageRef enclosing_;
  EmbeddedPlace place_;                    // in the enclosing message
  platform::ComPtr<CISSHelper> raw_copy_;  // while it says what the model says
  std::size_t raw_end_ = 0;                // where the message in it ends
  bool raw_has_end_line_ = false;          // else the end of the stream was the end
  ViewMutex mutex_;                        // held while one header field is parsed
  PluginHook plugin_;
  platform::ConnectionPointContainer points_;
  std::unique_ptr<ExplorerNode> node_;
  bool raising_ = false;  // the accessor event is on its way to the host
  bool ending_ = false;   // the destructor runs: there is no node any more
};

}  // namespace tallowbrook
