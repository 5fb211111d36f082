// The message object's members.
#pragma once

#include "platform/automation/describe.h"
#include "tallowbrook/mime_decoder.h"

namespace tallowbrook::platform {

template <>
struct Describe<IMimeDecoder> {
  static constexpr auto members = std::array{
      method<&IMimeDecoder::LoadFromFile>(1, u"LoadFromFile", names(u"Path"),
                                          u"Loads a message from a file"),
      method<&IMimeDecoder::SaveToFile>(2, u"SaveToFile", names(u"Path"),
                                        u"Writes the message to a file"),
      property<&IMimeDecoder::get_ReturnPath, &IMimeDecoder::put_ReturnPath>(3, u"ReturnPath",
                                                                             u"Return path"),
      property<&IMimeDecoder::get_MajorMimeVersion, &IMimeDecoder::put_MajorMimeVersion>(
          4, u"MajorMimeVersion", u"MIME version, the number before the dot"),
      property<&IMimeDecoder::get_MinorMimeVersion, &IMimeDecoder::put_MinorMimeVersion>(
          5, u"MinorMimeVersion", u"MIME version, the number behind the dot"),
      property<&IMimeDecoder::get_ReplyTo, &IMimeDecoder::put_ReplyTo>(6, u"ReplyTo",
                                                                       u"Address for replies"),
      property<&IMimeDecoder::get_From, &IMimeDecoder::put_From>(7, u"From", u"Authors"),
      property<&IMimeDecoder::get_Sender, &IMimeDecoder::put_Sender>(
          8, u"Sender", u"Sender, where it is not the author"),
      property<&IMimeDecoder::get_ResentReplyTo, &IMimeDecoder::put_ResentReplyTo>(
          9, u"ResentReplyTo", u"Addresses for replies to the forwarder"),
      property<&IMimeDecoder::get_ResentFrom, &IMimeDecoder::put_ResentFrom>(10, u"ResentFrom",
                                                                             u"Forwarders"),
      property<&IMimeDecoder::get_ResentSender, &IMimeDecoder::put_ResentSender>(
          11, u"ResentSender", u"Sender of the forwarded message"),
      property<&IMimeDecoder::get_Date, &IMimeDecoder::put_Date>(12, u"Date",
                                                                 u"Date of the message"),
      property<&IMimeDecoder::get_ResentDate, &IMimeDecoder::put_ResentDate>(13, u"ResentDate",
                                                                             u"Date of forwarding"),
      property<&IMimeDecoder::get_To, &IMimeDecoder::put_To>(14, u"To", u"Recipients"),
      property<&IMimeDecoder::get_CC, &IMimeDecoder::put_CC>(15, u"CC", u"Recipients of copies"),
      property<&IMimeDecoder::get_BCC, &IMimeDecoder::put_BCC>(16, u"BCC",
                                                               u"Recipients of blind copies"),
      property<&IMimeDecoder::get_Subject, &IMimeDecoder::put_Subject>(17, u"Subject", u"Subject"),
      property<&IMimeDecoder::get_MessageID, &IMimeDecoder::put_MessageID>(18, u"MessageID",
                                                                           u"Message identifier"),
      method<&IMimeDecoder::Load>(19, u"Load", names(u"StreamObject"),
                                  u"Loads a message from a stream object"),
      method<&IMimeDecoder::Save>(20, u"Save", names(u"StreamObject"),
                                  u"Writes the message to a stream object"),
      property<&IMimeDecoder::get_ReturnReceiptTo, &IMimeDecoder::put_ReturnReceiptTo>(
          21, u"ReturnReceiptTo", u"Addresses for the return receipt"),
      property<&IMimeDecoder::get_SubjectRaw, &IMimeDecoder::put_SubjectRaw>(
          24, u"SubjectRaw", u"Subject as it is written in the header"),
      property<&IMimeDecoder::get_Body, &IMimeDecoder::put_Body>(25, u"Body", u"Root body part"),
      getter<&IMimeDecoder::get_Item>(0, u"Item", names(u"Index"), u"Child node"),
      getter<&IMimeDecoder::get_Count>(100, u"Count", u"Number of child nodes"),
      getter<&IMimeDecoder::get_HasChildren>(101, u"HasChildren", u"Whether the node has children"),
      getter<&IMimeDecoder::get_Image>(102, u"Image", u"Image of the node"),
      getter<&IMimeDecoder::get_CanSeeEnd>(103, u"CanSeeEnd",
                                           u"Whether the end of the children is known"),
      getter<&IMimeDecoder::get_IsSameSiblingImage>(104, u"IsSameSiblingImage",
                                                    u"Whether all siblings have one image"),
      getter<&IMimeDecoder::get_SmallImageList>(105, u"SmallImageList",
                                                u"Stream with the small image list"),
      getter<&IMimeDecoder::get_LargeImageList>(106, u"LargeImageList",
                                                u"Stream with the large image list"),
      getter<&IMimeDecoder::get_ID>(107, u"ID", u"Type identifier of the node"),
      getter<&IMimeDecoder::get_Name>(108, u"Name", u"Display name of the node"),
      getter<&IMimeDecoder::get_CanUpdateName>(109, u"CanUpdateName",
                                               u"Whether the node can be renamed"),
      setter<&IMimeDecoder::put_UpdateName>(110, u"UpdateName", u"Renames the node"),
      getter<&IMimeDecoder::get_Options>(111, u"Options", u"Option definitions"),
      getter<&IMimeDecoder::get_CurrentValues>(112, u"CurrentValues",
                                               names(u"ID", with_default(u"bPut", VARIANT_FALSE)),
                                               u"Current values of an option"),
      getter<&IMimeDecoder::get_ChoiceValues>(113, u"ChoiceValues",
                                              names(u"ID", with_default(u"bPut", VARIANT_FALSE)),
                                              u"Values that an option can have"),
      property<&IMimeDecoder::get_InterpretEmbeddedMails,
               &IMimeDecoder::put_InterpretEmbeddedMails>(114, u"InterpretEmbeddedMails",
                                                          u"Whether embedded messages are opened"),
      property<&IMimeDecoder::get_CollectRawStream, &IMimeDecoder::put_CollectRawStream>(
          115, u"CollectRawStream", u"Whether a load keeps the bytes it read"),
      setter<&IMimeDecoder::put_Charset>(116, u"Charset",
                                         u"Charset that subject and body are encoded with"),
      getter<&IMimeDecoder::get_Received>(117, u"Received", u"Trace headers"),
      method<&IMimeDecoder::DebugPrint>(118, u"DebugPrint", names(u"str"),
                                        u"Writes a line of debug output"),
      getter<&IMimeDecoder::get_MessageHeader>(119, u"MessageHeader",
                                               u"Header section of the message"),
  };
};

}  // namespace tallowbrook::platform

namespace tallowbrook {

inline constexpr platform::InterfaceInfo kMimeDecoderInfo =
    platform::interface_info<IMimeDecoder>(u"IMimeDecoder", u"IMimeDecoder Interface");

}  // namespace tallowbrook
