// VARIANT and BSTR: the values that cross the automation border.
//
// A BSTR points at UTF-16 code units behind a 32-bit byte length and is ended by a zero unit that
// the length does not count. A null BSTR is an empty string. A VARIANT owns what its type says
// (string, object, unless VT_BYREF is set); VariantClear gives it back.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "platform/com/unknown.h"

struct IDispatch;

using BSTR = OLECHAR*;
using VARIANT_BOOL = std::int16_t;
using DATE = double;  // days since 30 December 1899, the time of day as the fraction
using VARTYPE = std::uint16_t;

inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

enum : VARTYPE {
  VT_EMPTY = 0,
  VT_NULL = 1,
  VT_I2 = 2,
  VT_I4 = 3,
  VT_R4 = 4,
  VT_R8 = 5,
  VT_CY = 6,
  VT_DATE = 7,
  VT_BSTR = 8,
  VT_DISPATCH = 9,
  VT_ERROR = 10,
  VT_BOOL = 11,
  VT_VARIANT = 12,
  VT_UNKNOWN = 13,
  VT_I1 = 16,
  VT_UI1 = 17,
  VT_UI2 = 18,
  VT_UI4 = 19,
  VT_I8 = 20,
  VT_UI8 = 21,
  VT_INT = 22,
  VT_UINT = 23,
  VT_VOID = 24,
  VT_HRESULT = 25,
  VT_PTR = 26,
  VT_USERDEFINED = 29,
  VT_BYREF = 0x4000,
  VT_TYPEMASK = 0x0FFF,
};

// A fixed-point number, the value times 10,000.
struct CY {
  LONGLONG int64;
};

struct VARIANT {
  VARTYPE vt;
  WORD wReserved1;
  WORD wReserved2;
  WORD wReserved3;
  union {
    LONGLONG llVal;
    LONG lVal;
    BYTE bVal;
    SHORT iVal;
    float fltVal;
    double dblVal;
    VARIANT_BOOL boolVal;
    SCODE scode;
    CY cyVal;
    DATE date;
    BSTR bstrVal;
    IUnknown* punkVal;
    IDispatch* pdispVal;
    signed char cVal;
    USHORT uiVal;
    ULONG ulVal;
    ULONGLONG ullVal;
    INT intVal;
    UINT uintVal;
    BYTE* pbVal;
    SHORT* piVal;
    LONG* plVal;
    LONGLONG* pllVal;
    float* pfltVal;
    double* pdblVal;
    VARIANT_BOOL* pboolVal;
    SCODE* pscode;
    CY* pcyVal;
    DATE* pdate;
    BSTR* pbstrVal;
    IUnknown** ppunkVal;
    IDispatch** ppdispVal;
    VARIANT* pvarVal;
    void* byref;
    signed char* pcVal;
    USHORT* puiVal;
    ULONG* pulVal;
    ULONGLONG* pullVal;
    INT* pintVal;
    UINT* puintVal;
  };
};
static_assert(sizeof(VARIANT) == 16);
using VARIANTARG = VARIANT;

inline constexpr LCID LOCALE_USER_DEFAULT = 0x0400;
inline constexpr LCID LOCALE_SYSTEM_DEFAULT = 0x0800;

// --- BSTR ----------------------------------------------------------------------------------------

// Copies a zero-ended text; null for a null text or when memory runs out.
BSTR SysAllocString(const OLECHAR* text);
// `length` code units, from `text` when it is not null (else uninitialised), and a closing zero.
BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
// `bytes` bytes; the closing zero unit follows them.
BSTR SysAllocStringByteLen(const char* text, UINT bytes);
void SysFreeString(BSTR text);     // null does nothing
UINT SysStringLen(BSTR text);      // code units; 0 for null
UINT SysStringByteLen(BSTR text);  // bytes; 0 for null

// --- VARIANT -------------------------------------------------------------------------------------

void VariantInit(VARIANT* value);
// Gives back what the value owns and makes it VT_EMPTY. DISP_E_BADVARTYPE for an unknown type.
HRESULT VariantClear(VARIANT* value);
// A deep copy (a string anew, an object by one more reference); `target` is cleared first.
HRESULT VariantCopy(VARIANT* target, const VARIANT* source);
// As VariantCopy, with by-reference indirection removed. `target` may be `source`.
HRESULT VariantCopyInd(VARIANT* target, const VARIANT* source);
inline constexpr USHORT VARIANT_ALPHABOOL = 2;

// Converts to another type; DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW, DISP_E_BADVARTYPE leave `target`
// as it was. `target` may be `source`. Objects convert through their default property. A truth
// value becomes the text "-1" or "0", with VARIANT_ALPHABOOL "True" or "False"; other flags are
// ignored.
HRESULT VariantChangeType(VARIANT* target, const VARIANT* source, USHORT flags, VARTYPE type);
HRESULT VariantChangeTypeEx(VARIANT* target, const VARIANT* source, LCID lcid, USHORT flags,
                            VARTYPE type);

inline constexpr HRESULT VARCMP_LT = 0;
inline constexpr HRESULT VARCMP_EQ = 1;
inline constexpr HRESULT VARCMP_GT = 2;
inline constexpr HRESULT VARCMP_NULL = 3;
// One of VARCMP_*, or a negative status when the two cannot be compared.
HRESULT VarCmp(const VARIANT* left, const VARIANT* right, LCID lcid, ULONG flags);

// --- automation dates ----------------------------------------------------------------------------

struct SYSTEMTIME {
  WORD wYear;
  WORD wMonth;      // 1 to 12
  WORD wDayOfWeek;  // 0 is Sunday
  WORD wDay;
  WORD wHour;
  WORD wMinute;
  WORD wSecond;
  WORD wMilliseconds;
};

// Years 100 to 9999; FALSE for a date outside or not on the calendar.
BOOL SystemTimeToVariantTime(const SYSTEMTIME* time, DATE* date);
// Rounds to the nearest second; FALSE outside the years 100 to 9999.
BOOL VariantTimeToSystemTime(DATE date, SYSTEMTIME* time);

namespace tallowbrook::platform {

// Owns a BSTR.
class Bstr {
 public:
  Bstr() = default;
  explicit Bstr(std::u16string_view text);  // throws std::bad_alloc
  Bstr(Bstr&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}
  Bstr& operator=(Bstr&& other) noexcept {
    std::swap(text_, other.text_);
    return *this;
  }
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  ~Bstr() {
    if (text_ != nullptr) SysFreeString(text_);
  }

  [[nodiscard]] static Bstr adopt(BSTR owned) {
    Bstr result;
    result.text_ = owned;
    return result;
  }
  [[nodiscard]] BSTR get() const { return text_; }
  [[nodiscard]] BSTR detach() { return std::exchange(text_, nullptr); }
  [[nodiscard]] BSTR* out() {
    if (text_ != nullptr) SysFreeString(std::exchange(text_, nullptr));
    return &text_;
  }
  [[nodiscard]] std::u16string_view view() const {
    return {text_, text_ ? SysStringLen(text_) : 0};
  }

 private:
  BSTR text_ = nullptr;
};

// The text of a BSTR; empty for null.
[[nodiscard]] inline std::u16string_view view_of(BSTR text) {
  return text == nullptr ? std::u16string_view() : std::u16string_view(text, SysStringLen(text));
}

// A VARIANT that clears itself. Copying is deep and throws std::bad_alloc when memory runs out.
class Variant : public VARIANT {
 public:
  Variant() : VARIANT{} {}
  explicit Variant(LONG number) : Variant() {
    vt = VT_I4;
    lVal = number;
  }
  explicit Variant(std::u16string_view text);
  explicit Variant(IDispatch* object);  // counts a reference
  explicit Variant(IUnknown* object);   // counts a reference
  // Takes over a reference that the caller already counted.
  [[nodiscard]] static Variant adopt(IDispatch* counted) {
    Variant result;
    result.vt = VT_DISPATCH;
    result.pdispVal = counted;
    return result;
  }
  [[nodiscard]] static Variant adopt(Bstr text) {
    Variant result;
    result.vt = VT_BSTR;
    result.bstrVal = text.detach();
    return result;
  }
  explicit Variant(const VARIANT& source);
  Variant(const Variant& source) : Variant(static_cast<const VARIANT&>(source)) {}
  Variant(Variant&& other) noexcept : VARIANT(other) { other.vt = VT_EMPTY; }
  Variant& operator=(Variant other) noexcept {
    std::swap(static_cast<VARIANT&>(*this), static_cast<VARIANT&>(other));
    return *this;
  }
  ~Variant() {
    if (vt == VT_BSTR || vt == VT_DISPATCH || vt == VT_UNKNOWN) VariantClear(this);
  }

  [[nodiscard]] static Variant boolean(bool value);
  [[nodiscard]] static Variant date_value(DATE value);
  [[nodiscard]] static Variant missing();  // VT_ERROR DISP_E_PARAMNOTFOUND: an omitted argument
  [[nodiscard]] static Variant by_reference(VARIANT* target);

  void clear() { VariantClear(this); }
  // Moves the value out into an automation out-parameter, which is not cleared first.
  void detach_to(VARIANT* target) {
    *target = *this;
    vt = VT_EMPTY;
  }
  // The text of a VT_BSTR; empty for any other type.
  [[nodiscard]] std::u16string_view text() const {
    return vt == VT_BSTR ? view_of(bstrVal) : std::u16string_view();
  }
};

}  // namespace tallowbrook::platform
