#include "core/text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>

#include "platform/kernel/code_page.h"

namespace tallowbrook {

namespace {

constexpr std::string_view kBlanks = "\t\n\r ";

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

std::u16string to_wide(std::string_view ansi) { return platform::widen(CP_ACP, ansi); }

std::string to_ansi(std::u16string_view wide) { return platform::narrow(CP_ACP, wide); }

platform::Bstr to_bstr(std::string_view ansi) {
  return is_ascii(ansi) ? ascii_to_bstr(ansi) : platform::Bstr(to_wide(ansi));
}

namespace {

// Widens the block of a fixed size at a place, which the compiler turns into vector moves.
template <std::size_t Block>
void widen_block(std::string_view text, std::size_t at, char16_t* to) {
  unsigned char narrow[Block];
  std::memcpy(narrow, text.data() + at, Block);
  char16_t wide[Block];
  for (std::size_t i = 0; i < Block; ++i) wide[i] = narrow[i];
  std::memcpy(to + at, wide, sizeof wide);
}

// The first and the last block of the text, which may overlap.
template <std::size_t Block>
void widen_ends(std::string_view text, char16_t* to) {
  widen_block<Block>(text, 0, to);
  widen_block<Block>(text, text.size() - Block, to);
}

void widen(std::string_view text, char16_t* to) {
  constexpr std::size_t kBlock = 16;
  if (text.size() < 4) {
    std::copy(text.begin(), text.end(), to);
  } else if (text.size() < 8) {
    widen_ends<4>(text, to);
  } else if (text.size() < kBlock) {
    widen_ends<8>(text, to);
  } else {
    widen_ends<kBlock>(text, to);
    const std::size_t last = text.size() - kBlock;
    if (last <= 3 * kBlock) {
      // Perhaps the last one again: a branch by the size costs more, as no processor foresees it.
      widen_block<kBlock>(text, std::min(last, kBlock), to);
      widen_block<kBlock>(text, std::min(last, 2 * kBlock), to);
    } else {
      for (std::size_t at = kBlock; at < last; at += kBlock) widen_block<kBlock>(text, at, to);
    }
  }
}

}  // namespace

platform::Bstr ascii_to_bstr(std::string_view text) {
  if (text.size() > std::numeric_limits<UINT>::max() / sizeof(OLECHAR)) throw std::bad_alloc();
  auto wide = platform::Bstr::adopt(SysAllocStringLen(nullptr, static_cast<UINT>(text.size())));
  if (wide.get() == nullptr) throw std::bad_alloc();
  widen(text, wide.get());
  return wide;
}

bool is_ascii(std::string_view text) {
  std::uint64_t word = 0;
  for (; text.size() >= sizeof(word); text.remove_prefix(sizeof(word))) {
    std::memcpy(&word, text.data(), sizeof(word));
    if ((word & 0x8080808080808080) != 0) return false;
  }
  return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

bool same_letters(const char* a, const char* b, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    if (a[i] != b[i] && lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

bool starts_ignoring_case(std::string_view text, std::string_view prefix) {
  return equals_ignoring_case(text.substr(0, prefix.size()), prefix);
}

std::string to_lower(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), lower);
  return result;
}

std::string_view trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace tallowbrook
