#include "parser/address_marks.h"

#include <array>
#include <string_view>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace tallowbrook {
namespace {

// Classes of bytes, one bit each. Those of `kOther` are as many as it takes for each of them to be
// all combinations of some higher with some lower halves of a byte.
enum : std::uint8_t {
  kControl = 1,        // below " " and above 0x7F
  kBeforeDigits = 2,   // " ( ) ,
  kBehindDigits = 4,   // : ; < = >
  kBehindLetters = 8,  // [ \ ]
  kBlank = 0x20,
  kDot = 0x40,
  kAt = 0x80,
  kOther = kControl | kBeforeDigits | kBehindDigits | kBehindLetters | kBlank,
};

// What a byte may be by its higher half and by its lower half; both together tell.
constexpr std::array<std::uint8_t, 16> kByHigh{kControl,
                                               kControl,
                                               kBeforeDigits | kBlank | kDot,
                                               kBehindDigits,
                                               kAt,
                                               kBehindLetters,
                                               0,
                                               0,
                                               kControl,
                                               kControl,
                                               kControl,
                                               kControl,
                                               kControl,
                                               kControl,
                                               kControl,
                                               kControl};
constexpr std::array<std::uint8_t, 16> kByLow = [] {
  std::array<std::uint8_t, 16> classes{};
  const auto add = [&](std::string_view marks, std::uint8_t kind) {
    for (const char c : marks)
      classes[c & 0xF] = static_cast<std::uint8_t>(classes[c & 0xF] | kind);
  };
  for (std::uint8_t& any : classes) any = kControl;
  add("\"(),", kBeforeDigits);
  add(":;<=>", kBehindDigits);
  add("[\\]", kBehindLetters);
  add(" ", kBlank);
  add(".", kDot);
  add("@", kAt);
  return classes;
}();

AddressMarks marks_portable(const char* bytes) {
  AddressMarks marks;
  for (std::size_t at = 0; at < AddressMarks::kSize; ++at) {
    const auto byte = static_cast<unsigned char>(bytes[at]);
    const auto kinds = static_cast<unsigned>(kByHigh[byte >> 4] & kByLow[byte & 0xF]);
    const std::uint64_t bit = std::uint64_t{1} << at;
    if ((kinds & kOther) != 0) marks.other |= bit;
    if ((kinds & kBlank) != 0) marks.blanks |= bit;
    if ((kinds & (kDot | kAt)) != 0) marks.dots |= bit;
    if ((kinds & kAt) != 0) marks.ats |= bit;
  }
  return marks;
}

#if defined(__x86_64__)

AddressMarks marks_sse2(const char* bytes) {
  const auto is = [](__m128i block, char c) { return _mm_cmpeq_epi8(block, _mm_set1_epi8(c)); };
  const auto is_between = [](__m128i block, char first, char last) {
    const __m128i from_first = _mm_sub_epi8(block, _mm_set1_epi8(first));
    const __m128i capped = _mm_min_epu8(from_first, _mm_set1_epi8(static_cast<char>(last - first)));
    return _mm_cmpeq_epi8(from_first, capped);
  };
  const auto either = [](__m128i a, __m128i b) { return _mm_or_si128(a, b); };
  AddressMarks marks;
  for (std::size_t at = 0; at < AddressMarks::kSize; at += sizeof(__m128i)) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + at));
    const auto bits_of = [at](__m128i found) {
      return std::uint64_t{static_cast<std::uint16_t>(_mm_movemask_epi8(found))} << at;
    };
    const __m128i low_or_8bit = _mm_cmplt_epi8(block, _mm_set1_epi8('!'));
    const __m128i text_marks =
        either(is(block, '"'), either(is(block, ','), is_between(block, '(', ')')));
    const __m128i brackets = either(is_between(block, ':', '>'), is_between(block, '[', ']'));
    const __m128i at_sign = is(block, '@');
    marks.other |= bits_of(either(low_or_8bit, either(text_marks, brackets)));
    marks.blanks |= bits_of(is(block, ' '));
    marks.ats |= bits_of(at_sign);
    marks.dots |= bits_of(either(at_sign, is(block, '.')));
  }
  return marks;
}

[[gnu::target("avx2")]] AddressMarks marks_avx2(const char* bytes) {
  const __m256i half = _mm256_set1_epi8(0xF);
  const __m256i by_high = _mm256_broadcastsi128_si256(
      _mm_loadu_si128(reinterpret_cast<const __m128i*>(kByHigh.data())));
  const __m256i by_low =
      _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(kByLow.data())));
  const __m256i other_bits = _mm256_set1_epi8(kOther);
  AddressMarks marks;
  for (std::size_t at = 0; at < AddressMarks::kSize; at += sizeof(__m256i)) {
    const __m256i block = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + at));
    const __m256i high = _mm256_and_si256(_mm256_srli_epi16(block, 4), half);
    const __m256i low = _mm256_and_si256(block, half);
    const __m256i kinds =
        _mm256_and_si256(_mm256_shuffle_epi8(by_high, high), _mm256_shuffle_epi8(by_low, low));
    const __m256i plain =
        _mm256_cmpeq_epi8(_mm256_and_si256(kinds, other_bits), _mm256_setzero_si256());
    // The mask of a vector takes the highest bit of each byte.
    const __m256i dots = _mm256_or_si256(kinds, _mm256_slli_epi16(kinds, 1));
    const __m256i blanks = _mm256_slli_epi16(kinds, 2);
    marks.other |= std::uint64_t{~static_cast<unsigned>(_mm256_movemask_epi8(plain))} << at;
    marks.blanks |= std::uint64_t{static_cast<unsigned>(_mm256_movemask_epi8(blanks))} << at;
    marks.dots |= std::uint64_t{static_cast<unsigned>(_mm256_movemask_epi8(dots))} << at;
    marks.ats |= std::uint64_t{static_cast<unsigned>(_mm256_movemask_epi8(kinds))} << at;
  }
  return marks;
}

#endif

}  // namespace

std::span<const MarkAddresses> all_address_marks() {
#if defined(__x86_64__)
  static constexpr MarkAddresses all[] = {marks_portable, marks_sse2, marks_avx2};
  static const bool has_avx2 = __builtin_cpu_supports("avx2") != 0;
  return std::span(all).first(has_avx2 ? 3 : 2);
#else
  static constexpr MarkAddresses all[] = {marks_portable};
  return all;
#endif
}

}  // namespace tallowbrook
