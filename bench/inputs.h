// Messages of a given shape and size, made anew for each run.
#pragma once

#include <cstddef>
#include <string>

namespace tallowbrook::bench {

[[nodiscard]] std::string text_body(std::size_t bytes);  // one text body of 76-column lines
[[nodiscard]] std::string typical();                     // 4 KB, twenty fields, eight traces
[[nodiscard]] std::string extension_fields(std::size_t count);
[[nodiscard]] std::string recipients(std::size_t count);  // in one To field, a line each
[[nodiscard]] std::string trace_fields(std::size_t count);
[[nodiscard]] std::string body_lines(std::size_t count);  // of four bytes
[[nodiscard]] std::string parts(std::size_t count);       // children of one multipart
[[nodiscard]] std::string nested(std::size_t depth);      // multiparts in one another

}  // namespace tallowbrook::bench
