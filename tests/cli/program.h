// The built program, run as users run it, in a folder of the test's own.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace tallowbrook::cli {

namespace fs = std::filesystem;

inline const fs::path kSamples = fs::path(TALLOWBROOK_SOURCE_DIR) / "samples";

struct Outcome {
  int status;
  std::string text;
};

// `arguments` as a shell takes them.
inline Outcome run(const std::string& arguments) {
  const std::string program = "'" TALLOWBROOK_BINARY_DIR "/bin/tallowbrook' ";
  FILE* const pipe = ::popen((program + arguments).c_str(), "r");
  Outcome outcome{-1, {}};
  std::array<char, 4096> block{};
  for (std::size_t n = 0; (n = std::fread(block.data(), 1, block.size(), pipe)) > 0;) {
    outcome.text.append(block.data(), n);
  }
  const int status = ::pclose(pipe);
  if (WIFEXITED(status)) outcome.status = WEXITSTATUS(status);
  return outcome;
}

// The same with what it wrote to standard error among the text.
inline Outcome run_with_errors(const std::string& arguments) { return run(arguments + " 2>&1"); }

inline std::string content(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

inline std::string sample(const char* name) { return "'" + (kSamples / name).string() + "'"; }

class Cli : public ::testing::Test {
 protected:
  Cli() {
    std::string name = (fs::temp_directory_path() / "tallowbrook-cli.XXXXXX").string();
    folder_ = ::mkdtemp(name.data());
  }
  ~Cli() override { fs::remove_all(folder_); }

  fs::path file(const std::string& name, const std::string& bytes) const {
    std::ofstream(folder_ / name, std::ios::binary) << bytes;
    return folder_ / name;
  }
  [[nodiscard]] std::ptrdiff_t files() const {
    return std::distance(fs::directory_iterator(folder_), fs::directory_iterator());
  }

  fs::path folder_;
};

}  // namespace tallowbrook::cli
