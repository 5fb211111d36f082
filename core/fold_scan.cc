#include "core/fold_scan.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace tallowbrook {
namespace {

#if defined(__x86_64__)

[[gnu::target("avx2")]] std::size_t skip_plain_folds_avx2(std::string_view text) {
  constexpr std::size_t kVector = 32;
  const auto* const bytes = reinterpret_cast<const unsigned char*>(text.data());
  const __m256i lf = _mm256_set1_epi8('\n');
  const __m256i space = _mm256_set1_epi8(' ');
  const __m256i tab = _mm256_set1_epi8('\t');
  const __m256i least = _mm256_set1_epi8(' ' + 1);
  std::size_t i = 0;
  for (; i + kVector + 2 <= text.size(); i += kVector) {
    const __m256i here = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + i));
    const __m256i next = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + i + 1));
    const __m256i third = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + i + 2));
    const __m256i blank =
        _mm256_or_si256(_mm256_cmpeq_epi8(next, space), _mm256_cmpeq_epi8(next, tab));
    const __m256i above = _mm256_cmpeq_epi8(_mm256_max_epu8(third, least), third);
    const __m256i plain = _mm256_and_si256(blank, above);
    const __m256i found = _mm256_andnot_si256(plain, _mm256_cmpeq_epi8(here, lf));
    const auto bits = static_cast<unsigned>(_mm256_movemask_epi8(found));
    if (bits != 0) return i + static_cast<std::size_t>(__builtin_ctz(bits));
  }
  return i + portable_skip_plain_folds(text.substr(i));
}

#endif

}  // namespace

std::size_t portable_skip_plain_folds(std::string_view text) {
  for (std::size_t at = 0;;) {
    const std::size_t lf = text.find('\n', at);
    if (lf == text.npos) return text.size();
    if (lf + 2 >= text.size()) return lf;
    const bool blank = text[lf + 1] == ' ' || text[lf + 1] == '\t';
    if (!blank || static_cast<unsigned char>(text[lf + 2]) <= ' ') return lf;
    at = lf + 3;
  }
}

std::size_t skip_plain_folds(std::string_view text) {
#if defined(__x86_64__)
  static const bool has_avx2 = __builtin_cpu_supports("avx2") != 0;
  if (has_avx2) return skip_plain_folds_avx2(text);
#endif
  return portable_skip_plain_folds(text);
}

}  // namespace tallowbrook
