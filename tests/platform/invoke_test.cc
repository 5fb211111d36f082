// A small dual interface, its table, and calls through IDispatch in every form.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/automation/describe.h"
#include "platform/automation/invoke.h"
#include "platform/automation/late_bound.h"
#include "platform/automation/typeinfo.h"
#include "platform/com/counted.h"

enum ProbeKind : LONG { pkNone, pkSome = 5 };

struct IProbe : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{0x1F0E1D2C, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};

  virtual HRESULT get_Item(VARIANT index, VARIANT* value) = 0;
  virtual HRESULT get_Name(BSTR* name) = 0;
  virtual HRESULT put_Name(BSTR name) = 0;
  virtual HRESULT get_Child(IProbe** child) = 0;
  virtual HRESULT putref_Child(IProbe* child) = 0;
  virtual HRESULT Join(BSTR a, const VARIANT& b, VARIANT_BOOL quote, BSTR* result) = 0;
  virtual HRESULT Split(BSTR text, BSTR* head, LONG* count) = 0;
  virtual HRESULT Fail(SHORT how) = 0;
  virtual HRESULT get_Kind(ProbeKind* kind) = 0;
  virtual HRESULT get_Self(IProbe** self) = 0;
  virtual HRESULT put_Item(VARIANT index, BSTR value) = 0;
};

namespace tallowbrook::platform {
template <>
struct DescribeEnum<ProbeKind> {
  static constexpr EnumValue values[] = {{u"pkNone", 0}, {u"pkSome", 5, u"some"}};
  static constexpr EnumInfo info{{0xE, 0, 0, {}}, u"ProbeKind", u"kinds", values};
};
template <>
struct Describe<IProbe> {
  static constexpr auto members = std::array{
      getter<&IProbe::get_Item>(0, u"Item", names(u"Index")),
      property<&IProbe::get_Name, &IProbe::put_Name>(1, u"Name", u"the name"),
      property<&IProbe::get_Child, &IProbe::putref_Child>(2, u"Child"),
      method<&IProbe::Join>(
          3, u"Join", names(u"First", optional(u"Second"), with_default(u"Quote", VARIANT_TRUE))),
      method<&IProbe::Split>(4, u"Split", names(u"Text", out(u"Head"))),
      method<&IProbe::Fail>(5, u"Fail", names(typed(u"How", VT_I2))),
      getter<&IProbe::get_Kind>(6, u"Kind"),
      getter<&IProbe::get_Self>(7, u"Self"),
      setter<&IProbe::put_Item>(0, u"Item", names(u"Index")),
  };
};
}  // namespace tallowbrook::platform

using namespace tallowbrook::platform;

namespace {

constexpr InterfaceInfo kProbe = interface_info<IProbe>(u"IProbe", u"IProbe Interface");
constexpr CoclassInfo kProbeClass{
    {0xC, 0, 0, {}}, u"Probe", u"Probe Class", {{{&kProbe, kImplementsDefault}}}};
constexpr const EnumInfo* kEnums[] = {&DescribeEnum<ProbeKind>::info};
constexpr const InterfaceInfo* kInterfaces[] = {&kProbe};
constexpr const CoclassInfo* kClasses[] = {&kProbeClass};
constexpr LibraryInfo kLibrary{{0xA, 0, 0, {}},  1,      0,           0,       u"ProbeLib",
                               u"Probe Library", kEnums, kInterfaces, kClasses};

class Probe final : public Counted<IProbe> {
 public:
  HRESULT GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT GetIDsOfNames(REFIID, OLECHAR** names, UINT count, LCID, DISPID* ids) override {
    return ids_of_names(kProbe, names, count, ids);
  }
  HRESULT Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* given, VARIANT* result,
                 EXCEPINFO* exception, UINT* error) override {
    return invoke_member(kProbe, static_cast<IProbe*>(this), id, flags, given, result, exception,
                         error);
  }

  HRESULT get_Item(VARIANT index, VARIANT* value) override {
    Variant(u"item " + std::u16string(index.vt == VT_BSTR ? view_of(index.bstrVal) : u"?"))
        .detach_to(value);
    return S_OK;
  }
  HRESULT get_Name(BSTR* name) override {
    *name = Bstr(name_).detach();
    return S_OK;
  }
  HRESULT put_Name(BSTR name) override {
    name_ = view_of(name);
    return S_OK;
  }
  HRESULT get_Child(IProbe** child) override { return child_.copy_to(child); }
  HRESULT putref_Child(IProbe* child) override {
    child_ = ComPtr<IProbe>(child);
    return S_OK;
  }
  HRESULT Join(BSTR a, const VARIANT& b, VARIANT_BOOL quote, BSTR* result) override {
    if (changed_by_join != nullptr) *changed_by_join = Variant(u"another text");
    std::u16string text(view_of(a));
    text += b.vt == VT_ERROR ? u"-" : b.vt == VT_BSTR ? view_of(b.bstrVal) : u"?";
    *result = Bstr(quote != VARIANT_FALSE ? u"'" + text + u"'" : text).detach();
    return S_OK;
  }
  HRESULT Split(BSTR text, BSTR* head, LONG* count) override {
    *head = Bstr(view_of(text).substr(0, 1)).detach();
    *count = static_cast<LONG>(SysStringLen(text));
    return S_OK;
  }
  HRESULT Fail(SHORT how) override {
    if (how == 0) return E_ABORT;
    ComPtr<ICreateErrorInfo> error;
    CreateErrorInfo(error.out());
    error->SetDescription(u"it failed");
    SetErrorInfo(0, error.query<IErrorInfo>().get());
    return E_INVALIDARG;
  }
  HRESULT get_Kind(ProbeKind* kind) override {
    *kind = pkSome;
    return S_OK;
  }
  HRESULT get_Self(IProbe** self) override {
    ++self_gets;
    return ComPtr<IProbe>(this).copy_to(self);
  }
  HRESULT put_Item(VARIANT, BSTR value) override { return put_Name(value); }

  Variant* changed_by_join = nullptr;
  int self_gets = 0;

 private:
  std::u16string name_ = u"probe";
  ComPtr<IProbe> child_;
};

struct InvokeTest : testing::Test {
  ComPtr<Probe> probe = ComPtr<Probe>::adopt(new Probe);
  Variant result;
  UINT place = 99;

  // `written` stands in call order; the first `named` of rgvarg are its last ones.
  HRESULT invoke(DISPID id, WORD flags, std::vector<Variant> written,
                 std::vector<DISPID> named = {}) {
    std::vector<VARIANT> given(written.rbegin(), written.rend());
    DISPPARAMS params{given.data(), named.data(), static_cast<UINT>(given.size()),
                      static_cast<UINT>(named.size())};
    result.clear();
    place = 99;
    return probe->Invoke(id, GUID_NULL, 0, flags, &params, &result, nullptr, &place);
  }
};

// A missing trailing argument is "-" to Join; `quote` is true unless it is given.
TEST_F(InvokeTest, BindsArguments) {
  Variant inner(u"in");
  const Variant a(u"a");
  const struct {
    std::vector<Variant> written;
    std::vector<DISPID> named;
    std::u16string result;
  } cases[] = {
      {{a}, {}, u"'a-'"},
      {{Variant(LONG{12}), Variant(u"b"), Variant(LONG{0})}, {}, u"12b"},
      {{a, Variant::missing(), Variant::missing()}, {}, u"'a-'"},
      {{a, Variant::boolean(false)}, {2}, u"a-"},
      {{a, Variant::by_reference(&inner)}, {}, u"'ain'"},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(invoke(3, DISPATCH_METHOD | DISPATCH_PROPERTYGET, c.written, c.named), S_OK);
    EXPECT_EQ(result.text(), c.result);
  }
  // What a reference names may change during the call.
  probe->changed_by_join = &inner;
  ASSERT_EQ(invoke(3, DISPATCH_METHOD, {Variant::by_reference(&inner), Variant(u"")}), S_OK);
  EXPECT_EQ(result.text(), u"'in'");
}

TEST_F(InvokeTest, RefusesArguments) {
  Variant null;
  null.vt = VT_NULL;
  const Variant a(u"a");
  EXPECT_EQ(invoke(77, DISPATCH_METHOD, {}), DISP_E_MEMBERNOTFOUND);
  EXPECT_EQ(invoke(3, DISPATCH_PROPERTYPUT, {a}), DISP_E_MEMBERNOTFOUND);
  EXPECT_EQ(invoke(3, DISPATCH_METHOD, {}), DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(invoke(3, DISPATCH_METHOD, {a, a, a, a}), DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(invoke(1, DISPATCH_PROPERTYGET, {a}), DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(invoke(3, DISPATCH_METHOD, {Variant::missing(), a}), DISP_E_PARAMNOTOPTIONAL);
  EXPECT_EQ(place, 1U);
  EXPECT_EQ(invoke(3, DISPATCH_METHOD, {null, a}), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(place, 1U);
  EXPECT_EQ(invoke(5, DISPATCH_METHOD, {Variant(LONG{40000})}), DISP_E_OVERFLOW);
  EXPECT_EQ(place, 0U);
  EXPECT_EQ(invoke(3, DISPATCH_METHOD, {a, a}, {7}), DISP_E_PARAMNOTFOUND);
  EXPECT_EQ(invoke(3, DISPATCH_METHOD, {a, a}, {0}), DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(invoke(6, DISPATCH_PROPERTYGET, {a}, {0}), DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(invoke(2, DISPATCH_PROPERTYPUT, {a}, {DISPID_PROPERTYPUT}), DISP_E_TYPEMISMATCH);
}

TEST_F(InvokeTest, PutsAndForwards) {
  const auto child = ComPtr<Probe>::adopt(new Probe);
  EXPECT_EQ(put(probe.get(), u"name", LONG{7}).status, S_OK);
  EXPECT_EQ(get(probe.get(), u"NAME").value.text(), u"7");
  EXPECT_EQ(get(probe.get(), u"Child", u"x").status, DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(put(probe.get(), u"Child", static_cast<IDispatch*>(child.get())).status, S_OK);
  EXPECT_EQ(get(probe.get(), u"Child", u"x").value.text(), u"item x");
  EXPECT_EQ(get(probe.get(), u"Child").value.pdispVal, child.get());
  EXPECT_EQ(put(probe.get(), u"Child", Variant()).status, S_OK);
  EXPECT_EQ(get(probe.get(), u"Child").value.pdispVal, nullptr);
  // What is read-only is asked for its default member, and for that alone.
  EXPECT_EQ(put(probe.get(), u"Kind", LONG{1}).status, DISP_E_MEMBERNOTFOUND);
  EXPECT_EQ(put(probe.get(), u"Self", u"x").status, DISP_E_MEMBERNOTFOUND);
  EXPECT_EQ(invoke(7, 0, {Variant(u"x")}), DISP_E_MEMBERNOTFOUND);
  EXPECT_EQ(probe->self_gets, 0);
  EXPECT_EQ(put(probe.get(), u"Self", u"index", u"value").status, S_OK);
  EXPECT_EQ(probe->self_gets, 1);
  EXPECT_EQ(get(probe.get(), u"Name").value.text(), u"value");
}

TEST_F(InvokeTest, WritesReferencesBack) {
  BSTR head = SysAllocString(u"old");
  Variant reference;
  reference.vt = VT_BYREF | VT_BSTR;
  reference.pbstrVal = &head;
  ASSERT_EQ(invoke(4, DISPATCH_METHOD, {Variant(u"text"), reference}), S_OK);
  EXPECT_EQ(view_of(head), u"t");
  EXPECT_EQ(result.lVal, 4);
  SysFreeString(head);
  Variant any(LONG{1});
  ASSERT_EQ(invoke(4, DISPATCH_METHOD, {Variant(u"ab"), Variant::by_reference(&any)}), S_OK);
  EXPECT_EQ(any.text(), u"a");
}

TEST_F(InvokeTest, ReportsErrors) {
  Variant none(LONG{0});
  DISPPARAMS given{&none, nullptr, 1, 0};
  EXCEPINFO exception{};
  EXPECT_EQ(probe->Invoke(5, GUID_NULL, 0, DISPATCH_METHOD, &given, nullptr, &exception, nullptr),
            E_ABORT);
  EXPECT_EQ(exception.scode, E_ABORT);
  const Outcome failed = call(probe.get(), u"Fail", LONG{1});
  EXPECT_EQ(failed.status, E_INVALIDARG);
  EXPECT_EQ(failed.description, u"it failed");
  // The next call starts without an error object.
  EXPECT_EQ(call(probe.get(), u"Fail", LONG{0}).description, u"");
}

TEST_F(InvokeTest, ObjectsConvertThroughTheirDefault) {
  // Item wants an index, so the default property without arguments fails.
  Variant object(static_cast<IDispatch*>(probe.get()));
  EXPECT_EQ(VariantChangeType(&object, &object, 0, VT_BSTR), DISP_E_TYPEMISMATCH);
  ASSERT_EQ(VariantChangeType(&object, &object, 0, VT_UNKNOWN), S_OK);
  EXPECT_EQ(object.vt, VT_UNKNOWN);
}

TEST(TypeInfo, DescribesTheTables) {
  ComPtr<ITypeLib> library;
  ASSERT_EQ(create_type_library(kLibrary, library.out()), S_OK);
  ASSERT_EQ(library->GetTypeInfoCount(), 3U);
  ComPtr<ITypeInfo> info;
  ASSERT_EQ(library->GetTypeInfoOfGuid(IProbe::kIid, info.out()), S_OK);
  library.reset();  // a type's information keeps its library

  TYPEATTR* attributes = nullptr;
  ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
  EXPECT_EQ(attributes->cFuncs, 11);
  EXPECT_EQ(attributes->cbSizeVft, 18 * sizeof(void*));
  info->ReleaseTypeAttr(attributes);

  FUNCDESC* join = nullptr;
  ASSERT_EQ(info->GetFuncDesc(5, &join), S_OK);
  EXPECT_EQ(join->cParamsOpt, 2);
  EXPECT_EQ(join->oVft, static_cast<SHORT>(12 * sizeof(void*)));
  const PARAMDESC& quote = join->lprgelemdescParam[2].paramdesc;
  EXPECT_EQ(quote.pparamdescex->varDefaultValue.boolVal, VARIANT_TRUE);
  info->ReleaseFuncDesc(join);

  FUNCDESC* kind = nullptr;
  ASSERT_EQ(info->GetFuncDesc(8, &kind), S_OK);
  ASSERT_EQ(kind->elemdescFunc.tdesc.vt, VT_USERDEFINED);
  ComPtr<ITypeInfo> enumeration;
  ASSERT_EQ(info->GetRefTypeInfo(kind->elemdescFunc.tdesc.hreftype, enumeration.out()), S_OK);
  info->ReleaseFuncDesc(kind);
  Bstr name;
  ASSERT_EQ(enumeration->GetDocumentation(1, name.out(), nullptr, nullptr, nullptr), S_OK);
  EXPECT_EQ(name.view(), u"pkSome");

  HREFTYPE base = 0;
  ComPtr<ITypeInfo> dispatch;
  ASSERT_EQ(info->GetRefTypeOfImplType(0, &base), S_OK);
  ASSERT_EQ(info->GetRefTypeInfo(base, dispatch.out()), S_OK);
  ASSERT_EQ(dispatch->GetDocumentation(MEMBERID_NIL, name.out(), nullptr, nullptr, nullptr), S_OK);
  EXPECT_EQ(name.view(), u"IDispatch");

  BSTR stale = SysAllocString(u"stale");
  BSTR texts[] = {stale, stale};
  UINT count = 9;
  EXPECT_EQ(info->GetNames(77, texts, 2, &count), TYPE_E_ELEMENTNOTFOUND);
  EXPECT_EQ(texts[1], nullptr);
  BSTR help = stale;
  EXPECT_EQ(info->GetDocumentation(77, texts, &help, nullptr, nullptr), TYPE_E_ELEMENTNOTFOUND);
  EXPECT_EQ(help, nullptr);
  SysFreeString(stale);
}

// "m1:1" for a function (member id, kind), "v5" for a value, "type" for a type, "" for nothing.
std::string bound(ITypeComp& compiler, std::u16string name, WORD flags = 0) {
  ComPtr<ITypeInfo> info;
  DESCKIND kind{};
  BINDPTR found{};
  const HRESULT status = compiler.Bind(name.data(), 0, flags, info.out(), &kind, &found);
  if (status != S_OK) return status == TYPE_E_TYPEMISMATCH && !info ? "mismatch" : "failed";
  std::string text;
  if (kind == DESCKIND_FUNCDESC) {
    text = "m" + std::to_string(found.lpfuncdesc->memid) + ":" +
           std::to_string(found.lpfuncdesc->invkind);
    info->ReleaseFuncDesc(found.lpfuncdesc);
  } else if (kind == DESCKIND_VARDESC) {
    text = "v" + std::to_string(found.lpvardesc->lpvarValue->lVal);
    info->ReleaseVarDesc(found.lpvardesc);
  } else if (kind == DESCKIND_TYPECOMP) {
    text = bound(*found.lptcomp, u"pkSome") + " type";
    found.lptcomp->Release();
  }
  return text;
}

TEST(TypeInfo, BindsNames) {
  ComPtr<ITypeLib> library;
  ASSERT_EQ(create_type_library(kLibrary, library.out()), S_OK);
  ComPtr<ITypeComp> compiler;
  ASSERT_EQ(library->GetTypeComp(compiler.out()), S_OK);
  library.reset();
  EXPECT_EQ(bound(*compiler, u"PKSOME"), "v5");
  EXPECT_EQ(bound(*compiler, u"probekind"), "v5 type");
  EXPECT_EQ(bound(*compiler, u"IProbe"), "");
  ComPtr<ITypeInfo> type;
  ComPtr<ITypeComp> members;
  std::u16string name = u"iprobe";
  ASSERT_EQ(compiler->BindType(name.data(), 0, type.out(), members.out()), S_OK);
  ASSERT_TRUE(type && members);
  compiler.reset();
  type.reset();  // the compiler keeps it
  EXPECT_EQ(bound(*members, u"NAME"), "m1:2");
  EXPECT_EQ(bound(*members, u"name", INVOKE_PROPERTYPUT | INVOKE_FUNC), "m1:4");
  EXPECT_EQ(bound(*members, u"Item", INVOKE_PROPERTYPUT), "m0:4");
  EXPECT_EQ(bound(*members, u"Join"), "m3:1");
  EXPECT_EQ(bound(*members, u"Join", INVOKE_PROPERTYGET), "mismatch");
  EXPECT_EQ(bound(*members, u"pkSome"), "");
  ASSERT_EQ(members->BindType(name.data(), 0, type.out(), compiler.out()), S_OK);
  EXPECT_FALSE(type || compiler);
}

}  // namespace
