// Bramblescope.OptionValue: one value of an option. It tells the list that it is in when its
// `XValue` is put, and saves itself in a stream:
//
//   its ID, the ID of its option, the bytes of the value; each with its length (4 bytes) before it
#pragma once

#include "platform/storage/stream.h"
#include "samples/explorer/object.h"

namespace bramblescope {

// The list that a value is in.
class ValueOwner {
 public:
  virtual void value_changed(IDispatch& value) = 0;

 protected:
  ~ValueOwner() = default;
};

// How a list finds out that an item is a value of this kind.
struct IOwnedValue : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{
      0xA0CD812B, 0xD4A5, 0x4987, {0x81, 0x26, 0x2A, 0x31, 0xDB, 0x79, 0xE4, 0x90}};

  // The list that it was put into last hears of it.
  virtual void enter(ValueOwner& owner) = 0;
  virtual void leave(ValueOwner& owner) = 0;
};

class OptionValue final : public Object<Automation<IOptionValue>, IPersistStream, IOwnedValue> {
 public:
  HRESULT get_ID(BSTR* id) override { return id_.get(id); }
  HRESULT put_ID(BSTR id) override { return id_.put(id); }
  HRESULT get_IsValueOfOption(BSTR* option) override { return option_.get(option); }
  HRESULT put_IsValueOfOption(BSTR option) override { return option_.put(option); }
  HRESULT get_XValue(VARIANT* stream) override;
  HRESULT put_XValue(VARIANT stream) override;  // E_INVALIDARG for what is no object
  HRESULT get_ItemData(LONG* data) override { return give(data_, data); }
  HRESULT put_ItemData(LONG data) override {
    data_ = data;
    return S_OK;
  }

  HRESULT GetClassID(CLSID* clsid) override;
  HRESULT IsDirty() override { return S_OK; }
  HRESULT Load(IStream* stream) override;
  HRESULT Save(IStream* stream, BOOL clear_dirty) override;
  HRESULT GetSizeMax(ULARGE_INTEGER* size) override;

  void enter(ValueOwner& owner) override { owner_ = &owner; }
  void leave(ValueOwner& owner) override {
    if (owner_ == &owner) owner_ = nullptr;
  }

 private:
  TextProperty id_;
  TextProperty option_;
  Variant x_value_;
  LONG data_ = -1;
  ValueOwner* owner_ = nullptr;  // tells when it goes
};

}  // namespace bramblescope
