// The message object.
#pragma once

#include "platform/automation/dispatch.h"

namespace tallowbrook {

// One message: loaded, read and edited through its properties, and saved.
//
// A header field that is absent reads as an empty variant, save where a member says otherwise.
// Address properties read as one IMailAddress, or as an ICollection of them where the comment says
// "list"; they take such an object, a string (a list is split at its commas), or an empty variant
// that removes the field. Every put marks the message as changed. One message is used by one
// thread at a time.
struct IMimeDecoder : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{
      0x60E5F6E9, 0xADBE, 0x4708, {0xA8, 0xDA, 0x4A, 0xF9, 0xE6, 0x82, 0x99, 0x18}};

  // Loads a file. E_FAIL (file cannot be opened) and E_ABORT (it does not parse) leave a
  // description in the thread's error object. `done` is true when the message was read.
  virtual HRESULT LoadFromFile(BSTR path, VARIANT_BOOL* done) = 0;
  virtual HRESULT SaveToFile(BSTR path, VARIANT_BOOL* done) = 0;
  virtual HRESULT get_ReturnPath(VARIANT* address) = 0;
  virtual HRESULT put_ReturnPath(VARIANT address) = 0;
  virtual HRESULT get_MajorMimeVersion(LONG* version) = 0;
  virtual HRESULT put_MajorMimeVersion(LONG version) = 0;
  virtual HRESULT get_MinorMimeVersion(LONG* version) = 0;
  virtual HRESULT put_MinorMimeVersion(LONG version) = 0;
  virtual HRESULT get_ReplyTo(VARIANT* address) = 0;
  virtual HRESULT put_ReplyTo(VARIANT address) = 0;
  virtual HRESULT get_From(VARIANT* addresses) = 0;  // list; a put string is one address
  virtual HRESULT put_From(VARIANT addresses) = 0;
  virtual HRESULT get_Sender(VARIANT* address) = 0;
  virtual HRESULT put_Sender(VARIANT address) = 0;
  virtual HRESULT get_ResentReplyTo(VARIANT* addresses) = 0;  // list
  virtual HRESULT put_ResentReplyTo(VARIANT addresses) = 0;
  virtual HRESULT get_ResentFrom(VARIANT* addresses) = 0;  // list
  virtual HRESULT put_ResentFrom(VARIANT addresses) = 0;
  virtual HRESULT get_ResentSender(VARIANT* address) = 0;
  virtual HRESULT put_ResentSender(VARIANT address) = 0;
  // Automation dates in the local time of this machine; the text where it is no readable date.
  virtual HRESULT get_Date(VARIANT* date) = 0;
  virtual HRESULT put_Date(VARIANT date) = 0;
  virtual HRESULT get_ResentDate(VARIANT* date) = 0;
  virtual HRESULT put_ResentDate(VARIANT date) = 0;
  virtual HRESULT get_To(VARIANT* addresses) = 0;  // list
  virtual HRESULT put_To(VARIANT addresses) = 0;
  virtual HRESULT get_CC(VARIANT* addresses) = 0;  // list
  virtual HRESULT put_CC(VARIANT addresses) = 0;
  virtual HRESULT get_BCC(VARIANT* addresses) = 0;  // list
  virtual HRESULT put_BCC(VARIANT addresses) = 0;
  // The subject with its encoded words decoded; the empty string when absent. A put encodes what
  // needs it with Charset.
  virtual HRESULT get_Subject(VARIANT* subject) = 0;
  virtual HRESULT put_Subject(VARIANT subject) = 0;
  virtual HRESULT get_MessageID(VARIANT* id) = 0;
  virtual HRESULT put_MessageID(VARIANT id) = 0;
  // As the two file operations, with an object that answers to IStream. Load answers S_OK also
  // when the message does not parse: `done` tells.
  virtual HRESULT Load(IDispatch* stream_object, VARIANT_BOOL* done) = 0;
  virtual HRESULT Save(IDispatch* stream_object, VARIANT_BOOL* done) = 0;
  virtual HRESULT get_ReturnReceiptTo(VARIANT* addresses) = 0;  // list
  virtual HRESULT put_ReturnReceiptTo(VARIANT addresses) = 0;
  // The subject as the header holds it; the empty string when absent.
  virtual HRESULT get_SubjectRaw(VARIANT* subject) = 0;
  virtual HRESULT put_SubjectRaw(VARIANT subject) = 0;
  // The root IMimeBody; an empty variant after a load that failed. A put takes a string (E_FAIL
  // for anything else) and makes the body one text part of it.
  virtual HRESULT get_Body(VARIANT* body) = 0;
  virtual HRESULT put_Body(VARIANT body) = 0;

  // --- the message as a node in an explorer's tree ---
  virtual HRESULT get_Item(VARIANT index, VARIANT* child) = 0;  // empty: a message has no children
  virtual HRESULT get_Count(LONG* count) = 0;                   // 0
  virtual HRESULT get_HasChildren(LONG* has_children) = 0;      // 0
  virtual HRESULT get_Image(VARIANT* image) = 0;                // the message object itself
  virtual HRESULT get_CanSeeEnd(LONG* can_see) = 0;             // 1
  virtual HRESULT get_IsSameSiblingImage(LONG* is_same) = 0;    // 0
  // New streams that hold an image list each; E_FAIL when it cannot be made.
  virtual HRESULT get_SmallImageList(IUnknown** stream) = 0;
  virtual HRESULT get_LargeImageList(IUnknown** stream) = 0;
  virtual HRESULT get_ID(BSTR* id) = 0;      // "email"
  virtual HRESULT get_Name(BSTR* name) = 0;  // the subject, or "<no name>"
  virtual HRESULT get_CanUpdateName(VARIANT_BOOL* can_update) = 0;
  virtual HRESULT put_UpdateName(BSTR name) = 0;  // a put of Subject
  // The host's option objects: the definitions, and the current and the possible values of one.
  virtual HRESULT get_Options(IDispatch** options) = 0;
  virtual HRESULT get_CurrentValues(BSTR id, VARIANT_BOOL put, IDispatch** values) = 0;
  virtual HRESULT get_ChoiceValues(BSTR id, VARIANT_BOOL put, IDispatch** values) = 0;

  // --- options and the rest ---
  // Whether a part of type message/rfc822 is opened as a message of its own (true at first).
  virtual HRESULT get_InterpretEmbeddedMails(VARIANT_BOOL* interpret) = 0;
  virtual HRESULT put_InterpretEmbeddedMails(VARIANT_BOOL interpret) = 0;
  // Whether a load keeps the bytes it read, so that an unchanged message is saved as it was loaded
  // (false at first).
  virtual HRESULT get_CollectRawStream(VARIANT_BOOL* collect) = 0;
  virtual HRESULT put_CollectRawStream(VARIANT_BOOL collect) = 0;
  // The charset that puts of Subject and Body encode with: a string (E_INVALIDARG otherwise).
  virtual HRESULT put_Charset(VARIANT charset) = 0;
  virtual HRESULT get_Received(IDispatch** trace_headers) = 0;  // an IReceivedCollection
  // Writes the text and a line end to the platform's debug output.
  virtual HRESULT DebugPrint(BSTR text) = 0;
  // The header section as a save would write it.
  virtual HRESULT get_MessageHeader(BSTR* header) = 0;
};

}  // namespace tallowbrook
