// Messages that are hard to carry whole: what a mail server must get byte for byte.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace tallowbrook::test {

inline std::string header(int recipients = 1) {
  std::string text = "From: a@example.org\r\nTo: ";
  for (int i = 0; i < recipients; ++i) {
    text += (i > 0 ? ",\r\n b" : "b") + std::to_string(i) + "@example.net";
  }
  return text + "\r\nDate: Tue, 5 Mar 2024 09:15:00 +0000\r\nSubject: hard to carry\r\n\r\n";
}

// Lines of text without dots, at least `size` bytes of them.
inline std::string lines(std::size_t size) {
  std::string text;
  text.reserve(size + 80);
  for (std::size_t i = 0; text.size() < size; ++i) {
    text += std::string(40 + i % 37, static_cast<char>('a' + i % 26)) + "\r\n";
  }
  return text;
}

// A base64 part of `size` bytes and more, behind a text part.
inline std::string with_attachment(std::size_t size) {
  std::string text =
      "From: a@example.org\r\nTo: b@example.net\r\nMIME-Version: 1.0\r\n"
      "Content-Type: multipart/mixed; boundary=\"part\"\r\n\r\n--part\r\n\r\nsee below\r\n"
      "--part\r\nContent-Type: application/octet-stream\r\n"
      "Content-Transfer-Encoding: base64\r\n\r\n";
  const std::size_t end = text.size() + size;
  while (text.size() < end) text += std::string(76, 'Q') + "\r\n";
  return text + "--part--\r\n";
}

// Name and text; leading dots are doubled as in any message that is ready to be sent.
inline std::vector<std::pair<std::string, std::string>> mail_texts() {
  return {
      {"an empty text", header()},
      {"a text without a line end", header() + "text"},
      {"lines that begin with dots", header() + "..\r\n...two\r\n.. \r\na.b\r\n.\t\r\n..\r\n"},
      {"lines of 998 bytes", header() + std::string(998, 'x') + "\r\n" + std::string(998, 'y')},
      {"8-bit text", header() + "gr\xFC\xDF dich \xC3\xBC\r\n\xFF\xFE\r\n"},
      {"200 recipients", header(200) + "text\r\n"},
      {"an attachment of 8 MB", with_attachment(8'000'000)},
  };
}

}  // namespace tallowbrook::test
