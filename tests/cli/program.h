// The program as users run it.
#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <string>

namespace tallowbrook::cli {

struct Outcome {
  int status = -1;
  std::string text;
};

// Runs it with these arguments in a shell; the text is what it wrote, errors among it.
inline Outcome run(const std::string& arguments) {
  FILE* const pipe =
      ::popen(("'" TALLOWBROOK_BINARY_DIR "/bin/tallowbrook' " + arguments + " 2>&1").c_str(), "r");
  Outcome outcome;
  for (int c = 0; (c = std::fgetc(pipe)) != EOF;) outcome.text += static_cast<char>(c);
  const int status = ::pclose(pipe);
  if (WIFEXITED(status)) outcome.status = WEXITSTATUS(status);
  return outcome;
}

}  // namespace tallowbrook::cli
