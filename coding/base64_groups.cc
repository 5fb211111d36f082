// Portable: a table look-up for each character, and one for each 12 bits to encode.
//
// AVX2: 32 characters at a time, by the method of Mula and Lemire, "Faster Base64 Encoding and
// Decoding Using AVX2 Instructions" (2018). What a line has more than whole blocks is done together
// with characters that are done already: the last block is laid so that it ends where the line
// does.
#include "coding/base64_groups.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace tallowbrook {
namespace {

std::uint32_t octet(char byte) { return static_cast<std::uint8_t>(byte); }

// --- portable ------------------------------------------------------------------------------------

constexpr std::array<std::uint8_t, 256> kValues = [] {
  std::array<std::uint8_t, 256> values{};
  values.fill(kNoBase64);
  for (std::size_t i = 0; i < kBase64Alphabet.size(); ++i) {
    values[static_cast<std::uint8_t>(kBase64Alphabet[i])] = static_cast<std::uint8_t>(i);
  }
  return values;
}();

// What a group's first to fourth character bring into the group's 3 bytes, as these lie in memory;
// a fourth byte marks what is not in the alphabet.
constexpr std::uint32_t in_memory(std::uint32_t group, bool stray) {
  const std::array<std::uint8_t, 4> bytes{static_cast<std::uint8_t>(group >> 16),
                                          static_cast<std::uint8_t>(group >> 8),
                                          static_cast<std::uint8_t>(group), stray};
  return std::bit_cast<std::uint32_t>(bytes);
}
constexpr std::uint32_t kStray = in_memory(0, true);
constexpr std::array<std::array<std::uint32_t, 256>, 4> kPlaced = [] {
  std::array<std::array<std::uint32_t, 256>, 4> placed{};
  for (std::size_t place = 0; place < 4; ++place) {
    for (std::size_t i = 0; i < 256; ++i) {
      const bool stray = kValues[i] == kNoBase64;
      placed[place][i] =
          stray ? kStray : in_memory(std::uint32_t{kValues[i]} << (18 - 6 * place), false);
    }
  }
  return placed;
}();

constexpr std::array<std::array<char, 2>, 4096> kPairs = [] {
  std::array<std::array<char, 2>, 4096> pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    pairs[i] = {kBase64Alphabet[i >> 6], kBase64Alphabet[i & 63]};
  }
  return pairs;
}();

std::uint32_t group_of(const char* text) {
  return kPlaced[0][octet(text[0])] | kPlaced[1][octet(text[1])] | kPlaced[2][octet(text[2])] |
         kPlaced[3][octet(text[3])];
}

// Goes on from `from` up to the first four characters that are no group. Writes one byte more.
Base64Groups::Progress decode_groups(const char* text, std::size_t length, char* out,
                                     Base64Groups::Progress from) {
  auto [taken, made] = from;
  for (; length - taken >= 8; taken += 8, made += 6) {
    const std::uint32_t first = group_of(text + taken);
    const std::uint32_t second = group_of(text + taken + 4);
    if (((first | second) & kStray) != 0) break;
    std::memcpy(out + made, &first, sizeof first);
    std::memcpy(out + made + 3, &second, sizeof second);
  }
  for (; length - taken >= 4; taken += 4, made += 3) {
    const std::uint32_t group = group_of(text + taken);
    if ((group & kStray) != 0) break;
    std::memcpy(out + made, &group, sizeof group);
  }
  return {taken, made};
}

// The length of the line end that the text starts with; 0 for none.
std::size_t line_end(const char* text, std::size_t length) {
  if (length >= 2 && text[0] == '\r' && text[1] == '\n') return 2;
  return length >= 1 && text[0] == '\n' ? 1 : 0;
}

Base64Groups::Progress decode_portable(const char* text, std::size_t length, char* out) {
  Base64Groups::Progress progress{};
  for (;;) {
    progress = decode_groups(text, length, out, progress);
    const std::size_t end = line_end(text + progress.taken, length - progress.taken);
    if (end == 0) return progress;
    progress.taken += end;
  }
}

void encode_portable(const char* bytes, std::size_t count, char* out) {
  for (std::size_t i = 0; i < count; i += 3, out += 4) {
    const std::uint32_t group =
        octet(bytes[i]) << 16 | octet(bytes[i + 1]) << 8 | octet(bytes[i + 2]);
    std::memcpy(out, kPairs[group >> 12].data(), 2);
    std::memcpy(out + 2, kPairs[group & 0xFFF].data(), 2);
  }
}

constexpr Base64Groups kPortable{&decode_portable, &encode_portable};

// --- AVX2 ----------------------------------------------------------------------------------------

#if defined(__x86_64__)

#define TALLOWBROOK_AVX2 __attribute__((target("avx2")))

TALLOWBROOK_AVX2 inline __m256i both_halves(__m128i half) {
  return _mm256_broadcastsi128_si256(half);
}

TALLOWBROOK_AVX2 inline __m256i load(const char* text) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text));
}

// The values of 32 characters; `strays` gets a bit for each that is not in the alphabet. Which ones
// are is told by a bit for the high half of the byte that also stands for the low half.
TALLOWBROOK_AVX2 inline __m256i values_of(__m256i text, std::uint32_t& strays) {
  const __m256i slash = _mm256_set1_epi8('/');
  const __m256i high_bits =
      both_halves(_mm_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10,
                                0x10, 0x10, 0x10, 0x10, 0x10));
  const __m256i low_bits =
      both_halves(_mm_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13,
                                0x1A, 0x1B, 0x1B, 0x1B, 0x1A));
  const __m256i offsets =
      both_halves(_mm_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0));
  // The masks leave a bit that the look-up does not see.
  const __m256i high = _mm256_and_si256(_mm256_srli_epi32(text, 4), slash);
  const __m256i low = _mm256_and_si256(text, slash);
  const __m256i stray =
      _mm256_and_si256(_mm256_shuffle_epi8(high_bits, high), _mm256_shuffle_epi8(low_bits, low));
  strays = ~static_cast<std::uint32_t>(
      _mm256_movemask_epi8(_mm256_cmpeq_epi8(stray, _mm256_setzero_si256())));
  const __m256i offset =
      _mm256_shuffle_epi8(offsets, _mm256_add_epi8(_mm256_cmpeq_epi8(text, slash), high));
  return _mm256_add_epi8(text, offset);
}

// Writes the 24 bytes of 32 values, and 8 bytes behind them.
TALLOWBROOK_AVX2 inline void store_bytes(__m256i values, char* out) {
  const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
  const __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
  const __m256i in_order = _mm256_shuffle_epi8(
      groups, both_halves(_mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1)));
  const __m256i together =
      _mm256_permutevar8x32_epi32(in_order, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), together);
}

// Decodes a line of `length` characters, at least 32, in whole groups; false when it holds others.
TALLOWBROOK_AVX2 inline bool decode_line(const char* text, std::size_t length, char* out) {
  std::uint32_t all_strays = 0;
  for (std::size_t i = 0; i < length; i += 32) {
    const std::size_t at = std::min(i, length - 32);
    std::uint32_t strays = 0;
    store_bytes(values_of(load(text + at), strays), out + at / 4 * 3);
    all_strays |= strays;
  }
  return all_strays == 0;
}

// Goes on from `progress` up to the first block that is not whole.
TALLOWBROOK_AVX2 inline Base64Groups::Progress decode_blocks(const char* text, std::size_t length,
                                                             char* out,
                                                             Base64Groups::Progress progress) {
  while (length - progress.taken >= 32) {
    std::uint32_t strays = 0;
    const __m256i values = values_of(load(text + progress.taken), strays);
    if (strays != 0) break;
    store_bytes(values, out + progress.made);
    progress.taken += 32;
    progress.made += 24;
  }
  return progress;
}

// Most lines are as long as the one before.
TALLOWBROOK_AVX2 Base64Groups::Progress decode_avx2(const char* text, std::size_t length,
                                                    char* out) {
  Base64Groups::Progress all{};
  for (std::size_t usual = 0;;) {
    const char* const line = text + all.taken;
    const std::size_t left = length - all.taken;
    Base64Groups::Progress here{};
    if (usual > 0 && left >= usual && decode_line(line, usual, out + all.made)) {
      here = {usual, usual / 4 * 3};
    }
    std::size_t end = line_end(line + here.taken, left - here.taken);
    if (end == 0) {
      here = decode_blocks(line, left, out + all.made, here);
      here = decode_groups(line, left, out + all.made, here);
      usual = here.taken >= 32 && here.taken <= 256 ? here.taken : 0;
      end = line_end(line + here.taken, left - here.taken);
    }
    all.taken += here.taken;
    all.made += here.made;
    if (end == 0) break;
    all.taken += end;
  }
  // The compiler leaves this out; without it all other vector code would run at a fraction of its
  // speed from here on.
  _mm256_zeroupper();
  return all;
}

TALLOWBROOK_AVX2 inline __m128i load_half(const char* bytes) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

// The characters of 24 out of 28 bytes: `spread` finds 12 of them in the first 16 and 12 in the
// last 16.
TALLOWBROOK_AVX2 inline __m256i characters_of(const char* from, __m256i spread) {
  const __m256i bytes = _mm256_set_m128i(load_half(from + 12), load_half(from));
  const __m256i groups = _mm256_shuffle_epi8(bytes, spread);
  const __m256i first_third = _mm256_mulhi_epu16(
      _mm256_and_si256(groups, _mm256_set1_epi32(0x0FC0FC00)), _mm256_set1_epi32(0x04000040));
  const __m256i second_fourth = _mm256_mullo_epi16(
      _mm256_and_si256(groups, _mm256_set1_epi32(0x003F03F0)), _mm256_set1_epi32(0x01000010));
  const __m256i values = _mm256_or_si256(first_third, second_fourth);
  // 13 for capitals, 0 for small letters, 1 to 10 for digits, 11 and 12 for the last two.
  const __m256i capital = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), values);
  const __m256i range = _mm256_or_si256(_mm256_subs_epu8(values, _mm256_set1_epi8(51)),
                                        _mm256_and_si256(capital, _mm256_set1_epi8(13)));
  const __m256i offsets = both_halves(
      _mm_setr_epi8('a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                    '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0, 0));
  return _mm256_add_epi8(values, _mm256_shuffle_epi8(offsets, range));
}

TALLOWBROOK_AVX2 inline void store_characters(__m256i characters, char* out) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), characters);
}

// A block takes 24 bytes. The first one reads 4 more behind them, the others before them.
TALLOWBROOK_AVX2 void encode_avx2(const char* bytes, std::size_t count, char* out) {
  constexpr std::size_t kBlock = 24;
  constexpr std::size_t kMore = 4;
  if (count < kBlock + kMore) return encode_portable(bytes, count, out);
  const __m128i first = _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10);
  store_characters(characters_of(bytes, both_halves(first)), out);
  const __m256i others = both_halves(_mm_add_epi8(first, _mm_set1_epi8(kMore)));
  for (std::size_t i = kBlock; i < count; i += kBlock) {
    const std::size_t at = std::min(i, count - kBlock);
    store_characters(characters_of(bytes + at - kMore, others), out + at / 3 * 4);
  }
}

#undef TALLOWBROOK_AVX2

constexpr Base64Groups kAvx2{&decode_avx2, &encode_avx2};

#endif

}  // namespace

std::uint8_t base64_value(char byte) { return kValues[octet(byte)]; }

const Base64Groups& portable_base64() { return kPortable; }

const Base64Groups& fastest_base64() {
#if defined(__x86_64__)
  static const bool has_avx2 = __builtin_cpu_supports("avx2") != 0;
  if (has_avx2) return kAvx2;
#endif
  return kPortable;
}

}  // namespace tallowbrook
