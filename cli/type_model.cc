#include "cli/type_model.h"

#include <memory>
#include <stdexcept>

#include "cli/terminal.h"
#include "platform/com/activation.h"

namespace tallowbrook::cli {
namespace {

using platform::Bstr;
using platform::ComPtr;

void check(HRESULT status) {
  if (FAILED(status)) throw std::runtime_error("the type library does not answer");
}

// A description that is given back to the type it came from.
template <class Description>
class Lent {
 public:
  using Release = void (ITypeInfo::*)(Description*);
  Lent(ITypeInfo& info, Release release) : info_(info), release_(release) {}
  ~Lent() {
    if (given_ != nullptr) (info_.*release_)(given_);
  }
  Lent(const Lent&) = delete;
  Lent& operator=(const Lent&) = delete;

  Description** out() { return &given_; }
  const Description* operator->() const { return given_; }

 private:
  ITypeInfo& info_;
  Release release_;
  Description* given_ = nullptr;
};

std::string guid_text(const GUID& guid) {
  OLECHAR text[39];
  StringFromGUID2(guid, text, 39);
  return to_utf8({text + 1, 36});
}

std::string name_of(ITypeInfo& info) {
  Bstr name;
  check(info.GetDocumentation(MEMBERID_NIL, name.out(), nullptr, nullptr, nullptr));
  return to_utf8(name.view());
}

std::string referred_name(ITypeInfo& info, HREFTYPE reference) {
  ComPtr<ITypeInfo> type;
  check(info.GetRefTypeInfo(reference, type.out()));
  return name_of(*type);
}

std::string plain_type(VARTYPE type) {
  switch (type) {
    case VT_I1:
      return "char";
    case VT_UI1:
      return "unsigned char";
    case VT_I2:
      return "short";
    case VT_UI2:
      return "unsigned short";
    case VT_I4:
    case VT_INT:
      return "long";
    case VT_UI4:
    case VT_UINT:
      return "unsigned long";
    case VT_I8:
      return "int64";
    case VT_UI8:
      return "uint64";
    case VT_R4:
      return "float";
    case VT_R8:
      return "double";
    case VT_CY:
      return "CURRENCY";
    case VT_DATE:
      return "DATE";
    case VT_BSTR:
      return "BSTR";
    case VT_DISPATCH:
      return "IDispatch*";
    case VT_ERROR:
      return "SCODE";
    case VT_BOOL:
      return "VARIANT_BOOL";
    case VT_VARIANT:
      return "VARIANT";
    case VT_UNKNOWN:
      return "IUnknown*";
    case VT_VOID:
      return "void";
    default:
      return "type " + std::to_string(type);
  }
}

std::string type_text(ITypeInfo& info, const TYPEDESC& type) {
  std::string pointers;
  const TYPEDESC* inner = &type;
  for (; inner->vt == VT_PTR; inner = inner->lptdesc) pointers += '*';
  const std::string name =
      inner->vt == VT_USERDEFINED ? referred_name(info, inner->hreftype) : plain_type(inner->vt);
  return name + pointers;
}

std::string default_text(const VARIANT& value) {
  if (value.vt == VT_BSTR) return "\"" + to_utf8(platform::view_of(value.bstrVal)) + "\"";
  platform::Variant text;
  check(VariantChangeType(&text, &value, 0, VT_BSTR));
  return to_utf8(text.text());
}

TypeFunction::Kind kind_of(INVOKEKIND kind) {
  if (kind == INVOKE_PROPERTYGET) return TypeFunction::Kind::kGet;
  return kind == INVOKE_FUNC ? TypeFunction::Kind::kMethod : TypeFunction::Kind::kPut;
}

TypeFunction read_function(ITypeInfo& info, UINT index) {
  constexpr UINT kMostNames = 32;
  Lent<FUNCDESC> described(info, &ITypeInfo::ReleaseFuncDesc);
  check(info.GetFuncDesc(index, described.out()));
  BSTR names[kMostNames] = {};
  UINT named = 0;
  check(info.GetNames(described->memid, names, kMostNames, &named));
  std::vector<std::string> texts;
  for (UINT at = 0; at < named; ++at) texts.push_back(to_utf8(Bstr::adopt(names[at]).view()));
  Bstr help;
  check(info.GetDocumentation(described->memid, nullptr, help.out(), nullptr, nullptr));

  TypeFunction function;
  function.kind = kind_of(described->invkind);
  function.name = texts.at(0);
  function.help = to_utf8(help.view());
  function.id = described->memid;
  function.hidden = (described->wFuncFlags & platform::kMemberHidden) != 0;
  function.restricted = (described->wFuncFlags & platform::kMemberRestricted) != 0;
  function.result = type_text(info, described->elemdescFunc.tdesc);
  for (SHORT at = 0; at < described->cParams; ++at) {
    const ELEMDESC& element = described->lprgelemdescParam[at];
    const auto place = static_cast<std::size_t>(at) + 1;
    const USHORT flags = element.paramdesc.wParamFlags;
    TypeParameter parameter;
    parameter.name = place < texts.size() ? texts[place] : "newVal";
    parameter.type = type_text(info, element.tdesc);
    parameter.in = (flags & platform::kParamIn) != 0;
    parameter.out = (flags & platform::kParamOut) != 0;
    parameter.optional = (flags & platform::kParamOptional) != 0;
    if ((flags & PARAMFLAG_FHASDEFAULT) != 0) {
      parameter.has_default = true;
      parameter.standard = default_text(element.paramdesc.pparamdescex->varDefaultValue);
    }
    function.parameters.push_back(std::move(parameter));
  }
  return function;
}

TypeConstant read_constant(ITypeInfo& info, UINT index) {
  Lent<VARDESC> described(info, &ITypeInfo::ReleaseVarDesc);
  check(info.GetVarDesc(index, described.out()));
  Bstr name;
  Bstr help;
  check(info.GetDocumentation(described->memid, name.out(), help.out(), nullptr, nullptr));
  return {to_utf8(name.view()), to_utf8(help.view()), described->lpvarValue->lVal};
}

void read_implemented(ITypeInfo& info, UINT index, TypeDescription& type) {
  HREFTYPE reference = 0;
  INT flags = 0;
  check(info.GetRefTypeOfImplType(index, &reference));
  check(info.GetImplTypeFlags(index, &flags));
  const std::string name = referred_name(info, reference);
  if (type.kind == TKIND_COCLASS) {
    type.implements.push_back(
        {name, (flags & IMPLTYPEFLAG_FDEFAULT) != 0, (flags & IMPLTYPEFLAG_FSOURCE) != 0});
  } else {
    type.base = name;
  }
}

// Empty for a class that is neither loaded nor registered.
std::string prog_id_of(REFCLSID clsid) {
  OLECHAR* found = nullptr;
  if (FAILED(ProgIDFromCLSID(clsid, &found))) return {};
  const std::unique_ptr<OLECHAR, void (*)(void*)> owned(found, &CoTaskMemFree);
  return to_utf8(found);
}

TypeDescription read_type(ITypeInfo& info) {
  Lent<TYPEATTR> attributes(info, &ITypeInfo::ReleaseTypeAttr);
  check(info.GetTypeAttr(attributes.out()));
  Bstr help;
  check(info.GetDocumentation(MEMBERID_NIL, nullptr, help.out(), nullptr, nullptr));
  TypeDescription type;
  type.kind = attributes->typekind;
  type.dual = (attributes->wTypeFlags & TYPEFLAG_FDUAL) != 0;
  type.name = name_of(info);
  type.help = to_utf8(help.view());
  type.guid = guid_text(attributes->guid);
  if (type.kind == TKIND_COCLASS) type.prog_id = prog_id_of(attributes->guid);
  for (UINT at = 0; at < attributes->cImplTypes; ++at) read_implemented(info, at, type);
  for (UINT at = 0; at < attributes->cFuncs; ++at) {
    type.functions.push_back(read_function(info, at));
  }
  for (UINT at = 0; at < attributes->cVars; ++at) type.constants.push_back(read_constant(info, at));
  return type;
}

}  // namespace

TypeModel read_type_library(ITypeLib& library) {
  TLIBATTR* attributes = nullptr;
  check(library.GetLibAttr(&attributes));
  const TLIBATTR known = *attributes;
  library.ReleaseTLibAttr(attributes);
  Bstr name;
  Bstr help;
  check(library.GetDocumentation(-1, name.out(), help.out(), nullptr, nullptr));
  TypeModel model;
  model.name = to_utf8(name.view());
  model.help = to_utf8(help.view());
  model.guid = guid_text(known.guid);
  model.version = std::to_string(known.wMajorVerNum) + "." + std::to_string(known.wMinorVerNum);
  model.locale = known.lcid;
  for (UINT at = 0; at < library.GetTypeInfoCount(); ++at) {
    ComPtr<ITypeInfo> info;
    check(library.GetTypeInfo(at, info.out()));
    model.types.push_back(read_type(*info));
  }
  return model;
}

}  // namespace tallowbrook::cli
