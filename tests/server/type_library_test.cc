// The type library as a browser walks it.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "core/object.h"
#include "server/module.h"
#include "server/type_library.h"
#include "tallowbrook/class_ids.h"
#include "tallowbrook/mail_address.h"

namespace tallowbrook {
namespace {

using platform::Bstr;
using platform::ComPtr;

TEST(TypeLibrary, NamesItself) {
  ITypeLib* library = nullptr;
  ASSERT_EQ(module_type_library(&library), S_OK);
  TLIBATTR* attributes = nullptr;
  ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
  EXPECT_EQ(attributes->guid, LIBID_TALLOWBROOKLib);
  EXPECT_EQ(attributes->wMajorVerNum, 1);
  EXPECT_EQ(attributes->wMinorVerNum, 0);
  library->ReleaseTLibAttr(attributes);
  Bstr name;
  Bstr help;
  ASSERT_EQ(library->GetDocumentation(-1, name.out(), help.out(), nullptr, nullptr), S_OK);
  EXPECT_EQ(name.view(), u"TALLOWBROOKLib");
  EXPECT_EQ(help.view(), u"Tallowbrook 1.0 Type Library");
}

TEST(TypeLibrary, ListsEveryTypeOnceAndEveryClassWithItsDefaultInterface) {
  ITypeLib* library = nullptr;
  ASSERT_EQ(module_type_library(&library), S_OK);
  std::multiset<TYPEKIND> kinds;
  std::set<std::u16string> names;
  for (UINT index = 0; index < library->GetTypeInfoCount(); ++index) {
    TYPEKIND kind{};
    Bstr name;
    ASSERT_EQ(library->GetTypeInfoType(index, &kind), S_OK);
    ASSERT_EQ(
        library->GetDocumentation(static_cast<INT>(index), name.out(), nullptr, nullptr, nullptr),
        S_OK);
    kinds.insert(kind);
    EXPECT_TRUE(names.insert(std::u16string(name.view())).second);
    if (kind != TKIND_COCLASS) continue;
    ComPtr<ITypeInfo> coclass;
    ComPtr<ITypeInfo> face;
    HREFTYPE reference = 0;
    Bstr face_name;
    ASSERT_EQ(library->GetTypeInfo(index, coclass.out()), S_OK);
    ASSERT_EQ(coclass->GetRefTypeOfImplType(0, &reference), S_OK);
    ASSERT_EQ(coclass->GetRefTypeInfo(reference, face.out()), S_OK);
    ASSERT_EQ(face->GetDocumentation(MEMBERID_NIL, face_name.out(), nullptr, nullptr, nullptr),
              S_OK);
    EXPECT_EQ(face_name.view(), u"I" + std::u16string(name.view()));
  }
  EXPECT_EQ(kinds.count(TKIND_ENUM), 9U);
  EXPECT_EQ(kinds.count(TKIND_DISPATCH), 17U);
  EXPECT_EQ(kinds.count(TKIND_COCLASS), 14U);
}

TEST(TypeLibrary, TypeInformationOfAnInterfaceIsMadeOnce) {
  ITypeInfo* first = nullptr;
  ITypeInfo* second = nullptr;
  ASSERT_EQ(interface_type_info(IMailAddress::kIid, &first), S_OK);
  ASSERT_EQ(interface_type_info(IMailAddress::kIid, &second), S_OK);
  EXPECT_EQ(first, second);
  ComPtr<ITypeInfo> handed;
  EXPECT_EQ(dispatch_type_info(IMailAddress::kIid, 1, handed.out()), DISP_E_BADINDEX);
  EXPECT_FALSE(handed);
  ASSERT_EQ(dispatch_type_info(IMailAddress::kIid, 0, handed.out()), S_OK);
  TYPEATTR* attributes = nullptr;
  ASSERT_EQ(handed->GetTypeAttr(&attributes), S_OK);
  EXPECT_EQ(attributes->guid, IMailAddress::kIid);
  EXPECT_EQ(attributes->typekind, TKIND_DISPATCH);
  EXPECT_NE(attributes->wTypeFlags & TYPEFLAG_FDUAL, 0);
  handed->ReleaseTypeAttr(attributes);
}

TEST(TypeLibrary, AReloadMakesItAnew) {
  ITypeLib* library = nullptr;
  ASSERT_EQ(module_type_library(&library), S_OK);
  module_detach();
  module_attach();
  library = nullptr;
  ASSERT_EQ(module_type_library(&library), S_OK);
  EXPECT_NE(library, nullptr);
  ITypeInfo* info = nullptr;
  EXPECT_EQ(interface_type_info(IMailAddress::kIid, &info), S_OK);
}

}  // namespace
}  // namespace tallowbrook
