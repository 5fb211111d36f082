// Builds the tables of tables.h from member functions; each fact of a member stands once.
//
//   template <>
//   struct Describe<IMailAddress> {
//     static constexpr auto members = std::array{
//         property<&IMailAddress::get_Address, &IMailAddress::put_Address>(1, u"Address", u"help"),
//         getter<&IMailAddress::get_RouteAddress>(4, u"RouteAddress", u"help"),
//         method<&IMailAddress::Load>(5, u"Load", names(u"StreamObject"), u"help"),
//         method<&IMailAddress::Modify>(
//             6, u"Modify", names(u"Name", u"Value", with_default(u"bQuote", VARIANT_TRUE))),
//         method<&IMailAddress::Find>(7, u"Find", names(u"What", optional(u"Start"), out(u"End"))),
//         getter<&IMailAddress::get__NewEnum>(DISPID_NEWENUM, u"_NewEnum")
//             .flagged(kMemberRestricted | kMemberHidden),
//     };
//   };
//   template <>
//   struct Describe<_IMailEvents> {  // an event interface has no functions to name
//     static constexpr auto members = std::array{
//         event<BSTR, LONG>(1, u"OnError", names(u"strHint", u"Line")),
//     };
//   };
//   template <>
//   struct DescribeEnum<EncodingType> {  // before the first Describe that uses the enumeration
//     static constexpr EnumValue values[] = {{u"etNone", 0}, {u"etBase64", 1}};
//     static constexpr EnumInfo info{{...guid...}, u"EncodingType", u"help", values};
//   };
//   inline constexpr InterfaceInfo kMailAddress =
//       interface_info<IMailAddress>(u"IMailAddress", u"IMailAddress Interface");
//
// Members stand in the order of the interface's slots; `property` stands for a get slot that its
// put slot follows (elsewhere use `getter` and `setter` with the same id).
//
// Types come from the member function: BSTR, LONG (VT_I4), ULONG, BYTE, USHORT, LONGLONG,
// ULONGLONG, float, VARIANT, const VARIANT&, IDispatch*, IUnknown*, any I* (VT_DISPATCH when I
// derives from IDispatch, else VT_UNKNOWN), and enumerations with a 32-bit base (VT_I4). A 16-bit
// signed integer is VT_BOOL and a double is VT_DATE, unless typed(u"Name", VT_I2) (for a parameter)
// or `.valued(VT_I2)` (for the value of a property or method) says otherwise. A last pointer
// parameter (BSTR*, LONG*, VARIANT*, I**, ...) of a getter or method is [out, retval]; an earlier
// one is [in, out], or [out] when marked with out(). For a method whose last pointer is no result,
// use `method_without_result`.
//
// Names count the parameters without the result and without the value that a put takes; a wrong
// count does not compile. `self` reaches every member as the pointer of the interface described:
// interfaces derive singly.
#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>
#include <utility>

#include "platform/automation/tables.h"

namespace tallowbrook::platform {

template <class Interface>
struct Describe;
template <class Enumeration>
struct DescribeEnum;

// --- parameter names -----------------------------------------------------------------------------

struct Names {
  std::array<ParamMark, kMaxParams> marks{};
  std::size_t count = 0;
};

// Each argument is a name or one of the marked names below.
template <class... Mark>
[[nodiscard]] constexpr Names names(const Mark&... marks) {
  static_assert(sizeof...(Mark) <= kMaxParams);
  return {{ParamMark(marks)...}, sizeof...(Mark)};
}
// May be omitted: a VARIANT arrives as VT_ERROR DISP_E_PARAMNOTFOUND, anything else as zero, the
// empty string or null.
[[nodiscard]] constexpr ParamMark optional(ParamMark mark) {
  mark.flags = static_cast<WORD>(mark.flags | kParamOptional);
  return mark;
}
[[nodiscard]] constexpr ParamMark with_default(ParamMark mark, LONG number) {
  mark.flags = static_cast<WORD>(mark.flags | kParamOptional | kParamHasDefault);
  mark.standard = {VT_I4, number, nullptr};
  return mark;
}
[[nodiscard]] constexpr ParamMark with_default(ParamMark mark, const char16_t* text) {
  mark.flags = static_cast<WORD>(mark.flags | kParamOptional | kParamHasDefault);
  mark.standard = {VT_BSTR, 0, text};
  return mark;
}
[[nodiscard]] constexpr ParamMark out(ParamMark mark) {
  mark.flags = static_cast<WORD>(mark.flags | kParamOut);
  return mark;
}
[[nodiscard]] constexpr ParamMark typed(ParamMark mark, VARTYPE type) {
  mark.type = type;
  return mark;
}

namespace detail {

// --- how a C++ type lies in a VARIANT ------------------------------------------------------------

template <class T, VARTYPE Type, auto Field>
struct Plain {
  static constexpr TypeRef type{Type, false, nullptr, nullptr};
  static T load(const VARIANT& value) { return value.*Field; }
  static void store(VARIANT& value, T given) { value.*Field = given; }
};

template <class T>
struct Automation;  // no automation type: such a parameter cannot be described
template <>
struct Automation<BSTR> : Plain<BSTR, VT_BSTR, &VARIANT::bstrVal> {};
template <>
struct Automation<LONG> : Plain<LONG, VT_I4, &VARIANT::lVal> {};
template <>
struct Automation<ULONG> : Plain<ULONG, VT_UI4, &VARIANT::ulVal> {};
template <>
struct Automation<VARIANT_BOOL> : Plain<VARIANT_BOOL, VT_BOOL, &VARIANT::boolVal> {};
template <>
struct Automation<USHORT> : Plain<USHORT, VT_UI2, &VARIANT::uiVal> {};
template <>
struct Automation<BYTE> : Plain<BYTE, VT_UI1, &VARIANT::bVal> {};
template <>
struct Automation<LONGLONG> : Plain<LONGLONG, VT_I8, &VARIANT::llVal> {};
template <>
struct Automation<ULONGLONG> : Plain<ULONGLONG, VT_UI8, &VARIANT::ullVal> {};
template <>
struct Automation<float> : Plain<float, VT_R4, &VARIANT::fltVal> {};
template <>
struct Automation<DATE> : Plain<DATE, VT_DATE, &VARIANT::date> {};
template <>
struct Automation<VARIANT> {
  static constexpr TypeRef type{VT_VARIANT, false, nullptr, nullptr};
  static VARIANT load(const VARIANT& value) { return value; }
  static void store(VARIANT& value, const VARIANT& given) { value = given; }
};

template <class T>
requires std::is_enum_v<T>
struct Automation<T> {
  static_assert(sizeof(T) == sizeof(LONG), "automation enumerations are 32 bits wide");
  static constexpr const EnumInfo* info() {
    if constexpr (requires { DescribeEnum<T>::info; }) {
      return &DescribeEnum<T>::info;
    } else {
      return nullptr;
    }
  }
  static constexpr TypeRef type{VT_I4, false, nullptr, info()};
  static T load(const VARIANT& value) { return static_cast<T>(value.lVal); }
  static void store(VARIANT& value, T given) { value.lVal = static_cast<LONG>(given); }
};

// An interface pointer: a pointer to a class with an identity.
template <class I>
requires std::is_class_v<I>
struct Automation<I*> {
  static constexpr bool kDispatch = std::is_base_of_v<IDispatch, I>;
  static constexpr TypeRef type{kDispatch ? VT_DISPATCH : VT_UNKNOWN, false, &I::kIid, nullptr};
  static I* load(const VARIANT& value) {
    if constexpr (kDispatch) {
      return static_cast<I*>(value.pdispVal);
    } else {
      return static_cast<I*>(value.punkVal);
    }
  }
  static void store(VARIANT& value, I* given) {
    if constexpr (kDispatch) {
      value.pdispVal = given;
    } else {
      value.punkVal = given;
    }
  }
};

// True for parameters through which the member writes.
template <class T>
inline constexpr bool kIsOut = false;
template <class T>
inline constexpr bool kIsOut<T*> = !std::is_class_v<T> || std::is_same_v<T, VARIANT>;
template <>
inline constexpr bool kIsOut<BSTR> = false;

template <class T>
struct Parameter {
  static constexpr TypeRef type = Automation<T>::type;
  explicit Parameter(VARIANT& argument) : value(Automation<T>::load(argument)) {}
  T pass() { return value; }
  void finish() {}
  T value;
};
template <>
struct Parameter<const VARIANT&> {
  static constexpr TypeRef type = Automation<VARIANT>::type;
  explicit Parameter(VARIANT& argument) : value(argument) {}
  const VARIANT& pass() { return value; }
  void finish() {}
  const VARIANT& value;
};
template <class T>
requires kIsOut<T*>
struct Parameter<T*> {
  static constexpr TypeRef type{Automation<T>::type.type, true, Automation<T>::type.iid,
                                Automation<T>::type.enumeration};
  explicit Parameter(VARIANT& argument) : target(argument), value(Automation<T>::load(argument)) {}
  T* pass() { return &value; }
  void finish() { Automation<T>::store(target, value); }
  VARIANT& target;
  T value;
};

// --- functions -----------------------------------------------------------------------------------

template <class... A>
struct TypeList {
  static constexpr std::array<TypeRef, sizeof...(A)> types{Parameter<A>::type...};
  static constexpr bool ends_with_out() {
    bool result = false;
    ((result = kIsOut<A>), ...);
    return result;
  }
};

template <auto Function, class Type = decltype(Function)>
struct Callable;
template <auto Function, class C, class... A>
struct Callable<Function, HRESULT (C::*)(A...)> {
  using Types = TypeList<A...>;

  static HRESULT apply(C* self, Parameter<A>... parameters) {
    const HRESULT status = (self->*Function)(parameters.pass()...);
    (parameters.finish(), ...);
    return status;
  }
  template <std::size_t... N>
  static HRESULT spread(C* self, [[maybe_unused]] VARIANT* arguments, std::index_sequence<N...>) {
    return apply(self, Parameter<A>(arguments[N])...);
  }
  static HRESULT thunk(void* self, VARIANT* arguments) {
    return spread(static_cast<C*>(self), arguments, std::index_sequence_for<A...>{});
  }
};

template <auto Function>
[[nodiscard]] constexpr FunctionInfo function(InvokeKind kind, bool may_return) {
  using Call = Callable<Function>;
  return {kind, &Call::thunk, Call::Types::types, may_return && Call::Types::ends_with_out()};
}

// A count of names that does not fit the function stops the compilation here.
constexpr void check_names(const FunctionInfo& function, std::size_t names) {
  const bool has_value = function.kind == InvokeKind::kPut || function.returns_value;
  if (function.types.size() != names + (has_value ? 1 : 0)) {
    throw "the names do not match the parameters";
  }
}

[[nodiscard]] constexpr MemberInfo member(DISPID id, const char16_t* name, const Names& names,
                                          const char16_t* help, const FunctionInfo& first,
                                          const FunctionInfo& second = {}) {
  check_names(first, names.count);
  if (second.kind != InvokeKind::kNone) check_names(second, names.count);
  MemberInfo result;
  result.id = id;
  result.name = name;
  result.hash = name_hash(name);
  result.help = help;
  result.functions = {first, second};
  result.params = names.marks;
  return result;
}

}  // namespace detail

// --- members -------------------------------------------------------------------------------------

template <auto Get, auto Put>
[[nodiscard]] constexpr MemberInfo property(DISPID id, const char16_t* name, const Names& names,
                                            const char16_t* help = u"") {
  return detail::member(id, name, names, help, detail::function<Get>(InvokeKind::kGet, true),
                        detail::function<Put>(InvokeKind::kPut, false));
}
template <auto Get, auto Put>
[[nodiscard]] constexpr MemberInfo property(DISPID id, const char16_t* name,
                                            const char16_t* help = u"") {
  return property<Get, Put>(id, name, Names{}, help);
}

template <auto Get>
[[nodiscard]] constexpr MemberInfo getter(DISPID id, const char16_t* name, const Names& names,
                                          const char16_t* help = u"") {
  return detail::member(id, name, names, help, detail::function<Get>(InvokeKind::kGet, true));
}
template <auto Get>
[[nodiscard]] constexpr MemberInfo getter(DISPID id, const char16_t* name,
                                          const char16_t* help = u"") {
  return getter<Get>(id, name, Names{}, help);
}

template <auto Put>
[[nodiscard]] constexpr MemberInfo setter(DISPID id, const char16_t* name, const Names& names,
                                          const char16_t* help = u"") {
  return detail::member(id, name, names, help, detail::function<Put>(InvokeKind::kPut, false));
}
template <auto Put>
[[nodiscard]] constexpr MemberInfo setter(DISPID id, const char16_t* name,
                                          const char16_t* help = u"") {
  return setter<Put>(id, name, Names{}, help);
}

template <auto Function>
[[nodiscard]] constexpr MemberInfo method(DISPID id, const char16_t* name, const Names& names,
                                          const char16_t* help = u"") {
  return detail::member(id, name, names, help,
                        detail::function<Function>(InvokeKind::kMethod, true));
}
template <auto Function>
[[nodiscard]] constexpr MemberInfo method(DISPID id, const char16_t* name,
                                          const char16_t* help = u"") {
  return method<Function>(id, name, Names{}, help);
}
template <auto Function>
[[nodiscard]] constexpr MemberInfo method_without_result(DISPID id, const char16_t* name,
                                                         const Names& names,
                                                         const char16_t* help = u"") {
  return detail::member(id, name, names, help,
                        detail::function<Function>(InvokeKind::kMethod, false));
}

// A member of an event interface with these parameter types.
template <class... A>
[[nodiscard]] constexpr MemberInfo event(DISPID id, const char16_t* name, const Names& names = {},
                                         const char16_t* help = u"") {
  return detail::member(
      id, name, names, help,
      FunctionInfo{InvokeKind::kMethod, nullptr, detail::TypeList<A...>::types, false});
}

// --- interfaces ----------------------------------------------------------------------------------

template <class Interface>
[[nodiscard]] constexpr InterfaceInfo interface_info(const char16_t* name, const char16_t* help,
                                                     InterfaceKind kind = InterfaceKind::kDual,
                                                     const InterfaceInfo* base = nullptr) {
  return {Interface::kIid, name, help, Describe<Interface>::members, kind, base};
}

}  // namespace tallowbrook::platform
