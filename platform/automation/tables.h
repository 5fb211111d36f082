// The constant tables that type information, name lookup and late-bound calls are made from.
//
// A table is plain constant data: members of an interface (built by describe.h), enumerations,
// coclasses, and the library that lists them. Everything pointed at lives as long as the module
// that holds the tables.
//
//   LibraryInfo -> InterfaceInfo -> MemberInfo -> FunctionInfo -> TypeRef, ParamMark
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "platform/automation/dispatch.h"

namespace tallowbrook::platform {

inline constexpr std::size_t kMaxParams = 8;

inline constexpr WORD kParamIn = 1;
inline constexpr WORD kParamOut = 2;
inline constexpr WORD kParamRetval = 8;
inline constexpr WORD kParamOptional = 16;
inline constexpr WORD kParamHasDefault = 32;

inline constexpr WORD kMemberRestricted = 0x01;
inline constexpr WORD kMemberHidden = 0x40;

struct EnumValue {
  const char16_t* name;
  LONG value;
  const char16_t* help = u"";
};

struct EnumInfo {
  GUID guid;
  const char16_t* name;
  const char16_t* help;
  std::span<const EnumValue> values;
};

// A parameter's type, deduced from the member function: the VT_* of the value itself, whether it
// goes through a pointer, and the interface or enumeration that a VT_DISPATCH, VT_UNKNOWN or VT_I4
// stands for.
struct TypeRef {
  VARTYPE type = VT_EMPTY;
  bool pointer = false;
  const GUID* iid = nullptr;
  const EnumInfo* enumeration = nullptr;
};

// The value that an omitted argument has.
struct DefaultValue {
  VARTYPE type = VT_EMPTY;  // VT_EMPTY (none), VT_I4 or VT_BSTR
  LONG number = 0;
  const char16_t* text = nullptr;
};

// What a table says of a parameter beside its deduced type.
struct ParamMark {
  constexpr ParamMark() = default;
  constexpr ParamMark(const char16_t* given)
      : name(given) {}  // NOLINT(google-explicit-constructor)

  const char16_t* name = nullptr;
  WORD flags = 0;
  VARTYPE type = VT_EMPTY;  // instead of the deduced one
  DefaultValue standard;
};

// Calls the member on `self`, an interface pointer of the interface that declares it. `arguments`
// holds one value per parameter in declared order, each of exactly the parameter's type; objects
// are pointers to the parameter's own interface. Pointer parameters are read before the call and
// stored back after it, whatever the status is.
using Thunk = HRESULT (*)(void* self, VARIANT* arguments);

enum class InvokeKind : WORD {
  kNone = 0,
  kMethod = DISPATCH_METHOD,
  kGet = DISPATCH_PROPERTYGET,
  kPut = DISPATCH_PROPERTYPUT,
};

struct FunctionInfo {
  InvokeKind kind = InvokeKind::kNone;
  Thunk thunk = nullptr;  // null for an event
  std::span<const TypeRef> types;
  bool returns_value = false;  // the last type is [out, retval]
};

// ASCII capitals become small: names are the same with any letter case.
[[nodiscard]] constexpr char16_t fold_unit(char16_t unit) {
  return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
}

// The same for names that differ in letter case alone (FNV-1a, in units).
[[nodiscard]] constexpr std::uint32_t name_hash(std::u16string_view name) {
  std::uint32_t hash = 0x811C9DC5;
  for (const char16_t unit : name) hash = (hash ^ fold_unit(unit)) * 0x01000193;
  return hash;
}

// One name and dispatch id: a method, or a property with a get, a put, or both.
struct MemberInfo {
  DISPID id = DISPID_UNKNOWN;
  const char16_t* name = u"";
  std::uint32_t hash = name_hash(u"");  // of the name
  const char16_t* help = u"";
  WORD flags = 0;  // kMemberRestricted, kMemberHidden
  // A property has its get first. Functions stand in the order of the interface's slots.
  std::array<FunctionInfo, 2> functions{};
  std::array<ParamMark, kMaxParams> params{};
  // The declared type of the value where C++ cannot tell (VT_I2 or VT_BOOL, VT_R8 or VT_DATE).
  VARTYPE value_type = VT_EMPTY;

  // Marks `_NewEnum` and its like.
  [[nodiscard]] constexpr MemberInfo flagged(WORD added) const {
    MemberInfo copy = *this;
    copy.flags = static_cast<WORD>(copy.flags | added);
    return copy;
  }
  // The value that a get or method yields and a put takes has this type.
  [[nodiscard]] constexpr MemberInfo valued(VARTYPE type) const {
    MemberInfo copy = *this;
    copy.value_type = type;
    return copy;
  }
};

enum class InterfaceKind {
  kDual,      // vtable and IDispatch
  kDispatch,  // events: IDispatch alone, functions have no slots
  kCustom,    // derived from IUnknown
};

struct InterfaceInfo {
  GUID iid;
  const char16_t* name;
  const char16_t* help;
  std::span<const MemberInfo> members;
  InterfaceKind kind = InterfaceKind::kDual;
  const InterfaceInfo* base = nullptr;  // when it is another table than IDispatch (IUnknown)
};

inline constexpr WORD kImplementsDefault = 1;
inline constexpr WORD kImplementsSource = 2;  // an event interface that the class calls

struct ImplementedInterface {
  const InterfaceInfo* interface = nullptr;
  WORD flags = 0;
};

struct CoclassInfo {
  CLSID clsid;
  const char16_t* name;
  const char16_t* help;
  std::array<ImplementedInterface, 4> implements{};  // ended by a null pointer
};

struct LibraryInfo {
  GUID libid;
  WORD major;
  WORD minor;
  LCID lcid;
  const char16_t* name;
  const char16_t* help;
  std::span<const EnumInfo* const> enumerations;
  std::span<const InterfaceInfo* const> interfaces;
  std::span<const CoclassInfo* const> coclasses;
};

// How the tables lie in memory: who reads another module's asks whether it is the same there. The
// last number is for changes that leave all sizes as they are.
inline constexpr ULONG kTableLayout =
    sizeof(LibraryInfo) << 24 | sizeof(InterfaceInfo) << 16 | sizeof(MemberInfo) << 4 | 1;

}  // namespace tallowbrook::platform
