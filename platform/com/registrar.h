// Registry scripts: what a component adds to the registry, and takes out of it again.
//
//   HKCR
//   {
//     Tallowbrook.Blob = s 'Blob Class'         a key and its default value
//     {                                         what is below it
//       CLSID = s '{A4CD...}'
//     }
//     NoRemove CLSID                            stays when the script is undone
//     {
//       ForceRemove {A4CD...}                   is emptied first, and goes with all that is below
//       it
//       {
//         val ThreadingModel = s 'Both'         a named value
//         Delete Old                            a key that goes when the script is run
//       }
//     }
//   }
//
// Words stand between white space; keywords are told without regard to case. A word in apostrophes
// may have spaces and is never a keyword or a brace; '' in it is one apostrophe. "{" alone opens a
// block, "{" with more behind it starts a name. %NAME% stands for a replacement, which is taken as
// it is, whatever characters it has; %% is a percent sign.
//
// Values: s 'text'; d number (decimal or 0x...); m 'texts\0with\0zeros'; b hexdigits.
// Roots: HKCR, HKCU, HKLM, HKU, HKPD, HKDD, HKCC or their long names.
//
// Undoing removes the values that the script sets and then its keys, the innermost first: a key
// with ForceRemove in any case, another one when nothing is left in it, since what is left is
// somebody else's. Keys and values marked NoRemove stay, and so do the keys above them. What is
// gone already is no failure. The keys AppID, CLSID, Component Categories, FileType, Interface,
// Hardware and Mime directly under a root are never removed.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/com/registry.h"

namespace tallowbrook::platform {

// Stands for %NAME% in a script. Names are compared without regard to case.
struct ScriptReplacement {
  std::string_view name;
  std::string_view value;
};

// What is wrong with a script, for people, and where (from 1).
struct ScriptError {
  std::size_t line = 0;
  std::string text;
};

class RegistryScript {
 public:
  // False with `error` for a script that does not read; then nothing of it can be run.
  [[nodiscard]] bool parse(std::string_view text, std::span<const ScriptReplacement> replacements,
                           ScriptError* error);

  // The roots that it changes, without HKEY_CLASSES_ROOT, each once.
  [[nodiscard]] std::vector<RegistryRoot> roots(bool per_user) const;

  // Runs or undoes the script on the roots, which `edit` has open.
  void run(RegistryEdit& edit, bool per_user) const;
  void undo(RegistryEdit& edit, bool per_user) const;

 private:
  friend class ScriptParser;

  enum class What { kKey, kValue, kDelete };
  struct Statement {
    What what = What::kKey;
    RegistryRoot root = RegistryRoot::kClasses;
    std::string path;  // of the key, from the root
    std::string name;  // of the value
    std::optional<RegistryValue> value;
    bool force_remove = false;
    bool no_remove = false;
    bool keeps_below = false;  // a key or value below it is marked NoRemove
  };

  void mark_keys_to_keep();

  std::vector<Statement> statements_;  // a key stands before what is below it
};

}  // namespace tallowbrook::platform
