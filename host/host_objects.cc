#include "host/host_objects.h"

#include <string>

#include "platform/com/activation.h"

namespace tallowbrook {

HRESULT host_class(std::u16string_view name, CLSID* clsid) {
  const std::u16string text(name);
  if (text.starts_with(u'{')) return CLSIDFromString(text.c_str(), clsid);
  return CLSIDFromProgID(text.c_str(), clsid);
}

HRESULT create_host_object(std::u16string_view name, platform::ComPtr<IDispatch>& object) {
  object.reset();
  CLSID clsid{};
  const HRESULT status = host_class(name, &clsid);
  if (FAILED(status)) return status;
  return CoCreateInstance(clsid, nullptr, CLSCTX_SERVER, IDispatch::kIid, object.out_void());
}

}  // namespace tallowbrook
