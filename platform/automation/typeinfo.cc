// One library object owns one object per type. Type references (HREFTYPE) are indices into the
// library; behind its own types stand IUnknown and IDispatch, which the tables do not list.
#include "platform/automation/typeinfo.h"

#include <dlfcn.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <memory>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/automation/invoke.h"
#include "platform/com/activation.h"
#include "platform/com/checked.h"
#include "platform/com/counted.h"

namespace tallowbrook::platform {
namespace {

constexpr std::size_t kUnknownSlots = 3;
constexpr std::size_t kDispatchSlots = 7;
constexpr HRESULT kNoSuchType = TYPE_E_ELEMENTNOTFOUND;

constexpr InterfaceInfo kUnknownTable{IUnknown::kIid,         u"IUnknown", u"", {},
                                      InterfaceKind::kCustom, nullptr};
constexpr InterfaceInfo kDispatchTable{IDispatch::kIid,        u"IDispatch",  u"", {},
                                       InterfaceKind::kCustom, &kUnknownTable};

void give_text(const char16_t* text, BSTR* target) {
  if (target != nullptr) *target = Bstr(text).detach();
}

// Null texts stand for a type or member that is not there.
HRESULT give_documentation(const char16_t* name, const char16_t* help, BSTR* name_out,
                           BSTR* help_out, DWORD* context, BSTR* help_file) {
  for (BSTR* out : {name_out, help_out, help_file}) {
    if (out != nullptr) *out = nullptr;
  }
  if (context != nullptr) *context = 0;
  if (name == nullptr) return kNoSuchType;
  return checked([&] {
    Bstr name_text(name);
    give_text(help, help_out);
    if (name_out != nullptr) *name_out = name_text.detach();
    return S_OK;
  });
}

class Library;

using LoadedModule = std::unique_ptr<void, int (*)(void*)>;

// What one description points at, freed with it.
struct FunctionBlock : FUNCDESC {
  std::vector<ELEMDESC> elements;
  std::deque<TYPEDESC> pointed;
  std::deque<PARAMDESCEX> defaults;
  std::deque<Variant> values;
};
struct ConstantBlock : VARDESC {
  VARIANT value;
};

class TypeInfo final : public ITypeInfo {
 public:
  TypeInfo(Library& library, UINT index, const EnumInfo& table);
  TypeInfo(Library& library, UINT index, const InterfaceInfo& table);
  TypeInfo(Library& library, UINT index, const CoclassInfo& table);

  HRESULT QueryInterface(REFIID iid, void** object) override;
  ULONG AddRef() override;
  ULONG Release() override;

  HRESULT GetTypeAttr(TYPEATTR** attributes) override;
  HRESULT GetTypeComp(ITypeComp** compiler) override { return create_type_comp(*this, compiler); }
  HRESULT GetFuncDesc(UINT index, FUNCDESC** description) override;
  HRESULT GetVarDesc(UINT index, VARDESC** description) override;
  HRESULT GetNames(MEMBERID member, BSTR* names, UINT room, UINT* count) override;
  HRESULT GetRefTypeOfImplType(UINT index, HREFTYPE* type) override;
  HRESULT GetImplTypeFlags(UINT index, INT* flags) override;
  HRESULT GetIDsOfNames(OLECHAR** names, UINT count, MEMBERID* ids) override;
  HRESULT Invoke(void* instance, MEMBERID member, WORD flags, DISPPARAMS* arguments,
                 VARIANT* result, EXCEPINFO* exception, UINT* argument_error) override;
  HRESULT GetDocumentation(MEMBERID member, BSTR* name, BSTR* help, DWORD* context,
                           BSTR* help_file) override;
  HRESULT GetDllEntry(MEMBERID, INVOKEKIND, BSTR* library, BSTR* name, WORD* ordinal) override {
    if (ordinal != nullptr) *ordinal = 0;
    refuse(library);
    return refuse(name);
  }
  HRESULT GetRefTypeInfo(HREFTYPE type, ITypeInfo** info) override;
  HRESULT AddressOfMember(MEMBERID, INVOKEKIND, void** address) override { return refuse(address); }
  HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) override;
  HRESULT GetMops(MEMBERID, BSTR* mops) override { return refuse(mops); }
  HRESULT GetContainingTypeLib(ITypeLib** library, UINT* index) override;
  void ReleaseTypeAttr(TYPEATTR* attributes) override { delete attributes; }
  void ReleaseFuncDesc(FUNCDESC* description) override {
    delete static_cast<FunctionBlock*>(description);
  }
  void ReleaseVarDesc(VARDESC* description) override {
    delete static_cast<ConstantBlock*>(description);
  }

  [[nodiscard]] TYPEKIND kind() const;
  [[nodiscard]] const GUID& guid() const;
  [[nodiscard]] const char16_t* name() const;
  [[nodiscard]] const char16_t* help() const;
  [[nodiscard]] const EnumInfo* enumeration() const { return enum_; }
  // The id of the member of this name, MEMBERID_NIL for the type's own; false for neither.
  [[nodiscard]] bool find_name(std::u16string_view wanted, MEMBERID* member) const;

 private:
  template <class T>
  static HRESULT refuse(T** target) {
    if (target != nullptr) *target = nullptr;
    return E_NOTIMPL;
  }
  [[nodiscard]] std::size_t implemented_count() const;
  [[nodiscard]] static std::size_t first_slot(const InterfaceInfo& table);
  void describe_type(const TypeRef& type, VARTYPE vt, bool result, FunctionBlock& block,
                     TYPEDESC* target) const;
  void describe_parameters(const FoundFunction& found, FunctionBlock& block) const;

  Library& library_;
  UINT index_;
  const EnumInfo* enum_ = nullptr;
  const InterfaceInfo* interface_ = nullptr;
  const CoclassInfo* coclass_ = nullptr;
  std::vector<FoundFunction> functions_;
};

class Library final : public Counted<ITypeLib> {
 public:
  Library(const LibraryInfo& table, void (*in_use)(bool), LoadedModule&& module)
      : module_(std::move(module)), table_(table), in_use_(in_use) {
    for (const EnumInfo* type : table.enumerations) add(*type);
    for (const InterfaceInfo* type : table.interfaces) add(*type);
    for (const CoclassInfo* type : table.coclasses) add(*type);
    count_ = types_.size();
    add(kUnknownTable);
    add(kDispatchTable);
  }

  ULONG AddRef() override {
    const ULONG count = Counted::AddRef();
    if (count == 2 && in_use_ != nullptr) in_use_(true);
    return count;
  }
  ULONG Release() override {
    auto* const in_use = in_use_;
    const ULONG count = Counted::Release();
    if (count == 1 && in_use != nullptr) in_use(false);
    return count;
  }

  UINT GetTypeInfoCount() override { return static_cast<UINT>(count_); }
  HRESULT GetTypeInfo(UINT index, ITypeInfo** info) override {
    if (info == nullptr) return E_POINTER;
    *info = nullptr;
    if (index >= count_) return kNoSuchType;
    return give(index, info);
  }
  HRESULT GetTypeInfoType(UINT index, TYPEKIND* kind) override {
    if (kind == nullptr) return E_POINTER;
    *kind = TKIND_ENUM;
    if (index >= count_) return kNoSuchType;
    *kind = types_[index]->kind();
    return S_OK;
  }
  HRESULT GetTypeInfoOfGuid(REFIID guid, ITypeInfo** info) override {
    if (info == nullptr) return E_POINTER;
    *info = nullptr;
    const std::size_t index = index_of(guid);
    return index >= count_ ? kNoSuchType : give(index, info);
  }
  HRESULT GetLibAttr(TLIBATTR** attributes) override {
    if (attributes == nullptr) return E_POINTER;
    *attributes = new (std::nothrow)
        TLIBATTR{table_.libid, table_.lcid, SYS_WIN64, table_.major, table_.minor, 0};
    return *attributes == nullptr ? E_OUTOFMEMORY : S_OK;
  }
  HRESULT GetTypeComp(ITypeComp** compiler) override { return create_type_comp(*this, compiler); }
  HRESULT GetDocumentation(INT index, BSTR* name, BSTR* help, DWORD* context,
                           BSTR* help_file) override {
    if (index == -1) {
      return give_documentation(table_.name, table_.help, name, help, context, help_file);
    }
    const bool known = index >= 0 && static_cast<std::size_t>(index) < count_;
    const TypeInfo* const type = known ? types_[static_cast<std::size_t>(index)].get() : nullptr;
    return give_documentation(known ? type->name() : nullptr, known ? type->help() : nullptr, name,
                              help, context, help_file);
  }
  HRESULT IsName(OLECHAR* name, ULONG, BOOL* is_name) override {
    if (name == nullptr || is_name == nullptr) return E_POINTER;
    *is_name = FALSE;
    MEMBERID member = MEMBERID_NIL;
    for (std::size_t at = 0; at < count_; ++at) {
      if (types_[at]->find_name(name, &member)) *is_name = TRUE;
    }
    return S_OK;
  }
  HRESULT FindName(OLECHAR* name, ULONG, ITypeInfo** infos, MEMBERID* members,
                   USHORT* found) override {
    if (name == nullptr || infos == nullptr || members == nullptr || found == nullptr) {
      return E_POINTER;
    }
    const USHORT room = *found;
    *found = 0;
    for (std::size_t at = 0; at < count_ && *found < room; ++at) {
      if (!types_[at]->find_name(name, &members[*found])) continue;
      give(at, &infos[*found]);
      ++*found;
    }
    return S_OK;
  }
  void ReleaseTLibAttr(TLIBATTR* attributes) override { delete attributes; }

  // `index` may also name one of the two types behind the library's own.
  HRESULT give(std::size_t index, ITypeInfo** info) {
    *info = nullptr;
    if (index >= types_.size()) return kNoSuchType;
    *info = types_[index].get();
    AddRef();
    return S_OK;
  }
  // The place of a type, or the count of all when there is none.
  [[nodiscard]] std::size_t index_of(const GUID& guid) const {
    for (std::size_t at = 0; at < types_.size(); ++at) {
      if (types_[at]->guid() == guid) return at;
    }
    return types_.size();
  }
  [[nodiscard]] std::size_t index_of(const EnumInfo* enumeration) const {
    for (std::size_t at = 0; at < types_.size(); ++at) {
      if (types_[at]->enumeration() == enumeration) return at;
    }
    return types_.size();
  }
  [[nodiscard]] std::size_t size() const { return types_.size(); }
  [[nodiscard]] const LibraryInfo& table() const { return table_; }

 private:
  template <class Table>
  void add(const Table& table) {
    const auto index = static_cast<UINT>(types_.size());
    types_.push_back(std::make_unique<TypeInfo>(*this, index, table));
  }

  LoadedModule module_;  // goes last
  const LibraryInfo& table_;
  void (*in_use_)(bool);
  std::vector<std::unique_ptr<TypeInfo>> types_;
  std::size_t count_ = 0;
};

TypeInfo::TypeInfo(Library& library, UINT index, const EnumInfo& table)
    : library_(library), index_(index), enum_(&table) {}
TypeInfo::TypeInfo(Library& library, UINT index, const CoclassInfo& table)
    : library_(library), index_(index), coclass_(&table) {}
TypeInfo::TypeInfo(Library& library, UINT index, const InterfaceInfo& table)
    : library_(library), index_(index), interface_(&table) {
  for (const MemberInfo& member : table.members) {
    for (const FunctionInfo& function : member.functions) {
      if (function.kind != InvokeKind::kNone) functions_.push_back({&member, &function});
    }
  }
}

HRESULT TypeInfo::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (!has_identity<ITypeInfo>(iid)) return E_NOINTERFACE;
  *object = static_cast<ITypeInfo*>(this);
  AddRef();
  return S_OK;
}
ULONG TypeInfo::AddRef() { return library_.AddRef(); }
ULONG TypeInfo::Release() { return library_.Release(); }

TYPEKIND TypeInfo::kind() const {
  if (enum_ != nullptr) return TKIND_ENUM;
  if (coclass_ != nullptr) return TKIND_COCLASS;
  return interface_->kind == InterfaceKind::kCustom ? TKIND_INTERFACE : TKIND_DISPATCH;
}
const GUID& TypeInfo::guid() const {
  return enum_ != nullptr ? enum_->guid : coclass_ != nullptr ? coclass_->clsid : interface_->iid;
}
const char16_t* TypeInfo::name() const {
  return enum_ != nullptr ? enum_->name : coclass_ != nullptr ? coclass_->name : interface_->name;
}
const char16_t* TypeInfo::help() const {
  return enum_ != nullptr ? enum_->help : coclass_ != nullptr ? coclass_->help : interface_->help;
}

bool TypeInfo::find_name(std::u16string_view wanted, MEMBERID* member) const {
  *member = MEMBERID_NIL;
  if (same_name(name(), wanted)) return true;
  if (interface_ != nullptr) {
    const MemberInfo* const found = find_member(*interface_, wanted);
    if (found != nullptr) *member = found->id;
    return found != nullptr;
  }
  if (enum_ == nullptr) return false;
  for (std::size_t at = 0; at < enum_->values.size(); ++at) {
    if (!same_name(enum_->values[at].name, wanted)) continue;
    *member = static_cast<MEMBERID>(at);
    return true;
  }
  return false;
}

std::size_t TypeInfo::implemented_count() const {
  if (enum_ != nullptr || guid() == IUnknown::kIid) return 0;
  if (interface_ != nullptr) return 1;
  std::size_t count = 0;
  while (count < coclass_->implements.size() && coclass_->implements[count].interface != nullptr) {
    ++count;
  }
  return count;
}

std::size_t TypeInfo::first_slot(const InterfaceInfo& table) {
  std::size_t slots = table.kind == InterfaceKind::kCustom ? kUnknownSlots : kDispatchSlots;
  for (const InterfaceInfo* at = table.base; at != nullptr; at = at->base) {
    for (const MemberInfo& member : at->members) {
      slots += member.functions[1].kind == InvokeKind::kNone ? 1 : 2;
    }
  }
  return slots;
}

HRESULT TypeInfo::GetTypeAttr(TYPEATTR** attributes) {
  if (attributes == nullptr) return E_POINTER;
  auto* made = new (std::nothrow) TYPEATTR{};
  *attributes = made;
  if (made == nullptr) return E_OUTOFMEMORY;
  made->guid = guid();
  made->lcid = library_.table().lcid;
  made->memidConstructor = made->memidDestructor = MEMBERID_NIL;
  made->typekind = kind();
  made->cbSizeInstance = enum_ != nullptr ? sizeof(LONG) : sizeof(void*);
  made->cbAlignment = static_cast<WORD>(made->cbSizeInstance);
  made->cFuncs = static_cast<WORD>(functions_.size());
  made->cVars = static_cast<WORD>(enum_ != nullptr ? enum_->values.size() : 0);
  made->cImplTypes = static_cast<WORD>(implemented_count());
  if (coclass_ != nullptr) made->wTypeFlags = TYPEFLAG_FCANCREATE;
  if (interface_ != nullptr) {
    const bool dual = interface_->kind == InterfaceKind::kDual;
    made->cbSizeVft = static_cast<WORD>((first_slot(*interface_) + (dual ? functions_.size() : 0)) *
                                        sizeof(void*));
    if (kind() == TKIND_DISPATCH) made->wTypeFlags = TYPEFLAG_FDISPATCHABLE;
    if (dual) made->wTypeFlags |= TYPEFLAG_FDUAL | TYPEFLAG_FOLEAUTOMATION;
  }
  made->wMajorVerNum = library_.table().major;
  made->wMinorVerNum = library_.table().minor;
  return S_OK;
}

// An enumeration or an interface of this library is a reference to it; other interfaces are plain
// VT_DISPATCH or VT_UNKNOWN. A pointer stands before all but a result's outermost type.
void TypeInfo::describe_type(const TypeRef& type, VARTYPE vt, bool result, FunctionBlock& block,
                             TYPEDESC* target) const {
  TYPEDESC inner{};
  inner.vt = vt;
  const auto point = [&] {
    block.pointed.push_back(inner);
    inner = TYPEDESC{};
    inner.lptdesc = &block.pointed.back();
    inner.vt = VT_PTR;
  };
  const std::size_t index = type.iid != nullptr           ? library_.index_of(*type.iid)
                            : type.enumeration != nullptr ? library_.index_of(type.enumeration)
                                                          : library_.size();
  if (index < library_.GetTypeInfoCount()) {
    inner.vt = VT_USERDEFINED;
    inner.hreftype = static_cast<HREFTYPE>(index);
    if (type.iid != nullptr) point();
  }
  if (type.pointer && !result) point();
  *target = inner;
}

void TypeInfo::describe_parameters(const FoundFunction& found, FunctionBlock& block) const {
  const std::size_t count = parameter_count(*found.function);
  block.elements.resize(count);
  for (std::size_t at = 0; at < count; ++at) {
    ELEMDESC& element = block.elements[at];
    describe_type(found.function->types[at], parameter_type(found, at), false, block,
                  &element.tdesc);
    const WORD flags = parameter_flags(found, at);
    element.paramdesc.wParamFlags = flags;
    if ((flags & kParamOptional) != 0) ++block.cParamsOpt;
    if ((flags & kParamHasDefault) == 0) continue;
    const DefaultValue& standard = found.member->params[at].standard;
    Variant value = standard.type == VT_BSTR ? Variant(std::u16string_view(standard.text))
                                             : Variant(standard.number);
    const VARTYPE type = parameter_type(found, at);
    if (type != VT_VARIANT) VariantChangeType(&value, &value, 0, type);
    block.values.push_back(std::move(value));
    block.defaults.push_back({sizeof(PARAMDESCEX), block.values.back()});
    element.paramdesc.pparamdescex = &block.defaults.back();
  }
}

HRESULT TypeInfo::GetFuncDesc(UINT index, FUNCDESC** description) {
  if (description == nullptr) return E_POINTER;
  *description = nullptr;
  if (index >= functions_.size()) return kNoSuchType;
  return checked([&] {
    const FoundFunction& found = functions_[index];
    auto block = std::make_unique<FunctionBlock>();
    block->memid = found.member->id;
    block->funckind = FUNC_DISPATCH;
    block->invkind = static_cast<INVOKEKIND>(found.function->kind);
    block->callconv = CC_STDCALL;
    block->wFuncFlags = found.member->flags;
    if (interface_->kind != InterfaceKind::kDispatch) {
      block->oVft = static_cast<SHORT>((first_slot(*interface_) + index) * sizeof(void*));
    }
    describe_parameters(found, *block);
    block->cParams = static_cast<SHORT>(block->elements.size());
    block->lprgelemdescParam = block->elements.data();
    block->elemdescFunc.tdesc.vt = VT_VOID;
    if (found.function->returns_value) {
      const std::size_t last = block->elements.size();
      describe_type(found.function->types[last], parameter_type(found, last), true, *block,
                    &block->elemdescFunc.tdesc);
    }
    *description = block.release();
    return S_OK;
  });
}

HRESULT TypeInfo::GetVarDesc(UINT index, VARDESC** description) {
  if (description == nullptr) return E_POINTER;
  *description = nullptr;
  if (enum_ == nullptr || index >= enum_->values.size()) return kNoSuchType;
  auto* block = new (std::nothrow) ConstantBlock{};
  if (block == nullptr) return E_OUTOFMEMORY;
  block->memid = static_cast<MEMBERID>(index);
  block->varkind = VAR_CONST;
  block->elemdescVar.tdesc.vt = VT_I4;
  block->value.vt = VT_I4;
  block->value.lVal = enum_->values[index].value;
  block->lpvarValue = &block->value;
  *description = block;
  return S_OK;
}

HRESULT TypeInfo::GetNames(MEMBERID member, BSTR* names, UINT room, UINT* count) {
  if (names == nullptr || count == nullptr) return E_POINTER;
  *count = 0;
  std::fill_n(names, room, nullptr);
  const char16_t* texts[kMaxParams + 1] = {};
  UINT known = 0;
  if (enum_ != nullptr) {
    if (member < 0 || static_cast<std::size_t>(member) >= enum_->values.size()) return kNoSuchType;
    texts[known++] = enum_->values[static_cast<std::size_t>(member)].name;
  } else {
    const MemberInfo* const found =
        interface_ != nullptr ? find_member(*interface_, member) : nullptr;
    if (found == nullptr) return kNoSuchType;
    texts[known++] = found->name;
    for (const ParamMark& mark : found->params) {
      if (mark.name != nullptr) texts[known++] = mark.name;
    }
  }
  for (UINT at = 0; at < known && at < room; ++at) {
    names[at] = SysAllocString(texts[at]);
    if (names[at] == nullptr) {
      while (at > 0) SysFreeString(std::exchange(names[--at], nullptr));
      return E_OUTOFMEMORY;
    }
  }
  *count = std::min(known, room);
  return S_OK;
}

HRESULT TypeInfo::GetRefTypeOfImplType(UINT index, HREFTYPE* type) {
  if (type == nullptr) return E_POINTER;
  *type = 0;
  if (index >= implemented_count()) return kNoSuchType;
  const InterfaceInfo* target = nullptr;
  if (coclass_ != nullptr) {
    target = coclass_->implements[index].interface;
  } else if (interface_->base != nullptr) {
    target = interface_->base;
  } else {
    target = interface_->kind == InterfaceKind::kCustom ? &kUnknownTable : &kDispatchTable;
  }
  const std::size_t found = library_.index_of(target->iid);
  if (found >= library_.size()) return kNoSuchType;
  *type = static_cast<HREFTYPE>(found);
  return S_OK;
}

HRESULT TypeInfo::GetImplTypeFlags(UINT index, INT* flags) {
  if (flags == nullptr) return E_POINTER;
  *flags = 0;
  if (index >= implemented_count()) return kNoSuchType;
  if (coclass_ != nullptr) *flags = coclass_->implements[index].flags;
  return S_OK;
}

HRESULT TypeInfo::GetIDsOfNames(OLECHAR** names, UINT count, MEMBERID* ids) {
  if (interface_ != nullptr) return ids_of_names(*interface_, names, count, ids);
  if (ids == nullptr || count == 0) return E_INVALIDARG;
  std::fill(ids, ids + count, DISPID_UNKNOWN);
  if (names == nullptr || names[0] == nullptr) return E_INVALIDARG;
  if (enum_ == nullptr || !find_name(names[0], ids)) return DISP_E_UNKNOWNNAME;
  return count == 1 && ids[0] != MEMBERID_NIL ? S_OK : DISP_E_UNKNOWNNAME;
}

HRESULT TypeInfo::Invoke(void* instance, MEMBERID member, WORD flags, DISPPARAMS* arguments,
                         VARIANT* result, EXCEPINFO* exception, UINT* argument_error) {
  if (interface_ == nullptr) {
    if (result != nullptr) VariantInit(result);
    if (exception != nullptr) *exception = EXCEPINFO{};
    return DISP_E_MEMBERNOTFOUND;
  }
  return invoke_member(*interface_, instance, member, flags, arguments, result, exception,
                       argument_error);
}

HRESULT TypeInfo::GetDocumentation(MEMBERID member, BSTR* name_out, BSTR* help_out, DWORD* context,
                                   BSTR* help_file) {
  const char16_t* found_name = nullptr;
  const char16_t* found_help = nullptr;
  if (enum_ != nullptr && member >= 0 && static_cast<std::size_t>(member) < enum_->values.size()) {
    found_name = enum_->values[static_cast<std::size_t>(member)].name;
    found_help = enum_->values[static_cast<std::size_t>(member)].help;
  } else if (const MemberInfo* found =
                 interface_ != nullptr ? find_member(*interface_, member) : nullptr) {
    found_name = found->name;
    found_help = found->help;
  } else if (member == MEMBERID_NIL) {
    found_name = name();
    found_help = help();
  }
  return give_documentation(found_name, found_help, name_out, help_out, context, help_file);
}

HRESULT TypeInfo::GetRefTypeInfo(HREFTYPE type, ITypeInfo** info) {
  if (info == nullptr) return E_POINTER;
  return library_.give(type, info);
}

HRESULT TypeInfo::CreateInstance(IUnknown* outer, REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (coclass_ == nullptr) return E_NOTIMPL;
  return CoCreateInstance(coclass_->clsid, outer, CLSCTX_INPROC_SERVER, iid, object);
}

HRESULT TypeInfo::GetContainingTypeLib(ITypeLib** library, UINT* index) {
  if (library == nullptr) return E_POINTER;
  *library = &library_;
  library_.AddRef();
  if (index != nullptr) *index = index_;
  return S_OK;
}

}  // namespace

HRESULT create_type_library(const LibraryInfo& table, ITypeLib** library,
                            const TypeLibraryOwner& owner) {
  LoadedModule module(owner.module, &dlclose);
  if (library == nullptr) return E_POINTER;
  *library = nullptr;
  return checked([&] {
    *library = new Library(table, owner.in_use, std::move(module));
    return S_OK;
  });
}

}  // namespace tallowbrook::platform
