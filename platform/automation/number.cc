#include "platform/automation/number.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>

#include "platform/automation/dates.h"

namespace tallowbrook::platform {
namespace {

constexpr LONGLONG kCurrencyScale = 10000;
constexpr double kTwoTo63 = 9223372036854775808.0;
constexpr double kTwoTo64 = 18446744073709551616.0;

Number signed_number(LONGLONG value) {
  Number number;
  number.whole = value;
  return number;
}

Number unsigned_number(ULONGLONG value) {
  Number number;
  if (std::in_range<LONGLONG>(value)) {
    number.whole = static_cast<LONGLONG>(value);
  } else {
    number.kind = Number::Kind::kUnsigned;
    number.natural = value;
  }
  return number;
}

Number real_number(double value) {
  Number number;
  number.kind = Number::Kind::kReal;
  number.real = value;
  return number;
}

double as_real(const Number& number) {
  switch (number.kind) {
    case Number::Kind::kSigned:
      return static_cast<double>(number.whole);
    case Number::Kind::kUnsigned:
      return static_cast<double>(number.natural);
    default:
      return number.real;
  }
}

// A real rounded to a whole number, halves to even.
HRESULT rounded(double real, Number* number) {
  if (std::isnan(real)) return DISP_E_OVERFLOW;
  double whole = std::floor(real);
  const double rest = real - whole;
  if (rest > 0.5 || (rest == 0.5 && std::fmod(whole, 2.0) != 0)) whole += 1;
  if (whole >= -kTwoTo63 && whole < kTwoTo63) {
    *number = signed_number(static_cast<LONGLONG>(whole));
  } else if (whole >= kTwoTo63 && whole < kTwoTo64) {
    *number = unsigned_number(static_cast<ULONGLONG>(whole));
  } else {
    return DISP_E_OVERFLOW;
  }
  return S_OK;
}

template <class T>
HRESULT to_integer(Number number, T* target) {
  if (number.kind == Number::Kind::kReal) {
    if (const HRESULT status = rounded(number.real, &number); FAILED(status)) return status;
  }
  if (number.kind == Number::Kind::kUnsigned) {
    if (!std::in_range<T>(number.natural)) return DISP_E_OVERFLOW;
    *target = static_cast<T>(number.natural);
  } else {
    if (!std::in_range<T>(number.whole)) return DISP_E_OVERFLOW;
    *target = static_cast<T>(number.whole);
  }
  return S_OK;
}

HRESULT to_currency(const Number& number, CY* target) {
  if (number.kind == Number::Kind::kUnsigned) return DISP_E_OVERFLOW;
  if (number.kind == Number::Kind::kReal) {
    return to_integer(real_number(number.real * static_cast<double>(kCurrencyScale)),
                      &target->int64);
  }
  constexpr LONGLONG kMost = std::numeric_limits<LONGLONG>::max() / kCurrencyScale;
  if (number.whole > kMost || number.whole < -kMost) return DISP_E_OVERFLOW;
  target->int64 = number.whole * kCurrencyScale;
  return S_OK;
}

HRESULT to_float(const Number& number, float* target) {
  const double real = as_real(number);
  if (std::isfinite(real) && std::fabs(real) > std::numeric_limits<float>::max()) {
    return DISP_E_OVERFLOW;
  }
  *target = static_cast<float>(real);
  return S_OK;
}

HRESULT to_date(const Number& number, DATE* target) {
  const double real = as_real(number);
  if (!(real > kFirstDate - 1.0 && real < kPastDates)) return DISP_E_OVERFLOW;
  *target = real;
  return S_OK;
}

bool is_blank(char16_t unit) { return unit == u' ' || (unit >= u'\t' && unit <= u'\r'); }

// The text without blanks and a leading "+", as ASCII; empty when it holds anything but the
// characters of a decimal number (so that "inf", "nan" and hexadecimal forms never get through).
std::string plain_decimal(std::u16string_view text) {
  while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
  std::string plain;
  plain.reserve(text.size());
  for (const char16_t unit : text) {
    const bool digit = unit >= u'0' && unit <= u'9';
    if (!digit && std::u16string_view(u"+-.eE").find(unit) == std::u16string_view::npos) return {};
    plain.push_back(static_cast<char>(unit));
  }
  if (plain.size() > 1 && plain[0] == '+' && plain[1] != '-' && plain[1] != '+') plain.erase(0, 1);
  return plain;
}

std::u16string widen(const char* first, const char* last) { return {first, last}; }

template <class T, class... Format>
std::u16string digits(T value, Format... format) {
  char buffer[64];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, value, format...).ptr;
  for (char* at = buffer; at != end; ++at) {
    if (*at == 'e') *at = 'E';
  }
  return widen(buffer, end);
}

std::u16string currency_text(LONGLONG amount) {
  const ULONGLONG size =
      amount < 0 ? 0 - static_cast<ULONGLONG>(amount) : static_cast<ULONGLONG>(amount);
  std::u16string text = amount < 0 ? u"-" : u"";
  text += digits(size / kCurrencyScale);
  const ULONGLONG rest = size % kCurrencyScale;
  if (rest == 0) return text;
  std::u16string fraction = digits(rest + kCurrencyScale).substr(1);
  while (fraction.back() == u'0') fraction.pop_back();
  return text + u"." + fraction;
}

}  // namespace

HRESULT number_from_text(std::u16string_view text, Number* number) {
  const std::string plain = plain_decimal(text);
  const char* const first = plain.data();
  const char* const last = first + plain.size();
  if (plain.empty()) return DISP_E_TYPEMISMATCH;
  LONGLONG whole = 0;
  if (const auto end = std::from_chars(first, last, whole);
      end.ec == std::errc() && end.ptr == last) {
    *number = signed_number(whole);
    return S_OK;
  }
  ULONGLONG natural = 0;
  if (const auto end = std::from_chars(first, last, natural);
      end.ec == std::errc() && end.ptr == last) {
    *number = unsigned_number(natural);
    return S_OK;
  }
  double real = 0;
  const auto end = std::from_chars(first, last, real);
  if (end.ec == std::errc::invalid_argument || end.ptr != last) return DISP_E_TYPEMISMATCH;
  if (end.ec == std::errc::result_out_of_range) {
    // Too small is as good as 0.
    if (plain.find_first_of("eE") == std::string::npos || plain.find("-", 1) == std::string::npos) {
      return DISP_E_OVERFLOW;
    }
    real = 0;
  }
  *number = real_number(real);
  return S_OK;
}

HRESULT number_from(const VARIANT& value, Number* number) {
  switch (value.vt) {
    case VT_EMPTY:
      *number = signed_number(0);
      return S_OK;
    case VT_I1:
      *number = signed_number(value.cVal);
      return S_OK;
    case VT_I2:
    case VT_BOOL:
      *number = signed_number(value.iVal);
      return S_OK;
    case VT_I4:
    case VT_INT:
      *number = signed_number(value.lVal);
      return S_OK;
    case VT_I8:
      *number = signed_number(value.llVal);
      return S_OK;
    case VT_UI1:
      *number = signed_number(value.bVal);
      return S_OK;
    case VT_UI2:
      *number = signed_number(value.uiVal);
      return S_OK;
    case VT_UI4:
    case VT_UINT:
      *number = signed_number(value.ulVal);
      return S_OK;
    case VT_UI8:
      *number = unsigned_number(value.ullVal);
      return S_OK;
    case VT_R4:
      *number = real_number(static_cast<double>(value.fltVal));
      return S_OK;
    case VT_R8:
    case VT_DATE:
      *number = real_number(value.dblVal);
      return S_OK;
    case VT_CY:
      if (value.cyVal.int64 % kCurrencyScale == 0) {
        *number = signed_number(value.cyVal.int64 / kCurrencyScale);
      } else {
        *number = real_number(static_cast<double>(value.cyVal.int64) / kCurrencyScale);
      }
      return S_OK;
    case VT_BSTR:
      return number_from_text(view_of(value.bstrVal), number);
    default:
      return DISP_E_TYPEMISMATCH;
  }
}

HRESULT number_to(const Number& number, VARTYPE type, VARIANT* value) {
  VARIANT made;
  VariantInit(&made);
  made.vt = type;
  HRESULT status = S_OK;
  switch (type) {
    case VT_I1:
      status = to_integer(number, &made.cVal);
      break;
    case VT_I2:
      status = to_integer(number, &made.iVal);
      break;
    case VT_I4:
    case VT_INT:
      status = to_integer(number, &made.lVal);
      break;
    case VT_I8:
      status = to_integer(number, &made.llVal);
      break;
    case VT_UI1:
      status = to_integer(number, &made.bVal);
      break;
    case VT_UI2:
      status = to_integer(number, &made.uiVal);
      break;
    case VT_UI4:
    case VT_UINT:
      status = to_integer(number, &made.ulVal);
      break;
    case VT_UI8:
      status = to_integer(number, &made.ullVal);
      break;
    case VT_R4:
      status = to_float(number, &made.fltVal);
      break;
    case VT_R8:
      made.dblVal = as_real(number);
      break;
    case VT_DATE:
      status = to_date(number, &made.date);
      break;
    case VT_CY:
      status = to_currency(number, &made.cyVal);
      break;
    case VT_BOOL:
      made.boolVal = as_real(number) != 0 ? VARIANT_TRUE : VARIANT_FALSE;
      break;
    default:
      status = DISP_E_TYPEMISMATCH;
      break;
  }
  if (SUCCEEDED(status)) *value = made;
  return status;
}

std::u16string text_of_number(const VARIANT& value) {
  if (value.vt == VT_R4) return digits(value.fltVal, std::chars_format::general, 7);
  if (value.vt == VT_R8) return digits(value.dblVal, std::chars_format::general, 15);
  if (value.vt == VT_CY) return currency_text(value.cyVal.int64);
  Number number;
  if (FAILED(number_from(value, &number))) return {};
  return number.kind == Number::Kind::kUnsigned ? digits(number.natural) : digits(number.whole);
}

int compare_numbers(const Number& left, const Number& right) {
  using Kind = Number::Kind;
  if (left.kind == Kind::kReal || right.kind == Kind::kReal) {
    const double a = as_real(left);
    const double b = as_real(right);
    return a < b ? -1 : a == b ? 0 : 1;
  }
  if (left.kind != right.kind) return left.kind == Kind::kUnsigned ? 1 : -1;
  if (left.kind == Kind::kUnsigned) {
    return left.natural < right.natural ? -1 : left.natural == right.natural ? 0 : 1;
  }
  return left.whole < right.whole ? -1 : left.whole == right.whole ? 0 : 1;
}

}  // namespace tallowbrook::platform
