// A message in a file: loaded from it, and saved over it.
//
// Saving writes beside the file, checks every write, flushes and renames, so that the file is never
// half-written. The line "." that ends a message in transport, and what follows it, are in the file
// afterwards if they were before. A file that somebody else has changed meanwhile is left alone.
#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "tallowbrook/tallowbrook.h"

namespace bramblescope {

class MessageFile {
 public:
  MessageFile() = default;
  // Loads the file into a new message. What stood in the way is in `problem`, for people.
  explicit MessageFile(const std::filesystem::path& path);

  [[nodiscard]] const tallowbrook::platform::ComPtr<tallowbrook::IMimeDecoder>& message() const {
    return message_;  // null when there is a problem
  }
  [[nodiscard]] const std::filesystem::path& path() const { return path_; }
  [[nodiscard]] const std::string& problem() const { return problem_; }
  [[nodiscard]] bool changed() const;

  // Empty when the message was saved, else what stood in the way.
  [[nodiscard]] std::string save();

 private:
  [[nodiscard]] std::string load();
  [[nodiscard]] std::string replace_file();
  [[nodiscard]] std::string append_rest(IStream& target) const;

  std::filesystem::path path_;
  tallowbrook::platform::ComPtr<tallowbrook::IMimeDecoder> message_;
  std::string problem_;
  bool unsaved_ = false;  // the message counts as saved and the file could not be written
  struct stat state_ {};  // of the file when it was read or written last
};

}  // namespace bramblescope
