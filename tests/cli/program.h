// The built program, run as users run it, in a folder of the test's own.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/scratch_folder.h"

namespace tallowbrook::cli {

namespace fs = std::filesystem;

inline const fs::path kSamples = fs::path(TALLOWBROOK_SOURCE_DIR) / "samples";

struct Outcome {
  int status;
  std::string text;
};

inline const std::string kProgram = "'" TALLOWBROOK_BINARY_DIR "/bin/tallowbrook' ";

// `arguments` as a shell takes them.
inline Outcome run(const std::string& arguments) {
  FILE* const pipe = ::popen((kProgram + arguments).c_str(), "r");
  Outcome outcome{-1, {}};
  for (int c = 0; (c = std::fgetc(pipe)) != EOF;) outcome.text += static_cast<char>(c);
  const int status = ::pclose(pipe);
  if (WIFEXITED(status)) outcome.status = WEXITSTATUS(status);
  return outcome;
}

// The same with what it wrote to standard error among the text.
inline Outcome run_with_errors(const std::string& arguments) { return run(arguments + " 2>&1"); }

inline std::size_t count(const std::string& text, const std::string& what) {
  std::size_t found = 0;
  for (std::size_t at = 0; (at = text.find(what, at)) != text.npos; at += what.size()) ++found;
  return found;
}

// As on a disk that is full, for which the file size limit stands.
inline Outcome run_on_full_disk(const std::string& arguments) {
  return run("--help >/dev/null; trap '' XFSZ; ulimit -f 0; " + kProgram + arguments + " 2>&1");
}

// Calls of a command, and what each tells.
struct Call {
  std::string arguments;
  int status;
  const char* text;
};
inline void expect_told(const std::string& command, const std::vector<Call>& calls) {
  for (const auto& [arguments, status, wanted] : calls) {
    const Outcome outcome = run("2>&1 " + command + " " + arguments);
    EXPECT_EQ(outcome.status, status) << arguments;
    EXPECT_NE(outcome.text.find(wanted), std::string::npos) << arguments << "\n" << outcome.text;
  }
}

inline std::string content(const fs::path& file) { return test::read_file(file); }

inline std::string sample(const char* name) { return "'" + (kSamples / name).string() + "'"; }

class Cli : public ::testing::Test {
 protected:
  fs::path file(const std::string& name, const std::string& bytes) const {
    test::write_file(folder_ / name, bytes);
    return folder_ / name;
  }
  [[nodiscard]] std::string path(const std::string& name) const { return scratch_.file(name); }
  [[nodiscard]] std::ptrdiff_t files() const {
    return std::distance(fs::directory_iterator(folder_), fs::directory_iterator());
  }

 private:
  const test::ScratchFolder scratch_;

 protected:
  const fs::path folder_ = scratch_.path();
};

}  // namespace tallowbrook::cli
