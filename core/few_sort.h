// Sorts a few numbers without comparisons whose outcomes no processor could foresee.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace tallowbrook {

// How many at most.
inline constexpr std::size_t kFewNumbers = 64;

// Ascending, for numbers all of which differ.
void sort_few(std::span<std::uint64_t> numbers);
// The same by the way for any processor.
void portable_sort_few(std::span<std::uint64_t> numbers);

}  // namespace tallowbrook
