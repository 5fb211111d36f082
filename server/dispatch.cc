// The IDispatch methods of every object of the component, answered from the type library's tables.
#include "core/object.h"
#include "platform/automation/invoke.h"
#include "server/module.h"
#include "server/type_library.h"

namespace tallowbrook {
namespace {

const platform::InterfaceInfo* find_interface(REFIID iid) {
  const std::size_t index = interface_index(iid);
  return index == kInterfaceCount ? nullptr : library_info().interfaces[index];
}

}  // namespace

HRESULT interface_type_info(REFIID iid, ITypeInfo** info) {
  if (info == nullptr) return E_POINTER;
  *info = nullptr;
  const std::size_t index = interface_index(iid);
  return index == kInterfaceCount ? TYPE_E_ELEMENTNOTFOUND : module_type_info(index, info);
}

HRESULT dispatch_type_info(REFIID iid, UINT index, ITypeInfo** info) {
  if (info == nullptr) return E_POINTER;
  *info = nullptr;
  if (index != 0) return DISP_E_BADINDEX;
  const HRESULT status = interface_type_info(iid, info);
  if (SUCCEEDED(status)) (*info)->AddRef();
  return status;
}

HRESULT dispatch_ids_of_names(REFIID iid, OLECHAR** names, UINT count, DISPID* ids) {
  const platform::InterfaceInfo* table = find_interface(iid);
  if (table == nullptr) return TYPE_E_ELEMENTNOTFOUND;
  return platform::ids_of_names(*table, names, count, ids);
}

HRESULT dispatch_invoke(REFIID iid, void* self, DISPID member, WORD flags, DISPPARAMS* arguments,
                        VARIANT* result, EXCEPINFO* exception, UINT* argument_error) {
  const platform::InterfaceInfo* table = find_interface(iid);
  if (table == nullptr) return TYPE_E_ELEMENTNOTFOUND;
  return platform::invoke_member(*table, self, member, flags, arguments, result, exception,
                                 argument_error);
}

}  // namespace tallowbrook
