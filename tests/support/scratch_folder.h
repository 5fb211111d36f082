// A folder of the test's own that goes with it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace tallowbrook::test {

class ScratchFolder {
 public:
  ScratchFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "tallowbrook-XXXXXX").string();
    path_ = ::mkdtemp(name.data()) == nullptr ? std::string() : name;
  }
  ~ScratchFolder() {
    std::error_code error;
    if (!path_.empty()) std::filesystem::remove_all(path_, error);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] std::string file(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// Empty for a file that is not there.
[[nodiscard]] inline std::string read_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

inline void write_file(const std::string& path, const std::string& text) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << text;
}

// The registry of this process and of those that it starts, in a folder of its own.
class ScratchRegistry {
 public:
  ScratchRegistry() {
    ::setenv("TALLOWBROOK_MACHINE_REGISTRY", folder_.file("machine").c_str(), 1);
    ::setenv("TALLOWBROOK_USER_REGISTRY", folder_.file("user").c_str(), 1);
  }
  ~ScratchRegistry() {
    ::unsetenv("TALLOWBROOK_MACHINE_REGISTRY");
    ::unsetenv("TALLOWBROOK_USER_REGISTRY");
  }

  [[nodiscard]] std::string machine() const {
    return folder_.file("machine/HKEY_LOCAL_MACHINE.reg");
  }
  [[nodiscard]] std::string user() const { return folder_.file("user/HKEY_CURRENT_USER.reg"); }
  [[nodiscard]] const ScratchFolder& folder() const { return folder_; }

 private:
  ScratchFolder folder_;
};

}  // namespace tallowbrook::test
