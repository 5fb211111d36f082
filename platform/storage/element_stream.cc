// The stream over an element: reads what stood there when it was opened, and keeps what is written
// to itself until it is committed or released.
#include <algorithm>
#include <array>
#include <cstring>
#include <new>

#include "platform/com/activation.h"
#include "platform/com/counted.h"
#include "platform/storage/open_element.h"

namespace tallowbrook::platform {
namespace {

// Memory that cannot be had is a full medium to who writes.
template <class Body>
HRESULT writing(Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
    return STG_E_MEDIUMFULL;
  }
}

// What a stream and its clones share.
class StreamContent final : public OpenElement {
 public:
  explicit StreamContent(NewStream stream)
      : OpenElement(std::move(stream.siblings)),
        name(std::move(stream.name)),
        mode(stream.mode),
        elements_(std::move(stream.elements)),
        placed_(std::move(stream.content)),
        is_new_(stream.is_new),
        changed_(stream.is_new) {}
  ~StreamContent() { static_cast<void>(publish(true)); }

  const std::u16string name;
  const DWORD mode;

  [[nodiscard]] const std::string& bytes() const { return own_ ? *own_ : *placed_; }

  // The bytes to change.
  std::string& own_bytes() {
    if (!own_) own_ = std::make_shared<std::string>(*placed_);
    // A reader in this process may hold what was published last.
    if (own_.use_count() > 1) own_ = std::make_shared<std::string>(*own_);
    changed_ = true;
    return *own_;
  }

  HRESULT publish(bool durable) override {
    if (!changed_) return S_OK;
    return writing([&] {
      const Content content = own_ ? Content(own_) : placed_;
      const bool replaces = !is_new_ || (mode & STGM_CREATE) != 0;
      const HRESULT status = elements_->place(name, content, {replaces, durable});
      if (FAILED(status)) return status;
      placed_ = content;
      is_new_ = changed_ = false;
      return S_OK;
    });
  }

  void drop() override {
    own_.reset();
    changed_ = false;
  }

 private:
  std::shared_ptr<Elements> elements_;
  Content placed_;
  std::shared_ptr<std::string> own_;  // what was written
  bool is_new_;
  bool changed_;
};

class ElementStream final : public Counted<IStream> {
 public:
  explicit ElementStream(std::shared_ptr<StreamContent> content, ULONGLONG position = 0)
      : content_(std::move(content)), position_(position) {}

  HRESULT Read(void* pv, ULONG cb, ULONG* read) override {
    if (read != nullptr) *read = 0;
    if (pv == nullptr) return STG_E_INVALIDPOINTER;
    if ((content_->mode & kAccess) == STGM_WRITE) return STG_E_ACCESSDENIED;
    const std::string_view bytes = content_->bytes();
    const auto start = static_cast<std::size_t>(std::min<ULONGLONG>(position_, bytes.size()));
    const std::size_t count = bytes.copy(static_cast<char*>(pv), cb, start);
    position_ += count;
    if (read != nullptr) *read = static_cast<ULONG>(count);
    return S_OK;
  }

  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override {
    if (written != nullptr) *written = 0;
    if (pv == nullptr) return STG_E_INVALIDPOINTER;
    if (!writable()) return STG_E_ACCESSDENIED;
    if (cb == 0) return S_OK;
    return writing([&] {
      if (position_ > kMostBytes - cb) return STG_E_MEDIUMFULL;
      const auto at = static_cast<std::size_t>(position_);
      std::string& bytes = content_->own_bytes();
      if (bytes.size() < at + cb) bytes.resize(at + cb);
      std::memcpy(bytes.data() + at, pv, cb);
      position_ += cb;
      if (written != nullptr) *written = cb;
      return S_OK;
    });
  }

  HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override {
    if (origin > STREAM_SEEK_END) return STG_E_INVALIDFUNCTION;
    ULONGLONG base = 0;
    if (origin == STREAM_SEEK_CUR) base = position_;
    if (origin == STREAM_SEEK_END) base = content_->bytes().size();
    const auto distance = static_cast<ULONGLONG>(move.QuadPart);
    const bool back = move.QuadPart < 0 && origin != STREAM_SEEK_SET;
    const ULONGLONG to = base + distance;
    if (back ? to > base : to < base) return STG_E_INVALIDFUNCTION;
    position_ = to;
    if (position != nullptr) position->QuadPart = position_;
    return S_OK;
  }

  HRESULT SetSize(ULARGE_INTEGER size) override {
    if (!writable()) return STG_E_ACCESSDENIED;
    return writing([&] {
      if (size.QuadPart > kMostBytes) return STG_E_MEDIUMFULL;
      content_->own_bytes().resize(static_cast<std::size_t>(size.QuadPart));
      return S_OK;
    });
  }

  HRESULT CopyTo(IStream* target, ULARGE_INTEGER cb, ULARGE_INTEGER* read,
                 ULARGE_INTEGER* written) override {
    if (read != nullptr) read->QuadPart = 0;
    if (written != nullptr) written->QuadPart = 0;
    if (target == nullptr) return STG_E_INVALIDPOINTER;
    std::array<char, 65536> block;
    while (cb.QuadPart > 0) {
      const auto wanted = static_cast<ULONG>(std::min<ULONGLONG>(cb.QuadPart, block.size()));
      ULONG got = 0;
      ULONG put = 0;
      HRESULT status = Read(block.data(), wanted, &got);
      if (SUCCEEDED(status) && got > 0) status = target->Write(block.data(), got, &put);
      if (read != nullptr) read->QuadPart += got;
      if (written != nullptr) written->QuadPart += put;
      if (FAILED(status)) return status;
      if (put < got) return STG_E_MEDIUMFULL;
      if (got < wanted) break;
      cb.QuadPart -= got;
    }
    return S_OK;
  }

  HRESULT Commit(DWORD flags) override {
    return content_->publish((flags & STGC_DANGEROUSLYCOMMITMERELYTODISKCACHE) == 0);
  }
  HRESULT Revert() override {
    content_->drop();
    return S_OK;
  }
  HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
    return STG_E_INVALIDFUNCTION;
  }
  HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
    return STG_E_INVALIDFUNCTION;
  }

  HRESULT Stat(STATSTG* stat, DWORD flags) override {
    if (stat == nullptr) return STG_E_INVALIDPOINTER;
    *stat = {};
    return writing([&] {
      if ((flags & STATFLAG_NONAME) == 0) stat->pwcsName = task_copy(content_->name);
      stat->type = STGTY_STREAM;
      stat->cbSize.QuadPart = content_->bytes().size();
      stat->grfMode = content_->mode;
      return S_OK;
    });
  }

  // The clone has a position of its own in the same bytes.
  HRESULT Clone(IStream** clone) override {
    if (clone == nullptr) return STG_E_INVALIDPOINTER;
    *clone = new (std::nothrow) ElementStream(content_, position_);
    return *clone == nullptr ? E_OUTOFMEMORY : S_OK;
  }

 private:
  static constexpr DWORD kAccess = STGM_WRITE | STGM_READWRITE;
  static constexpr ULONGLONG kMostBytes = ULONGLONG{1} << 32;

  [[nodiscard]] bool writable() const { return (content_->mode & kAccess) != STGM_READ; }

  std::shared_ptr<StreamContent> content_;
  ULONGLONG position_;
};

}  // namespace

IStream* new_element_stream(NewStream stream) {
  return new ElementStream(std::make_shared<StreamContent>(std::move(stream)));
}

OLECHAR* task_copy(std::u16string_view text) {
  auto* copy = static_cast<OLECHAR*>(CoTaskMemAlloc((text.size() + 1) * sizeof(OLECHAR)));
  if (copy == nullptr) throw std::bad_alloc();
  copy[text.copy(copy, text.size())] = 0;
  return copy;
}

}  // namespace tallowbrook::platform
