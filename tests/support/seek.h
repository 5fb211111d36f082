// Where a stream stands after a seek that succeeds.
#pragma once

#include <gtest/gtest.h>

#include "platform/storage/stream.h"

namespace tallowbrook::test {

inline ULONGLONG seek(IStream& stream, LONGLONG offset, DWORD origin) {
  LARGE_INTEGER move;
  move.QuadPart = offset;
  ULARGE_INTEGER position{};
  EXPECT_EQ(stream.Seek(move, origin, &position), S_OK);
  return position.QuadPart;
}

}  // namespace tallowbrook::test
