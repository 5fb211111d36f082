// Quoted-printable against its table of examples and against a plain byte-by-byte reference.
#include "coding/quoted_printable.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "coding/coder_factory.h"
#include "tests/support/conversion.h"

namespace tallowbrook {
namespace {

using test::converted;
using test::kDecode;
using test::kEncode;

struct Case {
  std::string input, output;
};

std::string hex(char byte) {
  constexpr const char* kDigits = "0123456789ABCDEF";
  const auto value = static_cast<unsigned char>(byte);
  return {'=', kDigits[value >> 4], kDigits[value & 15]};
}

// One byte after the other, every state by its own number.
class PlainEncoder {
 public:
  std::string encode(const std::string& input) {
    for (const char byte : input) take(byte);
    out_ += pending_;
    if (!out_.empty() && out_.back() != '\n') out_ += "\r\n";
    return out_;
  }

 private:
  void write(std::size_t count) {
    if (pending_.find('\n') != pending_.npos) {
      column_ = 0;
    } else if ((column_ += count) > 75) {
      out_ += "=\r\n";
      column_ = 0;
      if (pending_[0] == '.') {
        out_ += "=2";
        pending_[0] = 'E';
      }
    }
    out_ += pending_.substr(0, count);
    pending_.erase(0, count);
  }
  void flush() {
    write(pending_.size());
    state_ = 0;
  }
  void take(char byte) {
    if (pending_.size() > 40) write(20);
    const auto value = static_cast<unsigned char>(byte);
    const bool control = value < 0x20 && byte != '\t' && byte != '\n' && byte != '\r';
    if (control || byte == '=' || value >= 0x7F) {
      pending_ += hex(byte);
      return flush();
    }
    pending_ += byte;
    if (state_ == 1 && byte == '\n') {
      state_ = 2;
    } else if (state_ == 2 && byte == '.') {
      pending_.back() = '=';
      pending_ += "2E";
      flush();
    } else if ((state_ == 10 || state_ == 20) && byte == '\r') {
      ++state_;
    } else if ((state_ == 11 || state_ == 21) && byte == '\n') {
      pending_.resize(pending_.size() - 3);
      pending_ += state_ == 11 ? "=20\r\n" : "=09\r\n";
      flush();
    } else if (byte == '\r' || byte == ' ' || byte == '\t') {
      state_ = byte == '\r' ? 1 : byte == ' ' ? 10 : 20;
    } else {
      flush();
    }
  }

  std::string out_, pending_;
  std::size_t column_ = 0;
  int state_ = 2;
};

unsigned digit(char byte) {
  if (byte >= 'A' && byte <= 'F') return static_cast<unsigned>(byte - 'A') + 10;
  if (byte >= 'a' && byte <= 'f') return static_cast<unsigned>(byte - 'a') + 10;
  return static_cast<unsigned>(static_cast<unsigned char>(byte)) - 0x30;
}

std::string plain_decode(const std::string& input) {
  std::string out;
  std::size_t at = 0;
  const auto next = [&] {
    if (at == input.size()) throw out;
    return input[at++];
  };
  try {
    for (char previous = input.empty() ? '\0' : input[0];; previous = input[at - 1]) {
      char byte = next();
      if (byte == '=') {
        const char first = next();
        if (first == '\n') continue;
        const char second = next();
        const auto value = static_cast<char>(16 * digit(first) + digit(second));
        if (!(first == '\r' && second == '\n') && value != '\0') out += value;
      } else if (byte == '.' && (previous == '\n' || previous == '\r')) {
        if ((byte = next()) != '.') {
          out = out + '.' + byte;
        } else if ((byte = next()) == '\r') {
          byte = next();
          out += byte == '\n' ? ".\r\n" : std::string("..\r") + byte;
        } else {
          out += byte == '\n' ? ".\n" : std::string("..") + byte;
        }
      } else if (!(byte == '\r' && input.size() >= 2 && at == input.size() - 1) &&
                 !(byte == '\n' && at == input.size())) {
        out += byte;
      }
    }
  } catch (const std::string& result) {
    return result;
  }
}

TEST(QuotedPrintable, Encode) {
  CQuotedPrintable coder;
  const Case cases[] = {
      {"a=b", "a=3Db\r\n"},
      {"x \r\ny", "x=20\r\ny\r\n"},
      {"x \t\r\n.y", "x =09\r\n.y\r\n"},
      {".\r\n.x", "=2E\r\n=2Ex\r\n"},
      {"", ""},
      {" ", " \r\n"},
      {"a\n.b\n", "a\n.b\n"},
      {std::string("\0\x7F\xFF", 3), "=00=7F=FF\r\n"},
      {std::string(200, 'l'), std::string(75, 'l') + "=\r\n" + std::string(76, 'l') + "=\r\n" +
                                  std::string(49, 'l') + "\r\n"},
      {std::string(75, 'l') + ".x", std::string(75, 'l') + "=\r\n=2Ex\r\n"},
      {std::string(74, 'l') + " x", std::string(74, 'l') + "=\r\n x\r\n"},
      {std::string(74, 'l') + "=", std::string(74, 'l') + "=\r\n=3D\r\n"},
  };
  for (const Case& c : cases) EXPECT_EQ(converted(coder, kEncode, c.input), c.output);
}

TEST(QuotedPrintable, Decode) {
  CQuotedPrintable coder;
  const Case cases[] = {
      {"a=3Db=\r\nc\r\n", "a=bc"},
      {"=00", ""},
      {"=zz=3d=\nx", "\xEA=x"},
      {"..\r\n..\r\n..\n...\r\n.=41\r\n", "..\r\n.\r\n.\n...\r\n.=41"},
      {"a=\r\n.\r\n.", "a.\r\n"},
      {"=4", ""},
      {"=", ""},
      {"\n", ""},
      {"\r", "\r"},
      {"a\r\n\r\n", "a\r\n"},
  };
  for (const Case& c : cases) EXPECT_EQ(converted(coder, kDecode, c.input), c.output);
}

TEST(QuotedPrintable, AgreesWithThePlainReference) {
  std::mt19937 random(11);
  CQuotedPrintable coder, portable(portable_quoted_blocks());
  const std::string alphabets[] = {std::string("\r\n. \t=\0aA\xE9", 10),
                                   "\r\n",
                                   "\r\n. ",
                                   " \t\r\na",
                                   "=\r\n.3dX",
                                   "abcdefghijklm no<pqr>=./\"",
                                   "a.",
                                   "=0123456789aBcDeFzyxwvutsrq>\n"};
  const auto check = [&](const std::string& input) {
    const std::string encoded = converted(coder, kEncode, input, {1, 3, 16, 57, 76, 4095, 4097});
    ASSERT_EQ(encoded, PlainEncoder().encode(input));
    ASSERT_EQ(converted(coder, kDecode, encoded, {2, 7, 4096}), plain_decode(encoded));
    ASSERT_EQ(converted(portable, kDecode, input), plain_decode(input));
    ASSERT_EQ(converted(coder, kDecode, input, {1, 2, 3, 7, 16, 57, 76, 4095, 4096, 4097}),
              plain_decode(input));
  };
  for (int round = 0; round < 400; ++round) {
    const std::string& alphabet = alphabets[random() % std::size(alphabets)];
    check(test::random_bytes(random, random() % (round % 20 == 0 ? 12000 : 400), alphabet,
                             round % 4 == 0 ? 2 : 1));
  }
  for (const std::size_t size : {1u, 2u, 3u, 7u, 16u, 57u, 76u, 4095u, 4096u, 4097u, 70000u}) {
    for (const char byte : {'.', '\r', ' ', '\0', '=', 'x'}) check(std::string(size, byte));
    check(std::string(size, 'x') + "\r\n.");
  }
}

TEST(QuotedPrintable, HeaderMode) {
  CQuotedPrintable::HeaderMode mode;
  mode.continuation = "?==?l1?Q?";
  CQuotedPrintable coder(mode);
  const auto decode = [&](const std::string& text) {
    std::string bytes(text.size(), '\0');
    const auto length = static_cast<std::int32_t>(text.size());
    EXPECT_EQ(coder.DecodeBuffer(text.c_str(), nullptr, length),
              coder.DecodeBuffer(text.data(), bytes.data(), length));
    bytes.resize(static_cast<std::size_t>(coder.DecodeBuffer(text.data(), nullptr, length)));
    return bytes;
  };
  EXPECT_EQ(decode("a_b=41=\r\n=zz=00"), std::string("a bA\xEA\0", 6));
  EXPECT_EQ(decode("a?==?l1?Q?b?==?l2?Q?c=4"), "ab?\xDFl2?Q?c4");
  EXPECT_EQ(coder.DecodeBuffer("a=C3", nullptr, -1), 2);

  std::string text = "old";
  coder.EncodeToString("", -1, text);
  EXPECT_EQ(text, "");
  coder.EncodeToString("Gr\xFC\xDF e?", -1, text);
  EXPECT_EQ(text, "=?iso-8859-1?Q?Gr=FC=DF_e=3F?=");
  // A word ends where less than two characters are left in its line, counted over all lines.
  coder.EncodeToString(std::string(100, 'x').c_str(), 100, text);
  EXPECT_EQ(text, "=?iso-8859-1?Q?" + std::string(59, 'x') + "?=\r\n\t=?iso-8859-1?Q?" +
                      std::string(41, 'x') + "?=");
  // Content is the same in both modes.
  EXPECT_EQ(converted(coder, kDecode, "a_=3D\r\n"), "a_=");
  EXPECT_NE(dynamic_cast<CQuotedPrintable*>(make_coder(1).get()), nullptr);
}

}  // namespace
}  // namespace tallowbrook
