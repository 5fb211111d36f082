#include "cli/file_stream.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

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

void DotLine::take(std::string_view bytes) {
  std::size_t i = 0;
  for (; i < bytes.size() && !found_; ++i) {
    const char c = bytes[i];
    const bool line_end = c == '\n' || c == '\r';
    if (c == '\0') continue;  // the component passes over it
    switch (at_) {
      case At::kStart:
        if (!line_end) at_ = c == '.' ? At::kDot : At::kInside;
        break;
      case At::kDot:
        if (c == '\r') {
          at_ = At::kCr;
        } else if (c == '\n') {
          found_ = true;
        } else if (c != ' ' && c != '\t') {
          at_ = At::kInside;
        }
        break;
      case At::kCr:
        found_ = c != '\r';
        if (found_ && c != '\n') --i;  // a CR alone ends a line as well
        break;
      case At::kInside:
        if (!line_end) i = std::min(bytes.find_first_of("\r\n", i), bytes.size());
        if (i < bytes.size()) at_ = At::kStart;
        break;
    }
  }
  if (found_) rest_.append(bytes.substr(std::min(i, bytes.size())));
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

void FileStream::pass_rest(ISequentialStream& target) {
  std::vector<char> block(65536);
  ULONG got = 0;
  while (SUCCEEDED(Read(block.data(), static_cast<ULONG>(block.size()), &got)) && got > 0) {
    if (FAILED(target.Write(block.data(), got, nullptr))) return;
  }
}

bool FileStream::finish() {
  if (error_ == 0 && ::fsync(descriptor_) != 0 && errno != EINVAL && errno != EROFS &&
      errno != ENOTSUP) {
    fail(errno);
  }
  return close();
}

bool FileStream::close() {
  if (descriptor_ > STDERR_FILENO) {
    if (::close(descriptor_) != 0 && errno != EINTR) fail(errno);
    descriptor_ = -1;
  }
  return error_ == 0;
}

HRESULT MessageInput::Read(void* pv, ULONG cb, ULONG* read) {
  ULONG got = 0;
  const HRESULT status = source_->Read(pv, cb, &got);
  const std::string_view bytes(static_cast<const char*>(pv), got);
  dot_line_.take(bytes);
  if (!bytes.empty()) last_ = bytes.back();
  if (closed_ && SUCCEEDED(status) && got < cb && last_ == '\n' && !dot_line_.found()) {
    const std::string_view line = kEndLine.substr(line_given_, cb - got);
    std::memcpy(static_cast<char*>(pv) + got, line.data(), line.size());
    line_given_ += line.size();
    got += static_cast<ULONG>(line.size());
  }
  if (read != nullptr) *read = got;
  return status;
}

int MessageInput::pass_rest(IStream& target) {
  const auto copy = [&](std::string_view text) {
    return text.empty() ||
           SUCCEEDED(target.Write(text.data(), static_cast<ULONG>(text.size()), nullptr));
  };
  if (dot_line_.found() && copy(kEndLine) && copy(dot_line_.rest())) source_->pass_rest(target);
  return source_->error();
}

HRESULT TextStream::Read(void* pv, ULONG cb, ULONG* read) {
  const std::size_t got = std::min<std::size_t>(cb, text_.size() - position_);
  if (got > 0) std::memcpy(pv, text_.data() + position_, got);
  position_ += got;
  if (read != nullptr) *read = static_cast<ULONG>(got);
  return got < cb ? S_FALSE : S_OK;
}

HRESULT TextStream::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) {
  if (origin > STREAM_SEEK_END) return E_INVALIDARG;
  const std::size_t base = origin == STREAM_SEEK_SET   ? 0
                           : origin == STREAM_SEEK_CUR ? position_
                                                       : text_.size();
  const auto target = static_cast<std::int64_t>(base) + move.QuadPart;
  if (target < 0 || target > static_cast<std::int64_t>(text_.size())) return E_INVALIDARG;
  position_ = static_cast<std::size_t>(target);
  if (position != nullptr) position->QuadPart = position_;
  return S_OK;
}

HRESULT TextStream::Stat(STATSTG* stat, DWORD) {
  if (stat == nullptr) return E_POINTER;
  *stat = {};
  stat->type = STGTY_STREAM;
  stat->cbSize.QuadPart = text_.size();
  return S_OK;
}

HRESULT Collector::Write(const void* pv, ULONG cb, ULONG* written) {
  text_.append(static_cast<const char*>(pv), cb);
  if (written != nullptr) *written = cb;
  return S_OK;
}

HRESULT WithoutDotLine::Write(const void* pv, ULONG cb, ULONG* written) {
  if (written != nullptr) *written = cb;
  std::string_view bytes(static_cast<const char*>(pv), cb);
  const std::size_t kept = std::min(bytes.size(), kEndLine.size());
  const std::size_t ready = held_.size() + kept - std::min(held_.size() + kept, kEndLine.size());
  HRESULT status =
      ready == 0 ? S_OK : target_.Write(held_.data(), static_cast<ULONG>(ready), nullptr);
  held_.erase(0, ready);
  const std::string_view whole = bytes.substr(0, bytes.size() - kept);
  if (SUCCEEDED(status) && !whole.empty()) {
    status = target_.Write(whole.data(), static_cast<ULONG>(whole.size()), nullptr);
  }
  held_.append(bytes.substr(whole.size()));
  return status;
}

void WithoutDotLine::finish() {
  if (held_ != kEndLine) target_.Write(held_.data(), static_cast<ULONG>(held_.size()), nullptr);
  held_.clear();
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
