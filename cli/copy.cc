// Copying through the component: IN is loaded, then saved.
//
// A file is never left half-written: the message goes to a new file beside the target, every write
// is checked, the file is flushed to the disk and then renamed over the target in one step.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <vector>

#include "cli/commands.h"
#include "cli/terminal.h"

namespace tallowbrook::cli {
namespace {

using platform::ComPtr;

struct Options {
  std::string in;
  std::string out;
};

int failed(const std::string& file, int error) {
  complain(display_name(file) + ": " + std::strerror(error));
  return kFileFailed;
}

// Copies what `source` still holds.
void append_rest(FileStream& source, FileStream& target) {
  std::vector<char> block(65536);
  ULONG got = 0;
  while (SUCCEEDED(source.Read(block.data(), static_cast<ULONG>(block.size()), &got)) && got > 0) {
    if (FAILED(target.Write(block.data(), got, nullptr))) return;
  }
}

// Saves into the open file and closes it; 0 or the errno of the first failure. The component reads
// a message up to the line "." that ends it; what follows that line is copied behind it.
int save(const Loaded& loaded, int descriptor) {
  const auto stream = ComPtr<FileStream>::adopt(new FileStream(descriptor));
  const auto persistence = loaded.message.dispatch().query<IPersistStream>();
  const HRESULT status = persistence ? persistence->Save(stream.get(), FALSE) : E_NOINTERFACE;
  if (SUCCEEDED(status)) append_rest(*loaded.source, *stream);
  if (stream->finish() && SUCCEEDED(status)) return loaded.source->error();
  return stream->error() != 0 ? stream->error() : EIO;
}

// A file beside the target that disappears unless it is renamed.
class Beside {
 public:
  explicit Beside(const std::filesystem::path& target)
      : target_(target), path_((target.parent_path() / ".tallowbrook.XXXXXX").string()) {
    descriptor_ = ::mkostemp(path_.data(), O_CLOEXEC);
    if (descriptor_ < 0) path_.clear();
  }
  ~Beside() {
    if (!path_.empty()) ::unlink(path_.c_str());
  }
  Beside(const Beside&) = delete;
  Beside& operator=(const Beside&) = delete;

  // -1 when the file could not be made (errno says why). Closed by whoever takes it.
  [[nodiscard]] int descriptor() const { return descriptor_; }

  // Gives the file the rights of the target, or those of any new file.
  [[nodiscard]] bool take_rights() const {
    struct stat old {};
    if (::stat(target_.c_str(), &old) == 0) return ::fchmod(descriptor_, old.st_mode & 07777) == 0;
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return ::fchmod(descriptor_, 0666 & ~mask) == 0;
  }
  [[nodiscard]] bool rename() {
    if (::rename(path_.c_str(), target_.c_str()) != 0) return false;
    path_.clear();
    sync_folder();
    return true;
  }

 private:
  // Makes the rename itself last; not every file system can, and the message is safe without.
  void sync_folder() const {
    const auto folder = target_.has_parent_path() ? target_.parent_path() : ".";
    const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    ::fsync(descriptor);
    ::close(descriptor);
  }

  std::filesystem::path target_;
  std::string path_;
  int descriptor_ = -1;
};

int write_file(const Loaded& loaded, const std::string& out) {
  std::error_code error;
  const auto existing = std::filesystem::status(out, error);
  if (std::filesystem::exists(existing) && !std::filesystem::is_regular_file(existing)) {
    // A device or a pipe has no place beside it that could be renamed.
    const int descriptor = ::open(out.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0) return failed(out, errno);
    const int failure = save(loaded, descriptor);
    return failure == 0 ? kFine : failed(out, failure);
  }
  // A symbolic link stays one: its target is replaced.
  auto target = std::filesystem::canonical(out, error);
  if (error) target = out;
  Beside beside(target);
  if (beside.descriptor() < 0 || !beside.take_rights()) return failed(out, errno);
  if (const int failure = save(loaded, beside.descriptor()); failure != 0) {
    return failed(out, failure);
  }
  return beside.rename() ? kFine : failed(out, errno);
}

int write_output(const Loaded& loaded) {
  if (isatty(STDOUT_FILENO) == 1) {
    complain(
        "a message may hold control characters and is not written to a terminal; redirect "
        "standard output");
    return kUsage;
  }
  const int failure = save(loaded, STDOUT_FILENO);
  return failure == 0 ? kFine : failed("standard output", failure);
}

int copy(const Options& options) {
  const Host host;
  const Loaded loaded = host.load(options.in, true);
  if (loaded.outcome != Loaded::Outcome::kLoaded) {
    complain(loaded.complaint(options.in));
    return loaded.status();
  }
  return options.out == "-" ? write_output(loaded) : write_file(loaded, options.out);
}

}  // namespace

void add_copy(CLI::App& program, int& status) {
  auto* const command = program.add_subcommand("copy", "Load a message and write it to a file");
  const auto options = std::make_shared<Options>();
  command->add_option("IN", options->in, "The message to read; - is standard input")->required();
  command->add_option("OUT", options->out, "The file to write; - is standard output")->required();
  command->footer(R"(The copy has the same bytes as IN. OUT appears whole or not at all: the message
is written to a new file beside OUT, flushed to the disk and renamed. OUT may
be IN. When IN is no well-formed message, nothing is written.

Examples:
  tallowbrook copy letter.eml archive/letter.eml
  tallowbrook copy - archive/letter.eml < letter.eml
  tallowbrook copy letter.eml - | gzip > letter.eml.gz)");
  command->callback([options, &status] { status = copy(*options); });
}

}  // namespace tallowbrook::cli
