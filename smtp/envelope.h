// The envelope of a message: who sends it, and whom it is for.
#pragma once

#include <string>
#include <vector>

#include "platform/automation/dispatch.h"

namespace tallowbrook {

struct Envelope {
  std::string sender;                   // as they stand in the commands, brackets included,
  std::vector<std::string> recipients;  // in the ANSI code page
};

// Reads the envelope from any object that has the properties: "Sender" or, where that is none or
// empty, the first of "From", and all of "To"; of each address its "RouteAddress". Null when all
// were read, else the reason why not. No address that is given back can add anything to a command.
[[nodiscard]] const char* read_envelope(IDispatch* message, Envelope& envelope);

}  // namespace tallowbrook
