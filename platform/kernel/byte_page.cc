// Tables are made by asking the C library for the character of every byte alone. A name whose
// converter waits for more bytes, keeps a state or gives more than one unit for a byte is no page
// of this kind.
#include "platform/kernel/byte_page.h"

#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <optional>

#include "platform/kernel/iconv_page.h"

namespace tallowbrook::platform {
namespace {

// The 16 units of a block; true when one of them is no character.
bool map_block(const ByteTable& table, const char* from, char16_t* to) {
  bool loss = false;
  for (std::size_t i = 0; i < kBlock; ++i) {
    to[i] = table[static_cast<unsigned char>(from[i])];
    loss |= to[i] == kReplacement;
  }
  return loss;
}

bool map(const ByteTable& table, std::string_view bytes, char16_t* to) {
  bool loss = false;
  const bool ascii = table[0x7F] == 0x7F;
  while (bytes.size() >= kBlock) {
    if (ascii && is_ascii_block(bytes.data())) {
      copy_block(bytes.data(), to);
    } else if (map_block(table, bytes.data(), to)) {
      loss = true;
    }
    bytes.remove_prefix(kBlock);
    to += kBlock;
  }
  for (const char byte : bytes) {
    *to = table[static_cast<unsigned char>(byte)];
    loss |= *to++ == kReplacement;
  }
  return loss;
}

constexpr ByteTable ascii_table() {
  ByteTable table{};
  for (std::size_t i = 0; i < 256; ++i)
    table[i] = i < 0x80 ? static_cast<char16_t>(i) : kReplacement;
  return table;
}

constexpr ByteTable western_table() {
  constexpr char16_t kWestern[32] = {
      0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
      0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
      0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};
  ByteTable table{};
  for (std::size_t i = 0; i < 256; ++i) {
    table[i] = i >= 0x80 && i < 0xA0 ? kWestern[i - 0x80] : static_cast<char16_t>(i);
  }
  return table;
}

std::optional<ByteTable> table_of(const char* name) {
  ByteTable table;
  for (std::size_t i = 0; i < 256; ++i) {
    const std::optional<char16_t> unit = iconv_unit(name, static_cast<char>(i));
    if (!unit) return {};
    table[i] = *unit;
  }
  return table;
}

}  // namespace

constinit const BytePage kWesternPage(western_table());
constinit const BytePage kAsciiPage(ascii_table());

bool decode_with(const ByteTable& table, std::string_view bytes, WideOutput& out) {
  std::size_t kept = bytes.size();
  char16_t* const room = out.take_room(kept);
  bool loss = map(table, bytes.substr(0, kept), room);
  for (const char byte : bytes.substr(kept)) {
    loss |= table[static_cast<unsigned char>(byte)] == kReplacement;
  }
  return loss;
}

const BytePage* iconv_byte_page(const char* name) noexcept {
  static constinit std::mutex lock;
  const std::lock_guard hold(lock);
  try {
    // Never destroyed: texts are converted until the process ends.
    static auto& pages = *new std::map<const char*, std::unique_ptr<const BytePage>>;
    const auto [found, is_new] = pages.try_emplace(name);
    if (is_new) {
      if (const auto table = table_of(name)) found->second = std::make_unique<BytePage>(*table);
    }
    return found->second.get();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace tallowbrook::platform
