#include "coding/mime_code.h"

#include <cstring>

#include "streams/memory_stream.h"

namespace tallowbrook {

namespace {

// A buffer as a coder's input, read from its start.
void fill(CISSHelper& stream, const char* source, std::int32_t length) {
  stream.write(length < 0 ? std::string_view(source)
                          : std::string_view(source, static_cast<std::size_t>(length)));
  stream.rewind();
}

}  // namespace

std::int32_t CMIMECode::DecodeBuffer(const char* source, char* destination, std::int32_t length) {
  CISSHelper input;
  CISSHelper output;
  fill(input, source, length);
  Decode(input, output);
  const std::string_view decoded = output.bytes();
  if (destination != nullptr && !decoded.empty()) {
    std::memcpy(destination, decoded.data(), decoded.size());
  }
  return static_cast<std::int32_t>(decoded.size());
}

void CMIMECode::EncodeToString(const char* source, std::int32_t length, std::string& text) {
  CISSHelper input;
  CISSHelper output;
  fill(input, source, length);
  Encode(input, output);
  text = output.bytes();
}

}  // namespace tallowbrook
