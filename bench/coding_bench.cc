// Inputs are small enough for a job to end within one time slice of a busy machine, and the target
// is written over and over, so that what is measured is the coder and not the system's giving out
// of memory. A memcpy between the same two places runs beside each job, round by round; the
// quickest of each counts.
#include "bench/coding_bench.h"

#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "bench/timing.h"
#include "coding/base64.h"
#include "coding/charset.h"
#include "coding/default_coder.h"
#include "coding/encoded_words.h"
#include "coding/quoted_printable.h"
#include "platform/kernel/code_page.h"
#include "streams/memory_stream.h"

namespace tallowbrook::bench {
namespace {

constexpr std::size_t kSize = 2'000'000;
constexpr int kRounds = 60;

using Direction = void (CMIMECode::*)(IStream&, IStream&);
constexpr Direction kEncode = &CMIMECode::Encode;
constexpr Direction kDecode = &CMIMECode::Decode;

// --- inputs --------------------------------------------------------------------------------------

template <class Piece>
std::string filled(Piece piece) {
  std::string text;
  while (text.size() < kSize) text += piece();
  return text;
}

std::string random_bytes() {
  std::mt19937_64 random(1);
  return filled([&] {
    const std::uint64_t word = random();
    return std::string(reinterpret_cast<const char*>(&word), sizeof word);
  });
}

std::string words(std::mt19937& random, const std::vector<std::string>& pool, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += (i > 0 ? " " : "") + pool[random() % pool.size()];
  return text;
}

const std::vector<std::string> kEnglish = {"the",   "of",   "and",     "meeting", "schedule",
                                           "order", "with", "invoice", "please",  "a"};
const std::vector<std::string> kRussian = {"привет", "сообщение", "срок", "и", "ответ", "заказ"};
const std::vector<std::string> kFrench = {"été", "forêt", "garçon", "déjà", "le", "près", "après"};

// Lines of English, of which `foreign` in a hundred have a French word.
std::string text_lines(int foreign) {
  std::mt19937 random(2);
  return filled([&] {
    std::string line = words(random, kEnglish, 12);
    if (static_cast<int>(random() % 100) < foreign) line += " " + words(random, kFrench, 1);
    return line + "\r\n";
  });
}

// Table rows with attributes and colours, most words in UTF-8 of two bytes a letter.
std::string dense_html() {
  std::mt19937 random(3);
  return filled([&] {
    char colour[8];
    std::snprintf(colour, sizeof colour, "%06x", static_cast<unsigned>(random() & 0xFFFFFF));
    const auto& pool = random() % 3 == 0 ? kFrench : random() % 2 == 0 ? kRussian : kEnglish;
    return std::string("<tr style=\"color:#") + colour + "\" class=\"r1\"><td width=\"40%\">" +
           words(random, pool, 9) + "</td><td align=\"right\"><b>" + words(random, pool, 2) +
           "</b></td></tr>\r\n";
  });
}

std::string utf8(UINT page, std::string_view text) {
  return platform::narrow(page, platform::widen(CP_UTF8, text));
}

// --- jobs ----------------------------------------------------------------------------------------

std::string run(CMIMECode& coder, Direction direction, std::string_view text) {
  CISSHelper input;
  input.write(text);
  input.rewind();
  CISSHelper output;
  (coder.*direction)(input, output);
  return std::string(output.bytes());
}

void measure(const char* name, CMIMECode& coder, Direction direction, std::string_view text) {
  CISSHelper input;
  input.write(text);
  CISSHelper output;
  std::vector<char> copy;
  double job = 1e9;
  double plain = 1e9;
  std::size_t larger = text.size();
  for (int round = 0; round < kRounds; ++round) {
    job = std::min(job, seconds([&] {
                     input.rewind();
                     output.rewind();
                     (coder.*direction)(input, output);
                   }));
    larger = std::max<std::size_t>(text.size(), output.size());
    copy.resize(larger);
    const std::string_view from = text.size() == larger ? input.bytes() : output.bytes();
    plain = std::min(plain, seconds([&] { std::memcpy(copy.data(), from.data(), larger); }));
  }
  const auto bytes = static_cast<double>(larger);
  std::printf("%-34s %8.0f MB/s   %5.2f x a memcpy's time\n", name, bytes / job / 1e6, job / plain);
}

void both_ways(const char* decoding, const char* encoding, CMIMECode& coder,
               std::string_view decoded) {
  const std::string encoded = run(coder, kEncode, decoded);
  measure(decoding, coder, kDecode, encoded);
  measure(encoding, coder, kEncode, decoded);
}

void charset(const char* name, std::string_view text) {
  const auto coder = make_charset_coder(name, 1);
  const std::string label = name;
  measure((label + " to UTF-16").c_str(), *coder, kDecode, text);
  measure(("UTF-16 to " + label).c_str(), *coder, kEncode, run(*coder, kDecode, text));
}

void words_in_subjects() {
  const auto repeated = [](std::string_view piece, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) text += piece;
    return text;
  };
  double earlier = 0;
  std::printf("%-34s", "encoded words in one subject");
  for (const std::size_t count : {25'000u, 50'000u, 100'000u}) {
    const std::string subject = repeated("=?utf-8?Q?caf=C3=A9?=\r\n ", count);
    const double time = best(5, [&] { (void)decode_words(subject); });
    std::printf("  %zu: %.1f ms", count, time * 1e3);
    if (earlier > 0) std::printf(" (x %.2f)", time / earlier);
    earlier = time;
  }
  std::printf("\n");
  for (const std::string_view piece :
       {"=?", "=?a?Q?", "=?x?Q?=?", "\"=?", "\\\"", "=?utf-8?B?=?koi8-r?Q?\"=?="}) {
    const std::string nest = "\"" + repeated(piece, 1'000'000 / piece.size());
    const double time = best(3, [&] { (void)decode_words(nest); });
    std::printf("1 MB of %-26s %8.1f ms\n", std::string(piece).c_str(), time * 1e3);
  }
}

}  // namespace

void coding_speeds() {
  CBase64 base64;
  both_ways("base64 decode, lines of 76", "base64 encode, lines of 76", base64, random_bytes());
  CBase64 unbroken(true);
  both_ways("base64 decode, one line", "base64 encode, one line", unbroken, random_bytes());
  CBase64 portable(false, portable_base64());
  both_ways("base64 decode, any processor", "base64 encode, any processor", portable,
            random_bytes());
  CQuotedPrintable quoted;
  both_ways("quoted-printable decode, HTML", "quoted-printable encode, HTML", quoted, dense_html());
  both_ways("quoted-printable decode, text", "quoted-printable encode, text", quoted,
            text_lines(10));
  CDefaultCoder lines;
  both_ways("7bit decode", "7bit encode", lines, text_lines(0));
  both_ways("8bit decode, HTML", "8bit encode, HTML", lines, dense_html());
  charset("utf-8", text_lines(50));
  charset("iso-8859-1", utf8(1252, text_lines(50)));
  charset("iso-8859-2", utf8(28592, text_lines(50)));
  charset("koi8-r", utf8(20866, text_lines(50)));
  charset("windows-1255", utf8(1255, text_lines(50)));
  charset("iso-2022-jp", utf8(50220, text_lines(0)));
  charset("gb2312", utf8(936, text_lines(0)));
  words_in_subjects();
}

}  // namespace tallowbrook::bench
