#include "server/type_library.h"

#include <array>
#include <cstdint>

#include "server/tables/client_socket.h"
#include "server/tables/collections.h"
#include "server/tables/content.h"
#include "server/tables/enumerations.h"
#include "server/tables/events.h"
#include "server/tables/mail_address.h"
#include "server/tables/mime_body.h"
#include "server/tables/mime_decoder.h"
#include "server/tables/trace_headers.h"
#include "tallowbrook/class_ids.h"

namespace tallowbrook {
namespace {

using platform::CoclassInfo;
using platform::DescribeEnum;
using platform::EnumInfo;
using platform::InterfaceInfo;
using platform::kImplementsDefault;
using platform::kImplementsSource;
using platform::LibraryInfo;

constexpr const EnumInfo* kEnumerations[] = {
    &DescribeEnum<MajorMimeTypes>::info,   &DescribeEnum<MultipartTypes>::info,
    &DescribeEnum<TextTypes>::info,        &DescribeEnum<ImageTypes>::info,
    &DescribeEnum<ApplicationTypes>::info, &DescribeEnum<AudioTypes>::info,
    &DescribeEnum<VideoTypes>::info,       &DescribeEnum<MessageTypes>::info,
    &DescribeEnum<EncoderTypes>::info,
};

constexpr const InterfaceInfo* kInterfaces[kInterfaceCount] = {
    &kMimeDecoderInfo,       &kMailAddressInfo,      &kCollectionInfo,
    &kClientSocketInfo,      &kMimeBodyInfo,         &kContentDispositionInfo,
    &kParameterMapInfo,      &kFieldCollectionInfo,  &kReceivedCollectionInfo,
    &kReceivedInfo,          &kContentTypeInfo,      &kBlobInfo,
    &kDialupCollectionInfo,  &kDialupConnectionInfo, &kComCollectionInfo,
    &kMimeDecoderEventsInfo, &kAccessorEventsInfo,
};

constexpr CoclassInfo kMimeDecoderClass{
    CLSID_MimeDecoder,
    u"MimeDecoder",
    u"MimeDecoder Class",
    {{{&kMimeDecoderInfo, kImplementsDefault},
      {&kMimeDecoderEventsInfo, kImplementsDefault | kImplementsSource},
      {&kAccessorEventsInfo, kImplementsSource}}}};
constexpr CoclassInfo kMailAddressClass{CLSID_MailAddress,
                                        u"MailAddress",
                                        u"MailAddress Class",
                                        {{{&kMailAddressInfo, kImplementsDefault}}}};
constexpr CoclassInfo kCollectionClass{CLSID_Collection,
                                       u"Collection",
                                       u"Collection Class",
                                       {{{&kCollectionInfo, kImplementsDefault}}}};
constexpr CoclassInfo kClientSocketClass{CLSID_ClientSocket,
                                         u"ClientSocket",
                                         u"ClientSocket Class",
                                         {{{&kClientSocketInfo, kImplementsDefault}}}};
constexpr CoclassInfo kMimeBodyClass{
    CLSID_MimeBody, u"MimeBody", u"MimeBody Class", {{{&kMimeBodyInfo, kImplementsDefault}}}};
constexpr CoclassInfo kContentDispositionClass{CLSID_ContentDisposition,
                                               u"ContentDisposition",
                                               u"ContentDisposition Class",
                                               {{{&kContentDispositionInfo, kImplementsDefault}}}};
constexpr CoclassInfo kParameterMapClass{CLSID_ParameterMap,
                                         u"ParameterMap",
                                         u"ParameterMap Class",
                                         {{{&kParameterMapInfo, kImplementsDefault}}}};
constexpr CoclassInfo kFieldCollectionClass{CLSID_FieldCollection,
                                            u"FieldCollection",
                                            u"FieldCollection Class",
                                            {{{&kFieldCollectionInfo, kImplementsDefault}}}};
constexpr CoclassInfo kReceivedCollectionClass{CLSID_ReceivedCollection,
                                               u"ReceivedCollection",
                                               u"ReceivedCollection Class",
                                               {{{&kReceivedCollectionInfo, kImplementsDefault}}}};
constexpr CoclassInfo kReceivedClass{
    CLSID_Received, u"Received", u"Received Class", {{{&kReceivedInfo, kImplementsDefault}}}};
constexpr CoclassInfo kContentTypeClass{CLSID_ContentType,
                                        u"ContentType",
                                        u"ContentType Class",
                                        {{{&kContentTypeInfo, kImplementsDefault}}}};
constexpr CoclassInfo kBlobClass{
    CLSID_Blob, u"Blob", u"Blob Class", {{{&kBlobInfo, kImplementsDefault}}}};
constexpr CoclassInfo kDialupCollectionClass{CLSID_DialupCollection,
                                             u"DialupCollection",
                                             u"DialupCollection Class",
                                             {{{&kDialupCollectionInfo, kImplementsDefault}}}};
constexpr CoclassInfo kDialupConnectionClass{CLSID_DialupConnection,
                                             u"DialupConnection",
                                             u"DialupConnection Class",
                                             {{{&kDialupConnectionInfo, kImplementsDefault}}}};

constexpr const CoclassInfo* kCoclasses[] = {
    &kMimeDecoderClass,      &kMailAddressClass,      &kCollectionClass,
    &kClientSocketClass,     &kMimeBodyClass,         &kContentDispositionClass,
    &kParameterMapClass,     &kFieldCollectionClass,  &kReceivedCollectionClass,
    &kReceivedClass,         &kContentTypeClass,      &kBlobClass,
    &kDialupCollectionClass, &kDialupConnectionClass,
};

constexpr LibraryInfo kLibrary{LIBID_TALLOWBROOKLib,
                               kTypeLibraryMajor,
                               kTypeLibraryMinor,
                               0,
                               u"TALLOWBROOKLib",
                               u"Tallowbrook 1.0 Type Library",
                               kEnumerations,
                               kInterfaces,
                               kCoclasses};

// The first words of the identities beside each other, since every late-bound call looks for one.
constexpr auto kFirstWords = [] {
  std::array<std::uint32_t, kInterfaceCount> words{};
  for (std::size_t i = 0; i < kInterfaceCount; ++i) words[i] = kInterfaces[i]->iid.Data1;
  return words;
}();

}  // namespace

const LibraryInfo& library_info() { return kLibrary; }

std::size_t interface_index(REFIID iid) {
  for (std::size_t index = 0; index < kInterfaceCount; ++index) {
    if (kFirstWords[index] == iid.Data1 && kInterfaces[index]->iid == iid) return index;
  }
  return kInterfaceCount;
}

}  // namespace tallowbrook
