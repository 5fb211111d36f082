// The multi-language service: code pages by the names that the Internet gives them, and text
// conversion between them and UTF-16.
//
// Names are those of the IANA registry with the common aliases, looked up without regard to case
// and punctuation (shift_jis, SJIS, x-sjis and windows-31j are one). The class is creatable with
// CoCreateInstance as soon as this library is loaded; objects may be used from any thread.
#pragma once

#include "platform/com/unknown.h"

// What is known of a charset. The page is that of the system's own texts in those characters
// (1252 for iso-8859-1), the Internet encoding that of the charset itself.
struct MIMECSETINFO {
  UINT uiCodePage;
  UINT uiInternetEncoding;
  OLECHAR wszCharset[50];
};

struct IMultiLanguage : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{
      0x6E1C0B52, 0x93D4, 0x4F0A, {0xA7, 0x5B, 0x1D, 0x0C, 0x42, 0x88, 0xE9, 0x31}};

  // The record of the charset, with its preferred name; E_FAIL, with an empty record, for a name
  // that is not known.
  virtual HRESULT GetCharsetInfo(const OLECHAR* name, MIMECSETINFO* info) = 0;

  // Converts `*source_size` bytes (null: a zero-ended text) of code page `encoding`. `*size` is
  // the room in `destination`, in units, and becomes the units written; with no destination it
  // becomes the units needed. `*source_size` becomes the bytes taken: all or, on failure, none.
  // `mode` (may be null) is left alone: each call is a whole text. S_FALSE, converting nothing, for
  // a page that is not known; E_FAIL when the room does not suffice; E_INVALIDARG.
  // Bytes that mean nothing become U+FFFD and never fail.
  virtual HRESULT ConvertStringToUnicode(DWORD* mode, DWORD encoding, const char* source,
                                         UINT* source_size, OLECHAR* destination, UINT* size) = 0;

  // The way back. Characters that the page lacks become '?'.
  virtual HRESULT ConvertStringFromUnicode(DWORD* mode, DWORD encoding, const OLECHAR* source,
                                           UINT* source_size, char* destination, UINT* size) = 0;
};

inline constexpr CLSID CLSID_CMultiLanguage{
    0x6E1C0B53, 0x93D4, 0x4F0A, {0xA7, 0x5B, 0x1D, 0x0C, 0x42, 0x88, 0xE9, 0x31}};
