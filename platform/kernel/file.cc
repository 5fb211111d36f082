#include "platform/kernel/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <memory>
#include <new>
#include <string>

#include "platform/kernel/code_page.h"
#include "platform/kernel/file_sharing.h"

namespace tallowbrook::platform {
namespace {

static_assert(sizeof(off_t) == 8);

// Makes a system call again as long as a signal interrupts it.
template <class Call>
auto uninterrupted(Call call) {
  for (;;) {
    const auto result = call();
    if (result >= 0 || errno != EINTR) return result;
  }
}

// The FILE_SHARE_* bits of what an open does.
DWORD uses_of(DWORD access) {
  DWORD uses = 0;
  if ((access & (GENERIC_READ | GENERIC_ALL)) != 0) uses |= FILE_SHARE_READ;
  if ((access & (GENERIC_WRITE | GENERIC_ALL)) != 0) uses |= FILE_SHARE_WRITE;
  return uses;
}

class FileObject final : public KernelObject {
 public:
  static constexpr ObjectKind kKind = ObjectKind::kFile;

  FileObject() : KernelObject(kKind) {}
  ~FileObject() override {
    if (descriptor_ >= 0) ::close(descriptor_);
  }

  // Opens the file; false with the last error. Called once.
  bool open(const char* path, DWORD access, DWORD share, DWORD disposition);

  // Moves up to `size` bytes at the position and the position with them; `moved` tells how many.
  BOOL read(char* bytes, std::size_t size, DWORD& moved);
  BOOL write(const char* bytes, std::size_t size, DWORD& moved);

  // The new position, or -1 with the last error.
  LONGLONG seek(LONGLONG distance, DWORD origin);
  // The size, or -1 with the last error.
  [[nodiscard]] LONGLONG size() const;
  BOOL end_here();
  BOOL flush();

 private:
  int open_descriptor(const char* path, int flags, DWORD disposition);

  int descriptor_ = -1;
  bool has_positions_ = false;
  bool existed_ = true;
  std::atomic<LONGLONG> position_{0};
  ShareClaim claim_;
};

int FileObject::open_descriptor(const char* path, int flags, DWORD disposition) {
  constexpr mode_t kMode = 0666;
  const auto open_with = [&](int more) {
    return uninterrupted([&] { return ::open(path, flags | more, kMode); });
  };
  if (disposition == CREATE_NEW) return open_with(O_CREAT | O_EXCL);
  const int existing = open_with(0);
  const bool creates = disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS;
  if (existing >= 0 || errno != ENOENT || !creates) return existing;
  existed_ = false;
  return open_with(O_CREAT);
}

bool FileObject::open(const char* path, DWORD access, DWORD share, DWORD disposition) {
  const DWORD uses = uses_of(access);
  const bool writes = (uses & FILE_SHARE_WRITE) != 0;
  if (disposition < CREATE_NEW || disposition > TRUNCATE_EXISTING ||
      (disposition == TRUNCATE_EXISTING && !writes)) {
    return fail(ERROR_INVALID_PARAMETER) != FALSE;
  }
  const int mode = !writes ? O_RDONLY : (uses & FILE_SHARE_READ) != 0 ? O_RDWR : O_WRONLY;
  descriptor_ = open_descriptor(path, mode | O_CLOEXEC | O_NOCTTY, disposition);
  if (descriptor_ < 0) return fail_with_errno() != FALSE;
  struct stat status;
  if (::fstat(descriptor_, &status) != 0) return fail_with_errno() != FALSE;
  if (S_ISDIR(status.st_mode)) return fail(ERROR_ACCESS_DENIED) != FALSE;
  has_positions_ = S_ISREG(status.st_mode) || S_ISBLK(status.st_mode);
  if (S_ISREG(status.st_mode)) {
    if (!claim_.claim({status.st_dev, status.st_ino}, uses, share)) {
      return fail(ERROR_SHARING_VIOLATION) != FALSE;
    }
    const bool empties = disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING;
    if (empties && status.st_size != 0 &&
        uninterrupted([&] { return writes ? ::ftruncate(descriptor_, 0) : ::truncate(path, 0); }) !=
            0) {
      return fail_with_errno() != FALSE;
    }
  }
  if (disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS) {
    SetLastError(existed_ ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
  }
  return true;
}

BOOL FileObject::read(char* bytes, std::size_t size, DWORD& moved) {
  while (moved < size) {
    const ssize_t got = uninterrupted([&] {
      return has_positions_ ? ::pread(descriptor_, bytes + moved, size - moved, position_)
                            : ::read(descriptor_, bytes + moved, size - moved);
    });
    if (got < 0) return fail_with_errno();
    moved += static_cast<DWORD>(got);
    position_ += got;
    if (got == 0 || !has_positions_) break;
  }
  return TRUE;
}

BOOL FileObject::write(const char* bytes, std::size_t size, DWORD& moved) {
  while (moved < size) {
    const ssize_t put = uninterrupted([&] {
      return has_positions_ ? ::pwrite(descriptor_, bytes + moved, size - moved, position_)
                            : ::write(descriptor_, bytes + moved, size - moved);
    });
    if (put < 0) return fail_with_errno();
    if (put == 0) return fail(ERROR_DISK_FULL);
    moved += static_cast<DWORD>(put);
    position_ += put;
  }
  return TRUE;
}

LONGLONG FileObject::seek(LONGLONG distance, DWORD origin) {
  LONGLONG base = 0;
  if (!has_positions_) {
    SetLastError(ERROR_SEEK_ON_DEVICE);
    return -1;
  }
  if (origin == FILE_CURRENT) {
    base = position_;
  } else if (origin == FILE_END) {
    base = size();
    if (base < 0) return -1;
  } else if (origin != FILE_BEGIN) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return -1;
  }
  LONGLONG target = 0;
  if (__builtin_add_overflow(base, distance, &target)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return -1;
  }
  if (target < 0) {
    SetLastError(ERROR_NEGATIVE_SEEK);
    return -1;
  }
  position_ = target;
  return target;
}

LONGLONG FileObject::size() const {
  struct stat status;
  if (::fstat(descriptor_, &status) != 0) {
    fail_with_errno();
    return -1;
  }
  return S_ISBLK(status.st_mode) ? ::lseek(descriptor_, 0, SEEK_END) : status.st_size;
}

BOOL FileObject::end_here() {
  const int result = uninterrupted([&] { return ::ftruncate(descriptor_, position_); });
  return result == 0 ? TRUE : fail_with_errno();
}

BOOL FileObject::flush() {
  const int result = uninterrupted([&] { return ::fsync(descriptor_); });
  // Pipes and terminals have nothing to flush.
  return result == 0 || errno == EINVAL || errno == EROFS ? TRUE : fail_with_errno();
}

HANDLE create_file(const std::string& path, DWORD access, DWORD share, DWORD disposition) {
  auto file = std::make_unique<FileObject>();
  if (!file->open(path.c_str(), access, share, disposition)) return INVALID_HANDLE_VALUE;
  return file.release()->handle();
}

// The file that a directory entry names (not what a symbolic link there points to); false with the
// last error when there is none.
bool entry_identity(const std::string& path, FileIdentity& identity) {
  struct stat status;
  if (::lstat(path.c_str(), &status) != 0) return fail_with_errno() != FALSE;
  identity = {status.st_dev, status.st_ino};
  return true;
}

BOOL delete_file(const std::string& path) {
  FileIdentity identity{};
  if (!entry_identity(path, identity)) return FALSE;
  if (!ShareClaim::may_delete(identity)) return fail(ERROR_SHARING_VIOLATION);
  return ::unlink(path.c_str()) == 0 ? TRUE : fail_with_errno();
}

// Waits until the directory that holds `path` is on the disk.
BOOL flush_directory_of(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  const int descriptor =
      uninterrupted([&] { return ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
  if (descriptor < 0) return TRUE;  // a directory that may be written but not read
  const int result = uninterrupted([&] { return ::fsync(descriptor); });
  const BOOL flushed = result == 0 || errno == EINVAL ? TRUE : fail_with_errno();
  ::close(descriptor);
  return flushed;
}

int rename_to_free_name(const std::string& from, const std::string& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return -1;
  struct stat status;  // a file system that cannot do it in one step
  if (::lstat(to.c_str(), &status) == 0) {
    errno = EEXIST;
    return -1;
  }
  return ::rename(from.c_str(), to.c_str());
}

BOOL move_file(const std::string& from, const std::string& to, DWORD flags) {
  FileIdentity source{};
  FileIdentity target{};
  const bool replaces = (flags & MOVEFILE_REPLACE_EXISTING) != 0;
  if (!entry_identity(from, source)) return FALSE;
  if (!ShareClaim::may_delete(source)) return fail(ERROR_SHARING_VIOLATION);
  if (replaces && entry_identity(to, target) && !ShareClaim::may_delete(target)) {
    return fail(ERROR_SHARING_VIOLATION);
  }
  const int result = replaces ? ::rename(from.c_str(), to.c_str()) : rename_to_free_name(from, to);
  if (result != 0) {
    return errno == EEXIST ? fail(ERROR_ALREADY_EXISTS) : fail_with_errno();
  }
  return (flags & MOVEFILE_WRITE_THROUGH) != 0 ? flush_directory_of(to) : TRUE;
}

// Runs `body` on the file-system form of the given paths; `failure` when one is null or memory runs
// out.
template <class Result, class Body, class... Units>
Result with_paths(Result failure, Body body, const Units*... paths) {
  if (!(... && paths)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return failure;
  }
  try {
    const auto converted = [](const auto* path) {
      if constexpr (std::is_same_v<decltype(path), const char*>) {
        return path_from_ansi(path);
      } else {
        return path_from_wide(path);
      }
    };
    return body(converted(paths)...);
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return failure;
  }
}

template <class Unit>
HANDLE create_file_named(const Unit* path, DWORD access, DWORD share, DWORD disposition) {
  return with_paths(
      INVALID_HANDLE_VALUE,
      [&](const std::string& name) { return create_file(name, access, share, disposition); }, path);
}

}  // namespace
}  // namespace tallowbrook::platform

namespace platform = tallowbrook::platform;
using platform::FileObject;
using platform::object_of;

HANDLE CreateFileA(const char* path, DWORD access, DWORD share, void* /*security*/,
                   DWORD disposition, DWORD /*attributes*/, HANDLE /*from*/) {
  return platform::create_file_named(path, access, share, disposition);
}

HANDLE CreateFileW(const OLECHAR* path, DWORD access, DWORD share, void* /*security*/,
                   DWORD disposition, DWORD /*attributes*/, HANDLE /*from*/) {
  return platform::create_file_named(path, access, share, disposition);
}

BOOL ReadFile(HANDLE file, void* bytes, DWORD size, DWORD* read, void* /*overlapped*/) {
  DWORD moved = 0;
  if (read != nullptr) *read = 0;
  auto* object = object_of<FileObject>(file);
  if (object == nullptr) return FALSE;
  if (bytes == nullptr && size != 0) return platform::fail(ERROR_INVALID_PARAMETER);
  const BOOL result = object->read(static_cast<char*>(bytes), size, moved);
  if (read != nullptr) *read = moved;
  return result;
}

BOOL WriteFile(HANDLE file, const void* bytes, DWORD size, DWORD* written, void* /*overlapped*/) {
  DWORD moved = 0;
  if (written != nullptr) *written = 0;
  auto* object = object_of<FileObject>(file);
  if (object == nullptr) return FALSE;
  if (bytes == nullptr && size != 0) return platform::fail(ERROR_INVALID_PARAMETER);
  const BOOL result = object->write(static_cast<const char*>(bytes), size, moved);
  if (written != nullptr) *written = moved;
  return result;
}

BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, LARGE_INTEGER* position, DWORD origin) {
  if (position != nullptr) position->QuadPart = 0;
  auto* object = object_of<FileObject>(file);
  if (object == nullptr) return FALSE;
  const LONGLONG target = object->seek(distance.QuadPart, origin);
  if (target < 0) return FALSE;
  if (position != nullptr) position->QuadPart = target;
  return TRUE;
}

DWORD SetFilePointer(HANDLE file, LONG low, LONG* high, DWORD origin) {
  auto* object = object_of<FileObject>(file);
  if (object == nullptr) return INVALID_SET_FILE_POINTER;
  const LONGLONG distance =
      high == nullptr ? low : (static_cast<LONGLONG>(*high) << 32) | static_cast<DWORD>(low);
  const LONGLONG before = object->seek(0, FILE_CURRENT);
  const LONGLONG target = before < 0 ? before : object->seek(distance, origin);
  if (target < 0) return INVALID_SET_FILE_POINTER;
  if (high != nullptr) {
    *high = static_cast<LONG>(target >> 32);
  } else if (target > std::numeric_limits<DWORD>::max()) {
    (void)object->seek(before, FILE_BEGIN);
    SetLastError(ERROR_INVALID_PARAMETER);
    return INVALID_SET_FILE_POINTER;
  }
  SetLastError(ERROR_SUCCESS);
  return static_cast<DWORD>(target);
}

BOOL GetFileSizeEx(HANDLE file, LARGE_INTEGER* size) {
  if (size == nullptr) return platform::fail(ERROR_INVALID_PARAMETER);
  size->QuadPart = 0;
  auto* object = object_of<FileObject>(file);
  if (object == nullptr) return FALSE;
  const LONGLONG bytes = object->size();
  if (bytes < 0) return FALSE;
  size->QuadPart = bytes;
  return TRUE;
}

BOOL SetEndOfFile(HANDLE file) {
  auto* object = object_of<FileObject>(file);
  return object == nullptr ? FALSE : object->end_here();
}

BOOL FlushFileBuffers(HANDLE file) {
  auto* object = object_of<FileObject>(file);
  return object == nullptr ? FALSE : object->flush();
}

BOOL DeleteFileA(const char* path) {
  return platform::with_paths(FALSE, &platform::delete_file, path);
}

BOOL DeleteFileW(const OLECHAR* path) {
  return platform::with_paths(FALSE, &platform::delete_file, path);
}

BOOL MoveFileExA(const char* from, const char* to, DWORD flags) {
  return platform::with_paths(
      FALSE,
      [flags](const std::string& source, const std::string& target) {
        return platform::move_file(source, target, flags);
      },
      from, to);
}

BOOL MoveFileExW(const OLECHAR* from, const OLECHAR* to, DWORD flags) {
  return platform::with_paths(
      FALSE,
      [flags](const std::string& source, const std::string& target) {
        return platform::move_file(source, target, flags);
      },
      from, to);
}
