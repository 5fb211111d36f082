// The lines of uuencoded files: those that count and those that are dropped.
#include "coding/uuencode.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/support/conversion.h"

namespace tallowbrook {
namespace {

using test::converted;
using test::kDecode;
using test::kEncode;

struct Case {
  std::string input, output;
};

// As encoders write it, with `zero` for the value 0 and `fill` for what fills the last group up.
std::string encoded(const std::string& bytes, char zero, char fill) {
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 45) {
    const std::string line = bytes.substr(at, 45);
    text += static_cast<char>(' ' + line.size());
    for (std::size_t bit = 0; bit < line.size() * 8; bit += 6) {
      unsigned value = 0;
      for (std::size_t i = bit; i < bit + 6; ++i) {
        const bool set = i / 8 < line.size() && (line[i / 8] >> (7 - i % 8) & 1) != 0;
        value = value << 1 | (set ? 1u : 0u);
      }
      text += value == 0 ? zero : static_cast<char>(' ' + value);
    }
    if (line.size() % 3 != 0) text.append(3 - line.size() % 3, fill);
    text += "\r\n";
  }
  return text + "`\r\n";
}

// One character after the other.
class PlainDecoder {
 public:
  explicit PlainDecoder(const std::string& input) : input_(input) {}

  std::string decode() {
    while (at_ < input_.size()) line();
    return out_;
  }

 private:
  bool at_end() const { return at_ == input_.size() || input_[at_] == '\n'; }

  void line() {
    std::string bytes;
    const bool complete = data(bytes);
    bool clean = true;
    for (; !at_end(); ++at_) {
      clean = clean && std::string("\r`AB").find(input_[at_]) != std::string::npos;
    }
    while (at_ < input_.size() && (input_[at_] == '\r' || input_[at_] == '\n')) ++at_;
    if (complete && clean) out_ += bytes;
  }

  // The bytes that the line declares; false when they are not all there.
  bool data(std::string& bytes) {
    const int first = static_cast<unsigned char>(input_[at_]);
    if (first == '\r' || first == '\n' || first == '`') return false;
    ++at_;
    const int count = first - 0x20;
    if (count < 1 || count > 92) return false;
    for (int owed = count; owed > 0; owed -= 3) {
      const int made = std::min(owed, 3);
      unsigned group = 0;
      for (int i = 0; i < 4; ++i) {
        const bool fill = i > made;
        if (at_end() || input_[at_] == '\r') {
          if (!fill) return false;
          continue;
        }
        const auto value = (static_cast<unsigned>(input_[at_++]) - 0x20) % 64;
        if (!fill) group |= value << (18 - 6 * i);
      }
      for (int i = 0; i < made; ++i) bytes += static_cast<char>(group >> (16 - 8 * i));
    }
    return true;
  }

  const std::string& input_;
  std::size_t at_ = 0;
  std::string out_;
};

TEST(UUCoder, AgreesWithThePlainReference) {
  std::mt19937 random(4);
  CUUCoder coder;
  for (int round = 0; round < 600; ++round) {
    std::string text;
    while (text.size() < random() % 600) {
      std::string bytes(1 + random() % 45, '\0');
      for (char& byte : bytes) byte = static_cast<char>(random() % 4 == 0 ? 0 : random());
      std::string line = encoded(bytes, random() % 2 == 0 ? '`' : ' ', '`');
      line.resize(line.find("\r\n"));
      for (auto edits = random() % 3; edits > 0 && !line.empty(); --edits) {
        const std::size_t at = random() % line.size();
        const char strange[] = {'\r', '\n', '`', 'A', ' ', '\xFF', '\0', 'z'};
        const char put = strange[random() % sizeof strange];
        switch (random() % 3) {
          case 0:
            line[at] = put;
            break;
          case 1:
            line.insert(at, 1, put);
            break;
          default:
            line.erase(at);
        }
      }
      const char* const ends[] = {"\r\n", "\n", "\r\r\n", "A\n", "`B\r\n", "\n\n\r\n", ""};
      text += line + ends[random() % std::size(ends)];
    }
    ASSERT_EQ(converted(coder, kDecode, text, {1, 2, 3, 7, 16, 57, 76, 4095}),
              PlainDecoder(text).decode())
        << testing::PrintToString(text);
  }
}

TEST(UUCoder, Lines) {
  CUUCoder coder;
  const std::string full = "M" + std::string(60, '!');
  const Case cases[] = {
      {"#0V%T\n", "Cat"},
      {"#0V%T", "Cat"},
      {"#0V%T`AB\r\r\n\r\n#0V%T\r\n", "CatCat"},
      {"#0V%Tx\n#0V% \n#0V%\n", "Ca@"},                // something behind, whole, cut
      {"#0\rV%T\n\r#0V%T\n", "Cat"},                   // a CR inside, CRs before a line
      {"\r#0V%T\n#0V%T\n", "Cat"},                     // a CR before the first
      {"!00\n!00``\n!00zz\n!00zzz\n!00\r\n", "AAAA"},  // the last group's fill
      {"\"0V$\n\"0V$z\n\"0V$zz\n", "CaCa"},
      {"`\n \n" + std::string(1, '}') + full + "\nstray text\n\n", ""},
      {"#````\n#    \n", std::string(6, '\0')},
      {"", ""},
  };
  for (const Case& c : cases) EXPECT_EQ(converted(coder, kDecode, c.input), c.output) << c.input;
  EXPECT_EQ(converted(coder, kDecode, full + "\n").size(), 45u);
  EXPECT_EQ(converted(coder, kEncode, "anything"), "");
}

TEST(UUCoder, Files) {
  CUUCoder coder;
  // "begin" and "end" left out, as a common encoder wrote it.
  EXPECT_EQ(converted(coder, kDecode,
                      "M5&AE('%U:6-K(&)R;W=N(&9O>\"!J=6UP<R!O=F5R('1H92!L87IY(&1O9RX@\n"
                      ",,#$R,S0U-C<X.0T*\n \n"),
            "The quick brown fox jumps over the lazy dog. 0123456789\r\n");
  std::mt19937 random(3);
  for (const std::size_t size : {1u, 2u, 3u, 44u, 45u, 46u, 4095u, 4096u, 4097u, 100000u}) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = random() % 4 == 0 ? '\0' : static_cast<char>(random());
    for (const char fill : {'`', ' ', 'z'}) {
      ASSERT_EQ(converted(coder, kDecode, encoded(bytes, fill == ' ' ? ' ' : '`', fill)), bytes);
    }
  }
}

}  // namespace
}  // namespace tallowbrook
