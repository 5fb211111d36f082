// Host objects that do what a test says: a process-wide stand-in for the explorer's classes, and a
// sink.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "core/object.h"
#include "host/host_objects.h"
#include "platform/com/activation.h"
#include "platform/com/connection_point.h"
#include "tallowbrook/events.h"

namespace tallowbrook::test {

// One call on a host's object, by the name of its member.
struct HostCall {
  IDispatch& object;
  std::u16string name;
  WORD flags;
  DISPPARAMS& arguments;
  VARIANT* result;
};
using Behaviour = std::function<HRESULT(const HostCall&)>;

// An automation object that has every name and answers through a function. Its default member is
// called by an empty name.
class ScriptObject : public Object<Shared, IDispatch> {
 public:
  explicit ScriptObject(Behaviour behaviour) : behaviour_(std::move(behaviour)) {}

  HRESULT GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT GetIDsOfNames(REFIID, OLECHAR** names, UINT, LCID, DISPID* ids) override {
    names_.emplace_back(names[0]);
    *ids = static_cast<DISPID>(names_.size());
    return S_OK;
  }
  HRESULT Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                 EXCEPINFO*, UINT*) override {
    if (result != nullptr) VariantInit(result);
    const auto name =
        member == DISPID_VALUE ? u"" : names_.at(static_cast<std::size_t>(member) - 1);
    return behaviour_(HostCall{*this, name, flags, *arguments, result});
  }

 private:
  Behaviour behaviour_;
  std::vector<std::u16string> names_;
};

// Hears a message's accessor events, and has no member names.
class EventSink final : public Object<Shared, IDispatch> {
 public:
  using Heard = std::function<void(DISPID event, DISPPARAMS& arguments)>;
  explicit EventSink(Heard heard) : heard_(std::move(heard)) {}

  HRESULT QueryInterface(REFIID iid, void** object) override {
    return Object::QueryInterface(iid == _IAccessorEvents::kIid ? IDispatch::kIid : iid, object);
  }
  HRESULT GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT GetIDsOfNames(REFIID, OLECHAR**, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  HRESULT Invoke(DISPID event, REFIID, LCID, WORD, DISPPARAMS* arguments, VARIANT*, EXCEPINFO*,
                 UINT*) override {
    heard_(event, *arguments);
    return S_OK;
  }

 private:
  Heard heard_;
};

// The connection of a sink to an object's accessor events, for as long as this lives.
class Connected {
 public:
  template <class T>
  Connected(const platform::ComPtr<T>& object, IUnknown* sink) {
    const auto container = object.template query<IConnectionPointContainer>();
    EXPECT_EQ(container->FindConnectionPoint(_IAccessorEvents::kIid, point_.out()), S_OK);
    EXPECT_EQ(point_->Advise(sink, &cookie_), S_OK);
  }
  ~Connected() { EXPECT_EQ(point_->Unadvise(cookie_), S_OK); }
  Connected(const Connected&) = delete;
  Connected& operator=(const Connected&) = delete;

 private:
  platform::ComPtr<IConnectionPoint> point_;
  DWORD cookie_ = 0;
};

// Makes the explorer's classes creatable while it lives: each is a ScriptObject with `behaviour`,
// unless `create` says otherwise.
class ScriptHost {
 public:
  using Create = std::function<HRESULT(std::size_t index, IDispatch** object)>;

  explicit ScriptHost(Behaviour behaviour)
      : ScriptHost([behaviour](std::size_t, IDispatch** object) {
          *object = make_object<ScriptObject>(behaviour).detach();
          return S_OK;
        }) {}
  explicit ScriptHost(Create create) {
    create_ = std::move(create);
    EXPECT_EQ(CoUseComponent(kEntries), S_OK);
  }
  ~ScriptHost() {
    EXPECT_EQ(CoForgetComponent(kEntries), S_OK);
    create_ = nullptr;
  }
  ScriptHost(const ScriptHost&) = delete;
  ScriptHost& operator=(const ScriptHost&) = delete;

  enum Index : std::size_t { kDef, kCollection, kValue, kValueCollection };

 private:
  static CLSID class_id(std::size_t index) {
    return {0x5C21F700, 1, static_cast<std::uint16_t>(index), {}};
  }

  struct Factory final : Object<Shared, IClassFactory> {
    explicit Factory(std::size_t i) : index(i) {}
    HRESULT CreateInstance(IUnknown*, REFIID iid, void** object) override {
      *object = nullptr;
      ComPtr<IDispatch> made;
      const HRESULT status = create_(index, made.out());
      if (FAILED(status) || !made) return status;
      return made->QueryInterface(iid, object);
    }
    HRESULT LockServer(BOOL) override { return S_OK; }
    std::size_t index;
  };

  template <class T>
  using ComPtr = platform::ComPtr<T>;

  static HRESULT get_class_object(REFCLSID clsid, REFIID iid, void** object) {
    return make_object<Factory>(clsid.Data3)->QueryInterface(iid, object);
  }
  static HRESULT can_unload_now() { return S_FALSE; }
  static HRESULT describe(const ComponentClass** classes, ULONG* count) {
    static const ComponentClass kClasses[] = {
        {class_id(kDef), u"Bramblescope.OptionDef.1", kOptionDefClass.data(), u""},
        {class_id(kCollection), u"Bramblescope.OptionCollection.1", kOptionCollectionClass.data(),
         u""},
        {class_id(kValue), u"Bramblescope.OptionValue.1", kOptionValueClass.data(), u""},
        {class_id(kValueCollection), u"Bramblescope.OptionValueCollection.1",
         kOptionValueCollectionClass.data(), u""},
    };
    *classes = kClasses;
    *count = 4;
    return S_OK;
  }

  static inline Create create_;
  static inline const ComponentEntries kEntries{&get_class_object, &can_unload_now, &describe};
};

}  // namespace tallowbrook::test
