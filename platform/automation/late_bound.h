// Calls by name on any automation object.
//
//   const Outcome address = get(object, u"RouteAddress");
//   if (FAILED(address.status)) ...
//   use(address.value.text());
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "platform/automation/dispatch.h"

namespace tallowbrook::platform {

struct Outcome {
  HRESULT status = S_OK;  // the member's own status, also where it set an error object
  Variant value;
  std::u16string description;  // of the error object; empty for none
};

// Calls the member `name`. `arguments` stand in the order in which they are written in a call. An
// object without the name gives DISP_E_UNKNOWNNAME, a null one E_POINTER. Throws std::bad_alloc.
[[nodiscard]] Outcome invoke_by_name(IDispatch* object, std::u16string_view name, WORD flags,
                                     Variant* arguments, std::size_t count);

namespace detail {

template <class... Argument>
[[nodiscard]] Outcome invoke_with(IDispatch* object, std::u16string_view name, WORD flags,
                                  const Argument&... arguments) {
  std::array<Variant, sizeof...(Argument)> values{Variant(arguments)...};
  return invoke_by_name(object, name, flags, values.data(), values.size());
}

}  // namespace detail

// Arguments are anything that a Variant is made of.
template <class... Argument>
[[nodiscard]] Outcome get(IDispatch* object, std::u16string_view name,
                          const Argument&... arguments) {
  return detail::invoke_with(object, name, DISPATCH_PROPERTYGET | DISPATCH_METHOD, arguments...);
}
template <class... Argument>
Outcome call(IDispatch* object, std::u16string_view name, const Argument&... arguments) {
  return detail::invoke_with(object, name, DISPATCH_METHOD, arguments...);
}
// The last argument is the value. An object that the property does not take by value is put by
// reference.
template <class... Argument>
Outcome put(IDispatch* object, std::u16string_view name, const Argument&... arguments) {
  static_assert(sizeof...(Argument) > 0);
  return detail::invoke_with(object, name, DISPATCH_PROPERTYPUT, arguments...);
}

}  // namespace tallowbrook::platform
