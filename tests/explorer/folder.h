// A folder of messages that goes when the test ends.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace bramblescope::test {

class Folder : public ::testing::Test {
 protected:
  Folder() {
    std::string name = (std::filesystem::temp_directory_path() / "bramblescope.XXXXXX").string();
    folder_ = ::mkdtemp(name.data());
  }
  ~Folder() override { std::filesystem::remove_all(folder_); }

  std::filesystem::path write(const std::string& name, const std::string& bytes) const {
    std::ofstream(folder_ / name, std::ios::binary) << bytes;
    return folder_ / name;
  }
  [[nodiscard]] std::string read(const std::string& name) const {
    std::ostringstream out;
    out << std::ifstream(folder_ / name, std::ios::binary).rdbuf();
    return out.str();
  }

  std::filesystem::path folder_;
};

}  // namespace bramblescope::test
