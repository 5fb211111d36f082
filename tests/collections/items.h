// Objects that stand in collections, as a host may have them: with properties that are read and put
// by name, and with or without a way to be stored.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <string_view>

#include "core/creators.h"
#include "core/object.h"
#include "platform/automation/variant.h"
#include "platform/com/activation.h"
#include "platform/storage/stream.h"
#include "streams/memory_stream.h"
#include "tallowbrook/collections.h"

namespace tallowbrook::test {

using platform::ComPtr;
using platform::Variant;

// Properties of any name, which come to be when they are put.
template <class... Faces>
class PropertyBag : public Object<Shared, IDispatch, Faces...> {
 public:
  std::map<std::u16string, Variant, std::less<>> values;

  HRESULT GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT GetIDsOfNames(REFIID, OLECHAR** names, UINT, LCID, DISPID* ids) override {
    for (std::size_t i = 0; i < std::size(kNames); ++i) {
      if (kNames[i] == names[0]) {
        *ids = static_cast<DISPID>(i);
        return S_OK;
      }
    }
    return DISP_E_UNKNOWNNAME;
  }
  HRESULT Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                 EXCEPINFO*, UINT*) override {
    const std::u16string name(kNames[member]);
    if ((flags & DISPATCH_PROPERTYPUT) != 0) {
      values[name] = Variant(arguments->rgvarg[0]);
      return S_OK;
    }
    const auto found = values.find(name);
    if (found == values.end()) return DISP_E_MEMBERNOTFOUND;
    Variant(found->second).detach_to(result);
    return S_OK;
  }

 private:
  static constexpr std::u16string_view kNames[] = {u"ID", u"ItemData", u"Text"};
};

using PlainItem = PropertyBag<>;

inline ComPtr<ICollection> new_collection() {
  ComPtr<ICollection> list;
  EXPECT_EQ(create_collection(ICollection::kIid, list.out_void()), S_OK);
  return list;
}
inline LONG count_of(ICollection& list) {
  LONG count = -1;
  EXPECT_EQ(list.get_Count(&count), S_OK);
  return count;
}
inline Variant item(ICollection& list, LONG index) {
  Variant value;
  EXPECT_EQ(list.get_Item(index, &value), S_OK);
  return value;
}
inline std::string saved(ICollection& list) {
  CISSHelper stream;
  EXPECT_EQ(platform::query<IPersistStream>(&list)->Save(&stream, TRUE), S_OK);
  return std::string(stream.bytes());
}

// Makes objects of class T under the identity T::kClass for as long as it lives.
template <class T>
class Registered final {
 public:
  Registered() {
    const auto factory = make_object<Factory>();
    CoRegisterClassObject(T::kClass, factory.get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                          &cookie_);
  }
  ~Registered() { CoRevokeClassObject(cookie_); }
  Registered(const Registered&) = delete;
  Registered& operator=(const Registered&) = delete;

 private:
  class Factory final : public Object<Shared, IClassFactory> {
   public:
    HRESULT CreateInstance(IUnknown*, REFIID iid, void** object) override {
      return make_object<T>()->QueryInterface(iid, object);
    }
    HRESULT LockServer(BOOL) override { return S_OK; }
  };

  DWORD cookie_ = 0;
};

}  // namespace tallowbrook::test
