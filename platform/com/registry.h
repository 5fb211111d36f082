// The persistent registry: keys with values, kept in one text file per root.
//
// A root is a tree of keys; a path names a key by its names from the root down, with backslashes
// between them, without regard to ASCII case. A key has values by name; its default value is the
// one with the empty name. Texts are UTF-8, save where a file name has other bytes.
//
//   [Software\Classes\Tallowbrook.Decoder]
//   @="MimeDecoder Class"
//   "Threads"=dword:0000002a
//   "Names"=list:"one","two"
//   "Image"=hex:00,ff
//
// Parents are implied; in a text \" \\ \n \r \t and \xNN stand for what they stand for in C. Keys
// are written in order, so that the same content is always the same file. A line that starts with
// ";" is a comment and is not kept. A key that an operating system always has (such as
// Software\Classes\CLSID) is not written while it is empty.
//
// HKEY_CURRENT_USER lies under the user's data folder ($XDG_DATA_HOME/tallowbrook/registry, or
// ~/.local/share/...; TALLOWBROOK_USER_REGISTRY names another folder), every other root under
// /var/lib/tallowbrook/registry (TALLOWBROOK_MACHINE_REGISTRY). Who changes a root holds the lock
// of its folder, writes the whole file beside the old one and renames it: whoever reads, sees the
// old content or the new one, also when the writer is killed. In a program with raised privileges
// the variables are ignored, and so is the user's registry.
//
// HKEY_CLASSES_ROOT has no file: it is Software\Classes of the current user, and behind it that of
// the machine.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/com/types.h"

inline constexpr HRESULT REGDB_E_READREGDB = make_status(0x80040150);
inline constexpr HRESULT REGDB_E_WRITEREGDB = make_status(0x80040151);

namespace tallowbrook::platform {

enum class RegistryRoot {
  kClasses,
  kCurrentUser,
  kLocalMachine,
  kUsers,
  kPerformanceData,
  kDynData,
  kCurrentConfig,
};
inline constexpr std::size_t kRegistryRoots = 7;

struct RegistryRootName {
  std::string_view short_name;  // "HKLM"
  std::string_view long_name;   // "HKEY_LOCAL_MACHINE"
};
[[nodiscard]] RegistryRootName name_of(RegistryRoot root);
[[nodiscard]] std::optional<RegistryRoot> root_named(std::string_view name);

// A text, a number, texts, or bytes. (No std::variant: that of libstdc++ 12 destroys an object that
// was not made when copying such a value runs out of memory.)
struct RegistryValue {
  enum class Type { kText, kNumber, kTexts, kBytes };

  RegistryValue() = default;
  RegistryValue(std::string given)
      : text(std::move(given)) {}                    // NOLINT(google-explicit-constructor)
  RegistryValue(const char* given) : text(given) {}  // NOLINT(google-explicit-constructor)
  RegistryValue(std::uint32_t given)                 // NOLINT(google-explicit-constructor)
      : type(Type::kNumber), number(given) {}
  RegistryValue(std::vector<std::string> given)  // NOLINT(google-explicit-constructor)
      : type(Type::kTexts), texts(std::move(given)) {}
  RegistryValue(std::vector<std::uint8_t> given)  // NOLINT(google-explicit-constructor)
      : type(Type::kBytes), bytes(std::move(given)) {}

  Type type = Type::kText;
  std::string text;
  std::uint32_t number = 0;
  std::vector<std::string> texts;
  std::vector<std::uint8_t> bytes;
};

// A path has at most this many names.
inline constexpr std::size_t kDeepestKey = 512;

// True for a name that a key can have: 1 to 255 bytes without backslashes and control characters.
[[nodiscard]] bool valid_key_name(std::string_view name);

[[nodiscard]] std::string fold_case(std::string_view text);  // ASCII capitals become small

// The content of one root. Every path given must be made of valid names. Look-ups cost O(log n).
class RegistryTree {
 public:
  // Reads the text form. What cannot be understood is left out; `bad_line` (from 1) is the first
  // such line, 0 for none.
  [[nodiscard]] static RegistryTree parse(std::string_view text, std::size_t* bad_line);
  [[nodiscard]] std::string print() const;  // empty for an empty tree

  [[nodiscard]] bool has_key(std::string_view path) const;
  // Null when there is none.
  [[nodiscard]] const RegistryValue* value(std::string_view path, std::string_view name = {}) const;
  // As they are written, in order.
  [[nodiscard]] std::vector<std::string> subkeys(std::string_view path) const;

  void add_key(std::string_view path);  // with its parents
  void set(std::string_view path, std::string_view name, RegistryValue value);
  void remove_value(std::string_view path, std::string_view name);
  void remove_key(std::string_view path);  // with all below it
  // Removes a key that has neither values nor keys below it.
  void remove_empty_key(std::string_view path);

 private:
  struct Value {
    std::string name;
    RegistryValue data;
  };
  struct Key {
    std::string path;
    std::map<std::string, Value> values;  // by folded name
  };
  using Keys = std::map<std::string, Key>;  // by folded path: a key stands before its subkeys

  [[nodiscard]] bool is_leaf(Keys::const_iterator key) const;

  Keys keys_;
};

// Where what is registered for a root goes: HKEY_CLASSES_ROOT is a key of another root.
struct RegistryPlace {
  RegistryRoot root;
  std::string_view prefix;  // with a backslash at its end, or empty
};
[[nodiscard]] RegistryPlace place_of(RegistryRoot root, bool per_user);

// The file of a root; empty when it has none (HKEY_CLASSES_ROOT) or when it cannot be told.
[[nodiscard]] std::string registry_file(RegistryRoot root);

// The content of a root as it is now, HKEY_CLASSES_ROOT excepted. Not null; empty when there is no
// file. A file that did not change since it was read last is not read again.
[[nodiscard]] std::shared_ptr<const RegistryTree> read_registry(RegistryRoot root);

// The text of a value under HKEY_CLASSES_ROOT; none when there is no such value or it is no text.
[[nodiscard]] std::optional<std::string> classes_text(std::string_view path,
                                                      std::string_view name = {});

// A change of the registry: locks, reads, is changed in memory and written.
class RegistryEdit {
 public:
  RegistryEdit();
  ~RegistryEdit();  // unlocks; what was not committed is forgotten
  RegistryEdit(const RegistryEdit&) = delete;
  RegistryEdit& operator=(const RegistryEdit&) = delete;

  // Waits for the locks of these roots (none of them HKEY_CLASSES_ROOT), and reads them. Once per
  // object. E_ACCESSDENIED; REGDB_E_READREGDB, also for a file with a line that cannot be
  // understood, since writing would lose it.
  [[nodiscard]] HRESULT open(std::span<const RegistryRoot> roots);
  // A root that was opened.
  [[nodiscard]] RegistryTree& tree(RegistryRoot root);
  // Replaces the file of each root that changed; a root without content has no file. E_ACCESSDENIED
  // or REGDB_E_WRITEREGDB.
  [[nodiscard]] HRESULT commit();
  // What stood in the way, for people: "/path: No space left on device".
  [[nodiscard]] const std::string& problem() const { return problem_; }

 private:
  struct Opened;

  [[nodiscard]] HRESULT lock(const std::string& folder);
  [[nodiscard]] HRESULT fail(HRESULT status, const std::string& file, int error);

  std::vector<int> locks_;
  std::vector<Opened> opened_;
  std::string problem_;
};

}  // namespace tallowbrook::platform
