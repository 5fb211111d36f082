#include "core/text.h"

#include <algorithm>
#include <limits>
#include <new>

#include "platform/kernel/code_page.h"

namespace tallowbrook {

namespace {

constexpr std::string_view kBlanks = "\t\n\r ";

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// The conversions count in ints.
template <class Text>
int length_of(const Text& text) {
  if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    throw std::bad_alloc();
  }
  return static_cast<int>(text.size());
}

}  // namespace

std::u16string to_wide(std::string_view ansi) {
  if (is_ascii(ansi)) return {ansi.begin(), ansi.end()};
  const int length = length_of(ansi);
  const int count = MultiByteToWideChar(CP_ACP, 0, ansi.data(), length, nullptr, 0);
  std::u16string wide(static_cast<std::size_t>(std::max(count, 0)), u'\0');
  MultiByteToWideChar(CP_ACP, 0, ansi.data(), length, wide.data(), count);
  return wide;
}

std::string to_ansi(std::u16string_view wide) {
  if (std::all_of(wide.begin(), wide.end(), [](char16_t c) { return c < 0x80; })) {
    std::string ansi(wide.size(), '\0');
    std::transform(wide.begin(), wide.end(), ansi.begin(),
                   [](char16_t c) { return static_cast<char>(c); });
    return ansi;
  }
  const int length = length_of(wide);
  const int count =
      WideCharToMultiByte(CP_ACP, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
  std::string ansi(static_cast<std::size_t>(std::max(count, 0)), '\0');
  WideCharToMultiByte(CP_ACP, 0, wide.data(), length, ansi.data(), count, nullptr, nullptr);
  return ansi;
}

platform::Bstr to_bstr(std::string_view ansi) {
  if (!is_ascii(ansi)) return platform::Bstr(to_wide(ansi));
  auto text = platform::Bstr::adopt(SysAllocStringLen(nullptr, static_cast<UINT>(length_of(ansi))));
  if (text.get() == nullptr) throw std::bad_alloc();
  std::copy(ansi.begin(), ansi.end(), text.get());
  return text;
}

bool is_ascii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool equals_ignoring_case(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lower(x) == lower(y); });
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
