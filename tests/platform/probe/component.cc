// The smallest component: one class, a lock per object, and the entry points.
#include <atomic>
#include <chrono>
#include <thread>

#include "platform/com/activation.h"
#include "platform/com/counted.h"

namespace {

constexpr CLSID kClass{0x7A110B02, 1, 1, {}};
std::atomic<int> locks{0};

class Thing final : public tallowbrook::platform::Counted<IUnknown> {
 public:
  Thing() { ++locks; }
  // The thread stays in the library for a while after its last lock, as if it were not scheduled.
  ~Thing() override {
    --locks;
    std::this_thread::sleep_for(std::chrono::microseconds(50));
  }
};

class Factory final : public IClassFactory {
 public:
  HRESULT QueryInterface(REFIID, void** object) override {
    *object = static_cast<IClassFactory*>(this);
    return S_OK;
  }
  ULONG AddRef() override { return 2; }
  ULONG Release() override { return 1; }
  HRESULT CreateInstance(IUnknown*, REFIID, void** object) override {
    *object = static_cast<IUnknown*>(new Thing);
    return S_OK;
  }
  HRESULT LockServer(BOOL) override { return S_OK; }
} factory;

}  // namespace

extern "C" HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) {
  return clsid == kClass ? factory.QueryInterface(iid, object) : CLASS_E_CLASSNOTAVAILABLE;
}
extern "C" HRESULT DllCanUnloadNow() { return locks == 0 ? S_OK : S_FALSE; }
extern "C" HRESULT DllDescribeClasses(const ComponentClass** classes, ULONG* count) {
  static constexpr ComponentClass kClasses[] = {
      {kClass, u"Probe.Component.1", u"Probe.Component", u"Probe Class"}};
  *classes = kClasses;
  *count = 1;
  return S_OK;
}

namespace {

// Known for as long as it is in memory, however it came there.
struct Known {
  ComponentEntries entries{&DllGetClassObject, &DllCanUnloadNow, &DllDescribeClasses};
  bool known = SUCCEEDED(CoUseComponent(entries));
  ~Known() {
    if (known) (void)CoForgetComponent(entries);
  }
} known;

}  // namespace
