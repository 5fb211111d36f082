// The class object (factory) of one entry of the class table.
#pragma once

#include <atomic>

#include "platform/com/unknown.h"
#include "server/class_table.h"

namespace tallowbrook {

// Holds no module lock: the module caches one per class until the library is unloaded.
class CClassObject final : public IClassFactory {
 public:
  // `entry` outlives the class object. Starts with one reference.
  explicit CClassObject(const ClassEntry& entry) : entry_(entry) {}
  CClassObject(const CClassObject&) = delete;
  CClassObject& operator=(const CClassObject&) = delete;

  HRESULT QueryInterface(REFIID iid, void** object) override;
  ULONG AddRef() override;
  ULONG Release() override;

  // No class of this component can be aggregated: CLASS_E_NOAGGREGATION whenever there is an
  // `outer`, whichever interface is asked for.
  HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) override;
  HRESULT LockServer(BOOL lock) override;

 private:
  ~CClassObject() = default;

  const ClassEntry& entry_;
  std::atomic<ULONG> references_{1};
};

}  // namespace tallowbrook
