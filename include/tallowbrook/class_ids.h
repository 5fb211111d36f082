// The identities of the type library and of the creatable classes, and their ProgIDs.
#pragma once

#include "platform/com/types.h"

namespace tallowbrook {

inline constexpr GUID LIBID_TALLOWBROOKLib{
    0xF4A7BFE7, 0xB287, 0x4558, {0x8F, 0x97, 0xA5, 0xC3, 0xCC, 0x57, 0x35, 0x2E}};

inline constexpr CLSID CLSID_MimeDecoder{
    0xC6A87D9D, 0x09D2, 0x4C84, {0x85, 0x44, 0x45, 0xEC, 0x94, 0xE4, 0x5D, 0xCA}};
inline constexpr CLSID CLSID_MailAddress{
    0x4543CB5C, 0xAEF5, 0x484E, {0x92, 0xA1, 0x6B, 0xE8, 0xEB, 0xAD, 0xD1, 0xB4}};
inline constexpr CLSID CLSID_Collection{
    0x7F7BEB1B, 0x92F7, 0x4D2C, {0x89, 0x69, 0xD5, 0x5C, 0xFE, 0x77, 0x69, 0xFC}};
inline constexpr CLSID CLSID_ClientSocket{
    0xB361B42A, 0xDBFA, 0x4E3D, {0xB1, 0x18, 0x80, 0x35, 0x14, 0x6B, 0x7F, 0x19}};
inline constexpr CLSID CLSID_MimeBody{
    0x9D64591A, 0xB071, 0x4819, {0x82, 0x79, 0x0D, 0x28, 0x00, 0x2A, 0xC9, 0x1B}};
inline constexpr CLSID CLSID_ContentDisposition{
    0x61A3050C, 0x5501, 0x4485, {0xAE, 0xFA, 0x2D, 0x79, 0x22, 0x7E, 0xB9, 0x97}};
inline constexpr CLSID CLSID_ParameterMap{
    0xF10F6E77, 0xC6CF, 0x4664, {0xA0, 0xD3, 0xE9, 0x0C, 0x1F, 0x40, 0xA1, 0x41}};
inline constexpr CLSID CLSID_FieldCollection{
    0x5F9CE511, 0x59F4, 0x493B, {0x91, 0x12, 0xEB, 0x4F, 0xFC, 0x51, 0x74, 0x49}};
inline constexpr CLSID CLSID_ReceivedCollection{
    0xECBDF19F, 0xDBA6, 0x4A02, {0x85, 0xD4, 0xD4, 0xA9, 0x00, 0x56, 0x6C, 0x9A}};
inline constexpr CLSID CLSID_Received{
    0x5DD7540C, 0x2521, 0x40B2, {0xB2, 0x32, 0xB9, 0x51, 0x4E, 0xE6, 0x55, 0x4A}};
inline constexpr CLSID CLSID_ContentType{
    0x7DC29509, 0x8617, 0x45F2, {0xA0, 0x89, 0x43, 0x49, 0x60, 0x5E, 0x0F, 0xE2}};
inline constexpr CLSID CLSID_Blob{
    0xA4CD02A5, 0x2205, 0x4C7F, {0xB0, 0xA5, 0x75, 0x77, 0xAC, 0x57, 0xBA, 0xC7}};
inline constexpr CLSID CLSID_DialupCollection{
    0x52E314BE, 0x4939, 0x49B3, {0x93, 0x0D, 0x3C, 0xB5, 0x3E, 0xE2, 0x5B, 0xC5}};
inline constexpr CLSID CLSID_DialupConnection{
    0x6D1D00D1, 0x387C, 0x4D0A, {0x8A, 0x6A, 0x5B, 0x8A, 0x83, 0xB7, 0xDA, 0xCE}};

// Version-independent ProgIDs; each with ".1" behind it names this version of the class.
inline constexpr const char16_t* kProgIdMimeDecoder = u"Tallowbrook.Decoder";
inline constexpr const char16_t* kProgIdMailAddress = u"Tallowbrook.MailAddress";
inline constexpr const char16_t* kProgIdCollection = u"Tallowbrook.Collection";
inline constexpr const char16_t* kProgIdClientSocket = u"Tallowbrook.ClientSocket";
inline constexpr const char16_t* kProgIdMimeBody = u"Tallowbrook.MimeBody";
inline constexpr const char16_t* kProgIdContentDisposition = u"Tallowbrook.ContentDisposition";
inline constexpr const char16_t* kProgIdParameterMap = u"Tallowbrook.ParameterMap";
inline constexpr const char16_t* kProgIdFieldCollection = u"Tallowbrook.FieldCollection";
inline constexpr const char16_t* kProgIdReceivedCollection = u"Tallowbrook.ReceivedCollection";
inline constexpr const char16_t* kProgIdReceived = u"Tallowbrook.Received";
inline constexpr const char16_t* kProgIdContentType = u"Tallowbrook.ContentType";
inline constexpr const char16_t* kProgIdBlob = u"Tallowbrook.Blob";
inline constexpr const char16_t* kProgIdDialupCollection = u"Tallowbrook.DialupCollection";
inline constexpr const char16_t* kProgIdDialupConnection = u"Tallowbrook.DialupConnection";

}  // namespace tallowbrook
