// Views on a body part's header fields: content type, disposition, parameters, the list of fields;
// and the byte container that a host fills and hands on as a stream.
#pragma once

#include "platform/automation/dispatch.h"

namespace tallowbrook {

struct IContentType : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{
      0xD3DC210E, 0xDD7B, 0x415B, {0xB0, 0xCA, 0x08, 0x1A, 0xDF, 0x4D, 0xC9, 0x82}};

  // MajorContentType and MinorContentType of the part.
  virtual HRESULT get_Major(VARIANT* type) = 0;
  virtual HRESULT put_Major(VARIANT type) = 0;
  virtual HRESULT get_Minor(VARIANT* type) = 0;
  virtual HRESULT put_Minor(VARIANT type) = 0;
  virtual HRESULT get_Parameters(IDispatch** parameters) = 0;  // an IParameterMap
};

struct IContentDisposition : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{
      0x7CF61CB8, 0x4E04, 0x43D6, {0xA5, 0x1F, 0xBA, 0xF3, 0x0D, 0xBE, 0x70, 0xAB}};

  // "attachment", "inline" ...; empty when the field has none. A put takes what converts to a
  // string, or an empty variant to empty it; E_INVALIDARG otherwise.
  virtual HRESULT get_Value(VARIANT* value) = 0;
  virtual HRESULT put_Value(VARIANT value) = 0;
  virtual HRESULT get_Parameters(IDispatch** parameters) = 0;  // an IParameterMap
};

// Parameters by name, in the byte-wise order of their names. Names are told apart by letter case.
struct IParameterMap : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{
      0xADAADF55, 0x8ECE, 0x4485, {0xB1, 0x8F, 0xAE, 0x25, 0xC6, 0x91, 0x83, 0xB2}};

  // By name: the value, encoded words decoded, double quotes left in place; a name that is missing
  // is added with an empty value. By position (from 0): E_FAIL past the end.
  virtual HRESULT get_Item(VARIANT index, VARIANT* value) = 0;
  virtual HRESULT get_Count(LONG* count) = 0;
  // By name (nothing happens when it is missing) or position (E_INVALIDARG when out of range).
  virtual HRESULT Remove(VARIANT index) = 0;
  virtual HRESULT Clear() = 0;
  // Sets the value of the parameter named `index`; `quote` stores it as encoded words.
  virtual HRESULT Modify(VARIANT index, VARIANT item, VARIANT_BOOL quote) = 0;
  // The name at position `index` (from 0); E_INVALIDARG when out of range.
  virtual HRESULT get_ParameterName(LONG index, BSTR* name) = 0;
  virtual HRESULT Exists(VARIANT index, VARIANT_BOOL* exists) = 0;
};

// The header fields of a part, standard and extension fields together.
struct IFieldCollection : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{
      0x5217156C, 0xB47B, 0x4CA6, {0xBD, 0x86, 0x48, 0x07, 0x7C, 0x1D, 0xC5, 0xFB}};

  // The name of field `index` (from 0); E_INVALIDARG when out of range.
  virtual HRESULT get_Item(LONG index, BSTR* name) = 0;
  virtual HRESULT get_Count(LONG* count) = 0;
  // By name: every field of that name, whatever the letter case (E_FAIL when there is none). By
  // position: E_INVALIDARG when out of range.
  virtual HRESULT Remove(VARIANT index) = 0;
  virtual HRESULT Clear() = 0;
};

// A byte container. Its IStream is the stream that AssignString fills.
struct IBlob : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{
      0x70847EC9, 0x8BE7, 0x4451, {0x8C, 0x55, 0xC0, 0x07, 0x19, 0x52, 0x28, 0x32}};

  // Replaces the content by the text in the system ANSI code page, without a closing zero.
  virtual HRESULT AssignString(BSTR text) = 0;
};

}  // namespace tallowbrook
