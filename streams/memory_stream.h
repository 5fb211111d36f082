// CISSHelper: a growable stream in memory with separate read and write positions.
//
// `Read` advances the read position alone, `Write` the write position alone, `Seek` sets both: a
// producer writes, and a consumer reads the same object from where reading stopped last (from the
// start for a fresh stream) without a `Seek` between them. Content is below 4 GiB.
//
// Growth, with step s and factor f (all in bytes):
// - f above 0: the first growth adds the larger of s and what is needed, and each later one takes
//   (f << growths) * s in all, or what is needed when that is more (f = 1, s = 500000: 500000,
//   1000000, 2000000 ...).
// - f = 0: a small stream costs what it weighs: below one step the capacity is what is needed, or
//   twice what it was (never under 32, never over s); from one step on it grows by the largest of
//   s, half of itself (at most 32 MB) and what is needed. So filling a stream costs linear time
//   whatever its step.
// - s = 0: what is needed first, then as f = 0.
// When memory for a generous capacity cannot be had, the needed size alone is tried.
//
// The count of references is plain: a stream belongs to one thread at a time. Memory that cannot be
// had throws std::bad_alloc out of C++ calls; the stream's interface methods answer
// E_OUTOFMEMORY.
#pragma once

#include <algorithm>
#include <string_view>

#include "platform/com/unknown.h"
#include "platform/storage/stream.h"

namespace tallowbrook {

class CISSHelper final : public IStream {
 public:
  // A stream on the stack or inside an object; it must outlive every reference to it.
  CISSHelper() : CISSHelper(false) {}
  ~CISSHelper();
  CISSHelper(const CISSHelper&) = delete;
  CISSHelper& operator=(const CISSHelper&) = delete;

  // A stream on the heap, which deletes itself on the last Release. It holds a module lock.
  [[nodiscard]] static platform::ComPtr<CISSHelper> create(ULONG step = 4096, ULONG factor = 0);
  // The same, holding a copy of `content`, both positions 0.
  [[nodiscard]] static platform::ComPtr<CISSHelper> create_with(std::string_view content,
                                                                ULONG step = 4096,
                                                                ULONG factor = 0);
  // The one identity by which CISSHelper can be asked for as itself (never leaves the component).
  static constexpr GUID kIid{
      0x5B0F1C52, 0x0D0A, 0x4B1E, {0x9C, 0x33, 0x5E, 0x0B, 0x61, 0x7A, 0x20, 0x11}};

  HRESULT QueryInterface(REFIID iid, void** object) override;
  ULONG AddRef() override;
  ULONG Release() override;

  HRESULT Read(void* pv, ULONG cb, ULONG* read) override;
  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override;
  HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override;
  HRESULT SetSize(ULARGE_INTEGER size) override;
  HRESULT CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override;
  HRESULT Commit(DWORD) override;
  HRESULT Revert() override;
  HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override;
  HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override;
  HRESULT Stat(STATSTG*, DWORD) override;
  HRESULT Clone(IStream** clone) override;

  // Frees the buffer; size, capacity, positions and the growth count become 0.
  void Clear();

  void set_growth(ULONG step, ULONG factor) {
    step_ = step;
    factor_ = factor;
  }

  // The whole content. Valid until the next change of the stream.
  [[nodiscard]] std::string_view bytes() const { return {data_, size_}; }
  // What a Read would give from here on.
  [[nodiscard]] std::string_view unread() const;
  [[nodiscard]] ULONG size() const { return size_; }
  [[nodiscard]] ULONG capacity() const { return capacity_; }
  void rewind() { read_position_ = write_position_ = 0; }
  // Moves the read position over `count` bytes of `unread()`.
  void consume(ULONG count) { read_position_ += count; }
  // Moves the read position alone back.
  void give_back(ULONG count) { read_position_ -= std::min(count, read_position_); }
  // Write for C++ callers; throws std::bad_alloc (also when 4 GiB would be passed).
  void write(std::string_view block);
  // Room for `size` bytes in all, in one step.
  void reserve(ULONG size);
  // Gives back what was reserved and is not used, where that is much.
  void trim();
  // `Clear`, then everything from the source's current position, in 4096-byte reads (one block
  // when the source is a CISSHelper too).
  void assign_from(ISequentialStream& source);
  // The same without `Clear`.
  void append_from(ISequentialStream& source);
  // Takes the source's content and leaves it empty, without copying. Both positions become 0.
  void take(CISSHelper& source) noexcept;

 private:
  explicit CISSHelper(bool heap_owned);
  [[nodiscard]] ULONGLONG wanted_capacity(ULONG needed) const;
  void grow(ULONG needed);
  void set_capacity(ULONG capacity);
  bool fits_behind_write_position(std::size_t count) const;

  char* data_ = nullptr;
  ULONG size_ = 0;
  ULONG capacity_ = 0;
  ULONG step_ = 4096;
  ULONG factor_ = 0;
  ULONG references_ = 1;
  ULONG read_position_ = 0;
  ULONG write_position_ = 0;
  ULONG growth_count_ = 0;
  bool heap_owned_;
};

}  // namespace tallowbrook
