// The scanner's only source of bytes.
#pragma once

#include <cstddef>

#include "parser/load.h"

namespace tallowbrook {

// The most that is asked of a stream at once.
inline constexpr std::size_t kChunk = 8192;

// Reads up to min(maximum, kChunk) bytes from the run's input into `buffer`, copies them to the raw
// copy, and normalises them: NUL bytes go, a CR that no LF follows becomes LF (or goes, after an
// LF), runs of CR before LF stay. At the end of the stream the bytes are CR LF "." CR LF, which the
// scanner takes for the end of the message, at every further call again.
//
// A stream that gives fewer bytes than asked is asked again until the request is full or the stream
// is at its end, so a short read never splits CR LF. A failing read ends the input; its status goes
// to `run.read_status`. `maximum` is at least 5. Returns the bytes placed, never 0.
[[nodiscard]] std::size_t ReadScannerInput(ParseRun& run, char* buffer, std::size_t maximum);

// The normalisation alone: `full` tells that the read filled its request, so that a CR at the end
// may belong to an LF that comes next. Returns the new length.
[[nodiscard]] std::size_t normalise(char* bytes, std::size_t length, bool full);

// How many of the `length` bytes become the first `kept` normalised ones. Changes the bytes.
[[nodiscard]] std::size_t length_before_normalising(char* bytes, std::size_t length, bool full,
                                                    std::size_t kept);

}  // namespace tallowbrook
