// The stream interfaces and the persistence interfaces built on them.
#pragma once

#include "platform/com/unknown.h"

// A signed or unsigned 64-bit quantity, passed by value as the stream contract wants it.
struct LARGE_INTEGER {
  LONGLONG QuadPart;
};
struct ULARGE_INTEGER {
  ULONGLONG QuadPart;
};
struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

// What `Stat` tells of a stream or a storage element. `pwcsName` is owned by the receiver and
// freed with CoTaskMemFree.
struct STATSTG {
  OLECHAR* pwcsName;
  DWORD type;
  ULARGE_INTEGER cbSize;
  FILETIME mtime;
  FILETIME ctime;
  FILETIME atime;
  DWORD grfMode;
  DWORD grfLocksSupported;
  CLSID clsid;
  DWORD grfStateBits;
  DWORD reserved;
};

inline constexpr DWORD STREAM_SEEK_SET = 0;
inline constexpr DWORD STREAM_SEEK_CUR = 1;
inline constexpr DWORD STREAM_SEEK_END = 2;

inline constexpr DWORD STGTY_STORAGE = 1;
inline constexpr DWORD STGTY_STREAM = 2;

inline constexpr DWORD STATFLAG_DEFAULT = 0;
inline constexpr DWORD STATFLAG_NONAME = 1;

struct ISequentialStream : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{
      0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};

  // Reads up to `cb` bytes; S_FALSE or fewer bytes than asked at the end. `read` may be null.
  virtual HRESULT Read(void* pv, ULONG cb, ULONG* read) = 0;
  // Writes `cb` bytes; `written` may be null.
  virtual HRESULT Write(const void* pv, ULONG cb, ULONG* written) = 0;
};

struct IStream : ISequentialStream {
  using Base = ISequentialStream;
  static constexpr GUID kIid{0x0000000C, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  virtual HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) = 0;
  virtual HRESULT SetSize(ULARGE_INTEGER size) = 0;
  virtual HRESULT CopyTo(IStream* target, ULARGE_INTEGER cb, ULARGE_INTEGER* read,
                         ULARGE_INTEGER* written) = 0;
  virtual HRESULT Commit(DWORD flags) = 0;
  virtual HRESULT Revert() = 0;
  virtual HRESULT LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER cb, DWORD type) = 0;
  virtual HRESULT UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER cb, DWORD type) = 0;
  virtual HRESULT Stat(STATSTG* stat, DWORD flags) = 0;
  virtual HRESULT Clone(IStream** clone) = 0;
};

struct IPersist : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{0x0000010C, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  virtual HRESULT GetClassID(CLSID* clsid) = 0;
};

struct IPersistStream : IPersist {
  using Base = IPersist;
  static constexpr GUID kIid{0x00000109, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

  virtual HRESULT IsDirty() = 0;
  virtual HRESULT Load(IStream* stream) = 0;
  virtual HRESULT Save(IStream* stream, BOOL clear_dirty) = 0;
  virtual HRESULT GetSizeMax(ULARGE_INTEGER* size) = 0;
};

struct IPersistStreamInit : IPersist {
  using Base = IPersist;
  static constexpr GUID kIid{
      0x7FD52380, 0x4E07, 0x101B, {0xAE, 0x2D, 0x08, 0x00, 0x2B, 0x2E, 0xC7, 0x13}};

  virtual HRESULT IsDirty() = 0;
  virtual HRESULT Load(IStream* stream) = 0;
  virtual HRESULT Save(IStream* stream, BOOL clear_dirty) = 0;
  virtual HRESULT GetSizeMax(ULARGE_INTEGER* size) = 0;
  virtual HRESULT InitNew() = 0;
};
