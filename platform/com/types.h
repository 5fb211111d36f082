// The basic types and status codes of the component runtime.
//
// `LONG` and `ULONG` are 32 bits wide whatever the machine's `long` is, since they are the
// automation types VT_I4 and VT_UI4. Wide characters are UTF-16 code units.
#pragma once

#include <cstdint>
#include <cstring>

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using SHORT = std::int16_t;
using USHORT = std::uint16_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using INT = std::int32_t;
using UINT = std::uint32_t;
using BOOL = int;
using HRESULT = std::int32_t;
using SCODE = std::int32_t;
using LCID = std::uint32_t;
using OLECHAR = char16_t;
using HANDLE = void*;
using HMODULE = void*;

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;

inline constexpr DWORD INFINITE = 0xFFFFFFFF;  // time-out without end

// A 128-bit identity of a class, an interface or a type library.
struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];

  friend bool operator==(const GUID& a, const GUID& b) {
    return std::memcmp(&a, &b, sizeof(GUID)) == 0;
  }
  friend bool operator<(const GUID& a, const GUID& b) {
    return std::memcmp(&a, &b, sizeof(GUID)) < 0;
  }
};
static_assert(sizeof(GUID) == 16);

using IID = GUID;
using CLSID = GUID;
using REFGUID = const GUID&;
using REFIID = const GUID&;
using REFCLSID = const GUID&;

inline constexpr GUID GUID_NULL{};

constexpr HRESULT make_status(std::uint32_t code) { return static_cast<HRESULT>(code); }
[[nodiscard]] constexpr bool SUCCEEDED(HRESULT status) { return status >= 0; }
[[nodiscard]] constexpr bool FAILED(HRESULT status) { return status < 0; }

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = make_status(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = make_status(0x80004002);
inline constexpr HRESULT E_POINTER = make_status(0x80004003);
inline constexpr HRESULT E_ABORT = make_status(0x80004004);
inline constexpr HRESULT E_FAIL = make_status(0x80004005);
inline constexpr HRESULT E_UNEXPECTED = make_status(0x8000FFFF);
inline constexpr HRESULT E_ACCESSDENIED = make_status(0x80070005);
inline constexpr HRESULT E_HANDLE = make_status(0x80070006);
inline constexpr HRESULT E_OUTOFMEMORY = make_status(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = make_status(0x80070057);

inline constexpr HRESULT DISP_E_UNKNOWNINTERFACE = make_status(0x80020001);
inline constexpr HRESULT DISP_E_MEMBERNOTFOUND = make_status(0x80020003);
inline constexpr HRESULT DISP_E_PARAMNOTFOUND = make_status(0x80020004);
inline constexpr HRESULT DISP_E_TYPEMISMATCH = make_status(0x80020005);
inline constexpr HRESULT DISP_E_UNKNOWNNAME = make_status(0x80020006);
inline constexpr HRESULT DISP_E_NONAMEDARGS = make_status(0x80020007);
inline constexpr HRESULT DISP_E_BADVARTYPE = make_status(0x80020008);
inline constexpr HRESULT DISP_E_EXCEPTION = make_status(0x80020009);
inline constexpr HRESULT DISP_E_OVERFLOW = make_status(0x8002000A);
inline constexpr HRESULT DISP_E_BADINDEX = make_status(0x8002000B);
inline constexpr HRESULT DISP_E_UNKNOWNLCID = make_status(0x8002000C);
inline constexpr HRESULT DISP_E_BADPARAMCOUNT = make_status(0x8002000E);
inline constexpr HRESULT DISP_E_PARAMNOTOPTIONAL = make_status(0x8002000F);
inline constexpr HRESULT DISP_E_DIVBYZERO = make_status(0x80020012);

inline constexpr HRESULT TYPE_E_ELEMENTNOTFOUND = make_status(0x8002802B);
inline constexpr HRESULT TYPE_E_REGISTRYACCESS = make_status(0x8002801C);
inline constexpr HRESULT TYPE_E_CANTLOADLIBRARY = make_status(0x80029C4A);
inline constexpr HRESULT TYPE_E_LIBNOTREGISTERED = make_status(0x8002801D);

inline constexpr HRESULT STG_E_FILENOTFOUND = make_status(0x80030002);
inline constexpr HRESULT STG_E_INVALIDPOINTER = make_status(0x80030009);
inline constexpr HRESULT STG_E_MEDIUMFULL = make_status(0x80030070);

inline constexpr HRESULT CLASS_E_NOAGGREGATION = make_status(0x80040110);
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = make_status(0x80040111);
inline constexpr HRESULT REGDB_E_CLASSNOTREG = make_status(0x80040154);
inline constexpr HRESULT CO_E_CLASSSTRING = make_status(0x800401F3);
inline constexpr HRESULT CO_E_DLLNOTFOUND = make_status(0x800401F8);
inline constexpr HRESULT CO_E_ERRORINDLL = make_status(0x800401F9);
inline constexpr HRESULT CONNECT_E_NOCONNECTION = make_status(0x80040200);
inline constexpr HRESULT CONNECT_E_ADVISELIMIT = make_status(0x80040201);
inline constexpr HRESULT CONNECT_E_CANNOTCONNECT = make_status(0x80040202);
