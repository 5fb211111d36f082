// Public messages beside the project, for tests that skip without them.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

namespace tallowbrook::test {

// Name to bytes.
inline const std::map<std::string, std::string>& corpus() {
  static const auto kMessages = [] {
    std::map<std::string, std::string> messages;
    const auto folder = std::filesystem::path(TALLOWBROOK_SOURCE_DIR) / ".." / "shared" / "corpus";
    std::error_code missing;
    for (const auto& entry : std::filesystem::directory_iterator(folder, missing)) {
      if (entry.path().extension() != ".eml") continue;
      std::ifstream file(entry.path(), std::ios::binary);
      messages[entry.path().filename()] = {std::istreambuf_iterator<char>(file), {}};
    }
    return messages;
  }();
  return kMessages;
}

}  // namespace tallowbrook::test
