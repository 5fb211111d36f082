#include "streams/file_stream.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "core/guard.h"
#include "platform/kernel/file.h"

namespace tallowbrook {

namespace {

constexpr ULONG kBlock = 4096;
constexpr ULONG kMaxPosition = std::numeric_limits<ULONG>::max();

platform::ComPtr<CFileSystemStream> open(const OLECHAR* path, DWORD access, DWORD sharing,
                                         DWORD disposition) {
  if (path == nullptr) return {};
  const HANDLE file =
      CreateFileW(path, access, sharing, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return {};
  try {
    return make_object<CFileSystemStream>(file);
  } catch (...) {
    CloseHandle(file);
    throw;
  }
}

// Pipes and devices have no positions: they go on where they stand.
bool move_to(HANDLE file, ULONG position) {
  LARGE_INTEGER move;
  move.QuadPart = position;
  return SetFilePointerEx(file, move, nullptr, FILE_BEGIN) != FALSE ||
         GetLastError() == ERROR_SEEK_ON_DEVICE;
}

}  // namespace

platform::ComPtr<CFileSystemStream> CFileSystemStream::open_for_reading(const OLECHAR* path) {
  return open(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
}

platform::ComPtr<CFileSystemStream> CFileSystemStream::open_for_writing(const OLECHAR* path) {
  return open(path, GENERIC_WRITE, 0, CREATE_ALWAYS);
}

CFileSystemStream::~CFileSystemStream() {
  flush();
  if (owns_handle_) CloseHandle(file_);
}

// --- reading -------------------------------------------------------------------------------------

HRESULT CFileSystemStream::read_at_position(void* pv, ULONG cb, ULONG* got) {
  *got = 0;
  const ULONG addressable = std::min(cb, kMaxPosition - read_position_);
  if (addressable == 0 || !move_to(file_, read_position_)) return E_FAIL;
  return ReadFile(file_, pv, addressable, got, nullptr) != FALSE ? S_OK : E_FAIL;
}

HRESULT CFileSystemStream::refill() {
  if (!read_buffer_) read_buffer_ = std::make_unique<char[]>(kBlock);
  read_offset_ = read_fill_ = 0;
  return read_at_position(read_buffer_.get(), kBlock, &read_fill_);
}

HRESULT CFileSystemStream::Read(void* pv, ULONG cb, ULONG* read) {
  if (read != nullptr) *read = 0;
  if (pv == nullptr) return STG_E_INVALIDPOINTER;
  return guarded([&] {
    char* target = static_cast<char*>(pv);
    HRESULT status = S_OK;
    ULONG left = cb;
    while (left > 0 && SUCCEEDED(status)) {
      ULONG got = 0;
      if (read_offset_ == read_fill_ && left >= kBlock) {
        status = read_at_position(target, left, &got);
      } else {
        if (read_offset_ == read_fill_) status = refill();
        got = std::min(left, read_fill_ - read_offset_);
        if (got > 0) std::memcpy(target, read_buffer_.get() + read_offset_, got);
        read_offset_ += got;
      }
      if (got == 0) break;
      target += got;
      left -= got;
      read_position_ += got;
      if (read != nullptr) *read += got;
    }
    return status;
  });
}

// --- writing -------------------------------------------------------------------------------------

// A file takes all bytes or, when the medium is full, fewer: that is a failure as well.
HRESULT CFileSystemStream::write_at_position(const void* pv, ULONG cb, ULONG* written) {
  ULONG count = 0;
  const bool done = cb <= kMaxPosition - write_position_ && move_to(file_, write_position_) &&
                    WriteFile(file_, pv, cb, &count, nullptr) != FALSE && count == cb;
  write_position_ += count;
  if (written != nullptr) *written = count;
  if (done) return S_OK;
  write_status_ = E_FAIL;
  return E_FAIL;
}

HRESULT CFileSystemStream::flush() {
  const ULONG count = std::exchange(write_fill_, 0);
  return count == 0 ? S_OK : write_at_position(write_buffer_.get(), count, nullptr);
}

HRESULT CFileSystemStream::append_to_buffer(const void* pv, ULONG cb, ULONG* written) {
  if (!write_buffer_) write_buffer_ = std::make_unique<char[]>(kBlock);
  const HRESULT status = cb > kBlock - write_fill_ ? flush() : S_OK;
  if (FAILED(status)) return status;
  std::memcpy(write_buffer_.get() + write_fill_, pv, cb);
  write_fill_ += cb;
  if (written != nullptr) *written = cb;
  return S_OK;
}

HRESULT CFileSystemStream::Write(const void* pv, ULONG cb, ULONG* written) {
  if (written != nullptr) *written = 0;
  if (pv == nullptr) return STG_E_INVALIDPOINTER;
  if (cb == 0) return S_OK;
  return guarded([&] {
    if (cb < kBlock) return append_to_buffer(pv, cb, written);
    const HRESULT status = flush();
    return FAILED(status) ? status : write_at_position(pv, cb, written);
  });
}

// --- positions -----------------------------------------------------------------------------------

HRESULT CFileSystemStream::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) {
  flush();
  read_fill_ = read_offset_ = 0;
  const auto offset = static_cast<ULONG>(static_cast<ULONGLONG>(move.QuadPart));
  LARGE_INTEGER size{};
  switch (origin) {
    case STREAM_SEEK_SET:
      read_position_ = write_position_ = offset;
      break;
    case STREAM_SEEK_CUR:
      read_position_ += offset;
      write_position_ += offset;
      break;
    case STREAM_SEEK_END:
      if (GetFileSizeEx(file_, &size) == FALSE) size.QuadPart = 0;
      read_position_ = write_position_ = static_cast<ULONG>(size.QuadPart) - offset;
      break;
    default:
      break;
  }
  if (position != nullptr) position->QuadPart = read_position_;
  return S_OK;
}

}  // namespace tallowbrook
