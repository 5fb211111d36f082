// A coder's result, the same whatever stream the text comes from.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "coding/mime_code.h"
#include "streams/memory_stream.h"
#include "tests/support/host_stream.h"

namespace tallowbrook::test {

using Direction = void (CMIMECode::*)(IStream&, IStream&);
inline constexpr Direction kEncode = &CMIMECode::Encode;
inline constexpr Direction kDecode = &CMIMECode::Decode;

// Converts `text` out of a memory stream, then out of streams that give `steps` bytes at a time.
inline std::string converted(CMIMECode& coder, Direction direction, const std::string& text,
                             std::initializer_list<ULONG> steps = {1, 2, 7, 4096, 1u << 20}) {
  CISSHelper memory;
  memory.write(text);
  memory.rewind();
  CISSHelper result;
  (coder.*direction)(memory, result);
  for (const ULONG step : steps) {
    HostStream input(text, step);
    CISSHelper output;
    (coder.*direction)(input, output);
    EXPECT_TRUE(output.bytes() == result.bytes()) << "in steps of " << step;
  }
  return std::string(result.bytes());
}

}  // namespace tallowbrook::test
