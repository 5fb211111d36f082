// How calls to an object in another process prove who makes them.
#pragma once

#include "platform/com/unknown.h"

inline constexpr DWORD RPC_C_AUTHN_WINNT = 10;
inline constexpr DWORD RPC_C_AUTHZ_NONE = 0;
inline constexpr DWORD RPC_C_AUTHN_LEVEL_CONNECT = 2;
inline constexpr DWORD RPC_C_IMP_LEVEL_IDENTIFY = 2;
inline constexpr DWORD EOAC_NONE = 0;

// Answered by the proxy of an object that lives elsewhere.
struct IClientSecurity : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{0x0000013D, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  virtual HRESULT QueryBlanket(IUnknown* proxy, DWORD* authentication, DWORD* authorisation,
                               OLECHAR** principal, DWORD* level, DWORD* impersonation,
                               void** identity, DWORD* capabilities) = 0;
  virtual HRESULT SetBlanket(IUnknown* proxy, DWORD authentication, DWORD authorisation,
                             OLECHAR* principal, DWORD level, DWORD impersonation, void* identity,
                             DWORD capabilities) = 0;
  virtual HRESULT CopyProxy(IUnknown* proxy, IUnknown** copy) = 0;
};

// Sets what calls through `proxy` prove. E_NOINTERFACE for an object of this process, which has no
// proxy, E_POINTER for null.
HRESULT CoSetProxyBlanket(IUnknown* proxy, DWORD authentication, DWORD authorisation,
                          OLECHAR* principal, DWORD level, DWORD impersonation, void* identity,
                          DWORD capabilities);
