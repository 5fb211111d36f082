#include "samples/explorer/option_value.h"

#include <cstring>

#include "samples/explorer/value_stream.h"

namespace bramblescope {
namespace {

HRESULT write_block(IStream& stream, std::string_view bytes) {
  const auto size = static_cast<ULONG>(bytes.size());
  HRESULT status = stream.Write(&size, sizeof size, nullptr);
  if (SUCCEEDED(status)) status = stream.Write(bytes.data(), size, nullptr);
  return status;
}

bool read_block(IStream& stream, std::string& bytes) {
  std::string head;
  if (!read_exactly(stream, sizeof(ULONG), head)) return false;
  ULONG size = 0;
  std::memcpy(&size, head.data(), sizeof size);
  return read_exactly(stream, size, bytes);
}

HRESULT write_text(IStream& stream, std::u16string_view text) {
  return write_block(stream,
                     {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(OLECHAR)});
}

bool read_text(IStream& stream, std::u16string& text) {
  std::string bytes;
  if (!read_block(stream, bytes)) return false;
  text.resize(bytes.size() / sizeof(OLECHAR));
  std::memcpy(text.data(), bytes.data(), text.size() * sizeof(OLECHAR));
  return true;
}

// The bytes of the value; none when it is no stream.
std::string value_bytes(const Variant& value) {
  const auto stream = value.vt == VT_UNKNOWN || value.vt == VT_DISPATCH
                          ? tallowbrook::platform::query<IStream>(value.punkVal)
                          : ComPtr<IStream>();
  return stream ? read_stream(*stream).value_or("") : "";
}

}  // namespace

HRESULT OptionValue::get_XValue(VARIANT* stream) {
  if (stream == nullptr) return E_POINTER;
  VariantInit(stream);
  return VariantCopy(stream, &x_value_);
}

HRESULT OptionValue::put_XValue(VARIANT stream) {
  return guarded([&] {
    Variant value;
    const HRESULT status = VariantCopyInd(&value, &stream);
    if (FAILED(status)) return status;
    if (value.vt != VT_UNKNOWN && value.vt != VT_DISPATCH) return E_INVALIDARG;
    const ComPtr<IDispatch> held(this);  // whoever hears of it may let go of the value
    x_value_ = std::move(value);
    if (owner_ != nullptr) owner_->value_changed(*this);
    return S_OK;
  });
}

HRESULT OptionValue::GetClassID(CLSID* clsid) { return give(CLSID_OptionValue, clsid); }

HRESULT OptionValue::GetSizeMax(ULARGE_INTEGER* size) {
  if (size != nullptr) size->QuadPart = 0;
  return E_NOTIMPL;
}

HRESULT OptionValue::Save(IStream* stream, BOOL) {
  if (stream == nullptr) return E_POINTER;
  return guarded([&] {
    HRESULT status = write_text(*stream, id_.text());
    if (SUCCEEDED(status)) status = write_text(*stream, option_.text());
    if (SUCCEEDED(status)) status = write_block(*stream, value_bytes(x_value_));
    return status;
  });
}

HRESULT OptionValue::Load(IStream* stream) {
  if (stream == nullptr) return E_POINTER;
  return guarded([&] {
    std::u16string id;
    std::u16string option;
    std::string value;
    if (!read_text(*stream, id) || !read_text(*stream, option) || !read_block(*stream, value)) {
      return E_FAIL;
    }
    id_.text() = std::move(id);
    option_.text() = std::move(option);
    x_value_ = Variant(static_cast<IUnknown*>(make_stream(std::move(value)).get()));
    return S_OK;
  });
}

}  // namespace bramblescope
