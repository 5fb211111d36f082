#include "platform/automation/invoke.h"

#include <algorithm>
#include <string_view>

namespace tallowbrook::platform {
namespace {

constexpr UINT kNowhere = ~0U;

bool is_missing(const VARIANT& value) {
  return value.vt == VT_ERROR && value.scode == DISP_E_PARAMNOTFOUND;
}

// What `source` refers to when it is a reference to a VARIANT.
const VARIANT& behind(const VARIANT& source) {
  const bool indirect = source.vt == (VT_BYREF | VT_VARIANT) && source.pvarVal != nullptr;
  return indirect ? *source.pvarVal : source;
}

// One call under way: the arguments as the thunk wants them, and who owns them.
class Call {
 public:
  Call(const FoundFunction& found, const DISPPARAMS& given) : found_(found), given_(given) {
    for (VARIANT& value : values_) VariantInit(&value);
  }
  ~Call() {
    for (std::size_t at = 0; at < values_.size(); ++at) {
      if (owned_[at]) VariantClear(&values_[at]);
    }
  }
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  HRESULT bind();
  HRESULT coerce();
  HRESULT run(void* self);
  // Stores what the member wrote through pointers into the caller's references.
  HRESULT write_back();
  void move_result(VARIANT* target);
  // The place in rgvarg of the argument that a failure is about, or kNowhere.
  [[nodiscard]] UINT failed_argument() const { return failed_; }

 private:
  HRESULT bind_named(std::size_t count);
  HRESULT bind_positional(std::size_t count);
  HRESULT fill(std::size_t at);
  HRESULT coerce_one(std::size_t at, const VARIANT& source);
  HRESULT coerce_object(std::size_t at, const VARIANT& source);
  HRESULT store(const VARIANT& target, std::size_t at);
  HRESULT fail(HRESULT status, UINT place) {
    failed_ = place;
    return status;
  }
  [[nodiscard]] std::size_t count() const { return parameter_count(*found_.function); }

  FoundFunction found_;
  const DISPPARAMS& given_;
  std::array<UINT, kMaxParams + 1> places_{};  // 1 + the place in rgvarg; 0 for none
  std::array<VARIANT, kMaxParams + 1> values_;
  std::array<bool, kMaxParams + 1> owned_{};
  UINT failed_ = kNowhere;
};

HRESULT Call::bind() {
  if (given_.cNamedArgs > given_.cArgs) return DISP_E_BADPARAMCOUNT;
  if (given_.cArgs > count()) return DISP_E_BADPARAMCOUNT;
  if (given_.cArgs != 0 && given_.rgvarg == nullptr) return E_INVALIDARG;
  if (given_.cNamedArgs != 0 && given_.rgdispidNamedArgs == nullptr) return E_INVALIDARG;
  if (const HRESULT status = bind_named(count()); FAILED(status)) return status;
  return bind_positional(count());
}

HRESULT Call::bind_named(std::size_t count) {
  for (UINT at = 0; at < given_.cNamedArgs; ++at) {
    DISPID id = given_.rgdispidNamedArgs[at];
    if (id == DISPID_PROPERTYPUT && found_.function->kind == InvokeKind::kPut) {
      id = static_cast<DISPID>(count) - 1;
    }
    if (id < 0 || static_cast<std::size_t>(id) >= count) return fail(DISP_E_PARAMNOTFOUND, at);
    UINT& place = places_[static_cast<std::size_t>(id)];
    if (place != 0) return fail(DISP_E_PARAMNOTFOUND, at);
    place = at + 1;
  }
  return S_OK;
}

HRESULT Call::bind_positional(std::size_t count) {
  std::size_t parameter = 0;
  for (UINT at = given_.cArgs; at > given_.cNamedArgs; --at, ++parameter) {
    if (parameter >= count || places_[parameter] != 0) return DISP_E_BADPARAMCOUNT;
    places_[parameter] = at;
  }
  return S_OK;
}

HRESULT Call::coerce() {
  const std::size_t parameters = count();
  for (std::size_t at = 0; at < parameters; ++at) {
    const UINT place = places_[at];
    const VARIANT* source = place == 0 ? nullptr : &given_.rgvarg[place - 1];
    HRESULT status = S_OK;
    if (source == nullptr || is_missing(behind(*source))) {
      status = fill(at);
    } else {
      status = coerce_one(at, *source);
    }
    if (FAILED(status)) return fail(status, place == 0 ? kNowhere : place - 1);
  }
  if (found_.function->returns_value) {
    const VARTYPE type = parameter_type(found_, parameters);
    values_[parameters].vt = type == VT_VARIANT ? VARTYPE{VT_EMPTY} : type;
    owned_[parameters] = true;
  }
  return S_OK;
}

// An omitted argument.
HRESULT Call::fill(std::size_t at) {
  const WORD flags = parameter_flags(found_, at);
  const VARTYPE type = parameter_type(found_, at);
  VARIANT& value = values_[at];
  if ((flags & kParamOptional) == 0) {
    const bool named = given_.cNamedArgs != 0;
    return places_[at] == 0 && !named ? DISP_E_BADPARAMCOUNT : DISP_E_PARAMNOTOPTIONAL;
  }
  owned_[at] = true;
  if ((flags & kParamHasDefault) == 0) {
    value.vt = type == VT_VARIANT ? VARTYPE{VT_ERROR} : type;
    if (type == VT_VARIANT) value.scode = DISP_E_PARAMNOTFOUND;
    return S_OK;
  }
  const DefaultValue& standard = found_.member->params[at].standard;
  if (standard.type == VT_BSTR) {
    value.bstrVal = SysAllocString(standard.text);
    if (value.bstrVal == nullptr) return E_OUTOFMEMORY;
  } else {
    value.lVal = standard.number;
  }
  value.vt = standard.type;
  return type == VT_VARIANT ? S_OK : VariantChangeType(&value, &value, 0, type);
}

HRESULT Call::coerce_one(std::size_t at, const VARIANT& source) {
  const TypeRef& declared = found_.function->types[at];
  const VARTYPE type = parameter_type(found_, at);
  VARIANT& value = values_[at];
  if (declared.pointer && (parameter_flags(found_, at) & kParamIn) == 0) {
    value.vt = type == VT_VARIANT ? VARTYPE{VT_EMPTY} : type;
    owned_[at] = true;
    return S_OK;
  }
  if (declared.iid != nullptr) return coerce_object(at, source);
  const VARIANT& direct = behind(source);
  const bool fits = type == VT_VARIANT ? (direct.vt & VT_BYREF) == 0 : direct.vt == type;
  // A value is lent for the call; what a reference names may change under it and is copied.
  if (fits && !declared.pointer && &direct == &source) {
    value = direct;
    return S_OK;
  }
  owned_[at] = true;
  return type == VT_VARIANT ? VariantCopyInd(&value, &source)
                            : VariantChangeType(&value, &source, 0, type);
}

HRESULT Call::coerce_object(std::size_t at, const VARIANT& source) {
  const TypeRef& declared = found_.function->types[at];
  VARIANT& value = values_[at];
  Variant plain;
  if (const HRESULT status = VariantCopyInd(&plain, &source); FAILED(status)) return status;
  void* object = nullptr;
  if (plain.vt == VT_DISPATCH || plain.vt == VT_UNKNOWN) {
    IUnknown* const unknown =
        plain.vt == VT_DISPATCH ? static_cast<IUnknown*>(plain.pdispVal) : plain.punkVal;
    if (unknown != nullptr && FAILED(unknown->QueryInterface(*declared.iid, &object))) {
      return DISP_E_TYPEMISMATCH;
    }
  } else if (plain.vt != VT_EMPTY) {
    return DISP_E_TYPEMISMATCH;
  }
  value.vt = declared.type;
  if (declared.type == VT_DISPATCH) {
    value.pdispVal = static_cast<IDispatch*>(object);
  } else {
    value.punkVal = static_cast<IUnknown*>(object);
  }
  owned_[at] = true;
  return S_OK;
}

HRESULT Call::run(void* self) {
  if (found_.function->thunk == nullptr) return E_NOTIMPL;
  SetErrorInfo(0, nullptr);
  return found_.function->thunk(self, values_.data());
}

HRESULT Call::write_back() {
  const std::size_t parameters = count();
  for (std::size_t at = 0; at < parameters; ++at) {
    if (!found_.function->types[at].pointer || places_[at] == 0) continue;
    const UINT place = places_[at] - 1;
    if (const HRESULT status = store(given_.rgvarg[place], at); FAILED(status)) {
      return fail(status, place);
    }
  }
  return S_OK;
}

// Moves the value into what `target` refers to; an argument given by value hears nothing of it.
HRESULT Call::store(const VARIANT& target, std::size_t at) {
  if ((target.vt & VT_BYREF) == 0 || target.byref == nullptr) return S_OK;
  VARIANT& value = values_[at];
  if (target.vt == (VT_BYREF | VT_VARIANT)) {
    if (const HRESULT status = VariantClear(target.pvarVal); FAILED(status)) return status;
    *target.pvarVal = value;
    VariantInit(&value);
    return S_OK;
  }
  const auto type = static_cast<VARTYPE>(target.vt & ~VT_BYREF);
  if (value.vt != type) {
    if (const HRESULT status = VariantChangeType(&value, &value, 0, type); FAILED(status)) {
      return status;
    }
  }
  switch (type) {
    case VT_I1:
    case VT_UI1:
      *target.pbVal = value.bVal;
      return S_OK;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
      *target.piVal = value.iVal;
      return S_OK;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_ERROR:
      std::memcpy(target.byref, &value.lVal, sizeof(LONG));
      return S_OK;
    case VT_BSTR:
      SysFreeString(std::exchange(*target.pbstrVal, value.bstrVal));
      break;
    case VT_DISPATCH:
      if (*target.ppdispVal != nullptr) (*target.ppdispVal)->Release();
      *target.ppdispVal = value.pdispVal;
      break;
    case VT_UNKNOWN:
      if (*target.ppunkVal != nullptr) (*target.ppunkVal)->Release();
      *target.ppunkVal = value.punkVal;
      break;
    default:
      std::memcpy(target.byref, &value.llVal, sizeof(LONGLONG));
      return S_OK;
  }
  VariantInit(&value);  // the reference owns it now
  return S_OK;
}

void Call::move_result(VARIANT* target) {
  if (!found_.function->returns_value || target == nullptr) return;
  VARIANT& value = values_[count()];
  *target = value;
  VariantInit(&value);
}

// --- failures ------------------------------------------------------------------------------------

// A failure without an error object stays the status that it is.
HRESULT report(HRESULT status, EXCEPINFO* exception) {
  if (exception == nullptr) return status;
  exception->scode = status;
  ComPtr<IErrorInfo> error;
  if (GetErrorInfo(0, error.out()) != S_OK) return status;
  error->GetSource(&exception->bstrSource);
  error->GetDescription(&exception->bstrDescription);
  error->GetHelpFile(&exception->bstrHelpFile);
  error->GetHelpContext(&exception->dwHelpContext);
  SetErrorInfo(0, error.get());
  return DISP_E_EXCEPTION;
}

HRESULT call(const FoundFunction& found, void* self, const DISPPARAMS& given, VARIANT* result,
             EXCEPINFO* exception, UINT* argument_error) {
  Call call(found, given);
  HRESULT status = call.bind();
  if (SUCCEEDED(status)) status = call.coerce();
  if (SUCCEEDED(status)) {
    status = call.run(self);
    if (FAILED(status)) return report(status, exception);
    const HRESULT written = call.write_back();
    if (FAILED(written)) status = written;
  }
  if (SUCCEEDED(status)) {
    call.move_result(result);
  } else if (argument_error != nullptr && call.failed_argument() != kNowhere) {
    *argument_error = call.failed_argument();
  }
  return status;
}

// --- functions -----------------------------------------------------------------------------------

constexpr WORD kPuts = DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF;

bool fits(InvokeKind kind, WORD flags) {
  return kind == InvokeKind::kPut ? (flags & kPuts) != 0 : (static_cast<WORD>(kind) & flags) != 0;
}

// A get and its put may be one entry of the table or two.
FoundFunction find_function(const InterfaceInfo& table, DISPID id, WORD flags) {
  for (const InterfaceInfo* at = &table; at != nullptr; at = at->base) {
    for (const MemberInfo& member : at->members) {
      if (member.id != id) continue;
      for (const FunctionInfo& function : member.functions) {
        if (function.kind != InvokeKind::kNone && fits(function.kind, flags)) {
          return {&member, &function};
        }
      }
    }
  }
  return {};
}

// Arguments for a property that takes none are meant for the default member of its object: all of
// a get's, those besides the value of a put's.
bool forwards(const FoundFunction& getter, const FoundFunction& found, WORD flags,
              const DISPPARAMS& given) {
  if (!getter || parameter_count(*getter.function) != 0) return false;
  if (getter.function == found.function) return given.cArgs > 0;
  if (!found) return (flags & kPuts) != 0 && given.cArgs > 1;
  return found.function->kind == InvokeKind::kPut && given.cArgs > parameter_count(*found.function);
}

HRESULT forward(const FoundFunction& getter, void* self, WORD flags, DISPPARAMS* given,
                VARIANT* result, EXCEPINFO* exception, UINT* argument_error) {
  Variant owner;
  const DISPPARAMS none{};
  const HRESULT status = call(getter, self, none, &owner, exception, nullptr);
  if (FAILED(status)) return status;
  if (owner.vt != VT_DISPATCH || owner.pdispVal == nullptr) return DISP_E_BADPARAMCOUNT;
  return owner.pdispVal->Invoke(DISPID_VALUE, GUID_NULL, LOCALE_USER_DEFAULT, flags, given, result,
                                exception, argument_error);
}

}  // namespace

bool same_name(std::u16string_view a, std::u16string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char16_t x, char16_t y) { return fold_unit(x) == fold_unit(y); });
}

const MemberInfo* find_member(const InterfaceInfo& table, DISPID id) {
  for (const InterfaceInfo* at = &table; at != nullptr; at = at->base) {
    for (const MemberInfo& member : at->members) {
      if (member.id == id) return &member;
    }
  }
  return nullptr;
}

const MemberInfo* find_member(const InterfaceInfo& table, std::u16string_view name) {
  const std::uint32_t hash = name_hash(name);
  for (const InterfaceInfo* at = &table; at != nullptr; at = at->base) {
    for (const MemberInfo& member : at->members) {
      if (member.hash == hash && same_name(member.name, name)) return &member;
    }
  }
  return nullptr;
}

std::size_t parameter_count(const FunctionInfo& function) {
  return function.types.size() - (function.returns_value ? 1 : 0);
}

VARTYPE parameter_type(const FoundFunction& found, std::size_t index) {
  const FunctionInfo& function = *found.function;
  const bool is_value = index + 1 == function.types.size() &&
                        (function.returns_value || function.kind == InvokeKind::kPut);
  const VARTYPE marked = is_value ? found.member->value_type : found.member->params[index].type;
  return marked != VT_EMPTY ? marked : function.types[index].type;
}

WORD parameter_flags(const FoundFunction& found, std::size_t index) {
  const FunctionInfo& function = *found.function;
  const bool last = index + 1 == function.types.size();
  if (last && function.returns_value) return kParamOut | kParamRetval;
  if (last && function.kind == InvokeKind::kPut) return kParamIn;
  const WORD marked = found.member->params[index].flags;
  if ((marked & kParamOut) != 0) return marked;
  const WORD direction = function.types[index].pointer ? kParamIn | kParamOut : kParamIn;
  return static_cast<WORD>(marked | direction);
}

HRESULT ids_of_names(const InterfaceInfo& table, OLECHAR** names, UINT count, DISPID* ids) {
  if (ids == nullptr || count == 0) return E_INVALIDARG;
  std::fill(ids, ids + count, DISPID_UNKNOWN);
  if (names == nullptr || names[0] == nullptr) return E_INVALIDARG;
  const MemberInfo* const member = find_member(table, names[0]);
  if (member == nullptr) return DISP_E_UNKNOWNNAME;
  ids[0] = member->id;
  HRESULT status = S_OK;
  for (UINT at = 1; at < count; ++at) {
    const auto match = [&](const ParamMark& mark) {
      return mark.name != nullptr && names[at] != nullptr && same_name(mark.name, names[at]);
    };
    const auto found = std::find_if(member->params.begin(), member->params.end(), match);
    if (found == member->params.end()) {
      status = DISP_E_UNKNOWNNAME;
    } else {
      ids[at] = static_cast<DISPID>(found - member->params.begin());
    }
  }
  return status;
}

HRESULT invoke_member(const InterfaceInfo& table, void* self, DISPID id, WORD flags,
                      DISPPARAMS* arguments, VARIANT* result, EXCEPINFO* exception,
                      UINT* argument_error) {
  if (result != nullptr) VariantInit(result);
  if (exception != nullptr) *exception = EXCEPINFO{};
  if (self == nullptr) return E_INVALIDARG;
  DISPPARAMS none{};
  DISPPARAMS& given = arguments == nullptr ? none : *arguments;
  SetErrorInfo(0, nullptr);
  const FoundFunction found = find_function(table, id, flags);
  const FoundFunction getter = find_function(table, id, DISPATCH_PROPERTYGET);
  if (!found && (!getter || flags == DISPATCH_METHOD)) return DISP_E_MEMBERNOTFOUND;
  if (forwards(getter, found, flags, given)) {
    return forward(getter, self, flags, &given, result, exception, argument_error);
  }
  if (!found) return DISP_E_MEMBERNOTFOUND;
  if (given.cNamedArgs != 0 && parameter_count(*found.function) == 0) return DISP_E_NONAMEDARGS;
  return call(found, self, given, result, exception, argument_error);
}

}  // namespace tallowbrook::platform
