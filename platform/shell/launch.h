// Programs that the shell starts. Internal to the shell room.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace tallowbrook::platform {

// Starts a program, found on the PATH, with these arguments (the first is the program itself), away
// from this process: in a session of its own, with no open files but /dev/null. False when it
// cannot be started; how it ends nobody is told.
[[nodiscard]] bool start_detached(const std::vector<std::string>& arguments);

// What a program prints on its standard output, at most `most` bytes of it. It gets no input, and
// is killed when it has not ended by the deadline. Empty when it cannot be started or fails.
[[nodiscard]] std::string output_of(const std::vector<std::string>& arguments,
                                    std::chrono::milliseconds deadline, std::size_t most);

}  // namespace tallowbrook::platform
