// Late binding: IDispatch, enumerators, type information, and the thread's error object.
#pragma once

#include "platform/automation/variant.h"

using DISPID = LONG;
using MEMBERID = DISPID;

inline constexpr DISPID DISPID_VALUE = 0;
inline constexpr DISPID DISPID_UNKNOWN = -1;
inline constexpr DISPID DISPID_PROPERTYPUT = -3;
inline constexpr DISPID DISPID_NEWENUM = -4;

inline constexpr WORD DISPATCH_METHOD = 1;
inline constexpr WORD DISPATCH_PROPERTYGET = 2;
inline constexpr WORD DISPATCH_PROPERTYPUT = 4;
inline constexpr WORD DISPATCH_PROPERTYPUTREF = 8;

// The arguments of a call, last one first. The first `cNamedArgs` are named.
struct DISPPARAMS {
  VARIANTARG* rgvarg;
  DISPID* rgdispidNamedArgs;
  UINT cArgs;
  UINT cNamedArgs;
};

struct EXCEPINFO {
  WORD wCode;
  WORD wReserved;
  BSTR bstrSource;
  BSTR bstrDescription;
  BSTR bstrHelpFile;
  DWORD dwHelpContext;
  void* pvReserved;
  HRESULT (*pfnDeferredFillIn)(EXCEPINFO*);
  SCODE scode;
};

struct ITypeInfo;

struct IDispatch : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{0x00020400, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  virtual HRESULT GetTypeInfoCount(UINT* count) = 0;
  virtual HRESULT GetTypeInfo(UINT index, LCID lcid, ITypeInfo** info) = 0;
  // Resolves a member name and then parameter names, without regard to case.
  virtual HRESULT GetIDsOfNames(REFIID reserved, OLECHAR** names, UINT count, LCID lcid,
                                DISPID* ids) = 0;
  virtual HRESULT Invoke(DISPID member, REFIID reserved, LCID lcid, WORD flags,
                         DISPPARAMS* arguments, VARIANT* result, EXCEPINFO* exception,
                         UINT* argument_error) = 0;
};

struct IEnumVARIANT : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{0x00020404, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  virtual HRESULT Next(ULONG wanted, VARIANT* values, ULONG* fetched) = 0;
  virtual HRESULT Skip(ULONG count) = 0;
  virtual HRESULT Reset() = 0;
  virtual HRESULT Clone(IEnumVARIANT** clone) = 0;
};

struct IErrorInfo : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{
      0x1CF2B120, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};

  virtual HRESULT GetGUID(GUID* guid) = 0;
  virtual HRESULT GetSource(BSTR* source) = 0;
  virtual HRESULT GetDescription(BSTR* description) = 0;
  virtual HRESULT GetHelpFile(BSTR* file) = 0;
  virtual HRESULT GetHelpContext(DWORD* context) = 0;
};

struct ICreateErrorInfo : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{
      0x22F03340, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};

  virtual HRESULT SetGUID(REFGUID guid) = 0;
  virtual HRESULT SetSource(const OLECHAR* source) = 0;
  virtual HRESULT SetDescription(const OLECHAR* description) = 0;
  virtual HRESULT SetHelpFile(const OLECHAR* file) = 0;
  virtual HRESULT SetHelpContext(DWORD context) = 0;
};

// A new error object; it also answers to IErrorInfo.
HRESULT CreateErrorInfo(ICreateErrorInfo** info);
// Makes `info` (or none) the calling thread's error object.
HRESULT SetErrorInfo(ULONG reserved, IErrorInfo* info);
// Takes the thread's error object away; S_FALSE and null when there is none.
HRESULT GetErrorInfo(ULONG reserved, IErrorInfo** info);
