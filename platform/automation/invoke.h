// Late-bound calls over the tables: names to ids, ids to calls.
//
// A call finds the function by id and flags, binds positional arguments (last one first) and named
// ones (parameter index; DISPID_PROPERTYPUT for the value of a put), fills omitted ones, brings
// each to its parameter's type, calls the thunk, and hands back results. Nothing here throws or
// keeps state; what the engine makes it gives back, whatever happens.
#pragma once

#include "platform/automation/dispatch.h"
#include "platform/automation/tables.h"

namespace tallowbrook::platform {

// A function of an interface together with the member that it belongs to.
struct FoundFunction {
  const MemberInfo* member = nullptr;
  const FunctionInfo* function = nullptr;

  explicit operator bool() const { return function != nullptr; }
};

// The member with this id (this name, without regard to ASCII case) in the table or its bases.
[[nodiscard]] const MemberInfo* find_member(const InterfaceInfo& table, DISPID id);
[[nodiscard]] const MemberInfo* find_member(const InterfaceInfo& table, std::u16string_view name);
[[nodiscard]] bool same_name(std::u16string_view a, std::u16string_view b);

// The parameters that a caller passes: all but the result.
[[nodiscard]] std::size_t parameter_count(const FunctionInfo& function);
// The VT_* of a parameter or of the result, with what the table says over what C++ tells.
[[nodiscard]] VARTYPE parameter_type(const FoundFunction& found, std::size_t index);
// kParamIn, kParamOut, kParamRetval, kParamOptional, kParamHasDefault.
[[nodiscard]] WORD parameter_flags(const FoundFunction& found, std::size_t index);

// As IDispatch::GetIDsOfNames; a name that is not known gets DISPID_UNKNOWN.
HRESULT ids_of_names(const InterfaceInfo& table, OLECHAR** names, UINT count, DISPID* ids);

// As IDispatch::Invoke on `self`, the interface pointer that the table describes. A member that
// fails after setting the thread's error object gives DISP_E_EXCEPTION and fills `exception`; with
// no error object, or nowhere to tell it, its own status. The error object stays the thread's.
HRESULT invoke_member(const InterfaceInfo& table, void* self, DISPID id, WORD flags,
                      DISPPARAMS* arguments, VARIANT* result, EXCEPINFO* exception,
                      UINT* argument_error);

}  // namespace tallowbrook::platform
