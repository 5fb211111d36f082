#include "samples/explorer/value_stream.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <utility>

#include "cli/file_stream.h"
#include "platform/automation/variant.h"

namespace bramblescope {
namespace {

constexpr std::size_t kLargestStream = 0xFFFFFFFF;

class MemoryStream final : public tallowbrook::cli::StreamBase {
 public:
  explicit MemoryStream(std::string bytes) : bytes_(std::move(bytes)) {}

  HRESULT Read(void* pv, ULONG cb, ULONG* read) override {
    const std::size_t left = bytes_.size() - std::min(position_, bytes_.size());
    const std::size_t count = std::min<std::size_t>(cb, left);
    if (count > 0) std::memcpy(pv, bytes_.data() + position_, count);
    position_ += count;
    if (read != nullptr) *read = static_cast<ULONG>(count);
    return count == cb ? S_OK : S_FALSE;
  }
  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override {
    if (written != nullptr) *written = 0;
    if (position_ + cb > kLargestStream) return STG_E_MEDIUMFULL;
    try {
      if (bytes_.size() < position_ + cb) bytes_.resize(position_ + cb);
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
    if (cb > 0) std::memcpy(bytes_.data() + position_, pv, cb);
    position_ += cb;
    if (written != nullptr) *written = cb;
    return S_OK;
  }
  HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override {
    const std::size_t base = origin == STREAM_SEEK_SET   ? 0
                             : origin == STREAM_SEEK_CUR ? position_
                                                         : bytes_.size();
    const LONGLONG wanted = static_cast<LONGLONG>(base) + move.QuadPart;
    if (wanted < 0 || wanted > static_cast<LONGLONG>(kLargestStream)) return E_INVALIDARG;
    position_ = static_cast<std::size_t>(wanted);
    if (position != nullptr) position->QuadPart = position_;
    return S_OK;
  }

 private:
  std::string bytes_;
  std::size_t position_ = 0;
};

template <class Number>
void append(std::string& bytes, Number number) {
  bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

}  // namespace

tallowbrook::platform::ComPtr<IStream> make_stream(std::string bytes) {
  return tallowbrook::platform::ComPtr<IStream>::adopt(new MemoryStream(std::move(bytes)));
}

bool read_exactly(IStream& stream, std::size_t count, std::string& bytes) {
  std::array<char, 4096> block{};
  while (count > 0) {
    const auto wanted = static_cast<ULONG>(std::min(count, block.size()));
    ULONG got = 0;
    if (FAILED(stream.Read(block.data(), wanted, &got)) || got == 0 || got > wanted) return false;
    bytes.append(block.data(), got);
    count -= got;
  }
  return true;
}

std::optional<std::string> read_stream(IStream& stream) {
  if (FAILED(stream.Seek(LARGE_INTEGER{0}, STREAM_SEEK_SET, nullptr))) return std::nullopt;
  std::string bytes;
  std::array<char, 4096> block{};
  for (;;) {
    ULONG got = 0;
    const HRESULT status = stream.Read(block.data(), static_cast<ULONG>(block.size()), &got);
    if (FAILED(status) || got > block.size()) return std::nullopt;
    if (got == 0) return bytes;
    bytes.append(block.data(), got);
  }
}

std::string text_value(std::u16string_view text) {
  const auto size = static_cast<ULONG>((text.size() + 1) * sizeof(OLECHAR));
  std::string bytes;
  append(bytes, VT_BSTR);
  append(bytes, size);
  bytes.append(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(OLECHAR));
  append(bytes, OLECHAR{0});
  return bytes;
}

std::optional<std::u16string> text_of_value(std::string_view bytes) {
  VARTYPE type = VT_EMPTY;
  ULONG size = 0;
  constexpr std::size_t kStart = sizeof type + sizeof size;
  if (bytes.size() < kStart) return std::nullopt;
  std::memcpy(&type, bytes.data(), sizeof type);
  std::memcpy(&size, bytes.data() + sizeof type, sizeof size);
  if (type != VT_BSTR || size > bytes.size() - kStart) return std::nullopt;
  std::u16string text(size / sizeof(OLECHAR), u'\0');
  std::memcpy(text.data(), bytes.data() + kStart, text.size() * sizeof(OLECHAR));
  if (!text.empty()) text.pop_back();  // the closing zero
  return text;
}

}  // namespace bramblescope
