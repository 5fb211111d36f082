#include "platform/com/security.h"

HRESULT CoSetProxyBlanket(IUnknown* proxy, DWORD authentication, DWORD authorisation,
                          OLECHAR* principal, DWORD level, DWORD impersonation, void* identity,
                          DWORD capabilities) {
  if (proxy == nullptr) return E_POINTER;
  const auto security = tallowbrook::platform::query<IClientSecurity>(proxy);
  if (!security) return E_NOINTERFACE;
  return security->SetBlanket(proxy, authentication, authorisation, principal, level, impersonation,
                              identity, capabilities);
}
