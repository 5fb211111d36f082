#include "server/class_table.h"

#include <array>

#include "core/creators.h"
#include "tallowbrook/class_ids.h"

namespace tallowbrook {
namespace {

void no_hook(bool) {}

constexpr ClassEntry kClasses[kClassCount] = {
    {CLSID_MimeDecoder, u"MimeDecoder", kProgIdMimeDecoder, u"Tallowbrook.Decoder.1",
     u"MimeDecoder Class", 101, create_mime_decoder, no_hook},
    {CLSID_MailAddress, u"MailAddress", kProgIdMailAddress, u"Tallowbrook.MailAddress.1",
     u"MailAddress Class", 103, create_mail_address, no_hook},
    {CLSID_Collection, u"Collection", kProgIdCollection, u"Tallowbrook.Collection.1",
     u"Collection Class", 104, create_collection, no_hook},
    {CLSID_ClientSocket, u"ClientSocket", kProgIdClientSocket, u"Tallowbrook.ClientSocket.1",
     u"ClientSocket Class", 105, create_client_socket, no_hook},
    {CLSID_MimeBody, u"MimeBody", kProgIdMimeBody, u"Tallowbrook.MimeBody.1", u"MimeBody Class",
     106, create_mime_body, no_hook},
    {CLSID_ContentDisposition, u"ContentDisposition", kProgIdContentDisposition,
     u"Tallowbrook.ContentDisposition.1", u"ContentDisposition Class", 107,
     create_content_disposition, no_hook},
    {CLSID_ParameterMap, u"ParameterMap", kProgIdParameterMap, u"Tallowbrook.ParameterMap.1",
     u"ParameterMap Class", 108, create_parameter_map, no_hook},
    {CLSID_FieldCollection, u"FieldCollection", kProgIdFieldCollection,
     u"Tallowbrook.FieldCollection.1", u"FieldCollection Class", 109, create_field_collection,
     no_hook},
    {CLSID_ReceivedCollection, u"ReceivedCollection", kProgIdReceivedCollection,
     u"Tallowbrook.ReceivedCollection.1", u"ReceivedCollection Class", 110,
     create_received_collection, no_hook},
    {CLSID_Received, u"Received", kProgIdReceived, u"Tallowbrook.Received.1", u"Received Class",
     111, create_received, no_hook},
    {CLSID_ContentType, u"ContentType", kProgIdContentType, u"Tallowbrook.ContentType.1",
     u"ContentType Class", 112, create_content_type, no_hook},
    {CLSID_Blob, u"Blob", kProgIdBlob, u"Tallowbrook.Blob.1", u"Blob Class", 113, create_blob,
     no_hook},
    {CLSID_DialupCollection, u"DialupCollection", kProgIdDialupCollection,
     u"Tallowbrook.DialupCollection.1", u"DialupCollection Class", 114, create_dialup_collection,
     no_hook},
    {CLSID_DialupConnection, u"DialupConnection", kProgIdDialupConnection,
     u"Tallowbrook.DialupConnection.1", u"DialupConnection Class", 115, create_dialup_connection,
     no_hook},
};

constexpr auto kComponentClasses = [] {
  std::array<ComponentClass, kClassCount> described{};
  for (std::size_t i = 0; i < kClassCount; ++i) {
    const ClassEntry& entry = kClasses[i];
    described[i] = {entry.clsid, entry.prog_id_one, entry.prog_id, entry.description};
  }
  return described;
}();

}  // namespace

std::span<const ClassEntry, kClassCount> class_table() { return kClasses; }
std::span<const ComponentClass, kClassCount> component_classes() { return kComponentClasses; }

}  // namespace tallowbrook
