#include "bench/inputs.h"

namespace tallowbrook::bench {
namespace {

const std::string kHeader = "From: a@example.org\r\nSubject: s\r\n";

template <class Piece>
std::string repeated(std::string text, std::size_t count, Piece piece) {
  for (std::size_t i = 0; i < count; ++i) text += piece(i);
  return text;
}

}  // namespace

std::string text_body(std::size_t bytes) {
  const std::string line(76, 'x');
  return repeated(kHeader + "\r\n", bytes / (line.size() + 2),
                  [&line](std::size_t) { return line + "\r\n"; });
}

std::string typical() {
  std::string text;
  for (int i = 0; i < 8; ++i) {
    text += "Received: from mx" + std::to_string(i) +
            ".example.org (mx.example.org [192.0.2.1])\r\n\tby relay.example.net with ESMTP id "
            "A1B2C3D4E5;\r\n\tMon, 1 Jun 2026 10:00:00 +0200\r\n";
  }
  text +=
      "Return-Path: <sender@example.org>\r\nFrom: \"A. Sender\" <sender@example.org>\r\n"
      "To: One <one@example.net>, two@example.net\r\nCc: three@example.net\r\n"
      "Date: Mon, 1 Jun 2026 10:00:00 +0200\r\nSubject: A message of the usual kind\r\n"
      "Message-ID: <0123456789@example.org>\r\nMIME-Version: 1.0\r\n"
      "Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: 8bit\r\n"
      "X-Mailer: Example 1.0\r\nX-Spam-Status: No, score=-1.0\r\n\r\n";
  while (text.size() < 4096) text += "Some words of text that fill a line of the body.\r\n";
  return text;
}

std::string extension_fields(std::size_t count) {
  return repeated(kHeader, count,
                  [](std::size_t i) { return "X-Field: value " + std::to_string(i) + "\r\n"; });
}

std::string recipients(std::size_t count) {
  return repeated(kHeader + "To: a0@example.org", count - 1,
                  [](std::size_t i) { return ",\r\n a" + std::to_string(i + 1) + "@example.org"; });
}

std::string trace_fields(std::size_t count) {
  return repeated(kHeader, count, [](std::size_t i) {
    return "Received: from a by b id " + std::to_string(i) + "; 1 Jun 2026 10:00:00 +0200\r\n";
  });
}

std::string body_lines(std::size_t count) {
  return repeated(kHeader + "\r\n", count, [](std::size_t) { return "ab\r\n"; });
}

std::string parts(std::size_t count) {
  return repeated(kHeader + "Content-Type: multipart/mixed; boundary=b\r\n\r\n", count,
                  [](std::size_t) { return "--b\r\nContent-Type: text/plain\r\n\r\nx\r\n"; }) +
         "--b--\r\n";
}

std::string nested(std::size_t depth) {
  return repeated(kHeader, depth, [](std::size_t i) {
    const std::string boundary = "b" + std::to_string(i);
    return "Content-Type: multipart/mixed; boundary=" + boundary + "\r\n\r\n--" + boundary + "\r\n";
  });
}

}  // namespace tallowbrook::bench
