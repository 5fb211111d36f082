// One mail address: the address proper and a display name.
#pragma once

#include "platform/automation/dispatch.h"

namespace tallowbrook {

// A free-standing copy: changing it does not change the message it came from. Every member answers
// S_OK.
struct IMailAddress : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{
      0xE42CFA34, 0xD0E1, 0x4696, {0x8F, 0x06, 0xFF, 0x06, 0x0A, 0xA3, 0xBB, 0x60}};

  // The address with its encoded words decoded, blanks at both ends removed. When it holds a "<",
  // only the text from there to the next ">" (both included), or what follows an unclosed "<".
  virtual HRESULT get_Address(BSTR* address) = 0;
  virtual HRESULT put_Address(BSTR address) = 0;  // stored unchanged
  // The display name as a header holds it, encoded words not decoded.
  virtual HRESULT get_NameRaw(BSTR* name) = 0;
  virtual HRESULT put_NameRaw(BSTR name) = 0;
  // The display name as people read it; a put encodes it with Charset into encoded words.
  virtual HRESULT get_Name(BSTR* name) = 0;
  virtual HRESULT put_Name(BSTR name) = 0;
  // The address between "<" and ">", as SMTP wants it; empty for an empty address.
  virtual HRESULT get_RouteAddress(BSTR* address) = 0;
  // The charset that a later put of Name encodes with.
  virtual HRESULT put_Charset(BSTR charset) = 0;
};

}  // namespace tallowbrook
