// A context menu that an object puts its commands into.
#pragma once

#include "platform/com/unknown.h"
#include "platform/shell/menu.h"

using HWND = void*;

// What a host passes to InvokeCommand. A verb below 0x10000 is the index of a command (counted from
// the first one of the object), anything else points at its name.
struct CMINVOKECOMMANDINFO {
  DWORD cbSize;
  DWORD fMask;
  HWND hwnd;
  const char* lpVerb;
  const char* lpParameters;
  const char* lpDirectory;
  int nShow;
  DWORD dwHotKey;
  HANDLE hIcon;
};

inline constexpr UINT GCS_VERBA = 0;
inline constexpr UINT GCS_HELPTEXTA = 1;

struct IContextMenu : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{0x000214E4, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  // Inserts the commands at position `index`, with identifiers from `first` on; answers how many
  // identifiers it used.
  virtual HRESULT QueryContextMenu(HMENU menu, UINT index, UINT first, UINT last, UINT flags) = 0;
  virtual HRESULT InvokeCommand(CMINVOKECOMMANDINFO* info) = 0;
  // Copies a text about the command with index `command` into `buffer`, cut to `size` characters.
  virtual HRESULT GetCommandString(std::uintptr_t command, UINT kind, UINT* reserved, char* buffer,
                                   UINT size) = 0;
};
