#include "host/dialup_connection.h"

#include "core/creators.h"
#include "core/guard.h"
#include "core/text.h"
#include "platform/automation/variant.h"

namespace tallowbrook {

HRESULT create_dialup_connection(REFIID iid, void** object) {
  return create_instance<CDialupConnection>(iid, object);
}

HRESULT CDialupConnection::get_ID(VARIANT* id) {
  if (id == nullptr) return E_POINTER;
  VariantInit(id);
  return guarded([&] {
    id->bstrVal = to_bstr(name_).detach();
    id->vt = VT_BSTR;
    return S_OK;
  });
}

HRESULT CDialupConnection::get_Name(BSTR* name) {
  if (name == nullptr) return E_POINTER;
  *name = nullptr;
  return guarded([&] {
    *name = to_bstr(name_).detach();
    return S_OK;
  });
}

HRESULT CDialupConnection::Execute() {
  SHELLEXECUTEINFOA info{};
  info.cbSize = sizeof(info);
  info.fMask = SEE_MASK_INVOKEIDLIST | SEE_MASK_FLAG_NO_UI;
  info.lpIDList = entry_.get();
  info.nShow = SW_SHOWDEFAULT;
  static_cast<void>(ShellExecuteExA(&info));
  return S_OK;
}

}  // namespace tallowbrook
