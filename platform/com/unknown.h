// IUnknown, the class factory, and the smart pointer that holds counted references.
//
// Every interface names its identity (`kIid`) and its base (`Base`, void for IUnknown) once, so
// that a query can walk the chain of bases without a table.
#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

#include "platform/com/types.h"

struct IUnknown {
  using Base = void;
  static constexpr GUID kIid{0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  // Stores a counted reference to the interface in `*object`, or null and E_NOINTERFACE.
  virtual HRESULT QueryInterface(REFIID iid, void** object) = 0;
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;

 protected:
  ~IUnknown() = default;  // objects die through Release alone
};

struct IClassFactory : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  virtual HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) = 0;
  virtual HRESULT LockServer(BOOL lock) = 0;
};

struct ISupportErrorInfo : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{
      0xDF0B3D60, 0x548F, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};

  virtual HRESULT InterfaceSupportsErrorInfo(REFIID iid) = 0;
};

namespace tallowbrook::platform {

// Owns one counted reference to an interface, or none. Not thread-safe by itself.
template <class T>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(std::nullptr_t) {}  // NOLINT(google-explicit-constructor)
  explicit ComPtr(T* shared) : p_(shared) {
    if (p_ != nullptr) p_->AddRef();
  }
  ComPtr(const ComPtr& other) : ComPtr(other.p_) {}
  ComPtr(ComPtr&& other) noexcept : p_(std::exchange(other.p_, nullptr)) {}
  template <class U>
  requires std::is_convertible_v<U*, T*> ComPtr(const ComPtr<U>& other)
      : ComPtr(static_cast<T*>(other.get())) {}  // NOLINT
  template <class U>
  requires std::is_convertible_v<U*, T*> ComPtr(ComPtr<U>&& other)
  noexcept : p_(other.detach()) {}  // NOLINT
  ~ComPtr() { reset(); }

  ComPtr& operator=(ComPtr other) noexcept {
    std::swap(p_, other.p_);
    return *this;
  }

  // Takes over a reference that the caller already counted.
  [[nodiscard]] static ComPtr adopt(T* counted) {
    ComPtr result;
    result.p_ = counted;
    return result;
  }

  [[nodiscard]] T* get() const { return p_; }
  T* operator->() const { return p_; }
  T& operator*() const { return *p_; }
  explicit operator bool() const { return p_ != nullptr; }

  void reset() {
    if (T* old = std::exchange(p_, nullptr)) old->Release();
  }
  [[nodiscard]] T* detach() { return std::exchange(p_, nullptr); }

  // Releases what is held and yields the address that an out-parameter fills.
  [[nodiscard]] T** out() {
    reset();
    return &p_;
  }
  [[nodiscard]] void** out_void() { return reinterpret_cast<void**>(out()); }

  // Asks the object for another interface; empty when it has none.
  template <class U>
  [[nodiscard]] ComPtr<U> query() const {
    ComPtr<U> result;
    if (p_ != nullptr && FAILED(p_->QueryInterface(U::kIid, result.out_void()))) return {};
    return result;
  }

  // Hands a further counted reference to an out-parameter.
  HRESULT copy_to(T** target) const {
    if (target == nullptr) return E_POINTER;
    if (p_ != nullptr) p_->AddRef();
    *target = p_;
    return S_OK;
  }

 private:
  T* p_ = nullptr;
};

// As ComPtr::query, for a plain pointer (which may be null).
template <class U, class T>
[[nodiscard]] ComPtr<U> query(T* object) {
  ComPtr<U> result;
  if (object != nullptr && FAILED(object->QueryInterface(U::kIid, result.out_void()))) return {};
  return result;
}

}  // namespace tallowbrook::platform
