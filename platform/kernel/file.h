// Files behind handles.
//
// A path is bytes in the ANSI code page (the A forms) or UTF-16 (the W forms, which name every
// file: see path_from_wide); it reaches the file system as UTF-8. Sharing modes hold among the
// layer's own handles of this process, for regular files, by device and inode, so that links and
// other spellings of a path do not get round them.
//
// Each handle keeps its own position; a regular file is read and written at it without moving the
// kernel's. Interrupted system calls are made again.
#pragma once

#include "platform/kernel/handles.h"
#include "platform/storage/stream.h"

inline constexpr DWORD GENERIC_READ = 0x80000000;
inline constexpr DWORD GENERIC_WRITE = 0x40000000;
inline constexpr DWORD GENERIC_ALL = 0x10000000;

inline constexpr DWORD FILE_SHARE_NONE = 0;
inline constexpr DWORD FILE_SHARE_READ = 1;
inline constexpr DWORD FILE_SHARE_WRITE = 2;
inline constexpr DWORD FILE_SHARE_DELETE = 4;

inline constexpr DWORD CREATE_NEW = 1;         // fails when the file exists: ERROR_FILE_EXISTS
inline constexpr DWORD CREATE_ALWAYS = 2;      // creates or empties
inline constexpr DWORD OPEN_EXISTING = 3;      // fails when it is missing: ERROR_FILE_NOT_FOUND
inline constexpr DWORD OPEN_ALWAYS = 4;        // creates or opens
inline constexpr DWORD TRUNCATE_EXISTING = 5;  // opens and empties; wants GENERIC_WRITE

inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;

inline constexpr DWORD FILE_BEGIN = 0;
inline constexpr DWORD FILE_CURRENT = 1;
inline constexpr DWORD FILE_END = 2;
inline constexpr DWORD INVALID_SET_FILE_POINTER = 0xFFFFFFFF;

inline constexpr DWORD MOVEFILE_REPLACE_EXISTING = 1;
inline constexpr DWORD MOVEFILE_WRITE_THROUGH = 8;

// Opens or creates a file. INVALID_HANDLE_VALUE with, besides those above, ERROR_ACCESS_DENIED for
// a directory or a file that may not be opened so, ERROR_SHARING_VIOLATION, ERROR_PATH_NOT_FOUND.
// A file that CREATE_ALWAYS empties keeps its content when the sharing modes refuse the open. When
// CREATE_ALWAYS or OPEN_ALWAYS succeed, the last error is ERROR_ALREADY_EXISTS or ERROR_SUCCESS.
// `security`, `attributes` and `from` are ignored.
[[nodiscard]] HANDLE CreateFileA(const char* path, DWORD access, DWORD share, void* security,
                                 DWORD disposition, DWORD attributes, HANDLE from);
[[nodiscard]] HANDLE CreateFileW(const OLECHAR* path, DWORD access, DWORD share, void* security,
                                 DWORD disposition, DWORD attributes, HANDLE from);

// Reads up to `size` bytes; fewer only at the end of a regular file, 0 at the end of any. From a
// pipe or a terminal it takes what is there. `read` may be null; it is cleared first.
BOOL ReadFile(HANDLE file, void* bytes, DWORD size, DWORD* read, void* overlapped);

// Writes `size` bytes. On failure `written` (may be null) tells how many went out before it.
BOOL WriteFile(HANDLE file, const void* bytes, DWORD size, DWORD* written, void* overlapped);

// Moves the position; beyond the end is allowed, before the start fails with ERROR_NEGATIVE_SEEK,
// and a file without positions with ERROR_SEEK_ON_DEVICE.
BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, LARGE_INTEGER* position, DWORD origin);
// The same in 32-bit halves. Returns the low half of the new position; INVALID_SET_FILE_POINTER is
// a failure unless GetLastError is ERROR_SUCCESS. With a null `high`, `low` is signed and the new
// position must be below 4 GiB (ERROR_INVALID_PARAMETER).
DWORD SetFilePointer(HANDLE file, LONG low, LONG* high, DWORD origin);

// The size in bytes; 0 for what has none.
BOOL GetFileSizeEx(HANDLE file, LARGE_INTEGER* size);
// Makes the file end at the position.
BOOL SetEndOfFile(HANDLE file);
// Waits until the content is on the disk. TRUE for what has none.
BOOL FlushFileBuffers(HANDLE file);

// Removes a file. ERROR_SHARING_VIOLATION while one of the layer's handles does not share deletion.
BOOL DeleteFileA(const char* path);
BOOL DeleteFileW(const OLECHAR* path);

// Renames a file, within one file system only (else ERROR_NOT_SAME_DEVICE). An existing `to` fails
// with ERROR_ALREADY_EXISTS, or is replaced in one step with MOVEFILE_REPLACE_EXISTING.
// MOVEFILE_WRITE_THROUGH also waits until the new name is on the disk. Sharing as of DeleteFileA,
// for both files.
BOOL MoveFileExA(const char* from, const char* to, DWORD flags);
BOOL MoveFileExW(const OLECHAR* from, const OLECHAR* to, DWORD flags);
