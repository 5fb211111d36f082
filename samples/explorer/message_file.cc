#include "samples/explorer/message_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "cli/file_stream.h"
#include "cli/terminal.h"

namespace bramblescope {
namespace {

using tallowbrook::IMimeDecoder;
using tallowbrook::cli::FileStream;
using tallowbrook::cli::MessageInput;
using tallowbrook::cli::WithoutDotLine;
using tallowbrook::platform::Bstr;
using tallowbrook::platform::ComPtr;

std::string error_text(int error) { return std::strerror(error); }

ComPtr<FileStream> open_file(const std::filesystem::path& path) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  return ComPtr<FileStream>::adopt(descriptor < 0 ? nullptr : new FileStream(descriptor));
}

// The thread's error description, or a text for none.
std::string take_error() {
  ComPtr<IErrorInfo> info;
  Bstr text;
  if (GetErrorInfo(0, info.out()) == S_OK && info && SUCCEEDED(info->GetDescription(text.out()))) {
    return tallowbrook::cli::to_utf8(text.view());
  }
  return "no message";
}

bool same_state(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
         a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

// A file that goes unless it is renamed.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::filesystem::path& target)
      : name_((target.parent_path() / ".bramblescope.XXXXXX").string()),
        descriptor_(::mkostemp(name_.data(), O_CLOEXEC)) {}
  ~TemporaryFile() {
    if (descriptor_ >= 0 && !renamed_) ::unlink(name_.c_str());
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  [[nodiscard]] int descriptor() const { return descriptor_; }
  [[nodiscard]] bool rename_to(const std::filesystem::path& target) {
    renamed_ = ::rename(name_.c_str(), target.c_str()) == 0;
    return renamed_;
  }

 private:
  std::string name_;
  int descriptor_;  // whoever takes it closes it
  bool renamed_ = false;
};

}  // namespace

MessageFile::MessageFile(const std::filesystem::path& path) {
  std::error_code error;
  path_ = std::filesystem::canonical(path, error);  // a link stays one
  if (error) path_ = path;
  problem_ = load();
  if (!problem_.empty()) message_.reset();
}

std::string MessageFile::load() {
  CLSID clsid{};
  HRESULT status = CLSIDFromProgID(tallowbrook::kProgIdMimeDecoder, &clsid);
  if (SUCCEEDED(status)) {
    status = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IMimeDecoder::kIid,
                              message_.out_void());
  }
  if (FAILED(status)) return "the component gives no message";
  const auto file = open_file(path_);
  if (!file || ::stat(path_.c_str(), &state_) != 0) return error_text(errno);
  const auto input = ComPtr<MessageInput>::adopt(new MessageInput(file, true));
  status = message_.query<IPersistStream>()->Load(input.get());
  if (file->error() != 0) return error_text(file->error());
  return FAILED(status) ? take_error() : std::string();
}

bool MessageFile::changed() const {
  return message_ && (unsaved_ || message_.query<IPersistStream>()->IsDirty() == S_OK);
}

std::string MessageFile::save() {
  unsaved_ = changed();
  std::string problem = replace_file();
  if (problem.empty()) unsaved_ = false;
  return problem;
}

std::string MessageFile::replace_file() {
  struct stat now {};
  if (::stat(path_.c_str(), &now) != 0) return error_text(errno);
  if (!same_state(now, state_)) return "somebody else has changed the file";
  TemporaryFile beside(path_);
  if (beside.descriptor() < 0) return error_text(errno);
  const auto target = ComPtr<FileStream>::adopt(new FileStream(beside.descriptor()));
  if (::fchmod(beside.descriptor(), now.st_mode & 07777) != 0) return error_text(errno);
  const auto message = ComPtr<WithoutDotLine>::adopt(new WithoutDotLine(*target));
  const HRESULT status = message_.query<IPersistStream>()->Save(message.get(), TRUE);
  message->finish();
  std::string problem = FAILED(status) ? "the message cannot be written" : append_rest(*target);
  if (!target->finish()) problem = error_text(target->error());
  if (!problem.empty()) return problem;
  if (!beside.rename_to(path_)) return error_text(errno);
  return ::stat(path_.c_str(), &state_) == 0 ? std::string() : error_text(errno);
}

std::string MessageFile::append_rest(IStream& target) const {
  const auto file = open_file(path_);
  if (!file) return error_text(errno);
  const auto message = ComPtr<MessageInput>::adopt(new MessageInput(file, false));
  std::array<char, 65536> block;
  for (ULONG got = 1; got > 0 && !message->found_end_line();) {
    if (FAILED(message->Read(block.data(), static_cast<ULONG>(block.size()), &got))) break;
  }
  const int error = message->pass_rest(target);
  return error == 0 ? std::string() : error_text(error);
}

}  // namespace bramblescope
