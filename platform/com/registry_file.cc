// The files of the registry: where they lie, how they are read, locked and replaced.
#include <fcntl.h>
#include <sys/auxv.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <tuple>
#include <utility>

#include "platform/com/registry.h"

namespace tallowbrook::platform {

struct RegistryEdit::Opened {
  RegistryRoot root;
  RegistryTree tree;
  std::string before;  // the tree's text as it was read
};

namespace {

constexpr char kMachineFolder[] = "/var/lib/tallowbrook/registry";
constexpr std::string_view kComment =
    "; Registered components. Written by programs: \"tallowbrook register\" and the like.\n";

class Descriptor {
 public:
  explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
  ~Descriptor() { close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  [[nodiscard]] int get() const { return descriptor_; }
  [[nodiscard]] int detach() { return std::exchange(descriptor_, -1); }
  bool close() { return descriptor_ < 0 || ::close(std::exchange(descriptor_, -1)) == 0; }

 private:
  int descriptor_;
};

std::string environment(const char* name) {
  const char* const value = secure_getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

bool is_of_user(RegistryRoot root) { return root == RegistryRoot::kCurrentUser; }

// Empty when there is none.
std::string folder_of(RegistryRoot root) {
  if (!is_of_user(root)) {
    std::string folder = environment("TALLOWBROOK_MACHINE_REGISTRY");
    return folder.empty() ? kMachineFolder : folder;
  }
  // A user must not choose the libraries that a program with raised privileges loads.
  if (getauxval(AT_SECURE) != 0) return {};
  if (std::string folder = environment("TALLOWBROOK_USER_REGISTRY"); !folder.empty()) return folder;
  std::string data = environment("XDG_DATA_HOME");
  if (data.empty() || data[0] != '/') {
    data = environment("HOME");
    if (data.empty()) return {};
    data += "/.local/share";
  }
  return data + "/tallowbrook/registry";
}

bool read_all(int file, std::string* text) {
  text->clear();
  char block[16384];
  for (;;) {
    const ssize_t got = ::read(file, block, sizeof block);
    if (got == 0) return true;
    if (got < 0 && errno != EINTR) return false;
    if (got > 0) text->append(block, static_cast<std::size_t>(got));
  }
}

bool write_all(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t put = ::write(file, text.data(), text.size());
    if (put < 0 && errno != EINTR) return false;
    if (put > 0) text.remove_prefix(static_cast<std::size_t>(put));
  }
  return true;
}

int open_for_reading(const std::string& path) {
  return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
}

bool flush_folder(const std::string& folder) {
  const Descriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return opened.get() >= 0 && ::fsync(opened.get()) == 0;
}

// The same for all writers, who hold the lock.
std::string new_file(const std::string& path) { return path + ".new"; }

// False with errno.
bool replace_file(const std::string& path, std::string_view text, mode_t mode) {
  const std::string beside = new_file(path);
  Descriptor file(
      ::open(beside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, mode));
  const bool written = file.get() >= 0 && ::fchmod(file.get(), mode) == 0 &&
                       write_all(file.get(), kComment) && write_all(file.get(), text) &&
                       ::fsync(file.get()) == 0 && file.close() &&
                       ::rename(beside.c_str(), path.c_str()) == 0;
  if (!written) {
    const int error = errno;
    ::unlink(beside.c_str());
    errno = error;
  }
  return written;
}

// --- what was read last --------------------------------------------------------------------------

// Tells one state of a file from another.
using Stamp = std::tuple<dev_t, ino_t, off_t, time_t, long, time_t, long>;

Stamp stamp_of(const struct stat& state) {
  return {state.st_dev,          state.st_ino,         state.st_size,        state.st_mtim.tv_sec,
          state.st_mtim.tv_nsec, state.st_ctim.tv_sec, state.st_ctim.tv_nsec};
}

struct Remembered {
  std::string path;
  Stamp stamp;
  std::shared_ptr<const RegistryTree> tree;
};
struct Memory {
  std::mutex mutex;
  std::array<Remembered, kRegistryRoots> roots;
};

// Never destroyed: components may be looked for in the last destructors.
Memory& memory() {
  static Memory& the_memory = *new Memory;
  return the_memory;
}

void forget(RegistryRoot root) {
  const std::lock_guard hold(memory().mutex);
  memory().roots[static_cast<std::size_t>(root)].tree.reset();
}

const std::shared_ptr<const RegistryTree>& no_content() {
  static const auto& empty = *new std::shared_ptr<const RegistryTree>(new RegistryTree);
  return empty;
}

}  // namespace

std::string registry_file(RegistryRoot root) {
  const std::string folder = root == RegistryRoot::kClasses ? std::string() : folder_of(root);
  return folder.empty() ? folder : folder + "/" + std::string(name_of(root).long_name) + ".reg";
}

std::shared_ptr<const RegistryTree> read_registry(RegistryRoot root) {
  const std::string path = registry_file(root);
  struct stat state {};
  if (path.empty() || ::stat(path.c_str(), &state) != 0) return no_content();
  {
    const std::lock_guard hold(memory().mutex);
    const Remembered& last = memory().roots[static_cast<std::size_t>(root)];
    if (last.tree && last.path == path && last.stamp == stamp_of(state)) return last.tree;
  }
  const Descriptor file(open_for_reading(path));
  std::string text;
  if (file.get() < 0 || ::fstat(file.get(), &state) != 0 || !read_all(file.get(), &text)) {
    return no_content();
  }
  std::size_t bad_line = 0;
  auto tree = std::make_shared<const RegistryTree>(RegistryTree::parse(text, &bad_line));
  const std::lock_guard hold(memory().mutex);
  memory().roots[static_cast<std::size_t>(root)] = {path, stamp_of(state), tree};
  return tree;
}

std::optional<std::string> classes_text(std::string_view path, std::string_view name) {
  for (const bool per_user : {true, false}) {
    const RegistryPlace place = place_of(RegistryRoot::kClasses, per_user);
    const auto tree = read_registry(place.root);
    const RegistryValue* const value =
        tree->value(std::string(place.prefix) + std::string(path), name);
    if (value == nullptr) continue;
    if (value->type != RegistryValue::Type::kText) return std::nullopt;
    return value->text;
  }
  return std::nullopt;
}

RegistryEdit::RegistryEdit() = default;

RegistryEdit::~RegistryEdit() {
  for (const int lock : locks_) ::close(lock);
}

HRESULT RegistryEdit::fail(HRESULT status, const std::string& file, int error) {
  problem_ = file + ": " + std::strerror(error);
  const bool refused = error == EACCES || error == EPERM || error == EROFS;
  return refused ? E_ACCESSDENIED : status;
}

HRESULT RegistryEdit::lock(const std::string& folder) {
  std::error_code made;
  std::filesystem::create_directories(folder, made);
  if (made) return fail(REGDB_E_WRITEREGDB, folder, made.value());
  const std::string path = folder + "/.lock";
  // Whoever can open the file can hold the lock: that is for those who may write.
  Descriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  if (file.get() < 0) return fail(REGDB_E_WRITEREGDB, path, errno);
  while (::flock(file.get(), LOCK_EX) != 0) {
    if (errno != EINTR) return fail(REGDB_E_WRITEREGDB, path, errno);
  }
  locks_.push_back(file.get());
  (void)file.detach();
  return S_OK;
}

HRESULT RegistryEdit::open(std::span<const RegistryRoot> roots) {
  // The locks are taken in the order of the folders' names, the same for every program.
  std::vector<std::string> folders;
  for (const RegistryRoot root : roots) {
    std::string folder = folder_of(root);
    if (folder.empty()) {
      problem_ = "there is no folder for the user's registry";
      return REGDB_E_WRITEREGDB;
    }
    folders.push_back(std::move(folder));
  }
  std::sort(folders.begin(), folders.end());
  folders.erase(std::unique(folders.begin(), folders.end()), folders.end());
  for (const std::string& folder : folders) {
    if (const HRESULT status = lock(folder); FAILED(status)) return status;
  }
  for (const RegistryRoot root : roots) {
    const std::string path = registry_file(root);
    ::unlink(new_file(path).c_str());  // of a writer that was killed
    const Descriptor file(open_for_reading(path));
    std::string text;
    const bool missing = file.get() < 0 && errno == ENOENT;
    if (!missing && (file.get() < 0 || !read_all(file.get(), &text))) {
      return fail(REGDB_E_READREGDB, path, errno);
    }
    std::size_t bad_line = 0;
    RegistryTree tree = RegistryTree::parse(text, &bad_line);
    if (bad_line != 0) {
      problem_ = path + ":" + std::to_string(bad_line) + ": this line cannot be understood";
      return REGDB_E_READREGDB;
    }
    std::string before = tree.print();
    opened_.push_back({root, std::move(tree), std::move(before)});
  }
  return S_OK;
}

RegistryTree& RegistryEdit::tree(RegistryRoot root) {
  return std::find_if(opened_.begin(), opened_.end(),
                      [&](const Opened& one) { return one.root == root; })
      ->tree;
}

HRESULT RegistryEdit::commit() {
  for (Opened& one : opened_) {
    std::string text = one.tree.print();
    if (text == one.before) continue;
    const std::string path = registry_file(one.root);
    const bool done = text.empty() ? ::unlink(path.c_str()) == 0 || errno == ENOENT
                                   : replace_file(path, text, is_of_user(one.root) ? 0600 : 0644);
    if (!done || !flush_folder(folder_of(one.root))) {
      return fail(REGDB_E_WRITEREGDB, path, errno);
    }
    forget(one.root);
    one.before = std::move(text);
  }
  return S_OK;
}

}  // namespace tallowbrook::platform
