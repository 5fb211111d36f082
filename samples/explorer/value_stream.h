// The streams that hold the values of options.
//
// A value is its VARIANT type (2 bytes) and its data; that of a string (type 8) is the length in
// bytes of what follows (4 bytes), and the UTF-16 units with a closing zero. All little-endian.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/com/unknown.h"
#include "platform/storage/stream.h"

namespace bramblescope {

// A new stream in memory that holds these bytes, at its start.
[[nodiscard]] tallowbrook::platform::ComPtr<IStream> make_stream(std::string bytes);
// All bytes of a stream, from its start; nothing when it cannot be read.
[[nodiscard]] std::optional<std::string> read_stream(IStream& stream);
// Appends exactly `count` bytes from the stream's position; false when there are fewer.
[[nodiscard]] bool read_exactly(IStream& stream, std::size_t count, std::string& bytes);

// The bytes of a string value, and its text; nothing for a value of another type.
[[nodiscard]] std::string text_value(std::u16string_view text);
[[nodiscard]] std::optional<std::u16string> text_of_value(std::string_view bytes);

}  // namespace bramblescope
