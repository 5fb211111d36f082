// Content types by the extensions of file names, and the other way round: from the system's
// mime.types where that is present, and for the most common types without it.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

namespace tallowbrook::cli {

class MediaTypes {
 public:
  MediaTypes();

  // "application/octet-stream" for an extension that is not known.
  [[nodiscard]] std::string of_file(std::string_view name) const;
  // With its dot; ".bin" for a type that has none.
  [[nodiscard]] std::string extension(std::string_view type) const;

 private:
  void add(std::string_view type, std::string_view extension);
  void read_system_types();

  std::unordered_map<std::string, std::string> types_;       // by extension
  std::unordered_map<std::string, std::string> extensions_;  // by type
};

}  // namespace tallowbrook::cli
