#include "platform/storage/folder_elements.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <ctime>
#include <utility>

#include "platform/com/activation.h"
#include "platform/com/checked.h"
#include "platform/storage/file_time.h"
#include "platform/storage/folder_names.h"

namespace tallowbrook::platform {
namespace {

constexpr const char* kMark = ".storage";
constexpr const char* kGone = ".gone";
constexpr std::string_view kTemporary = ".tmp-";
constexpr time_t kStaleSeconds = 3600;

HRESULT status_of(int error) {
  switch (error) {
    case ENOENT:
      return STG_E_FILENOTFOUND;
    case ENOTDIR:
      return STG_E_PATHNOTFOUND;
    case EACCES:
    case EPERM:
    case EROFS:
    case ELOOP:
      return STG_E_ACCESSDENIED;
    case EEXIST:
    case ENOTEMPTY:
      return STG_E_FILEALREADYEXISTS;
    case ENAMETOOLONG:
      return STG_E_INVALIDNAME;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return STG_E_MEDIUMFULL;
    case EMFILE:
    case ENFILE:
      return STG_E_TOOMANYOPENFILES;
    case ENOMEM:
      return E_OUTOFMEMORY;
    default:
      return E_FAIL;
  }
}
HRESULT last_status() { return status_of(errno); }

// Owns a descriptor, or none (-1).
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  [[nodiscard]] int get() const { return number_; }
  explicit operator bool() const { return number_ >= 0; }
  void release() { number_ = -1; }

 private:
  int number_ = -1;
};

Descriptor open_at(int folder, const char* name, int flags) {
  int number = -1;
  do {
    number = ::openat(folder, name, flags | O_CLOEXEC, 0666);
  } while (number < 0 && errno == EINTR);
  return Descriptor(number);
}

Descriptor open_folder_at(int folder, const char* name) {
  return open_at(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
}

std::string temporary_name() {
  unsigned long long number = 0;
  if (::getrandom(&number, sizeof(number), 0) != sizeof(number)) {
    static std::atomic<unsigned> count{0};
    number = (static_cast<unsigned long long>(::getpid()) << 32) + ++count;
  }
  char text[32];
  std::snprintf(text, sizeof(text), "%s%016llx", kTemporary.data(), number);
  return text;
}

// 0, or -1 with errno.
int write_all(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t put = ::write(file, bytes.data(), bytes.size());
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) return -1;
    bytes.remove_prefix(static_cast<std::size_t>(put));
  }
  return 0;
}

HRESULT read_all(int file, std::string& bytes) {
  constexpr std::size_t kStep = 65536;
  struct stat status {};
  if (::fstat(file, &status) != 0) return last_status();
  if (!S_ISREG(status.st_mode)) return STG_E_FILENOTFOUND;
  bytes.resize(static_cast<std::size_t>(status.st_size) + 1);  // one more to see the end
  std::size_t have = 0;
  for (;;) {
    if (have == bytes.size()) bytes.resize(have + kStep);
    const ssize_t got = ::read(file, bytes.data() + have, bytes.size() - have);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return STG_E_READFAULT;
    if (got == 0) break;
    have += static_cast<std::size_t>(got);
  }
  bytes.resize(have);
  return S_OK;
}

// A new file with these bytes under a temporary name.
HRESULT write_temporary(int folder, std::string_view bytes, bool durable, std::string& name) {
  name = temporary_name();
  const Descriptor file = open_at(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW);
  if (!file) return errno == ENOENT ? STG_E_REVERTED : last_status();
  if (write_all(file.get(), bytes) == 0 && (!durable || ::fdatasync(file.get()) == 0)) return S_OK;
  const HRESULT status = errno == EIO ? STG_E_WRITEFAULT : last_status();
  ::unlinkat(folder, name.c_str(), 0);
  return status;
}

struct DirectoryCloser {
  void operator()(DIR* directory) const { ::closedir(directory); }
};
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

// Reads the folder from its start; null with errno.
Directory read_folder(int folder) {
  Descriptor again = open_at(folder, ".", O_RDONLY | O_DIRECTORY);
  if (!again) return nullptr;
  Directory directory(::fdopendir(again.get()));
  if (directory) again.release();
  return directory;
}

// S_IFREG, S_IFDIR or another kind; 0 when it is gone.
mode_t kind_of(int folder, const char* name) {
  struct stat status {};
  if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return 0;
  return status.st_mode & S_IFMT;
}
mode_t kind_of(int folder, const dirent& entry) {
  if (entry.d_type == DT_REG) return S_IFREG;
  if (entry.d_type == DT_DIR) return S_IFDIR;
  return entry.d_type == DT_UNKNOWN ? kind_of(folder, entry.d_name) : S_IFLNK;
}

// False when somebody holds the folder, who then will clear it away: it is marked before the second
// try, and who lets it go unlocks it before looking for the mark.
bool may_empty(int folder) {
  for (const bool last_try : {false, true}) {
    if (::flock(folder, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) return true;
    if (!last_try) open_at(folder, kGone, O_WRONLY | O_CREAT | O_NOFOLLOW);
  }
  return false;
}

// Removes a file, or a folder with all that is in it. Folders in folders are first moved to the
// top under temporary names, so that depth costs neither stack nor descriptors. What cannot be
// removed stays, and so does a folder that somebody holds.
void remove_tree(int folder, const std::string& name) {
  std::vector<std::string> waiting{name};
  while (!waiting.empty()) {
    const std::string doomed = std::move(waiting.back());
    waiting.pop_back();
    if (::unlinkat(folder, doomed.c_str(), 0) == 0) continue;
    const Descriptor inner = open_folder_at(folder, doomed.c_str());
    if (!inner || !may_empty(inner.get())) continue;
    const Directory directory = read_folder(inner.get());
    if (!directory) continue;
    while (const dirent* entry = ::readdir(directory.get())) {
      const std::string_view child = entry->d_name;
      if (child == "." || child == "..") continue;
      if (::unlinkat(inner.get(), entry->d_name, 0) == 0) continue;
      std::string top = temporary_name();
      if (::renameat(inner.get(), entry->d_name, folder, top.c_str()) == 0) {
        waiting.push_back(std::move(top));
      }
    }
    ::unlinkat(folder, doomed.c_str(), AT_REMOVEDIR);
  }
}

// Takes `name` away at once, and what is in it afterwards.
HRESULT remove_entry(int folder, const std::string& name) {
  if (::unlinkat(folder, name.c_str(), 0) == 0) return S_OK;
  if (errno != EISDIR && errno != EPERM) return last_status();
  const std::string aside = temporary_name();
  if (::renameat(folder, name.c_str(), folder, aside.c_str()) != 0) return last_status();
  remove_tree(folder, aside);
  return S_OK;
}

// Renames to a name that must be free. 0, or -1 with errno.
int rename_to_free(int folder, const std::string& from, const std::string& to) {
  if (::renameat2(folder, from.c_str(), folder, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return -1;
  if (kind_of(folder, to.c_str()) != 0) {  // a file system that cannot do it in one step
    errno = EEXIST;
    return -1;
  }
  return ::renameat(folder, from.c_str(), folder, to.c_str());
}

// Renames over whatever has the name.
int rename_over(int folder, const std::string& from, const std::string& to) {
  if (::renameat(folder, from.c_str(), folder, to.c_str()) == 0) return 0;
  if (errno != EISDIR && errno != ENOTDIR && errno != ENOTEMPTY && errno != EEXIST) return -1;
  // A folder is in the way, or is to come where a file is.
  if (::renameat2(folder, from.c_str(), folder, to.c_str(), RENAME_EXCHANGE) == 0) {
    remove_tree(folder, from);
    return 0;
  }
  if (errno != EINVAL && errno != ENOSYS) return -1;
  const std::string aside = temporary_name();
  if (::renameat(folder, to.c_str(), folder, aside.c_str()) != 0) return -1;
  if (::renameat(folder, from.c_str(), folder, to.c_str()) != 0) {
    const int error = errno;
    ::renameat(folder, aside.c_str(), folder, to.c_str());
    errno = error;
    return -1;
  }
  remove_tree(folder, aside);
  return 0;
}

HRESULT put_in_place(int folder, const std::string& from, const std::string& to, bool replaces) {
  const int result = replaces ? rename_over(folder, from, to) : rename_to_free(folder, from, to);
  return result == 0 ? S_OK : last_status();
}

// --- holding folders -----------------------------------------------------------------------------

// The name that the folder has now; empty when it has none.
std::string name_now(int folder) {
  char path[PATH_MAX];
  const std::string link = "/proc/self/fd/" + std::to_string(folder);
  const ssize_t length = ::readlink(link.c_str(), path, sizeof(path));
  const std::string_view all(path, length > 0 ? static_cast<std::size_t>(length) : 0);
  return std::string(all.substr(all.rfind('/') + 1));
}

// Ends the hold. The last one to hold a storage that was removed clears it away.
void let_go(Descriptor folder) {
  if (!folder) return;
  ::flock(folder.get(), LOCK_UN);
  for (const char* mark : {kGone, kMark}) {
    if (kind_of(folder.get(), mark) != S_IFREG) return;
  }
  const std::string name = name_now(folder.get());
  const Descriptor parent = open_at(folder.get(), "..", O_RDONLY | O_DIRECTORY);
  if (parent && name.starts_with(kTemporary)) remove_tree(parent.get(), name);
}

bool leads_to(int parent, const char* name, int folder) {
  struct stat there {};
  struct stat here {};
  return ::fstatat(parent, name, &there, 0) == 0 && ::fstat(folder, &here) == 0 &&
         there.st_dev == here.st_dev && there.st_ino == here.st_ino;
}

// Opens a folder and holds it: what is in it stays for as long as it is open, in whichever process,
// also when the folder loses its name.
Descriptor hold_folder_at(int parent, const char* name, int flags) {
  constexpr int kMostTries = 100;  // some stranger may have locked it
  for (int tries = 1;; ++tries) {
    Descriptor folder = open_at(parent, name, O_RDONLY | O_DIRECTORY | flags);
    if (!folder || tries == kMostTries) return folder;
    const bool held = ::flock(folder.get(), LOCK_SH | LOCK_NB) == 0 || errno != EWOULDBLOCK;
    if (held && leads_to(parent, name, folder.get())) return folder;
    let_go(std::move(folder));
  }
}

// --- the mark ------------------------------------------------------------------------------------

std::string mark_text(const CLSID& clsid, DWORD state_bits) {
  OLECHAR id[39];
  StringFromGUID2(clsid, id, 39);
  char text[96];
  std::snprintf(text, sizeof(text), "tallowbrook storage 1\nclass %s\nstate %08X\n",
                std::string(id, id + 38).c_str(), state_bits);
  return text;
}

// False when the folder is no storage.
bool read_mark(int folder, ElementFacts& facts) {
  const Descriptor file = open_at(folder, kMark, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  char text[96] = {};
  if (!file || ::read(file.get(), text, sizeof(text) - 1) < 0) return false;
  char id[39] = {};
  unsigned state = 0;
  if (std::sscanf(text, "tallowbrook storage 1\nclass %38s\nstate %8x", id, &state) != 2) {
    return false;
  }
  facts.state_bits = state;
  return SUCCEEDED(CLSIDFromString(std::u16string(id, id + 38).c_str(), &facts.clsid));
}

HRESULT write_mark(int folder, const CLSID& clsid, DWORD state_bits, bool durable) {
  std::string name;
  const HRESULT status = write_temporary(folder, mark_text(clsid, state_bits), durable, name);
  return FAILED(status) ? status : put_in_place(folder, name, kMark, true);
}

void times_of(const struct stat& status, ElementFacts& facts) {
  facts.accessed = file_time(status.st_atim);
  facts.modified = facts.created = file_time(status.st_mtim);
}

// --- the storage ---------------------------------------------------------------------------------

class FolderElements final : public Elements {
 public:
  explicit FolderElements(Descriptor folder) : folder_(std::move(folder)) {}
  // A folder without a place yet: `name` in the folder `parent`.
  FolderElements(Descriptor folder, Descriptor parent, std::string name)
      : folder_(std::move(folder)), parent_(std::move(parent)), temporary_(std::move(name)) {}
  ~FolderElements() override {
    static_cast<void>(checked([&] {
      let_go(std::move(folder_));
      if (parent_) remove_tree(parent_.get(), temporary_);
      return S_OK;
    }));
  }

  HRESULT list(std::vector<ElementName>& names) override {
    names.clear();
    const Directory directory = read_folder(folder_.get());
    if (!directory) return last_status();
    while (const dirent* entry = ::readdir(directory.get())) {
      if (entry->d_name[0] == '.') continue;
      const mode_t kind = kind_of(folder_.get(), *entry);
      if (kind != S_IFREG && kind != S_IFDIR) continue;
      std::u16string name = element_name_of(entry->d_name);
      if (name.empty()) continue;
      names.push_back({std::move(name), kind == S_IFDIR ? STGTY_STORAGE : STGTY_STREAM});
    }
    std::sort(names.begin(), names.end(),
              [](const ElementName& a, const ElementName& b) { return a.name < b.name; });
    return S_OK;
  }

  HRESULT facts(std::u16string_view name, ElementFacts& facts) override {
    facts = {};
    struct stat status {};
    const std::string file = file_name_of(name);
    if (::fstatat(folder_.get(), file.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
      return last_status();
    }
    if (S_ISDIR(status.st_mode)) {
      const Descriptor folder = open_folder_at(folder_.get(), file.c_str());
      if (folder) static_cast<void>(read_mark(folder.get(), facts));
      facts.type = STGTY_STORAGE;
    } else if (S_ISREG(status.st_mode)) {
      facts.type = STGTY_STREAM;
      facts.size = static_cast<ULONGLONG>(status.st_size);
    } else {
      return STG_E_FILENOTFOUND;
    }
    times_of(status, facts);
    return S_OK;
  }

  HRESULT own_facts(ElementFacts& facts) override {
    facts = {};
    struct stat status {};
    if (::fstat(folder_.get(), &status) != 0) return last_status();
    static_cast<void>(read_mark(folder_.get(), facts));
    facts.type = STGTY_STORAGE;
    times_of(status, facts);
    return S_OK;
  }

  HRESULT read(std::u16string_view name, Content& content) override {
    const Descriptor file =
        open_at(folder_.get(), file_name_of(name).c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    if (!file) return last_status();
    auto bytes = std::make_shared<std::string>();
    const HRESULT status = read_all(file.get(), *bytes);
    content = std::move(bytes);
    return status;
  }

  HRESULT open(std::u16string_view name, std::shared_ptr<Elements>& storage) override {
    Descriptor folder = hold_folder_at(folder_.get(), file_name_of(name).c_str(), O_NOFOLLOW);
    if (!folder) return errno == ENOTDIR ? STG_E_FILENOTFOUND : last_status();
    storage = std::make_shared<FolderElements>(std::move(folder));
    return S_OK;
  }

  HRESULT make(std::shared_ptr<Elements>& storage) override {
    std::string name = temporary_name();
    Descriptor parent = open_at(folder_.get(), ".", O_RDONLY | O_DIRECTORY);
    if (!parent) return last_status();
    if (::mkdirat(parent.get(), name.c_str(), 0777) != 0) {
      return errno == ENOENT ? STG_E_REVERTED : last_status();
    }
    Descriptor folder = hold_folder_at(parent.get(), name.c_str(), O_NOFOLLOW);
    HRESULT status = folder ? write_mark(folder.get(), GUID_NULL, 0, false) : last_status();
    if (FAILED(status)) {
      let_go(std::move(folder));
      remove_tree(parent.get(), name);
      return status;
    }
    storage =
        std::make_shared<FolderElements>(std::move(folder), std::move(parent), std::move(name));
    return S_OK;
  }

  HRESULT place(std::u16string_view name, const Content& content, Placing how) override {
    std::string temporary;
    HRESULT status = write_temporary(folder_.get(), *content, how.durable, temporary);
    if (FAILED(status)) return status;
    status = put_in_place(folder_.get(), temporary, file_name_of(name), how.replaces);
    if (FAILED(status)) ::unlinkat(folder_.get(), temporary.c_str(), 0);
    return status;
  }

  HRESULT place(std::u16string_view name, Elements& made_here, Placing how) override {
    return place_as(file_name_of(name), made_here, how);
  }

  // The same with the name of a file.
  HRESULT place_as(const std::string& name, Elements& made_here, Placing how) const {
    auto& made = static_cast<FolderElements&>(made_here);
    if (how.durable) {
      const Descriptor mark = open_at(made.folder_.get(), kMark, O_RDONLY | O_NOFOLLOW);
      if (!mark || ::fdatasync(mark.get()) != 0 || ::fsync(made.folder_.get()) != 0) {
        return last_status();
      }
    }
    const HRESULT status = put_in_place(folder_.get(), made.temporary_, name, how.replaces);
    if (SUCCEEDED(status)) made.parent_ = Descriptor();
    return status;
  }

  HRESULT remove(std::u16string_view name) override {
    return remove_entry(folder_.get(), file_name_of(name));
  }

  HRESULT rename(std::u16string_view name, std::u16string_view new_name) override {
    return put_in_place(folder_.get(), file_name_of(name), file_name_of(new_name), false);
  }

  HRESULT set_times(std::u16string_view name, const ElementTimes& times) override {
    timespec wanted[2] = {{0, UTIME_OMIT}, {0, UTIME_OMIT}};
    if (times.accessed != nullptr) wanted[0] = unix_time(*times.accessed);
    if (times.modified != nullptr) wanted[1] = unix_time(*times.modified);
    const int result = name.empty() ? ::futimens(folder_.get(), wanted)
                                    : ::utimensat(folder_.get(), file_name_of(name).c_str(), wanted,
                                                  AT_SYMLINK_NOFOLLOW);
    return result == 0 ? S_OK : last_status();
  }

  HRESULT set_identity(const CLSID& clsid, DWORD state_bits) override {
    return write_mark(folder_.get(), clsid, state_bits, true);
  }

  HRESULT flush() override {
    return ::fsync(folder_.get()) == 0 || errno == EINVAL ? S_OK : last_status();
  }

  void consolidate() override {
    const Directory directory = read_folder(folder_.get());
    if (!directory) return;
    std::vector<std::string> stale;
    while (const dirent* entry = ::readdir(directory.get())) {
      struct stat status {};
      if (std::string_view(entry->d_name).substr(0, kTemporary.size()) == kTemporary &&
          ::fstatat(folder_.get(), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
          status.st_mtime < ::time(nullptr) - kStaleSeconds) {
        stale.emplace_back(entry->d_name);
      }
    }
    for (const std::string& name : stale) remove_tree(folder_.get(), name);
  }

  [[nodiscard]] bool is_storage() const {
    ElementFacts facts;
    return read_mark(folder_.get(), facts);
  }

 private:
  Descriptor folder_;
  Descriptor parent_;  // while the folder has its temporary name there
  std::string temporary_;
};

// The folder that holds `path`, and the last name of it.
HRESULT open_parent(const std::string& path, std::unique_ptr<FolderElements>& parent,
                    std::string& name) {
  std::string_view rest = path;
  while (rest.size() > 1 && rest.back() == '/') rest.remove_suffix(1);
  const std::size_t slash = rest.rfind('/');
  name = rest.substr(slash + 1);
  if (name.empty() || name == "." || name == "..") return STG_E_INVALIDNAME;
  const std::string holder =
      slash == std::string_view::npos ? "." : std::string(rest.substr(0, slash + 1));
  Descriptor folder = open_at(AT_FDCWD, holder.c_str(), O_RDONLY | O_DIRECTORY);
  if (!folder) return errno == ENOENT ? STG_E_PATHNOTFOUND : last_status();
  parent = std::make_unique<FolderElements>(std::move(folder));
  return S_OK;
}

}  // namespace

HRESULT open_folder(const std::string& path, std::shared_ptr<Elements>& storage) {
  Descriptor folder = hold_folder_at(AT_FDCWD, path.c_str(), 0);
  if (!folder) return errno == ENOTDIR ? STG_E_FILEALREADYEXISTS : last_status();
  const auto opened = std::make_shared<FolderElements>(std::move(folder));
  if (!opened->is_storage()) return STG_E_FILEALREADYEXISTS;
  storage = opened;
  return S_OK;
}

HRESULT make_folder(const std::string& path, bool replaces, std::shared_ptr<Elements>& storage,
                    bool& exists) {
  std::shared_ptr<Elements> there;
  const HRESULT found = open_folder(path, there);
  exists = SUCCEEDED(found);
  if (exists ? !replaces : found != STG_E_FILENOTFOUND) {
    return exists ? STG_E_FILEALREADYEXISTS : found;
  }
  std::unique_ptr<FolderElements> parent;
  std::string name;
  const HRESULT status = open_parent(path, parent, name);
  return FAILED(status) ? status : parent->make(storage);
}

HRESULT place_folder(const std::string& path, Elements& made, Placing how) {
  std::unique_ptr<FolderElements> parent;
  std::string name;
  HRESULT status = open_parent(path, parent, name);
  if (SUCCEEDED(status)) status = parent->place_as(name, made, how);
  if (SUCCEEDED(status) && how.durable) status = parent->flush();
  return status;
}

}  // namespace tallowbrook::platform
