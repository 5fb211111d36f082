// A BSTR's memory: a 32-bit byte count, the text, a closing zero unit.
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "platform/automation/variant.h"

namespace {

constexpr std::size_t kPrefix = sizeof(std::uint32_t);

BSTR allocate(const void* text, std::size_t bytes) {
  if (bytes > std::numeric_limits<std::uint32_t>::max() - kPrefix - 2 * sizeof(OLECHAR)) {
    return nullptr;
  }
  // An odd count of bytes still ends in a whole zero unit.
  const std::size_t room = kPrefix + bytes + bytes % 2 + sizeof(OLECHAR);
  auto* block = static_cast<char*>(std::malloc(room));
  if (block == nullptr) return nullptr;
  const auto count = static_cast<std::uint32_t>(bytes);
  std::memcpy(block, &count, kPrefix);
  if (text != nullptr && bytes != 0) std::memcpy(block + kPrefix, text, bytes);
  if (bytes % 2 != 0) block[kPrefix + bytes] = '\0';
  std::memset(block + room - sizeof(OLECHAR), 0, sizeof(OLECHAR));
  return reinterpret_cast<BSTR>(block + kPrefix);
}

}  // namespace

BSTR SysAllocString(const OLECHAR* text) {
  if (text == nullptr) return nullptr;
  return allocate(text, std::char_traits<OLECHAR>::length(text) * sizeof(OLECHAR));
}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) {
  return allocate(text, std::size_t{length} * sizeof(OLECHAR));
}

BSTR SysAllocStringByteLen(const char* text, UINT bytes) { return allocate(text, bytes); }

void SysFreeString(BSTR text) {
  if (text != nullptr) std::free(reinterpret_cast<char*>(text) - kPrefix);
}

UINT SysStringByteLen(BSTR text) {
  if (text == nullptr) return 0;
  std::uint32_t bytes = 0;
  std::memcpy(&bytes, reinterpret_cast<const char*>(text) - kPrefix, kPrefix);
  return bytes;
}

UINT SysStringLen(BSTR text) { return SysStringByteLen(text) / UINT{sizeof(OLECHAR)}; }

namespace tallowbrook::platform {

Bstr::Bstr(std::u16string_view text) {
  if (text.size() > std::numeric_limits<UINT>::max()) throw std::bad_alloc();
  text_ = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (text_ == nullptr) throw std::bad_alloc();
}

}  // namespace tallowbrook::platform
