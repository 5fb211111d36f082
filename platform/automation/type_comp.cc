// Binding by name, over what any type information and type library answers.
#include "platform/automation/invoke.h"
#include "platform/automation/typeinfo.h"
#include "platform/com/checked.h"
#include "platform/com/counted.h"

namespace tallowbrook::platform {
namespace {

// False for arguments that cannot be used; the results are cleared.
bool begin(const OLECHAR* name, ITypeInfo** info, DESCKIND* kind, BINDPTR* found) {
  if (info != nullptr) *info = nullptr;
  if (kind != nullptr) *kind = DESCKIND_NONE;
  if (found != nullptr) *found = {};
  return name != nullptr && info != nullptr && kind != nullptr && found != nullptr;
}
bool begin(const OLECHAR* name, ITypeInfo** info, ITypeComp** compiler) {
  if (info != nullptr) *info = nullptr;
  if (compiler != nullptr) *compiler = nullptr;
  return name != nullptr && info != nullptr && compiler != nullptr;
}

class TypeBinder final : public Counted<ITypeComp> {
 public:
  explicit TypeBinder(ITypeInfo& type) : type_(&type) {}

  HRESULT Bind(OLECHAR* name, ULONG, WORD flags, ITypeInfo** info, DESCKIND* kind,
               BINDPTR* found) override {
    if (!begin(name, info, kind, found)) return E_INVALIDARG;
    MEMBERID member = MEMBERID_NIL;
    if (FAILED(type_->GetIDsOfNames(&name, 1, &member))) return S_OK;
    HRESULT status = type_->GetVarDesc(static_cast<UINT>(member), &found->lpvardesc);
    *kind = DESCKIND_VARDESC;
    if (status == TYPE_E_ELEMENTNOTFOUND) {
      status = find_function(member, flags, &found->lpfuncdesc);
      *kind = DESCKIND_FUNCDESC;
    }
    if (FAILED(status)) {
      *kind = DESCKIND_NONE;
    } else {
      type_.copy_to(info);
    }
    return status;
  }
  HRESULT BindType(OLECHAR* name, ULONG, ITypeInfo** info, ITypeComp** compiler) override {
    return begin(name, info, compiler) ? S_OK : E_INVALIDARG;
  }

 private:
  HRESULT find_function(MEMBERID member, WORD flags, FUNCDESC** found) const {
    for (UINT at = 0;; ++at) {
      const HRESULT status = type_->GetFuncDesc(at, found);
      if (FAILED(status)) return status == TYPE_E_ELEMENTNOTFOUND ? TYPE_E_TYPEMISMATCH : status;
      const bool wanted = flags == 0 || ((*found)->invkind & flags) != 0;
      if ((*found)->memid == member && wanted) return S_OK;
      type_->ReleaseFuncDesc(*found);
      *found = nullptr;
    }
  }

  ComPtr<ITypeInfo> type_;
};

class LibraryBinder final : public Counted<ITypeComp> {
 public:
  explicit LibraryBinder(ITypeLib& library) : library_(&library) {}

  HRESULT Bind(OLECHAR* name, ULONG hash, WORD flags, ITypeInfo** info, DESCKIND* kind,
               BINDPTR* found) override {
    if (!begin(name, info, kind, found)) return E_INVALIDARG;
    for (UINT at = 0; at < library_->GetTypeInfoCount(); ++at) {
      TYPEKIND type = TKIND_ALIAS;
      ComPtr<ITypeInfo> enumeration;
      ComPtr<ITypeComp> values;
      if (FAILED(library_->GetTypeInfoType(at, &type)) || type != TKIND_ENUM) continue;
      HRESULT status = library_->GetTypeInfo(at, enumeration.out());
      if (SUCCEEDED(status)) status = enumeration->GetTypeComp(values.out());
      if (SUCCEEDED(status) && is_called(at, name)) {
        *kind = DESCKIND_TYPECOMP;
        values.copy_to(&found->lptcomp);
        return S_OK;
      }
      if (SUCCEEDED(status)) status = values->Bind(name, hash, flags, info, kind, found);
      if (FAILED(status) || *kind != DESCKIND_NONE) return status;
    }
    return S_OK;
  }
  HRESULT BindType(OLECHAR* name, ULONG, ITypeInfo** info, ITypeComp** compiler) override {
    if (!begin(name, info, compiler)) return E_INVALIDARG;
    for (UINT at = 0; at < library_->GetTypeInfoCount(); ++at) {
      if (!is_called(at, name)) continue;
      ComPtr<ITypeInfo> type;
      HRESULT status = library_->GetTypeInfo(at, type.out());
      if (SUCCEEDED(status)) status = type->GetTypeComp(compiler);
      if (SUCCEEDED(status)) type.copy_to(info);
      return status;
    }
    return S_OK;
  }

 private:
  [[nodiscard]] bool is_called(UINT type, const OLECHAR* name) const {
    Bstr text;
    return SUCCEEDED(library_->GetDocumentation(static_cast<INT>(type), text.out(), nullptr,
                                                nullptr, nullptr)) &&
           same_name(text.view(), name);
  }

  ComPtr<ITypeLib> library_;
};

template <class Binder, class Source>
HRESULT create(Source& source, ITypeComp** compiler) {
  if (compiler == nullptr) return E_POINTER;
  *compiler = nullptr;
  return checked([&] {
    *compiler = new Binder(source);
    return S_OK;
  });
}

}  // namespace

HRESULT create_type_comp(ITypeInfo& type, ITypeComp** compiler) {
  return create<TypeBinder>(type, compiler);
}
HRESULT create_type_comp(ITypeLib& library, ITypeComp** compiler) {
  return create<LibraryBinder>(library, compiler);
}

}  // namespace tallowbrook::platform
