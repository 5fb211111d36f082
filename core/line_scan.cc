#include "core/line_scan.h"

#include <algorithm>
#include <cstdint>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace tallowbrook {
namespace {

// Without a branch, in blocks of a fixed size: for the compiler to turn into vector code.
using Byte = unsigned char;
constexpr std::size_t kBlock = 64;

// Letters differ from their capitals in one bit.
constexpr Byte begins_special_line(char first) {
  const auto lower = static_cast<Byte>(first | 0x20);
  return static_cast<Byte>((first == '-') | (first == '.') | (lower == 'b') | (lower == 'e'));
}

bool needs_normalising(std::string_view bytes) {
  std::size_t i = 0;
  for (; i + kBlock < bytes.size(); i += kBlock) {
    const char* const block = bytes.data() + i;
    Byte found = 0;
    for (std::size_t k = 0; k < kBlock; ++k) {
      const bool lone_cr = (block[k] == '\r') & (block[k + 1] != '\n');
      found = static_cast<Byte>(found | (block[k] == '\0') | lone_cr);
    }
    if (found != 0) return true;
  }
  for (; i < bytes.size(); ++i) {
    if (bytes[i] == '\0') return true;
    if (bytes[i] == '\r' && (i + 1 == bytes.size() || bytes[i + 1] != '\n')) return true;
  }
  return false;
}

std::size_t count_line_ends(std::string_view bytes) {
  std::size_t count = 0;
  std::size_t i = 0;
  for (; i + kBlock <= bytes.size(); i += kBlock) {
    Byte in_block = 0;
    for (std::size_t k = 0; k < kBlock; ++k) {
      in_block = static_cast<Byte>(in_block + (bytes[i + k] == '\n' ? 1 : 0));
    }
    count += in_block;
  }
  for (; i < bytes.size(); ++i) count += bytes[i] == '\n' ? 1 : 0;
  return count;
}

std::size_t find_special_line(std::string_view bytes) {
  std::size_t i = 1;
  for (; i + kBlock <= bytes.size(); i += kBlock) {
    const char* const block = bytes.data() + i;
    Byte found = 0;
    for (std::size_t k = 0; k < kBlock; ++k) {
      const Byte at_start = block[k - 1] == '\n' ? 1 : 0;  // of a line
      found = static_cast<Byte>(found | (at_start & begins_special_line(block[k])));
    }
    if (found != 0) break;
  }
  for (; i < bytes.size(); ++i) {
    if (bytes[i - 1] == '\n' && begins_special_line(bytes[i]) != 0) return i;
  }
  return std::string_view::npos;
}

std::size_t find_bare_line_end(std::string_view bytes) {
  for (std::size_t i = 1; i < bytes.size(); ++i) {
    const std::size_t lf = bytes.find('\n', i);
    if (lf == std::string_view::npos) break;
    if (bytes[lf - 1] != '\r') return lf;
    i = lf;
  }
  return std::string_view::npos;
}

std::size_t find_nul_or_dots(std::string_view bytes) {
  return std::min(bytes.find('\0'), bytes.find("..\r"));
}

#if defined(__x86_64__)

constexpr std::size_t kVector = 32;

[[gnu::target("avx2")]] __m256i load(const char* bytes) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
}

// CRs that no LF follows.
[[gnu::target("avx2")]] __m256i lone_crs(const char* bytes) {
  return _mm256_andnot_si256(_mm256_cmpeq_epi8(load(bytes + 1), _mm256_set1_epi8('\n')),
                             _mm256_cmpeq_epi8(load(bytes), _mm256_set1_epi8('\r')));
}

// Of two vectors, and the byte behind them.
[[gnu::target("avx2")]] bool pair_needs_normalising(const char* at) {
  const __m256i least = _mm256_min_epu8(load(at), load(at + kVector));
  const __m256i nuls = _mm256_cmpeq_epi8(least, _mm256_setzero_si256());
  const __m256i lone = _mm256_or_si256(lone_crs(at), lone_crs(at + kVector));
  const __m256i found = _mm256_or_si256(nuls, lone);
  return _mm256_testz_si256(found, found) == 0;
}

// The last pair overlaps the one before it.
[[gnu::target("avx2")]] bool needs_normalising_avx2(std::string_view bytes) {
  constexpr std::size_t kPair = 2 * kVector;
  if (bytes.size() <= kPair) return needs_normalising(bytes);
  const char* const last = bytes.data() + bytes.size() - kPair - 1;
  for (const char* at = bytes.data(); at < last; at += kPair) {
    if (pair_needs_normalising(at)) return true;
  }
  return pair_needs_normalising(last) || needs_normalising(bytes.substr(bytes.size() - 1));
}

[[gnu::target("avx2")]] std::size_t count_line_ends_avx2(std::string_view bytes) {
  const __m256i lf = _mm256_set1_epi8('\n');
  __m256i sums = _mm256_setzero_si256();  // four of 64 bits
  std::size_t i = 0;
  while (i + kVector <= bytes.size()) {
    // A byte counts to 255 before its lane must be added up.
    const std::size_t end = i + std::min((bytes.size() - i) / kVector, std::size_t{255}) * kVector;
    __m256i counts = _mm256_setzero_si256();
    for (; i < end; i += kVector) {
      counts = _mm256_sub_epi8(counts, _mm256_cmpeq_epi8(load(bytes.data() + i), lf));
    }
    sums = _mm256_add_epi64(sums, _mm256_sad_epu8(counts, _mm256_setzero_si256()));
  }
  alignas(kVector) std::uint64_t lanes[4];
  _mm256_store_si256(reinterpret_cast<__m256i*>(lanes), sums);
  return lanes[0] + lanes[1] + lanes[2] + lanes[3] + count_line_ends(bytes.substr(i));
}

// The four characters have different low halves, so one table look-up by it finds the only one that
// a byte may be.
[[gnu::target("avx2")]] std::size_t find_special_line_avx2(std::string_view bytes) {
  const __m256i lf = _mm256_set1_epi8('\n');
  const __m256i letter_bit = _mm256_set1_epi8(0x40);
  const __m256i candidates =
      _mm256_setr_epi8(1, 1, 'b', 1, 1, 'e', 1, 1, 1, 1, 1, 1, 1, '-', '.', 1, 1, 1, 'b', 1, 1, 'e',
                       1, 1, 1, 1, 1, 1, 1, '-', '.', 1);
  std::size_t i = 0;
  for (; i + kVector < bytes.size(); i += kVector) {
    const __m256i before = load(bytes.data() + i);
    const __m256i first = load(bytes.data() + i + 1);
    const __m256i case_bit = _mm256_srli_epi16(_mm256_and_si256(first, letter_bit), 1);
    const __m256i lower = _mm256_or_si256(first, case_bit);
    const __m256i special = _mm256_cmpeq_epi8(lower, _mm256_shuffle_epi8(candidates, first));
    const __m256i found = _mm256_and_si256(special, _mm256_cmpeq_epi8(before, lf));
    const auto bits = static_cast<unsigned>(_mm256_movemask_epi8(found));
    if (bits != 0) return i + 1 + static_cast<std::size_t>(__builtin_ctz(bits));
  }
  const std::size_t offset = find_special_line(bytes.substr(i));
  return offset == std::string_view::npos ? offset : i + offset;
}

[[gnu::target("avx2")]] std::size_t find_bare_line_end_avx2(std::string_view bytes) {
  const __m256i cr = _mm256_set1_epi8('\r');
  const __m256i lf = _mm256_set1_epi8('\n');
  std::size_t i = 0;
  for (; i + kVector < bytes.size(); i += kVector) {
    const __m256i before = load(bytes.data() + i);
    const __m256i here = load(bytes.data() + i + 1);
    const __m256i found =
        _mm256_andnot_si256(_mm256_cmpeq_epi8(before, cr), _mm256_cmpeq_epi8(here, lf));
    const auto bits = static_cast<unsigned>(_mm256_movemask_epi8(found));
    if (bits != 0) return i + 1 + static_cast<std::size_t>(__builtin_ctz(bits));
  }
  const std::size_t offset = find_bare_line_end(bytes.substr(i));
  return offset == std::string_view::npos ? offset : i + offset;
}

[[gnu::target("avx2")]] std::size_t find_nul_or_dots_avx2(std::string_view bytes) {
  const __m256i nul = _mm256_setzero_si256();
  const __m256i dot = _mm256_set1_epi8('.');
  const __m256i cr = _mm256_set1_epi8('\r');
  std::size_t i = 0;
  for (; i + kVector + 1 < bytes.size(); i += kVector) {
    const __m256i here = load(bytes.data() + i);
    const __m256i dots = _mm256_and_si256(_mm256_cmpeq_epi8(here, dot),
                                          _mm256_cmpeq_epi8(load(bytes.data() + i + 1), dot));
    const __m256i end = _mm256_and_si256(dots, _mm256_cmpeq_epi8(load(bytes.data() + i + 2), cr));
    const __m256i found = _mm256_or_si256(end, _mm256_cmpeq_epi8(here, nul));
    const auto bits = static_cast<unsigned>(_mm256_movemask_epi8(found));
    if (bits != 0) return i + static_cast<std::size_t>(__builtin_ctz(bits));
  }
  const std::size_t offset = find_nul_or_dots(bytes.substr(i));
  return offset == std::string_view::npos ? offset : i + offset;
}

#endif

}  // namespace

const LineScan& portable_line_scan() {
  static constexpr LineScan scan{needs_normalising, count_line_ends, find_special_line,
                                 find_bare_line_end, find_nul_or_dots};
  return scan;
}

const LineScan& fastest_line_scan() {
#if defined(__x86_64__)
  static constexpr LineScan avx2{needs_normalising_avx2, count_line_ends_avx2,
                                 find_special_line_avx2, find_bare_line_end_avx2,
                                 find_nul_or_dots_avx2};
  static const bool has_avx2 = __builtin_cpu_supports("avx2") != 0;
  if (has_avx2) return avx2;
#endif
  return portable_line_scan();
}

}  // namespace tallowbrook
