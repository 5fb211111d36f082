// Files that appear whole or not at all: what is written goes to a new file beside the target,
// every write is checked, the file is flushed to the disk and then renamed in one step.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "cli/file_stream.h"
#include "cli/host.h"

namespace tallowbrook::cli {

// What becomes of a target that is there already.
enum class Existing {
  kKeep,     // it stays, and the call fails with EEXIST
  kReplace,  // its name is taken, also that of a link or a device
  kFollow,   // a link stays one and what it leads to is replaced; devices and pipes are written to
};

// Writes to the stream; 0 or the errno of what went wrong elsewhere. The stream keeps its own
// errors.
using Fill = std::function<int(FileStream&)>;

// A file that is written and not yet there. It disappears unless `finish` succeeds.
class PendingFile {
 public:
  PendingFile(std::filesystem::path target, Existing existing);
  ~PendingFile();
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;

  // All: 0 or the errno of the first failure, after which the target is as it was (but for
  // devices).
  [[nodiscard]] int write(const Fill& fill);
  // Closes the file unflushed: of many files in one folder, which sync_files flushes at once.
  [[nodiscard]] int close();
  // Flushes the file unless it is closed, and gives it its name.
  [[nodiscard]] int finish();

 private:
  void resolve();
  void open();
  [[nodiscard]] bool take_rights() const;
  [[nodiscard]] bool rename();

  std::filesystem::path target_;
  Existing existing_;
  int error_ = 0;
  int descriptor_ = -1;  // owned by `stream_`
  std::string path_;     // beside the target; empty for a device, and when it is there no more
  platform::ComPtr<FileStream> stream_;
};

// Both at once. With kFollow the rename is made last, else whoever calls sees to sync_folder.
[[nodiscard]] int write_file(const std::filesystem::path& target, Existing existing,
                             const Fill& fill);
[[nodiscard]] int write_standard_output(const Fill& fill);

// Flushes the file system that the folder is on. 0 or an errno.
[[nodiscard]] int sync_files(const std::filesystem::path& folder);

// Makes the renames in a folder last. Not every file system can, and the files are safe without.
void sync_folder(const std::filesystem::path& folder);

// The target of a command: kFollow, or standard output for "-", which may be no terminal. Complains
// about failures.
[[nodiscard]] ExitStatus write_target(const std::string& out, const Fill& fill);

// Complains when standard output is a terminal, which takes nothing raw.
[[nodiscard]] bool refuse_terminal();

}  // namespace tallowbrook::cli
