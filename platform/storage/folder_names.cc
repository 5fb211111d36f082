#include "platform/storage/folder_names.h"

#include "platform/kernel/unicode.h"
#include "platform/storage/elements.h"

namespace tallowbrook::platform {
namespace {

constexpr std::string_view kDigits = "0123456789ABCDEF";

bool stands_for_itself(char32_t point, bool first) {
  return (point >= 'a' && point <= 'z') || (point >= 'A' && point <= 'Z') ||
         (point >= '0' && point <= '9') || point == '-' || point == '_' || point == ' ' ||
         (point == '.' && !first);
}

void put_hex(std::string& to, char32_t number, int digits) {
  for (int i = digits - 1; i >= 0; --i) to += kDigits[(number >> (4 * i)) & 0xF];
}

// The number that `digits` digits at the start of `text` give, or -1.
int hex(std::string_view text, std::size_t digits) {
  if (text.size() < digits) return -1;
  int number = 0;
  for (const char digit : text.substr(0, digits)) {
    const std::size_t value = kDigits.find(digit);
    if (value == std::string_view::npos) return -1;
    number = number * 16 + static_cast<int>(value);
  }
  return number;
}

}  // namespace

std::string file_name_of(std::u16string_view element) {
  std::string name;
  while (!element.empty()) {
    const Character next = first_utf16(element);
    element.remove_prefix(next.length);
    if (!next.valid) {
      name += "%u";
      put_hex(name, next.point, 4);
    } else if (next.point >= 0x80) {
      char units[4];
      ByteOutput out(units, sizeof(units));
      put_utf8(next.point, out);
      name.append(units, out.count());
    } else if (stands_for_itself(next.point, name.empty())) {
      name += static_cast<char>(next.point);
    } else {
      name += '%';
      put_hex(name, next.point, 2);
    }
  }
  return name;
}

std::u16string element_name_of(std::string_view file) {
  std::u16string name;
  std::string_view rest = file;
  while (!rest.empty()) {
    if (rest[0] != '%') {
      const Character next = first_utf8(rest);
      if (!next.valid) return {};
      char16_t units[2];
      WideOutput out(units, 2);
      put_utf16(next.point, out);
      name.append(units, out.count());
      rest.remove_prefix(next.length);
      continue;
    }
    const bool wide = rest.size() > 1 && rest[1] == 'u';
    const int unit = wide ? hex(rest.substr(2), 4) : hex(rest.substr(1), 2);
    if (unit < 0) return {};
    name += static_cast<char16_t>(unit);
    rest.remove_prefix(wide ? 6 : 3);
  }
  // Another spelling of some name is not one that this layer wrote.
  return is_element_name(name) && file_name_of(name) == file ? name : std::u16string();
}

}  // namespace tallowbrook::platform
