// The place of a number is how many are below it. To count these for eight numbers at a time costs
// two vector comparisons for each of all numbers.
#include "core/few_sort.h"

#include <algorithm>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace tallowbrook {
namespace {

#if defined(__x86_64__)

[[gnu::target("avx2")]] void sort_few_avx2(std::span<std::uint64_t> numbers) {
  constexpr std::size_t kVector = 4;
  constexpr std::size_t kStep = 2 * kVector;
  const __m256i sign = _mm256_set1_epi64x(static_cast<long long>(std::uint64_t{1} << 63));
  // As signed numbers, which are all that can be compared, with room behind the last one: for the
  // vector that it ends in, and for the place of what else is in there.
  alignas(sizeof(__m256i)) std::uint64_t from[kFewNumbers + kStep];
  std::uint64_t to[kFewNumbers + kStep];
  const std::size_t count = numbers.size();
  std::copy(numbers.begin(), numbers.end(), from);
  std::fill_n(from + count, kStep, ~std::uint64_t{0});
  for (std::size_t at = 0; at < count; at += kVector) {
    auto* const four = reinterpret_cast<__m256i*>(from + at);
    _mm256_store_si256(four, _mm256_xor_si256(_mm256_load_si256(four), sign));
  }
  const auto* const vectors = reinterpret_cast<const __m256i*>(from);
  for (std::size_t at = 0; at < count; at += kStep) {
    const __m256i first = _mm256_load_si256(vectors + at / kVector);
    const __m256i second = _mm256_load_si256(vectors + at / kVector + 1);
    __m256i below_first = _mm256_setzero_si256();
    __m256i below_second = _mm256_setzero_si256();
    for (std::size_t i = 0; i < count; ++i) {
      const __m256i other = _mm256_set1_epi64x(static_cast<long long>(from[i]));
      // A comparison that holds gives -1.
      below_first = _mm256_sub_epi64(below_first, _mm256_cmpgt_epi64(first, other));
      below_second = _mm256_sub_epi64(below_second, _mm256_cmpgt_epi64(second, other));
    }
    alignas(sizeof(__m256i)) std::uint64_t places[kStep];
    _mm256_store_si256(reinterpret_cast<__m256i*>(places), below_first);
    _mm256_store_si256(reinterpret_cast<__m256i*>(places + kVector), below_second);
    for (std::size_t i = 0; i < std::min(kStep, count - at); ++i) to[places[i]] = numbers[at + i];
  }
  std::copy_n(to, count, numbers.begin());
}

#endif

}  // namespace

void portable_sort_few(std::span<std::uint64_t> numbers) {
  std::sort(numbers.begin(), numbers.end());
}

void sort_few(std::span<std::uint64_t> numbers) {
#if defined(__x86_64__)
  static const bool has_avx2 = __builtin_cpu_supports("avx2") != 0;
  if (has_avx2) return sort_few_avx2(numbers);
#endif
  portable_sort_few(numbers);
}

}  // namespace tallowbrook
