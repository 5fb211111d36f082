// Measures of the desktop that programs lay their pictures out by.
#pragma once

#include "platform/com/types.h"

inline constexpr int SM_CXICON = 11;
inline constexpr int SM_CYICON = 12;
inline constexpr int SM_CXSMICON = 49;
inline constexpr int SM_CYSMICON = 50;

// In pixels: an icon is 32 x 32, a small icon 16 x 16. 0 for a measure that there is not.
[[nodiscard]] int GetSystemMetrics(int measure);
