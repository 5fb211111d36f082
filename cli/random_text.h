// Texts that nobody else has made, for boundaries and message ids.
#pragma once

#include <sys/random.h>

#include <array>
#include <stdexcept>
#include <string>

namespace tallowbrook::cli {

// 128 random bits in hexadecimal digits.
[[nodiscard]] inline std::string random_text() {
  std::array<unsigned char, 16> bytes{};
  if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
    throw std::runtime_error("the system gives no random bytes");
  }
  std::string text;
  for (const unsigned char byte : bytes) {
    text.push_back("0123456789abcdef"[byte >> 4]);
    text.push_back("0123456789abcdef"[byte & 15]);
  }
  return text;
}

}  // namespace tallowbrook::cli
