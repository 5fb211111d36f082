#include "cli/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace tallowbrook::cli {

namespace fs = std::filesystem;
using platform::ComPtr;

PendingFile::PendingFile(fs::path target, Existing existing)
    : target_(std::move(target)), existing_(existing) {
  if (existing_ == Existing::kFollow) resolve();
  if (descriptor_ < 0 && error_ == 0) open();
  if (descriptor_ >= 0) stream_ = ComPtr<FileStream>::adopt(new FileStream(descriptor_));
}

PendingFile::~PendingFile() {
  if (!path_.empty()) ::unlink(path_.c_str());
}

// Follows links. A device or a pipe has no place beside it that could be renamed.
void PendingFile::resolve() {
  std::error_code error;
  const auto status = fs::status(target_, error);
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    descriptor_ = ::open(target_.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (descriptor_ < 0) error_ = errno;
    return;
  }
  const fs::path resolved = fs::canonical(target_, error);
  if (!error) target_ = resolved;
}

void PendingFile::open() {
  std::string path = (target_.parent_path() / ".tallowbrook.XXXXXX").string();
  descriptor_ = ::mkostemp(path.data(), O_CLOEXEC);
  if (descriptor_ < 0) {
    error_ = errno;
    return;
  }
  path_ = path;
  if (!take_rights()) error_ = errno;
}

// Gives the file the rights of the target, or those of any new file.
bool PendingFile::take_rights() const {
  struct stat old {};
  if (existing_ == Existing::kFollow && ::stat(target_.c_str(), &old) == 0) {
    return ::fchmod(descriptor_, old.st_mode & 07777) == 0;
  }
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return ::fchmod(descriptor_, 0666 & ~mask) == 0;
}

int PendingFile::write(const Fill& fill) {
  if (error_ == 0) error_ = fill(*stream_);
  if (stream_ && stream_->error() != 0) error_ = stream_->error();
  return error_;
}

int PendingFile::close() {
  if (stream_ && !stream_->close() && error_ == 0) error_ = stream_->error();
  stream_.reset();
  return error_;
}

int PendingFile::finish() {
  if (error_ == 0 && stream_ && !stream_->finish()) error_ = stream_->error();
  if (error_ == 0 && !path_.empty() && !rename()) error_ = errno;
  return error_;
}

bool PendingFile::rename() {
  if (existing_ != Existing::kKeep) {
    if (::rename(path_.c_str(), target_.c_str()) != 0) return false;
    path_.clear();
    if (existing_ == Existing::kFollow) sync_folder(target_.parent_path());
    return true;
  }
  if (::renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, target_.c_str(), RENAME_NOREPLACE) == 0) {
    path_.clear();
    return true;
  }
  // Some file systems know no such rename, but a second name; the first one goes at the end.
  if (errno != EINVAL && errno != ENOSYS) return false;
  return ::link(path_.c_str(), target_.c_str()) == 0;
}

int write_file(const fs::path& target, Existing existing, const Fill& fill) {
  PendingFile file(target, existing);
  if (const int failure = file.write(fill); failure != 0) return failure;
  return file.finish();
}

int write_standard_output(const Fill& fill) {
  std::fflush(stdout);
  const auto stream = ComPtr<FileStream>::adopt(new FileStream(STDOUT_FILENO));
  const int failure = fill(*stream);
  return stream->finish() ? failure : stream->error();
}

namespace {

// Calls `sync` with the open folder; 0 or an errno.
int with_folder(const fs::path& folder, int (*sync)(int)) {
  const int descriptor =
      ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return errno;
  const int failure = sync(descriptor) == 0 ? 0 : errno;
  ::close(descriptor);
  return failure;
}

}  // namespace

int sync_files(const fs::path& folder) { return with_folder(folder, ::syncfs); }

void sync_folder(const fs::path& folder) { static_cast<void>(with_folder(folder, ::fsync)); }

ExitStatus write_target(const std::string& out, const Fill& fill) {
  if (out == "-" && refuse_terminal()) return kUsage;
  const int failure =
      out == "-" ? write_standard_output(fill) : write_file(out, Existing::kFollow, fill);
  if (failure == 0) return kFine;
  complain((out == "-" ? "standard output" : display_name(out)) + ": " + std::strerror(failure));
  return kFileFailed;
}

bool refuse_terminal() {
  if (isatty(STDOUT_FILENO) != 1) return false;
  complain(
      "a message may hold control characters and is not written to a terminal; redirect "
      "standard output");
  return true;
}

}  // namespace tallowbrook::cli
