#include "platform/kernel/handles.h"

#include <cerrno>

namespace {

constinit thread_local DWORD last_error = ERROR_SUCCESS;

}  // namespace

DWORD GetLastError() { return last_error; }

void SetLastError(DWORD code) { last_error = code; }

BOOL CloseHandle(HANDLE handle) {
  using namespace tallowbrook::platform;
  if (handle == kCurrentThread) return TRUE;
  KernelObject* object = object_of(handle);
  if (object == nullptr) return fail(ERROR_INVALID_HANDLE);
  object->release();
  return TRUE;
}

namespace tallowbrook::platform {

DWORD error_from_errno(int error) {
  switch (error) {
    case 0:
      return ERROR_SUCCESS;
    case ENOENT:
      return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
      return ERROR_PATH_NOT_FOUND;
    case EMFILE:
    case ENFILE:
      return ERROR_TOO_MANY_OPEN_FILES;
    case EACCES:
    case EPERM:
    case EISDIR:
      return ERROR_ACCESS_DENIED;
    case EBADF:
      return ERROR_INVALID_HANDLE;
    case ENOMEM:
      return ERROR_NOT_ENOUGH_MEMORY;
    case EXDEV:
      return ERROR_NOT_SAME_DEVICE;
    case EROFS:
      return ERROR_WRITE_PROTECT;
    case ETXTBSY:
      return ERROR_SHARING_VIOLATION;
    case ENOSYS:
    case EOPNOTSUPP:
      return ERROR_NOT_SUPPORTED;
    case EEXIST:
      return ERROR_FILE_EXISTS;
    case EINVAL:
      return ERROR_INVALID_PARAMETER;
    case EPIPE:
      return ERROR_BROKEN_PIPE;
    case ENOSPC:
    case EDQUOT:
      return ERROR_DISK_FULL;
    case ESPIPE:
      return ERROR_SEEK_ON_DEVICE;
    case ENOTEMPTY:
      return ERROR_DIR_NOT_EMPTY;
    case EBUSY:
    case EAGAIN:
      return ERROR_BUSY;
    case ENAMETOOLONG:
      return ERROR_FILENAME_EXCED_RANGE;
    case EFBIG:
      return ERROR_FILE_TOO_LARGE;
    case EIO:
      return ERROR_IO_DEVICE;
    case ELOOP:
      return ERROR_CANT_RESOLVE_FILENAME;
    default:
      return ERROR_GEN_FAILURE;
  }
}

BOOL fail(DWORD code) {
  SetLastError(code);
  return FALSE;
}

BOOL fail_with_errno() { return fail(error_from_errno(errno)); }

}  // namespace tallowbrook::platform
