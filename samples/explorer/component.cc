// The explorer's component: its four classes, their class objects, and the entry points. A process
// that loads it can create them; no registration is needed.
#include "platform/com/activation.h"
#include "samples/explorer/option_def.h"
#include "samples/explorer/option_lists.h"

namespace bramblescope {
namespace {

using Creator = HRESULT (*)(REFIID iid, void** object);

template <class T>
HRESULT create(REFIID iid, void** object) {
  return guarded([&] { return ComPtr<T>::adopt(new T)->QueryInterface(iid, object); });
}

// One for each class; it lives as long as the library.
class ClassObject final : public IClassFactory {
 public:
  explicit constexpr ClassObject(Creator creator) : creator_(creator) {}

  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    const bool known = tallowbrook::platform::has_identity<IClassFactory>(iid);
    *object = known ? static_cast<IClassFactory*>(this) : nullptr;
    return known ? S_OK : E_NOINTERFACE;
  }
  ULONG AddRef() override { return 2; }
  ULONG Release() override { return 1; }
  HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    return outer == nullptr ? creator_(iid, object) : CLASS_E_NOAGGREGATION;
  }
  HRESULT LockServer(BOOL lock) override {
    living_objects += lock != FALSE ? 1 : -1;
    return S_OK;
  }

 private:
  Creator creator_;
};

ClassObject option_def(&create<OptionDef>);
ClassObject option_collection(&create<OptionCollection>);
ClassObject option_value(&create<OptionValue>);
ClassObject option_value_collection(&create<OptionValueCollection>);

constexpr ComponentClass kClasses[] = {
    {CLSID_OptionDef, u"Bramblescope.OptionDef.1", u"Bramblescope.OptionDef", u"OptionDef Class"},
    {CLSID_OptionCollection, u"Bramblescope.OptionCollection.1", u"Bramblescope.OptionCollection",
     u"OptionCollection Class"},
    {CLSID_OptionValue, u"Bramblescope.OptionValue.1", u"Bramblescope.OptionValue",
     u"OptionValue Class"},
    {CLSID_OptionValueCollection, u"Bramblescope.OptionValueCollection.1",
     u"Bramblescope.OptionValueCollection", u"OptionValueCollection Class"},
};
// In the order of the table.
ClassObject* const class_objects[] = {&option_def, &option_collection, &option_value,
                                      &option_value_collection};

}  // namespace
}  // namespace bramblescope

#define BRAMBLESCOPE_EXPORT extern "C" [[gnu::visibility("default")]]

BRAMBLESCOPE_EXPORT HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  std::size_t index = 0;
  for (const ComponentClass& known : bramblescope::kClasses) {
    if (known.clsid == clsid)
      return bramblescope::class_objects[index]->QueryInterface(iid, object);
    ++index;
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

BRAMBLESCOPE_EXPORT HRESULT DllCanUnloadNow() {
  return bramblescope::living_objects == 0 ? S_OK : S_FALSE;
}

BRAMBLESCOPE_EXPORT HRESULT DllDescribeClasses(const ComponentClass** classes, ULONG* count) {
  if (classes == nullptr || count == nullptr) return E_POINTER;
  *classes = bramblescope::kClasses;
  *count = static_cast<ULONG>(std::size(bramblescope::kClasses));
  return S_OK;
}
