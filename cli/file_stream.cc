#include "cli/file_stream.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace tallowbrook::cli {

HRESULT StreamBase::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (iid != IUnknown::kIid && iid != ISequentialStream::kIid && iid != IStream::kIid) {
    return E_NOINTERFACE;
  }
  *object = static_cast<IStream*>(this);
  AddRef();
  return S_OK;
}

ULONG StreamBase::Release() {
  const ULONG left = --references_;
  if (left == 0) delete this;
  return left;
}

HRESULT StreamBase::Read(void*, ULONG, ULONG* read) {
  if (read != nullptr) *read = 0;
  return E_NOTIMPL;
}
HRESULT StreamBase::Write(const void*, ULONG, ULONG* written) {
  if (written != nullptr) *written = 0;
  return E_NOTIMPL;
}
HRESULT StreamBase::Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER*) { return E_NOTIMPL; }
HRESULT StreamBase::SetSize(ULARGE_INTEGER) { return E_NOTIMPL; }
HRESULT StreamBase::CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) {
  return E_NOTIMPL;
}
HRESULT StreamBase::Commit(DWORD) { return S_OK; }
HRESULT StreamBase::Revert() { return E_NOTIMPL; }
HRESULT StreamBase::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) { return E_NOTIMPL; }
HRESULT StreamBase::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) { return E_NOTIMPL; }
HRESULT StreamBase::Stat(STATSTG*, DWORD) { return E_NOTIMPL; }
HRESULT StreamBase::Clone(IStream** clone) {
  if (clone != nullptr) *clone = nullptr;
  return E_NOTIMPL;
}

FileStream::~FileStream() {
  if (descriptor_ > STDERR_FILENO) ::close(descriptor_);
}

HRESULT FileStream::fail(int error) {
  if (error_ == 0) error_ = error;
  return error == ENOSPC ? STG_E_MEDIUMFULL : E_FAIL;
}

HRESULT FileStream::Read(void* pv, ULONG cb, ULONG* read) {
  ULONG total = 0;
  HRESULT status = S_OK;
  while (total < cb) {
    const ssize_t got = ::read(descriptor_, static_cast<char*>(pv) + total, cb - total);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) status = fail(errno);
    if (got == 0) status = S_FALSE;
    if (got <= 0) break;
    total += static_cast<ULONG>(got);
  }
  if (read != nullptr) *read = total;
  return status;
}

HRESULT FileStream::Write(const void* pv, ULONG cb, ULONG* written) {
  ULONG total = 0;
  HRESULT status = error_ == 0 ? S_OK : E_FAIL;  // nothing follows a gap
  while (SUCCEEDED(status) && total < cb) {
    const ssize_t put = ::write(descriptor_, static_cast<const char*>(pv) + total, cb - total);
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) {
      status = fail(errno);
      break;
    }
    total += static_cast<ULONG>(put);
  }
  if (written != nullptr) *written = total;
  return status;
}

HRESULT FileStream::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) {
  static constexpr int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  if (origin > STREAM_SEEK_END) return E_INVALIDARG;
  const off_t at = ::lseek(descriptor_, move.QuadPart, kWhence[origin]);
  if (at < 0) return E_FAIL;
  if (position != nullptr) position->QuadPart = static_cast<ULONGLONG>(at);
  return S_OK;
}

HRESULT FileStream::Stat(STATSTG* stat, DWORD) {
  if (stat == nullptr) return E_POINTER;
  *stat = {};
  struct stat file {};
  if (::fstat(descriptor_, &file) != 0) return E_FAIL;
  stat->type = STGTY_STREAM;
  stat->cbSize.QuadPart = static_cast<ULONGLONG>(file.st_size);
  return S_OK;
}

bool FileStream::finish() {
  if (error_ == 0 && ::fsync(descriptor_) != 0 && errno != EINVAL && errno != EROFS &&
      errno != ENOTSUP) {
    fail(errno);
  }
  if (descriptor_ > STDERR_FILENO) {
    if (::close(descriptor_) != 0 && errno != EINTR) fail(errno);
    descriptor_ = -1;
  }
  return error_ == 0;
}

HRESULT ContentCounter::Write(const void* pv, ULONG cb, ULONG* written) {
  const char* bytes = static_cast<const char*>(pv);
  ULONG at = 0;
  for (; at < cb && matched_ < 4; ++at) {
    if (bytes[at] == kHeaderEnd[matched_]) {
      ++matched_;
    } else {
      matched_ = bytes[at] == '\r' ? 1 : 0;
    }
  }
  content_ += cb - at;
  if (written != nullptr) *written = cb;
  return S_OK;
}

}  // namespace tallowbrook::cli
