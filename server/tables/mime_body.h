// The body part's members.
#pragma once

#include "platform/automation/describe.h"
#include "tallowbrook/mime_body.h"

namespace tallowbrook::platform {

template <>
struct Describe<IMimeBody> {
  static constexpr auto members = std::array{
      getter<&IMimeBody::get_Item>(0, u"Item", names(u"Index"), u"Child part at a position"),
      getter<&IMimeBody::get_Count>(1, u"Count", u"Number of child parts"),
      method<&IMimeBody::AddNew>(2, u"AddNew", u"Appends a child part"),
      method<&IMimeBody::Remove>(3, u"Remove", names(u"Index"),
                                 u"Removes the child part at a position"),
      method<&IMimeBody::Clear>(4, u"Clear", u"Removes all child parts"),
      property<&IMimeBody::get_MajorContentType, &IMimeBody::put_MajorContentType>(
          20, u"MajorContentType", u"Major media type"),
      property<&IMimeBody::get_MinorContentType, &IMimeBody::put_MinorContentType>(
          21, u"MinorContentType", u"Minor media type"),
      property<&IMimeBody::get_ExtField, &IMimeBody::put_ExtField>(
          22, u"ExtField", names(u"strName"), u"Header field by name"),
      property<&IMimeBody::get_Encoding, &IMimeBody::put_Encoding>(23, u"Encoding",
                                                                   u"Transfer encoding"),
      property<&IMimeBody::get_Description, &IMimeBody::put_Description>(24, u"Description",
                                                                         u"Description"),
      property<&IMimeBody::get_ContentID, &IMimeBody::put_ContentID>(25, u"ContentID",
                                                                     u"Content identifier"),
      method<&IMimeBody::ExportAsFile>(26, u"ExportAsFile", names(u"Path"),
                                       u"Writes the decoded content to a file"),
      method<&IMimeBody::ImportFromFile>(
          27, u"ImportFromFile", names(u"Path", with_default(u"StreamByReference", VARIANT_FALSE)),
          u"Takes the content from a file"),
      method<&IMimeBody::Export>(28, u"Export", names(u"pStream"),
                                 u"Writes the decoded content to a stream"),
      method<&IMimeBody::Import>(
          29, u"Import", names(u"pStream", with_default(u"StreamByReference", VARIANT_FALSE)),
          u"Takes the content from a stream"),
      property<&IMimeBody::get_FileName, &IMimeBody::put_FileName>(
          30, u"FileName", u"Name of the file to store the content in"),
      property<&IMimeBody::get_Value, &IMimeBody::put_Value>(31, u"Value",
                                                             u"Decoded content as text"),
      getter<&IMimeBody::get_EmbeddedMessage>(32, u"EmbeddedMessage", u"Embedded message"),
      getter<&IMimeBody::get_ContentDisposition>(33, u"ContentDisposition", u"Content disposition"),
      property<&IMimeBody::get_Name, &IMimeBody::put_Name>(34, u"Name",
                                                           u"Name parameter of the content type"),
      getter<&IMimeBody::get_Fields>(35, u"Fields", u"Header fields"),
      property<&IMimeBody::get_Charset, &IMimeBody::put_Charset>(
          36, u"Charset", u"Charset parameter of the content type"),
      getter<&IMimeBody::get_ContentType>(37, u"ContentType", u"Content type"),
  };
};

}  // namespace tallowbrook::platform

namespace tallowbrook {

inline constexpr platform::InterfaceInfo kMimeBodyInfo =
    platform::interface_info<IMimeBody>(u"IMimeBody", u"IMimeBody Interface");

}  // namespace tallowbrook
