// The enumerations as the type library shows them.
#pragma once

#include "platform/automation/describe.h"
#include "tallowbrook/enumerations.h"

namespace tallowbrook::platform {

template <class Enumeration>
[[nodiscard]] constexpr EnumValue enum_value(const char16_t* name, Enumeration value,
                                             const char16_t* help) {
  return {name, static_cast<LONG>(value), help};
}

template <>
struct DescribeEnum<MajorMimeTypes> {
  static constexpr EnumValue values[] = {
      enum_value(u"Multipart", MajorMimeTypes::Multipart, u"multipart/*"),
      enum_value(u"Text", MajorMimeTypes::Text, u"text/*"),
      enum_value(u"Image", MajorMimeTypes::Image, u"image/*"),
      enum_value(u"Application", MajorMimeTypes::Application, u"application/*"),
      enum_value(u"Audio", MajorMimeTypes::Audio, u"audio/*"),
      enum_value(u"Video", MajorMimeTypes::Video, u"video/*"),
      enum_value(u"Message", MajorMimeTypes::Message, u"message/*"),
  };
  static constexpr EnumInfo info{
      {0x080A52AF, 0xC8C1, 0x4688, {0xBA, 0xA6, 0xC0, 0xBC, 0x21, 0xE1, 0x24, 0x6F}},
      u"MajorMimeTypes",
      u"Major media types",
      values};
};

template <>
struct DescribeEnum<MultipartTypes> {
  static constexpr EnumValue values[] = {
      enum_value(u"Mixed", MultipartTypes::Mixed, u"multipart/mixed"),
      enum_value(u"Parallel", MultipartTypes::Parallel, u"multipart/parallel"),
      enum_value(u"Digest", MultipartTypes::Digest, u"multipart/digest"),
      enum_value(u"Alternative", MultipartTypes::Alternative, u"multipart/alternative"),
  };
  static constexpr EnumInfo info{
      {0xD1F1EDCF, 0x7716, 0x40B4, {0xB3, 0xC1, 0xD0, 0xB3, 0x16, 0xD2, 0x8E, 0x70}},
      u"MultipartTypes",
      u"Minor types of multipart",
      values};
};

template <>
struct DescribeEnum<TextTypes> {
  static constexpr EnumValue values[] = {
      enum_value(u"Plain", TextTypes::Plain, u"text/plain"),
      enum_value(u"Html", TextTypes::Html, u"text/html"),
  };
  static constexpr EnumInfo info{
      {0x957A5235, 0xEB6E, 0x4E43, {0x9A, 0x44, 0x83, 0x6C, 0xE1, 0x15, 0x32, 0xBA}},
      u"TextTypes",
      u"Minor types of text",
      values};
};

template <>
struct DescribeEnum<ImageTypes> {
  static constexpr EnumValue values[] = {
      enum_value(u"Gif", ImageTypes::Gif, u"image/gif"),
      enum_value(u"Jpg", ImageTypes::Jpg, u"image/jpeg"),
  };
  static constexpr EnumInfo info{
      {0x812C6B17, 0x822E, 0x4B4F, {0xBC, 0x6F, 0x2A, 0x45, 0x8C, 0xA5, 0x55, 0x29}},
      u"ImageTypes",
      u"Minor types of image",
      values};
};

template <>
struct DescribeEnum<ApplicationTypes> {
  static constexpr EnumValue values[] = {
      enum_value(u"OctetStream", ApplicationTypes::OctetStream, u"application/octet-stream"),
      enum_value(u"Postscript", ApplicationTypes::Postscript, u"application/postscript"),
  };
  static constexpr EnumInfo info{
      {0xC72131F7, 0x585C, 0x4B2C, {0xA4, 0xDF, 0x97, 0xC9, 0x50, 0x3A, 0x84, 0x26}},
      u"ApplicationTypes",
      u"Minor types of application",
      values};
};

template <>
struct DescribeEnum<AudioTypes> {
  static constexpr EnumValue values[] = {enum_value(u"Basic", AudioTypes::Basic, u"audio/basic")};
  static constexpr EnumInfo info{
      {0x2ED1E7D2, 0x26E0, 0x4000, {0xB7, 0xA7, 0xC4, 0x7F, 0x03, 0x73, 0xC0, 0x9F}},
      u"AudioTypes",
      u"Minor types of audio",
      values};
};

template <>
struct DescribeEnum<VideoTypes> {
  static constexpr EnumValue values[] = {enum_value(u"Mpeg", VideoTypes::Mpeg, u"video/mpeg")};
  static constexpr EnumInfo info{
      {0x61F53FB5, 0x3A8D, 0x432F, {0xB2, 0x4A, 0x39, 0x9A, 0x8E, 0xF8, 0x12, 0x48}},
      u"VideoTypes",
      u"Minor types of video",
      values};
};

template <>
struct DescribeEnum<MessageTypes> {
  static constexpr EnumValue values[] = {
      enum_value(u"Rfc822", MessageTypes::Rfc822, u"message/rfc822"),
      enum_value(u"Partial", MessageTypes::Partial, u"message/partial"),
      enum_value(u"ExternalBody", MessageTypes::ExternalBody, u"message/external-body"),
  };
  static constexpr EnumInfo info{
      {0x4E7DEE5E, 0xBB58, 0x4018, {0x92, 0xC7, 0x9C, 0xBF, 0x7C, 0xD0, 0x78, 0xB3}},
      u"MessageTypes",
      u"Minor types of message",
      values};
};

template <>
struct DescribeEnum<EncoderTypes> {
  static constexpr EnumValue values[] = {
      enum_value(u"SevenBit", EncoderTypes::SevenBit, u"7bit"),
      enum_value(u"QuotedPrintable", EncoderTypes::QuotedPrintable, u"quoted-printable"),
      enum_value(u"Base64", EncoderTypes::Base64, u"base64"),
      enum_value(u"EightBit", EncoderTypes::EightBit, u"8bit"),
      enum_value(u"Binary", EncoderTypes::Binary, u"binary"),
  };
  static constexpr EnumInfo info{
      {0xE78107BD, 0x5E86, 0x4316, {0xB1, 0x71, 0x47, 0x3C, 0x48, 0xC0, 0x8D, 0x72}},
      u"EncoderTypes",
      u"Transfer encodings",
      values};
};

}  // namespace tallowbrook::platform
