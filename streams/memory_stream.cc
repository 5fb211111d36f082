#include "streams/memory_stream.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <new>

#include "core/guard.h"
#include "core/module.h"
#include "streams/block.h"

namespace tallowbrook {

namespace {

constexpr ULONG kCopyBlock = 4096;
constexpr ULONG kLeastCapacity = 32;
constexpr ULONG kMaxSize = std::numeric_limits<ULONG>::max();

}  // namespace

CISSHelper::CISSHelper(bool heap_owned) : heap_owned_(heap_owned) {
  if (heap_owned_) Module::lock();
}

CISSHelper::~CISSHelper() {
  free_block(data_, capacity_);
  if (heap_owned_) Module::unlock();
}

platform::ComPtr<CISSHelper> CISSHelper::create(ULONG step, ULONG factor) {
  auto stream = platform::ComPtr<CISSHelper>::adopt(new CISSHelper(true));
  stream->set_growth(step, factor);
  return stream;
}

platform::ComPtr<CISSHelper> CISSHelper::create_with(std::string_view content, ULONG step,
                                                     ULONG factor) {
  auto stream = create(step, factor);
  stream->write(content);
  stream->rewind();
  return stream;
}

HRESULT CISSHelper::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (iid == kIid) {
    *object = this;
  } else if (iid == IUnknown::kIid || iid == ISequentialStream::kIid || iid == IStream::kIid) {
    *object = static_cast<IStream*>(this);
  } else {
    return E_NOINTERFACE;
  }
  AddRef();
  return S_OK;
}

ULONG CISSHelper::AddRef() { return ++references_; }

ULONG CISSHelper::Release() {
  const ULONG left = --references_;
  if (left == 0 && heap_owned_) delete this;
  return left;
}

// --- capacity ------------------------------------------------------------------------------------

ULONGLONG CISSHelper::wanted_capacity(ULONG needed) const {
  if (step_ > 0 && factor_ > 0 && growth_count_ > 0) {
    const ULONGLONG shifted = ULONGLONG{factor_} << std::min(growth_count_, 31u);
    return shifted > kMaxSize ? kMaxSize : std::min<ULONGLONG>(shifted * step_, kMaxSize);
  }
  const ULONGLONG old = capacity_;
  if (factor_ > 0) return old + step_;
  if (needed < step_) return std::clamp<ULONGLONG>(2 * old, std::min(kLeastCapacity, step_), step_);
  return old + std::max<ULONGLONG>(step_, std::min<ULONGLONG>(old / 2, kMostSpare));
}

void CISSHelper::grow(ULONG needed) {
  const auto wanted =
      static_cast<ULONG>(std::clamp<ULONGLONG>(wanted_capacity(needed), needed, kMaxSize));
  try {
    set_capacity(wanted);
  } catch (const std::bad_alloc&) {
    if (wanted == needed) throw;
    set_capacity(needed);
  }
  ++growth_count_;
}

void CISSHelper::set_capacity(ULONG capacity) {
  char* moved = resize_block(data_, capacity_, capacity);
  if (moved == nullptr) throw std::bad_alloc();
  data_ = moved;
  capacity_ = capacity;
}

void CISSHelper::reserve(ULONG size) {
  if (size <= capacity_) return;
  set_capacity(size);
  ++growth_count_;
}

void CISSHelper::trim() {
  constexpr ULONG kMuch = 4096;
  if (size_ < capacity_ && size_ > 0 && (size_ >= kLargeBlock || capacity_ - size_ >= kMuch)) {
    set_capacity(size_);
  }
}

void CISSHelper::Clear() {
  free_block(data_, capacity_);
  data_ = nullptr;
  size_ = capacity_ = read_position_ = write_position_ = growth_count_ = 0;
}

// --- content -------------------------------------------------------------------------------------

std::string_view CISSHelper::unread() const {
  return read_position_ < size_ ? bytes().substr(read_position_) : std::string_view();
}

bool CISSHelper::fits_behind_write_position(std::size_t count) const {
  return count <= kMaxSize - write_position_;
}

void CISSHelper::write(std::string_view block) {
  if (block.empty()) return;
  if (!fits_behind_write_position(block.size())) throw std::bad_alloc();
  const auto end = static_cast<ULONG>(write_position_ + block.size());
  if (end > capacity_) {
    // The block may be a part of this very stream, which growing moves.
    const std::less<const char*> before;
    const bool own =
        data_ != nullptr && !before(block.data(), data_) && before(block.data(), data_ + size_);
    const std::ptrdiff_t offset = own ? block.data() - data_ : 0;
    grow(end);
    if (own) block = {data_ + offset, block.size()};
  }
  // A write after a seek past the end: what lies between is zero, never old memory.
  if (write_position_ > size_) std::memset(data_ + size_, 0, write_position_ - size_);
  std::memmove(data_ + write_position_, block.data(), block.size());
  size_ = std::max(size_, end);
  write_position_ = end;
}

void CISSHelper::assign_from(ISequentialStream& source) {
  Clear();
  append_from(source);
}

void CISSHelper::append_from(ISequentialStream& source) {
  // A wrapper may pass the query on to a memory stream within; its own Read counts.
  const auto memory = platform::query<CISSHelper>(&source);
  if (memory && memory.get() == &source) {
    const std::string_view rest = memory->unread();
    const auto count = static_cast<ULONG>(rest.size());
    write(rest);
    memory->consume(count);
    return;
  }
  char block[kCopyBlock];
  for (;;) {
    ULONG got = 0;
    if (FAILED(source.Read(block, kCopyBlock, &got)) || got == 0) return;
    write({block, std::min(got, kCopyBlock)});
  }
}

void CISSHelper::take(CISSHelper& source) noexcept {
  if (&source != this) {
    free_block(data_, capacity_);
    data_ = std::exchange(source.data_, nullptr);
    size_ = source.size_;
    capacity_ = std::exchange(source.capacity_, 0);
    growth_count_ = source.growth_count_;
    source.Clear();
  }
  rewind();
}

// --- the stream's interface ----------------------------------------------------------------------

HRESULT CISSHelper::Read(void* pv, ULONG cb, ULONG* read) {
  if (read != nullptr) *read = 0;
  if (pv == nullptr) return STG_E_INVALIDPOINTER;
  const std::string_view rest = unread();
  const auto count = static_cast<ULONG>(std::min<std::size_t>(cb, rest.size()));
  if (count > 0) std::memmove(pv, rest.data(), count);
  read_position_ += count;
  if (read != nullptr) *read = count;
  return count == cb ? S_OK : S_FALSE;
}

HRESULT CISSHelper::Write(const void* pv, ULONG cb, ULONG* written) {
  if (written != nullptr) *written = 0;
  if (pv == nullptr) return STG_E_INVALIDPOINTER;
  if (!fits_behind_write_position(cb)) return E_FAIL;
  return guarded([&] {
    write({static_cast<const char*>(pv), cb});
    if (written != nullptr) *written = cb;
    return S_OK;
  });
}

HRESULT CISSHelper::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) {
  const auto offset = static_cast<ULONG>(static_cast<ULONGLONG>(move.QuadPart));
  switch (origin) {
    case STREAM_SEEK_SET:
      read_position_ = write_position_ = offset;
      break;
    case STREAM_SEEK_CUR:
      read_position_ += offset;
      write_position_ += offset;
      break;
    case STREAM_SEEK_END:  // counts back from the end
      read_position_ = write_position_ = size_ - offset;
      break;
    default:
      break;
  }
  if (position != nullptr) position->QuadPart = read_position_;
  return S_OK;
}

HRESULT CISSHelper::SetSize(ULARGE_INTEGER size) {
  if (size.QuadPart > kMaxSize) return E_FAIL;
  const auto wanted = static_cast<ULONG>(size.QuadPart);
  if (wanted == 0) {
    Clear();
    return S_OK;
  }
  return guarded([&] {
    if (wanted > capacity_) grow(wanted);
    if (wanted > size_) {
      std::memset(data_ + size_, 0, wanted - size_);
    } else if (wanted < size_) {
      read_position_ = std::min(read_position_, wanted);
      write_position_ = std::min(write_position_, wanted);
    }
    size_ = wanted;
    return S_OK;
  });
}

HRESULT CISSHelper::Clone(IStream** clone) {
  if (clone == nullptr) return E_POINTER;
  *clone = nullptr;
  return guarded([&] {
    rewind();
    auto copy = create(step_, factor_);
    copy->write(bytes());
    *clone = copy.detach();
    return S_OK;
  });
}

HRESULT CISSHelper::CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER* read,
                           ULARGE_INTEGER* written) {
  if (read != nullptr) read->QuadPart = 0;
  if (written != nullptr) written->QuadPart = 0;
  return E_NOTIMPL;
}

HRESULT CISSHelper::Commit(DWORD) { return E_NOTIMPL; }
HRESULT CISSHelper::Revert() { return E_NOTIMPL; }
HRESULT CISSHelper::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) { return E_NOTIMPL; }
HRESULT CISSHelper::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) { return E_NOTIMPL; }

HRESULT CISSHelper::Stat(STATSTG* stat, DWORD) {
  if (stat != nullptr) *stat = STATSTG{};
  return E_NOTIMPL;
}

}  // namespace tallowbrook
