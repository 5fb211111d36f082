// A coder's result, the same whatever stream the text comes from.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

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

// The values of the groups of six bits that `bytes` make, the last one filled up with zeros.
inline std::vector<unsigned> sextets(const std::string& bytes) {
  std::vector<unsigned> values;
  for (std::size_t bit = 0; bit < bytes.size() * 8; bit += 6) {
    unsigned value = 0;
    for (std::size_t i = bit; i < bit + 6; ++i) {
      const bool set = i / 8 < bytes.size() && (bytes[i / 8] >> (7 - i % 8) & 1) != 0;
      value = value << 1 | (set ? 1u : 0u);
    }
    values.push_back(value);
  }
  return values;
}

// Bytes of which one in `rare` is of `common` and the others are any, with runs of one byte.
inline std::string random_bytes(std::mt19937& random, std::size_t size, const std::string& common,
                                unsigned rare) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size;) {
    const char byte =
        random() % rare == 0 ? common[random() % common.size()] : static_cast<char>(random());
    const std::size_t run = random() % 20 == 0 ? random() % 120 : 1;
    for (const std::size_t end = std::min(size, i + run); i < end; ++i) bytes[i] = byte;
  }
  return bytes;
}

}  // namespace tallowbrook::test
