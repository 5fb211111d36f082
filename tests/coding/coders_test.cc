// Each coder against its table of examples, and against a plain byte-by-byte reference on random
// input, from streams that give 1, 2, 7 and 4096 bytes at a time.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "coding/base64.h"
#include "coding/coder_factory.h"
#include "coding/default_coder.h"
#include "coding/raw_coder.h"
#include "streams/memory_stream.h"
#include "tests/support/conversion.h"
#include "tests/support/host_stream.h"

namespace tallowbrook {
namespace {

using test::kDecode;
using test::kEncode;

std::string run(CMIMECode& coder, test::Direction direction, const std::string& text) {
  return test::converted(coder, direction, text, {1, 2, 3, 7, 16, 57, 76, 4095, 4096, 4097});
}

struct Case {
  std::string input, output;
};

std::string text(std::string_view view) { return std::string(view); }

// --- references ----------------------------------------------------------------------------------

std::string plain_default_encode(const std::string& input, bool wrap) {
  std::string out, pending;
  std::size_t column = 0;
  int state = 2;
  const auto write = [&](std::size_t count) {
    column = pending.find('\n') == pending.npos ? column + count : 0;
    if (wrap && column > 75) {
      out += "\r\n";
      column = 0;
    }
    out += pending.substr(0, count);
    pending.erase(0, count);
  };
  for (const char byte : input) {
    if (pending.size() > 40) write(20);
    if (byte != '\0') pending += byte;
    if (state == 1 && byte == '\n') {
      state = 2;
    } else if (state == 2 && byte == '.') {
      pending += '.';
      write(pending.size());
      state = 0;
    } else if (byte == '\r') {
      state = 1;
    } else if (!pending.empty()) {
      write(pending.size());
      state = 0;
    }
  }
  out += pending;
  if (!out.empty() && out.back() != '\n') out += "\r\n";
  return out;
}

std::string plain_default_decode(const std::string& input) {
  std::string out, line;
  for (std::size_t i = 0; i < input.size(); ++i) {
    line += input[i];
    if (input[i] != '\n' && line.size() < 4096 && i + 1 < input.size()) continue;
    line = line.c_str();
    if (line == "..\r\n") line = ".\r\n";
    if (i + 1 == input.size() && line.ends_with('\n')) line.pop_back();
    if (i + 1 == input.size() && line.ends_with('\r')) line.pop_back();
    out += line;
    line.clear();
  }
  return out;
}

const std::string kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string plain_base64_encode(const std::string& input, bool breaks) {
  std::string out;
  std::size_t total = 0;
  for (std::size_t bit = 0; bit < input.size() * 8; bit += 6) {
    unsigned value = 0;
    for (std::size_t i = bit; i < bit + 6; ++i) {
      const bool set = i / 8 < input.size() && (input[i / 8] >> (7 - i % 8) & 1) != 0;
      value = value << 1 | (set ? 1u : 0u);
    }
    out += kAlphabet[value];
    if (++total % 76 == 0 && breaks) out += "\r\n";
  }
  for (; total % 4 != 0; ++total) out += '=';
  return breaks && !out.ends_with("\r\n") ? out + "\r\n" : out;
}

std::string plain_base64_decode(const std::string& input) {
  std::string out;
  unsigned bits = 0;
  int count = 0;
  for (const char byte : input) {
    const std::size_t value = kAlphabet.find(byte);
    if (value == kAlphabet.npos) continue;
    bits = bits << 6 | static_cast<unsigned>(value);
    if ((count += 6) >= 8) out += static_cast<char>(bits >> (count -= 8));
  }
  return out;
}

// --- tests ---------------------------------------------------------------------------------------

TEST(Coders, DefaultEncode) {
  CDefaultCoder coder;
  const Case cases[] = {
      {"a\r\n.b", "a\r\n..b\r\n"},
      {".x", "..x\r\n"},
      {"abc\r\n", "abc\r\n"},
      {"", ""},
      {"a\n.b", "a\n.b\r\n"},
      {"a\r\r\n.\r\n..", "a\r\r\n..\r\n...\r\n"},
      {"\r", "\r\r\n"},
      {std::string("a\0b", 3), "ab\r\n"},
      {std::string("\0", 1), ""},
      {std::string(100, '\r') + "\n.", std::string(100, '\r') + "\n..\r\n"},
      {std::string(200, 'x'), std::string(200, 'x') + "\r\n"},
  };
  for (const Case& c : cases) EXPECT_EQ(run(coder, kEncode, c.input), c.output);
}

TEST(Coders, DefaultDecode) {
  CDefaultCoder coder;
  const std::string full(4096, 'f');
  const Case cases[] = {
      {"x\r\n..\r\ny\r\n", "x\r\n.\r\ny"},
      {"..\r\n", "."},
      {"..x\r\n..\n", "..x\r\n.."},
      {"a\n\n", "a\n"},
      {text({"a\0b\nc\n", 6}), "ac"},
      {full + "..\r\nz", full + ".\r\nz"},
      {full + "\r\n", full},
  };
  for (const Case& c : cases) EXPECT_EQ(run(coder, kDecode, c.input), c.output);
}

TEST(Coders, Base64) {
  CBase64 coder;
  CBase64 unbroken(true);
  EXPECT_EQ(run(coder, kEncode, std::string(57, '\0')), std::string(76, 'A') + "\r\n");
  EXPECT_EQ(run(coder, kEncode, std::string(58, '\0')), std::string(76, 'A') + "\r\nAA==\r\n");
  EXPECT_EQ(run(unbroken, kEncode, std::string(58, '\0')), std::string(78, 'A') + "==");
  EXPECT_EQ(run(coder, kEncode, ""), "\r\n");
  EXPECT_EQ(run(unbroken, kEncode, ""), "");
  const Case decoded[] = {
      {"QU JD\r\nRA==", "ABCD"},
      {"QQ==QQ==", "\x41\x04\x10"},
      {"!?-_\xC1\n", ""},
      {"", ""},
      {"QUJ", "AB"},
      {"Q", ""},
  };
  for (const Case& c : decoded) EXPECT_EQ(run(coder, kDecode, c.input), c.output);
}

TEST(Coders, AgreeWithThePlainReference) {
  std::mt19937 random(7);
  // The bytes that the coders treat apart come often.
  const std::string common("\r\r\n\n..\0aA=+/", 13);
  CDefaultCoder plain, wrapping(true);
  CBase64 base64, unbroken(true), portable(false, portable_base64());
  const std::size_t borders[] = {1, 2, 3, 7, 16, 57, 76, 4095, 4096, 4097};
  for (int round = 0; round < 140; ++round) {
    const bool at_border = round % 7 == 0;
    std::string input(at_border ? borders[random() % std::size(borders)]
                                : random() % (round % 20 == 0 ? 10000 : 300),
                      '\0');
    const auto rare = static_cast<unsigned>(1 + random() % 60);
    for (std::size_t i = 0; i < input.size();) {
      const char byte =
          random() % rare == 0 ? common[random() % common.size()] : static_cast<char>(random());
      const std::size_t run = random() % 20 == 0 ? random() % 100 : 1;
      for (const std::size_t end = std::min(input.size(), i + run); i < end; ++i) input[i] = byte;
    }
    ASSERT_EQ(run(plain, kEncode, input), plain_default_encode(input, false));
    ASSERT_EQ(run(wrapping, kEncode, input), plain_default_encode(input, true));
    ASSERT_EQ(run(plain, kDecode, input), plain_default_decode(input));
    ASSERT_EQ(run(unbroken, kEncode, input), plain_base64_encode(input, false));
    const std::string encoded = run(base64, kEncode, input);
    ASSERT_EQ(encoded, plain_base64_encode(input, true));
    ASSERT_EQ(run(base64, kDecode, encoded), input);
    ASSERT_EQ(run(portable, kEncode, input), encoded);
    ASSERT_EQ(run(portable, kDecode, encoded), input);
    // Characters of the alphabet in runs of any length, cut by anything.
    std::string text;
    for (const char byte : input) {
      const bool stray = random() % rare == 0;
      text += stray ? byte : kAlphabet[static_cast<unsigned char>(byte) % 64];
    }
    ASSERT_EQ(run(base64, kDecode, text), plain_base64_decode(text));
    ASSERT_EQ(run(portable, kDecode, text), plain_base64_decode(text));
  }
}

TEST(Coders, BuffersAndFactory) {
  CBase64 base64;
  char decoded[8] = "-------";
  EXPECT_EQ(base64.DecodeBuffer("QUJD", nullptr, -1), 3);
  EXPECT_EQ(base64.DecodeBuffer("QUJDRA==", decoded, 4), 3);
  EXPECT_STREQ(decoded, "ABC----");
  std::string encoded = "old";
  base64.EncodeToString("ABCxyz", 3, encoded);
  EXPECT_EQ(encoded, "QUJD\r\n");
  EXPECT_FALSE(base64.ProducesWideText());

  CMIMECodeRaw raw;
  const std::string bytes = std::string(100000, 'r') + text({"\0\n.", 3});
  EXPECT_EQ(run(raw, kDecode, bytes), bytes);
  EXPECT_EQ(run(raw, kEncode, bytes), bytes);

  for (const std::int32_t encoding : {0, 3, 4}) {
    EXPECT_NE(dynamic_cast<CDefaultCoder*>(make_coder(encoding).get()), nullptr);
  }
  EXPECT_NE(dynamic_cast<CBase64*>(make_coder(2).get()), nullptr);
  for (const std::int32_t encoding : {-1, 5}) {
    EXPECT_NE(dynamic_cast<CMIMECodeRaw*>(make_coder(encoding).get()), nullptr);
  }
}

TEST(Coders, AFailingInputEndsTheConversion) {
  test::HostStream input(std::string(100, 'A'), 10);
  input.reads_before_failure = 4;
  CISSHelper output;
  CMIMECodeRaw().Decode(input, output);
  EXPECT_EQ(output.size(), 40u);
}

}  // namespace
}  // namespace tallowbrook
