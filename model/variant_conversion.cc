#include "model/variant_conversion.h"

#include "core/text.h"
#include "model/dates.h"

namespace tallowbrook {

using platform::Variant;

Variant to_variant(const HeaderValue& value) {
  switch (value.kind()) {
    case ValueKind::Text:
      return Variant(to_wide(value.text_view()));
    case ValueKind::Integer:
    case ValueKind::Character:
      return Variant(LONG{value.number()});
    case ValueKind::Address:
      return to_variant(value.name());
    case ValueKind::DateTime:
      return local_date(value);
    case ValueKind::Raw:
      return Variant(to_wide(value.raw_text()));
    case ValueKind::Foreign:
      return value.variant();
    case ValueKind::Empty:
    case ValueKind::AddressMap:
    case ValueKind::TimeOfDay:
    case ValueKind::List:
      break;
  }
  return {};
}

HeaderValue from_variant(const VARIANT& value) {
  Variant direct;
  if (FAILED(VariantCopyInd(&direct, &value))) return {};
  switch (direct.vt) {
    case VT_EMPTY:
    case VT_NULL:
      return {};
    case VT_BSTR:
      return HeaderValue::text(to_ansi(direct.text()));
    case VT_I4:
      return HeaderValue::integer(direct.lVal);
    default:
      return HeaderValue::foreign(direct);
  }
}

HeaderValue number_or_name(const VARIANT& value, HeaderValue (*by_name)(std::string_view),
                           std::int32_t otherwise) {
  Variant direct;
  if (FAILED(VariantCopyInd(&direct, &value))) return HeaderValue::integer(otherwise);
  if (direct.vt == VT_BSTR) return by_name(to_ansi(direct.text()));
  if (FAILED(VariantChangeType(&direct, &direct, 0, VT_I4))) {
    return HeaderValue::integer(otherwise);
  }
  return HeaderValue::integer(direct.lVal);
}

}  // namespace tallowbrook
