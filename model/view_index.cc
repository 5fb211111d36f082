#include "model/view_index.h"

#include "core/text.h"

namespace tallowbrook {

ViewIndex view_index(const VARIANT& index) {
  platform::Variant direct;
  if (FAILED(VariantCopyInd(&direct, &index))) return {};
  if (direct.vt == VT_BSTR) return {ViewIndex::Name, to_ansi(direct.text()), 0};
  if (FAILED(VariantChangeType(&direct, &direct, 0, VT_I4))) return {};
  return {ViewIndex::Position, {}, direct.lVal};
}

}  // namespace tallowbrook
