#include "platform/automation/late_bound.h"

#include <algorithm>

namespace tallowbrook::platform {

Outcome invoke_by_name(IDispatch* object, std::u16string_view name, WORD flags, Variant* arguments,
                       std::size_t count) {
  Outcome outcome;
  if (object == nullptr) {
    outcome.status = E_POINTER;
    return outcome;
  }
  std::u16string text(name);
  OLECHAR* names[] = {text.data()};
  DISPID member = DISPID_UNKNOWN;
  outcome.status = object->GetIDsOfNames(GUID_NULL, names, 1, LOCALE_USER_DEFAULT, &member);
  if (FAILED(outcome.status)) return outcome;

  // The call's order is last one first; VARIANTs lie side by side in an array of Variants.
  static_assert(sizeof(Variant) == sizeof(VARIANT));
  std::reverse(arguments, arguments + count);
  DISPID put = DISPID_PROPERTYPUT;
  const bool puts = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
  DISPPARAMS given{arguments, puts ? &put : nullptr, static_cast<UINT>(count), puts ? 1U : 0U};
  EXCEPINFO exception{};
  const auto invoke = [&](WORD kind) {
    return object->Invoke(member, GUID_NULL, LOCALE_USER_DEFAULT, kind, &given,
                          puts ? nullptr : &outcome.value, &exception, nullptr);
  };
  outcome.status = invoke(flags);
  if (outcome.status == DISP_E_MEMBERNOTFOUND && flags == DISPATCH_PROPERTYPUT && count > 0 &&
      (arguments->vt == VT_DISPATCH || arguments->vt == VT_UNKNOWN)) {
    outcome.status = invoke(DISPATCH_PROPERTYPUTREF);
  }
  const Bstr source = Bstr::adopt(exception.bstrSource);
  const Bstr description = Bstr::adopt(exception.bstrDescription);
  const Bstr help_file = Bstr::adopt(exception.bstrHelpFile);
  if (outcome.status == DISP_E_EXCEPTION) {
    if (exception.scode != S_OK) outcome.status = exception.scode;
    outcome.description = description.view();
  }
  return outcome;
}

}  // namespace tallowbrook::platform
