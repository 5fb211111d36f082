// Ownership of VARIANT values: clearing, copying, removing indirection.
#include "platform/automation/variant.h"

#include <cstdlib>
#include <new>

#include "platform/automation/dispatch.h"

using namespace tallowbrook::platform;

namespace {

// True for a type that a VARIANT can have, without VT_BYREF.
bool is_value_type(VARTYPE type) {
  return type <= VT_UNKNOWN ? type != VT_VARIANT : type >= VT_I1 && type <= VT_UINT;
}

bool is_variant_type(VARTYPE type) {
  if ((type & VT_BYREF) == 0) return is_value_type(type);
  const auto base = static_cast<VARTYPE>(type & ~VT_BYREF);
  return base == VT_VARIANT || (is_value_type(base) && base > VT_NULL);
}

// Makes the shallow copy `value` own what it holds.
HRESULT own(VARIANT& value) {
  if (value.vt == VT_BSTR && value.bstrVal != nullptr) {
    value.bstrVal = SysAllocStringByteLen(reinterpret_cast<const char*>(value.bstrVal),
                                          SysStringByteLen(value.bstrVal));
    if (value.bstrVal == nullptr) return E_OUTOFMEMORY;
  } else if (value.vt == VT_DISPATCH && value.pdispVal != nullptr) {
    value.pdispVal->AddRef();
  } else if (value.vt == VT_UNKNOWN && value.punkVal != nullptr) {
    value.punkVal->AddRef();
  }
  return S_OK;
}

// The value behind a reference, borrowed.
VARIANT load_reference(const VARIANT& source) {
  VARIANT value;
  VariantInit(&value);
  value.vt = static_cast<VARTYPE>(source.vt & ~VT_BYREF);
  switch (value.vt) {
    case VT_I1:
    case VT_UI1:
      value.bVal = *source.pbVal;
      break;
    case VT_I2:
    case VT_BOOL:
    case VT_UI2:
      value.iVal = *source.piVal;
      break;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_ERROR:
      value.lVal = *source.plVal;
      break;
    case VT_R4:
      value.fltVal = *source.pfltVal;
      break;
    case VT_R8:
    case VT_DATE:
      value.dblVal = *source.pdblVal;
      break;
    case VT_CY:
      value.cyVal = *source.pcyVal;
      break;
    case VT_BSTR:
      value.bstrVal = *source.pbstrVal;
      break;
    case VT_DISPATCH:
      value.pdispVal = *source.ppdispVal;
      break;
    case VT_UNKNOWN:
      value.punkVal = *source.ppunkVal;
      break;
    default:
      value.llVal = *source.pllVal;
      break;
  }
  return value;
}

}  // namespace

void VariantInit(VARIANT* value) {
  value->vt = VT_EMPTY;
  value->wReserved1 = value->wReserved2 = value->wReserved3 = 0;
  value->llVal = 0;
}

HRESULT VariantClear(VARIANT* value) {
  if (value == nullptr) return E_INVALIDARG;
  const VARIANT old = *value;  // a destructor that the release runs may look at `value`
  switch (old.vt) {
    case VT_BSTR:
      *value = VARIANT{};
      SysFreeString(old.bstrVal);
      return S_OK;
    case VT_DISPATCH:
      *value = VARIANT{};
      if (old.pdispVal != nullptr) old.pdispVal->Release();
      return S_OK;
    case VT_UNKNOWN:
      *value = VARIANT{};
      if (old.punkVal != nullptr) old.punkVal->Release();
      return S_OK;
    default:
      if (!is_variant_type(old.vt)) return DISP_E_BADVARTYPE;
      *value = VARIANT{};
      return S_OK;
  }
}

HRESULT VariantCopy(VARIANT* target, const VARIANT* source) {
  if (target == nullptr || source == nullptr) return E_INVALIDARG;
  if (target == source) return is_variant_type(source->vt) ? S_OK : DISP_E_BADVARTYPE;
  if (!is_variant_type(source->vt)) return DISP_E_BADVARTYPE;
  VARIANT copy = *source;
  if (const HRESULT status = own(copy); FAILED(status)) return status;
  if (const HRESULT status = VariantClear(target); FAILED(status)) {
    VariantClear(&copy);
    return status;
  }
  *target = copy;
  return S_OK;
}

HRESULT VariantCopyInd(VARIANT* target, const VARIANT* source) {
  if (target == nullptr || source == nullptr) return E_INVALIDARG;
  if (source->vt == (VT_BYREF | VT_VARIANT)) {
    source = source->pvarVal;
    if (source == nullptr || source->vt == (VT_BYREF | VT_VARIANT)) return E_INVALIDARG;
  }
  if ((source->vt & VT_BYREF) == 0) return VariantCopy(target, source);
  if (!is_variant_type(source->vt)) return DISP_E_BADVARTYPE;
  if (source->byref == nullptr) return E_INVALIDARG;
  const VARIANT value = load_reference(*source);
  return VariantCopy(target, &value);
}

namespace tallowbrook::platform {

Variant::Variant(std::u16string_view text) : Variant() {
  bstrVal = Bstr(text).detach();
  vt = VT_BSTR;
}

Variant::Variant(IDispatch* object) : Variant() {
  vt = VT_DISPATCH;
  pdispVal = object;
  if (object != nullptr) object->AddRef();
}

Variant::Variant(IUnknown* object) : Variant() {
  vt = VT_UNKNOWN;
  punkVal = object;
  if (object != nullptr) object->AddRef();
}

Variant::Variant(const VARIANT& source) : Variant() {
  if (VariantCopy(this, &source) == E_OUTOFMEMORY) throw std::bad_alloc();
}

Variant Variant::boolean(bool value) {
  Variant result;
  result.vt = VT_BOOL;
  result.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
  return result;
}

Variant Variant::date_value(DATE value) {
  Variant result;
  result.vt = VT_DATE;
  result.date = value;
  return result;
}

Variant Variant::missing() {
  Variant result;
  result.vt = VT_ERROR;
  result.scode = DISP_E_PARAMNOTFOUND;
  return result;
}

Variant Variant::by_reference(VARIANT* target) {
  Variant result;
  result.vt = VT_BYREF | VT_VARIANT;
  result.pvarVal = target;
  return result;
}

}  // namespace tallowbrook::platform
