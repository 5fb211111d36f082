// The shell's folders, as far as the connections folder is reached through them: the desktop, the
// connections in it, and opening one of its entries.
//
// An entry is known by an item identifier list: items side by side, each a 16-bit size (its own two
// bytes counted) and that many bytes less two, ended by an item of size 0. A list that starts at
// the desktop is absolute; one that starts at a folder, relative to it. Lists come from the task
// allocator.
#pragma once

#include "platform/com/unknown.h"
#include "platform/shell/context_menu.h"

struct SHITEMID {
  USHORT cb;
  BYTE abID[1];
};
struct ITEMIDLIST {
  SHITEMID mkid;
};

// The task allocator as an object.
struct IMalloc : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{0x00000002, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  virtual void* Alloc(std::size_t size) = 0;
  virtual void* Realloc(void* memory, std::size_t size) = 0;
  virtual void Free(void* memory) = 0;
  virtual std::size_t GetSize(void* memory) = 0;
  virtual int DidAlloc(void* memory) = 0;  // -1: it cannot tell
  virtual void HeapMinimize() = 0;
};

inline constexpr UINT STRRET_WSTR = 0;
inline constexpr UINT STRRET_OFFSET = 1;
inline constexpr UINT STRRET_CSTR = 2;

// A name in one of three forms: a wide string to be freed with the task allocator, a distance from
// the start of the item identifier list to an ANSI string, or the ANSI string itself.
struct STRRET {
  UINT uType;
  union {
    OLECHAR* pOleStr;
    UINT uOffset;
    char cStr[260];
  };
};

inline constexpr DWORD SHCONTF_FOLDERS = 0x20;
inline constexpr DWORD SHCONTF_NONFOLDERS = 0x40;
inline constexpr DWORD SHGDN_NORMAL = 0;

struct IEnumIDList : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{0x000214F2, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  // Relative lists. S_FALSE when fewer than `wanted` are left.
  virtual HRESULT Next(ULONG wanted, ITEMIDLIST** items, ULONG* fetched) = 0;
  virtual HRESULT Skip(ULONG count) = 0;
  virtual HRESULT Reset() = 0;
  virtual HRESULT Clone(IEnumIDList** clone) = 0;
};

// E_NOTIMPL is what the layer's folders answer to what is not described here.
struct IShellFolder : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{0x000214E6, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  virtual HRESULT ParseDisplayName(HWND owner, void* context, OLECHAR* name, ULONG* eaten,
                                   ITEMIDLIST** item, ULONG* attributes) = 0;
  // The entries as they are now. The first of the connections folder makes a new connection.
  virtual HRESULT EnumObjects(HWND owner, DWORD flags, IEnumIDList** items) = 0;
  // The folder that `item` is.
  virtual HRESULT BindToObject(const ITEMIDLIST* item, void* context, REFIID iid,
                               void** object) = 0;
  virtual HRESULT BindToStorage(const ITEMIDLIST* item, void* context, REFIID iid,
                                void** object) = 0;
  virtual HRESULT CompareIDs(std::intptr_t order, const ITEMIDLIST* a, const ITEMIDLIST* b) = 0;
  virtual HRESULT CreateViewObject(HWND owner, REFIID iid, void** object) = 0;
  virtual HRESULT GetAttributesOf(UINT count, const ITEMIDLIST** items, ULONG* attributes) = 0;
  virtual HRESULT GetUIObjectOf(HWND owner, UINT count, const ITEMIDLIST** items, REFIID iid,
                                UINT* reserved, void** object) = 0;
  virtual HRESULT GetDisplayNameOf(const ITEMIDLIST* item, DWORD flags, STRRET* name) = 0;
  virtual HRESULT SetNameOf(HWND owner, const ITEMIDLIST* item, const OLECHAR* name, DWORD flags,
                            ITEMIDLIST** renamed) = 0;
};

inline constexpr int CSIDL_CONNECTIONS = 0x31;

HRESULT SHGetMalloc(IMalloc** allocator);
HRESULT SHGetDesktopFolder(IShellFolder** desktop);
// The absolute list of a special folder; E_INVALIDARG for one that there is not.
HRESULT SHGetSpecialFolderLocation(HWND owner, int folder, ITEMIDLIST** list);

inline constexpr ULONG SEE_MASK_IDLIST = 0x4;
inline constexpr ULONG SEE_MASK_INVOKEIDLIST = 0xC;
inline constexpr ULONG SEE_MASK_FLAG_NO_UI = 0x400;
inline constexpr int SW_SHOWDEFAULT = 10;

struct SHELLEXECUTEINFOA {
  DWORD cbSize;
  ULONG fMask;
  HWND hwnd;
  const char* lpVerb;
  const char* lpFile;
  const char* lpParameters;
  const char* lpDirectory;
  int nShow;
  HMODULE hInstApp;  // above 32 when it succeeded
  void* lpIDList;
  const char* lpClass;
  void* hkeyClass;
  DWORD dwHotKey;
  HANDLE hIcon;
  HANDLE hProcess;
};

// Opens the entry that `lpIDList` names, an absolute list, as a double-click does: a connection is
// dialled by a program that goes on by itself. FALSE with ERROR_FILE_NOT_FOUND when there is no
// such entry or no program for it, ERROR_INVALID_PARAMETER for anything but a list.
BOOL ShellExecuteExA(SHELLEXECUTEINFOA* info);
