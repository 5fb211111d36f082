// What the objects of the explorer's component have in common: the count of living ones, late
// binding from the interfaces' tables, and texts as properties.
#pragma once

#include <algorithm>
#include <atomic>
#include <new>
#include <string>
#include <utility>

#include "platform/automation/invoke.h"
#include "platform/com/counted.h"
#include "samples/explorer/interfaces.h"

namespace bramblescope {

using tallowbrook::platform::Bstr;
using tallowbrook::platform::ComPtr;
using tallowbrook::platform::Variant;

// The living objects; the library may go when there are none.
inline std::atomic<LONG> living_objects{0};

template <class... Faces>
class Object : public tallowbrook::platform::Counted<Faces...> {
 protected:
  Object() { ++living_objects; }
  ~Object() override { --living_objects; }
};

// The four IDispatch methods of a dual interface, answered from its table.
template <class Interface>
struct Automation : Interface {
  static constexpr auto kTable = tallowbrook::platform::interface_info<Interface>(
      tallowbrook::platform::Describe<Interface>::name, u"");

  HRESULT GetTypeInfoCount(UINT* count) override {
    if (count == nullptr) return E_POINTER;
    *count = 0;
    return S_OK;
  }
  HRESULT GetTypeInfo(UINT, LCID, ITypeInfo** info) override {
    if (info == nullptr) return E_POINTER;
    *info = nullptr;
    return DISP_E_BADINDEX;
  }
  HRESULT GetIDsOfNames(REFIID, OLECHAR** names, UINT count, LCID, DISPID* ids) override {
    return tallowbrook::platform::ids_of_names(kTable, names, count, ids);
  }
  HRESULT Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                 EXCEPINFO* exception, UINT* argument_error) override {
    if (result != nullptr) VariantInit(result);
    if (exception != nullptr) *exception = EXCEPINFO{};
    return tallowbrook::platform::invoke_member(kTable, static_cast<Interface*>(this), member,
                                                flags, arguments, result, exception,
                                                argument_error);
  }
};

// Runs `body`, which returns a status; memory that runs out is E_OUTOFMEMORY.
template <class Body>
[[nodiscard]] HRESULT guarded(Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_FAIL;
  }
}

// A text as a property.
class TextProperty {
 public:
  HRESULT get(BSTR* text) const {
    if (text == nullptr) return E_POINTER;
    *text = nullptr;
    return guarded([&] {
      *text = Bstr(text_).detach();
      return S_OK;
    });
  }
  HRESULT put(BSTR text) {
    return guarded([&] {
      text_ = tallowbrook::platform::view_of(text);
      return S_OK;
    });
  }
  [[nodiscard]] std::u16string& text() { return text_; }

 private:
  std::u16string text_;
};

// A plain value as a property.
template <class T>
HRESULT give(const T& value, T* target) {
  if (target == nullptr) return E_POINTER;
  *target = value;
  return S_OK;
}

}  // namespace bramblescope
