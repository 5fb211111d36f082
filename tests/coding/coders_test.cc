// Each coder against its table of examples, and against a plain byte-by-byte reference on random
// input, from streams that give 1, 2, 7 and 4096 bytes at a time.
#include <gtest/gtest.h>

#include <random>
#include <string>

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
  for (const unsigned value : test::sextets(input)) {
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

TEST(Coders, ConvertByTheTable) {
  CDefaultCoder plain;
  CBase64 base64, unbroken(true);
  const std::string full(4096, 'f');
  const struct {
    CMIMECode& coder;
    test::Direction direction;
    std::string input, output;
  } cases[] = {
      {plain, kEncode, "a\r\n.b", "a\r\n..b\r\n"},
      {plain, kEncode, ".x", "..x\r\n"},
      {plain, kEncode, "abc\r\n", "abc\r\n"},
      {plain, kEncode, "", ""},
      {plain, kEncode, "a\n.b", "a\n.b\r\n"},
      {plain, kEncode, "a\r\r\n.\r\n..", "a\r\r\n..\r\n...\r\n"},
      {plain, kEncode, "\r", "\r\r\n"},
      {plain, kEncode, text({"a\0b", 3}), "ab\r\n"},
      {plain, kEncode, text({"\0", 1}), ""},
      {plain, kEncode, std::string(100, '\r') + "\n.", std::string(100, '\r') + "\n..\r\n"},
      {plain, kDecode, "x\r\n..\r\ny\r\n", "x\r\n.\r\ny"},
      {plain, kDecode, "..\r\n", "."},
      {plain, kDecode, "..x\r\n..\n", "..x\r\n.."},
      {plain, kDecode, "a\n\n", "a\n"},
      {plain, kDecode, text({"a\0b\nc\n", 6}), "ac"},
      {plain, kDecode, full + "..\r\nz", full + ".\r\nz"},
      {plain, kDecode, full + "\r\n", full},
      {plain, kDecode, full.substr(1) + "\r\n", full.substr(1) + "\r"},
      {plain, kDecode, "a\r\n\r\n", "a\r\n"},
      {plain, kDecode, "\n", ""},
      {plain, kDecode, "\r", ""},
      {base64, kEncode, std::string(57, '\0'), std::string(76, 'A') + "\r\n"},
      {base64, kEncode, std::string(58, '\0'), std::string(76, 'A') + "\r\nAA==\r\n"},
      {unbroken, kEncode, std::string(58, '\0'), std::string(78, 'A') + "=="},
      {base64, kEncode, "", "\r\n"},
      {unbroken, kEncode, "", ""},
      {base64, kDecode, "QU JD\r\nRA==", "ABCD"},
      {base64, kDecode, "QQ==QQ==", "\x41\x04\x10"},
      {base64, kDecode, "!?-_\xC1\n", ""},
      {base64, kDecode, "QUJ", "AB"},
      {base64, kDecode, "Q", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(run(c.coder, c.direction, c.input), c.output) << c.input;
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
    const auto rare = static_cast<unsigned>(1 + random() % 60);
    const std::size_t size = at_border ? borders[random() % std::size(borders)]
                                       : random() % (round % 20 == 0 ? 10000 : 300);
    const std::string input = test::random_bytes(random, size, common, rare);
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
