// Times of files as FILETIME: steps of 100 ns since 1 January 1601.
#pragma once

#include <ctime>

#include "platform/storage/stream.h"

namespace tallowbrook::platform {

inline constexpr LONGLONG kFileTimeOfUnixEpoch = 116444736000000000;

[[nodiscard]] inline FILETIME file_time(const timespec& time) {
  const LONGLONG steps =
      kFileTimeOfUnixEpoch + LONGLONG{time.tv_sec} * 10000000 + time.tv_nsec / 100;
  return {static_cast<DWORD>(steps & 0xFFFFFFFF),
          static_cast<DWORD>(static_cast<ULONGLONG>(steps) >> 32)};
}

[[nodiscard]] inline timespec unix_time(const FILETIME& time) {
  const auto steps =
      static_cast<LONGLONG>((ULONGLONG{time.dwHighDateTime} << 32) | time.dwLowDateTime) -
      kFileTimeOfUnixEpoch;
  const LONGLONG seconds = steps >= 0 ? steps / 10000000 : -((9999999 - steps) / 10000000);
  return {static_cast<time_t>(seconds), static_cast<long>(steps - seconds * 10000000) * 100};
}

}  // namespace tallowbrook::platform
