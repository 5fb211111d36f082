// How a failing parse is told to the host: through the thread's error object.
#pragma once

#include <stdexcept>
#include <string>

#include "parser/load.h"

namespace tallowbrook {

// A failure inside the scanner that no input rule covers (its buffer cannot grow, ...).
class CDecoderException : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Marks the run as failed. For a full load the rest of the input goes to the raw copy, and the
// thread's error object becomes "<hint> in Line <line>".
void ReportParseError(ParseRun& run, const std::string& hint, long line);

}  // namespace tallowbrook
