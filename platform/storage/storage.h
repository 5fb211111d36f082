// Structured storage: named streams and storages within storages, in memory or in a folder on disk.
//
// Elements are listed in the order of their names, by code unit; names are 1 to 31 units long and
// compared unit by unit. Any unit may stand in them: how a folder writes them is told in
// folder_elements.h. An object is used by one thread at a time; two processes, or two threads that
// opened it each for themselves, may use one folder.
//
// What takes effect when: destroying, renaming and setting attributes at once. A stream and a new
// storage take their place, whole, when they are committed, when the storage that they were opened
// from is, or when they are released; `Revert` before that drops them, so that what stood there
// before stays. Nobody ever finds an element half-written, and a reader keeps what it opened while
// another one replaces it. A stream is written in memory and takes 4 GiB at most. `Commit` waits
// until the disk has it, unless told not to.
//
// Transacted storages are not offered: STGM_TRANSACTED gives STG_E_INVALIDFLAG.
#pragma once

#include "platform/storage/stream.h"

inline constexpr HRESULT STG_E_INVALIDFUNCTION = make_status(0x80030001);
inline constexpr HRESULT STG_E_PATHNOTFOUND = make_status(0x80030003);
inline constexpr HRESULT STG_E_TOOMANYOPENFILES = make_status(0x80030004);
inline constexpr HRESULT STG_E_ACCESSDENIED = make_status(0x80030005);
inline constexpr HRESULT STG_E_WRITEFAULT = make_status(0x8003001D);
inline constexpr HRESULT STG_E_READFAULT = make_status(0x8003001E);
inline constexpr HRESULT STG_E_FILEALREADYEXISTS = make_status(0x80030050);
inline constexpr HRESULT STG_E_INVALIDPARAMETER = make_status(0x80030057);
inline constexpr HRESULT STG_E_INVALIDNAME = make_status(0x800300FC);
inline constexpr HRESULT STG_E_INVALIDFLAG = make_status(0x800300FF);
inline constexpr HRESULT STG_E_REVERTED = make_status(0x80030102);  // its folder is gone

inline constexpr DWORD STGM_READ = 0;
inline constexpr DWORD STGM_WRITE = 1;
inline constexpr DWORD STGM_READWRITE = 2;
inline constexpr DWORD STGM_SHARE_EXCLUSIVE = 0x10;  // sharing modes are accepted and not enforced
inline constexpr DWORD STGM_SHARE_DENY_WRITE = 0x20;
inline constexpr DWORD STGM_SHARE_DENY_READ = 0x30;
inline constexpr DWORD STGM_SHARE_DENY_NONE = 0x40;
inline constexpr DWORD STGM_CREATE = 0x1000;  // replaces what has the name
inline constexpr DWORD STGM_TRANSACTED = 0x10000;

inline constexpr DWORD STGC_DEFAULT = 0;
inline constexpr DWORD STGC_OVERWRITE = 1;
inline constexpr DWORD STGC_ONLYIFCURRENT = 2;
inline constexpr DWORD STGC_DANGEROUSLYCOMMITMERELYTODISKCACHE = 4;  // does not wait for the disk
inline constexpr DWORD STGC_CONSOLIDATE = 8;  // clears away what killed processes left

inline constexpr DWORD STGMOVE_MOVE = 0;
inline constexpr DWORD STGMOVE_COPY = 1;

using SNB = OLECHAR**;  // names, ended by a null

struct IEnumSTATSTG : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{0x0000000D, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  // S_FALSE when fewer than `wanted` are left. `fetched` may be null when `wanted` is 1. Each name
  // is freed with CoTaskMemFree.
  virtual HRESULT Next(ULONG wanted, STATSTG* elements, ULONG* fetched) = 0;
  virtual HRESULT Skip(ULONG count) = 0;
  virtual HRESULT Reset() = 0;  // lists the elements anew
  virtual HRESULT Clone(IEnumSTATSTG** clone) = 0;
};

struct IStorage : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{0x0000000B, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  // STG_E_FILEALREADYEXISTS for a name that is taken, unless `mode` has STGM_CREATE.
  virtual HRESULT CreateStream(const OLECHAR* name, DWORD mode, DWORD reserved1, DWORD reserved2,
                               IStream** stream) = 0;
  virtual HRESULT OpenStream(const OLECHAR* name, void* reserved1, DWORD mode, DWORD reserved2,
                             IStream** stream) = 0;
  virtual HRESULT CreateStorage(const OLECHAR* name, DWORD mode, DWORD reserved1, DWORD reserved2,
                                IStorage** storage) = 0;
  virtual HRESULT OpenStorage(const OLECHAR* name, IStorage* priority, DWORD mode, SNB exclude,
                              DWORD reserved, IStorage** storage) = 0;
  // Adds all elements, and the class and state bits, to `target`; those of the same name are
  // replaced, storages of the same name merged. An excluded interface leaves elements of its kind
  // out.
  virtual HRESULT CopyTo(DWORD excluded_count, const IID* excluded, SNB excluded_names,
                         IStorage* target) = 0;
  virtual HRESULT MoveElementTo(const OLECHAR* name, IStorage* target, const OLECHAR* new_name,
                                DWORD flags) = 0;
  // Puts every element that is open from here in its place first. The first failure is given, after
  // the others were tried.
  virtual HRESULT Commit(DWORD flags) = 0;
  // Drops what was written to the open elements since. A new storage itself will not be either.
  virtual HRESULT Revert() = 0;
  virtual HRESULT EnumElements(DWORD reserved1, void* reserved2, DWORD reserved3,
                               IEnumSTATSTG** elements) = 0;
  virtual HRESULT DestroyElement(const OLECHAR* name) = 0;
  virtual HRESULT RenameElement(const OLECHAR* name, const OLECHAR* new_name) = 0;
  // A null name means the storage itself; null times stay as they are. Times of creation are not
  // kept by folders.
  virtual HRESULT SetElementTimes(const OLECHAR* name, const FILETIME* created,
                                  const FILETIME* accessed, const FILETIME* modified) = 0;
  virtual HRESULT SetClass(REFCLSID clsid) = 0;
  virtual HRESULT SetStateBits(DWORD bits, DWORD mask) = 0;
  virtual HRESULT Stat(STATSTG* stat, DWORD flags) = 0;
};

struct IPersistStorage : IPersist {
  using Base = IPersist;
  static constexpr GUID kIid{0x0000010A, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  virtual HRESULT IsDirty() = 0;
  virtual HRESULT InitNew(IStorage* storage) = 0;
  virtual HRESULT Load(IStorage* storage) = 0;
  // After a Save the object writes nothing until SaveCompleted.
  virtual HRESULT Save(IStorage* storage, BOOL same_as_load) = 0;
  virtual HRESULT SaveCompleted(IStorage* storage) = 0;
  virtual HRESULT HandsOffStorage() = 0;
};

// A new storage: the folder `path`, or one in memory for a null path, which is gone with its last
// reference. A folder (or file) that is there fails with STG_E_FILEALREADYEXISTS; with STGM_CREATE
// a folder that is a storage is replaced when the new one is committed or released.
HRESULT StgCreateDocfile(const OLECHAR* path, DWORD mode, DWORD reserved, IStorage** storage);
// Opens a folder. STG_E_FILENOTFOUND; STG_E_FILEALREADYEXISTS for what is no storage.
HRESULT StgOpenStorage(const OLECHAR* path, IStorage* priority, DWORD mode, SNB exclude,
                       DWORD reserved, IStorage** storage);
// S_OK for a storage, S_FALSE for something else, STG_E_FILENOTFOUND.
HRESULT StgIsStorageFile(const OLECHAR* path);
