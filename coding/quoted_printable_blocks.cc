#include "coding/quoted_printable_blocks.h"

#include <array>
#include <bit>
#include <cstdint>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace tallowbrook {
namespace {

DecodedBlocks none(const char*, std::size_t, char*) { return {0, 0}; }

#if defined(__x86_64__)

// For each choice of 8 bytes, the places of those that are kept, in their order.
using Places = std::array<std::uint8_t, 8>;
constexpr std::array<Places, 256> kKept = [] {
  std::array<Places, 256> kept{};
  for (unsigned choice = 0; choice < kept.size(); ++choice) {
    std::size_t count = 0;
    for (std::uint8_t place = 0; place < 8; ++place) {
      if ((choice >> place & 1) != 0) kept[choice][count++] = place;
    }
  }
  return kept;
}();

[[gnu::target("avx2")]] __m128i load(const char* from) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

[[gnu::target("avx2")]] __m128i equals(__m128i bytes, char byte) {
  return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(byte));
}

[[gnu::target("avx2")]] unsigned mask_of(__m128i bytes) {
  return static_cast<unsigned>(_mm_movemask_epi8(bytes));
}

// A to F of either case count from 10, every other byte from "0", modulo 256.
[[gnu::target("avx2")]] __m128i digits(__m128i bytes) {
  const __m128i from_a = _mm_sub_epi8(_mm_or_si128(bytes, _mm_set1_epi8(0x20)), _mm_set1_epi8('a'));
  const __m128i is_letter = _mm_cmpeq_epi8(_mm_min_epu8(from_a, _mm_set1_epi8(5)), from_a);
  return _mm_blendv_epi8(_mm_sub_epi8(bytes, _mm_set1_epi8('0')),
                         _mm_add_epi8(from_a, _mm_set1_epi8(10)), is_letter);
}

// Stores those of the low 8 bytes that `choice` names; returns where the next go.
[[gnu::target("avx2,popcnt")]] char* store_chosen(__m128i bytes, unsigned choice, char* out) {
  const __m128i places =
      _mm_loadl_epi64(reinterpret_cast<const __m128i*>(kKept[choice & 0xFF].data()));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_shuffle_epi8(bytes, places));
  return out + std::popcount(choice & 0xFF);
}

// At every "=" stands the byte that it and the two behind it make; those two are left out, and the
// "=" as well where they are a line end or make a zero. No branch depends on the text but the one
// that ends the loop.
[[gnu::target("avx2,popcnt")]] DecodedBlocks decode_avx2(const char* text, std::size_t length,
                                                         char* out) {
  char* const start = out;
  std::size_t i = 0;
  while (length - i >= kQuotedBlock) {
    const __m128i bytes = load(text + i);
    const __m128i before = load(text + i - 1);
    const __m128i second = load(text + i + 1);
    const __m128i third = load(text + i + 2);

    const __m128i is_escape = equals(bytes, '=');
    const unsigned escapes = mask_of(is_escape);
    const __m128i at_start = _mm_or_si128(equals(before, '\r'), equals(before, '\n'));
    const __m128i dot = _mm_and_si128(equals(bytes, '.'), at_start);
    const __m128i bare = _mm_and_si128(is_escape, equals(second, '\n'));
    const unsigned digit_places = escapes << 1 | escapes << 2;
    if ((mask_of(_mm_or_si128(dot, bare)) | (escapes & digit_places)) != 0) break;

    const __m128i high = _mm_and_si128(_mm_slli_epi16(digits(second), 4), _mm_set1_epi8(-16));
    const __m128i made = _mm_add_epi8(high, digits(third));
    const __m128i line_end = _mm_and_si128(equals(second, '\r'), equals(third, '\n'));
    const __m128i nothing = _mm_and_si128(is_escape, _mm_or_si128(line_end, equals(made, '\0')));
    const unsigned kept = ~(digit_places | mask_of(nothing));

    const __m128i decoded = _mm_blendv_epi8(bytes, made, is_escape);
    out = store_chosen(decoded, kept, out);
    out = store_chosen(_mm_srli_si128(decoded, 8), kept >> 8, out);
    i += 16 + (digit_places >> 16 & 1) + (digit_places >> 17 & 1);
  }
  return {i, static_cast<std::size_t>(out - start)};
}

#endif

}  // namespace

DecodeQuotedBlocks portable_quoted_blocks() { return none; }

DecodeQuotedBlocks fastest_quoted_blocks() {
#if defined(__x86_64__)
  static const bool has_avx2 =
      __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("popcnt") != 0;
  if (has_avx2) return decode_avx2;
#endif
  return portable_quoted_blocks();
}

}  // namespace tallowbrook
