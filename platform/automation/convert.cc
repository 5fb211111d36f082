// VariantChangeType and VarCmp.
//
// A conversion takes indirection away, replaces an object by the value of its default property,
// and goes from there by way of the target: text, truth value, date, or number (number.h).
#include <algorithm>
#include <new>
#include <string>

#include "platform/automation/dates.h"
#include "platform/automation/dispatch.h"
#include "platform/automation/number.h"
#include "platform/automation/variant.h"

using namespace tallowbrook::platform;

namespace {

bool is_object(VARTYPE type) { return type == VT_DISPATCH || type == VT_UNKNOWN; }

bool is_numeric(VARTYPE type) {
  return (type >= VT_I2 && type <= VT_DATE) || type == VT_BOOL ||
         (type >= VT_I1 && type <= VT_UINT);
}

char16_t lower(char16_t unit) {
  return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
}

bool equals_lower(std::u16string_view text, std::u16string_view lower_text) {
  return std::equal(text.begin(), text.end(), lower_text.begin(), lower_text.end(),
                    [](char16_t a, char16_t b) { return lower(a) == b; });
}

// Replaces an object by its default property's value, which may again be an object.
HRESULT resolve_default(Variant& value) {
  constexpr int kMostSteps = 8;  // objects may name each other as their values
  for (int step = 0; is_object(value.vt); ++step) {
    if (step == kMostSteps || value.punkVal == nullptr) return DISP_E_TYPEMISMATCH;
    const auto object = value.vt == VT_DISPATCH ? ComPtr<IDispatch>(value.pdispVal)
                                                : query<IDispatch>(value.punkVal);
    if (!object) return DISP_E_TYPEMISMATCH;
    Variant result;
    DISPPARAMS none{};
    if (FAILED(object->Invoke(DISPID_VALUE, GUID_NULL, LOCALE_USER_DEFAULT,
                              DISPATCH_PROPERTYGET | DISPATCH_METHOD, &none, &result, nullptr,
                              nullptr))) {
      return DISP_E_TYPEMISMATCH;
    }
    Variant plain;
    if (const HRESULT status = VariantCopyInd(&plain, &result); FAILED(status)) return status;
    value = std::move(plain);
  }
  return S_OK;
}

HRESULT to_object(const Variant& value, VARTYPE type, Variant& target) {
  if (!is_object(value.vt)) return DISP_E_TYPEMISMATCH;
  IUnknown* const unknown =
      value.vt == VT_DISPATCH ? static_cast<IUnknown*>(value.pdispVal) : value.punkVal;
  if (type == VT_UNKNOWN) {
    target = Variant(unknown);
    return S_OK;
  }
  const ComPtr<IDispatch> dispatch = query<IDispatch>(unknown);
  if (unknown != nullptr && !dispatch) return DISP_E_TYPEMISMATCH;
  target = Variant(dispatch.get());
  return S_OK;
}

HRESULT to_text(const Variant& value, USHORT flags, Variant& target) {
  std::u16string text;
  if (value.vt == VT_BOOL && (flags & VARIANT_ALPHABOOL) != 0) {
    text = value.boolVal != VARIANT_FALSE ? u"True" : u"False";
  } else if (value.vt == VT_DATE) {
    text = date_to_text(value.date);
    if (text.empty()) return DISP_E_OVERFLOW;
  } else if (is_numeric(value.vt)) {
    text = text_of_number(value);
  } else if (value.vt != VT_EMPTY) {
    return DISP_E_TYPEMISMATCH;
  }
  target = Variant(std::u16string_view(text));
  return S_OK;
}

HRESULT from_text(const Variant& value, VARTYPE type, Variant& target) {
  std::u16string_view text = value.text();
  if (type == VT_DATE) {
    const auto date = date_from_text(text);
    if (!date) return DISP_E_TYPEMISMATCH;
    target = Variant::date_value(*date);
    return S_OK;
  }
  if (type == VT_BOOL && (equals_lower(text, u"true") || equals_lower(text, u"false"))) {
    target = Variant::boolean(equals_lower(text, u"true"));
    return S_OK;
  }
  Number number;
  const HRESULT status = number_from_text(text, &number);
  return FAILED(status) ? status : number_to(number, type, &target);
}

// `value` is neither a reference nor, unless an object is wanted, an object.
HRESULT convert(const Variant& value, USHORT flags, VARTYPE type, Variant& target) {
  if (value.vt == type) {
    target = value;
    return S_OK;
  }
  if (is_object(type)) return to_object(value, type, target);
  if (type == VT_BSTR) return to_text(value, flags, target);
  if (!is_numeric(type)) {
    return type <= VT_ERROR ? DISP_E_TYPEMISMATCH : DISP_E_BADVARTYPE;
  }
  if (value.vt == VT_BSTR) return from_text(value, type, target);
  Number number;
  const HRESULT status = number_from(value, &number);
  return FAILED(status) ? status : number_to(number, type, &target);
}

HRESULT change_type(VARIANT* target, const VARIANT* source, USHORT flags, VARTYPE type) {
  Variant value;
  if (const HRESULT status = VariantCopyInd(&value, source); FAILED(status)) return status;
  if (!is_object(type)) {
    if (const HRESULT status = resolve_default(value); FAILED(status)) return status;
  }
  Variant converted;
  if (const HRESULT status = convert(value, flags, type, converted); FAILED(status)) return status;
  if (const HRESULT status = VariantClear(target); FAILED(status)) return status;
  converted.detach_to(target);
  return S_OK;
}

HRESULT order(int sign) { return sign < 0 ? VARCMP_LT : sign == 0 ? VARCMP_EQ : VARCMP_GT; }

int compare_texts(std::u16string_view left, std::u16string_view right, bool ignore_case) {
  if (!ignore_case) return left.compare(right);
  const std::size_t shared = std::min(left.size(), right.size());
  for (std::size_t at = 0; at < shared; ++at) {
    const int difference = lower(left[at]) - lower(right[at]);
    if (difference != 0) return difference;
  }
  return left.size() < right.size() ? -1 : left.size() == right.size() ? 0 : 1;
}

HRESULT compare_plain(const Variant& left, const Variant& right, bool ignore_case) {
  if (left.vt == VT_NULL || right.vt == VT_NULL) return VARCMP_NULL;
  const auto textual = [](VARTYPE type) { return type == VT_BSTR || type == VT_EMPTY; };
  if (textual(left.vt) && textual(right.vt)) {
    return order(compare_texts(left.text(), right.text(), ignore_case));
  }
  if (left.vt == VT_DATE && right.vt == VT_DATE) {
    const double a = date_on_line(left.date);
    const double b = date_on_line(right.date);
    return order(a < b ? -1 : a == b ? 0 : 1);
  }
  if (left.vt == VT_ERROR && right.vt == VT_ERROR) {
    return order(left.scode < right.scode ? -1 : left.scode == right.scode ? 0 : 1);
  }
  Number a;
  Number b;
  const HRESULT left_status = number_from(left, &a);
  const HRESULT right_status = number_from(right, &b);
  if (SUCCEEDED(left_status) && SUCCEEDED(right_status)) return order(compare_numbers(a, b));
  // A number stands before a text that is none.
  if (left.vt == VT_BSTR && SUCCEEDED(right_status)) return VARCMP_GT;
  if (right.vt == VT_BSTR && SUCCEEDED(left_status)) return VARCMP_LT;
  return DISP_E_TYPEMISMATCH;
}

HRESULT compare(const VARIANT* left, const VARIANT* right, bool ignore_case) {
  Variant a;
  Variant b;
  if (const HRESULT status = VariantCopyInd(&a, left); FAILED(status)) return status;
  if (const HRESULT status = VariantCopyInd(&b, right); FAILED(status)) return status;
  if (const HRESULT status = resolve_default(a); FAILED(status)) return status;
  if (const HRESULT status = resolve_default(b); FAILED(status)) return status;
  return compare_plain(a, b, ignore_case);
}

}  // namespace

HRESULT VariantChangeType(VARIANT* target, const VARIANT* source, USHORT flags, VARTYPE type) {
  if (target == nullptr || source == nullptr) return E_INVALIDARG;
  try {
    return change_type(target, source, flags, type);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT VariantChangeTypeEx(VARIANT* target, const VARIANT* source, LCID, USHORT flags,
                            VARTYPE type) {
  return VariantChangeType(target, source, flags, type);
}

HRESULT VarCmp(const VARIANT* left, const VARIANT* right, LCID, ULONG flags) {
  constexpr ULONG kIgnoreCase = 1;
  if (left == nullptr || right == nullptr) return E_INVALIDARG;
  try {
    return compare(left, right, (flags & kIgnoreCase) != 0);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}
