// Taking a message apart: each chosen part's decoded content goes to a file of its own.
//
// Names come from foreign text. A part never gets out of the folder, hides itself, steers a
// terminal or takes the place of a file, unless that is asked for.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>

#include "cli/body_tree.h"
#include "cli/commands.h"
#include "cli/content.h"
#include "cli/file_name.h"
#include "cli/media_types.h"
#include "cli/output_file.h"
#include "cli/terminal.h"

namespace tallowbrook::cli {
namespace {

namespace fs = std::filesystem;
using platform::ComPtr;

struct Options {
  std::string file;
  std::string folder = ".";
  std::vector<std::string> numbers;
  bool standard_output = false;
  bool list = false;
  bool force = false;
};

// Of an export that failed for another reason than its target.
constexpr int kUndecodable = EBADMSG;
constexpr char kCannotDecode[] = "its content cannot be decoded";
// Files that are flushed one by one, and files that are flushed at once.
constexpr std::size_t kFewFiles = 16;
constexpr std::size_t kMostPending = 4096;

// A part that is written to a file which has no name yet.
struct Pending {
  std::size_t part;
  fs::path path;
  std::unique_ptr<PendingFile> file;
};

// Counts the bytes of decoded content.
class Counter final : public StreamBase {
 public:
  HRESULT Write(const void*, ULONG cb, ULONG* written) override {
    count_ += cb;
    if (written != nullptr) *written = cb;
    return S_OK;
  }
  [[nodiscard]] std::uint64_t count() const { return count_; }

 private:
  std::uint64_t count_ = 0;
};

class Extraction {
 public:
  Extraction(const Options& options, const Loaded& loaded)
      : options_(options),
        closed_(loaded.input->found_end_line()),

        parts_(read_body(loaded.message, words_, &handles_)),
        chosen_(parts_.size(), false) {}

  int run() {
    if (!choose()) return kFileFailed;
    if (options_.list) return list();
    if (options_.standard_output) return write_one();
    return write_files();
  }

 private:
  // Parts with content of their own; a message inside is one, whatever is in it.
  [[nodiscard]] bool has_content(std::size_t i) const { return !parts_[i].multipart; }

  // See export_content. The body of a message inside ends where the part around it does.
  [[nodiscard]] bool line_end_follows(std::size_t i) const {
    while (parts_[i].embedded) i = parts_[i].parent;
    return parts_[i].parent != Part::kNoParent || !closed_;
  }

  // Marks the parts to extract: those that are named, with all that is below a multipart, or all
  // that lie in no message inside.
  bool choose() {
    if (options_.numbers.empty()) {
      for (std::size_t i = 0; i < parts_.size(); ++i) {
        chosen_[i] = options_.list || !parts_[i].inside;
      }
    }
    const std::vector<std::size_t> named = find_parts(parts_, options_.numbers);
    for (std::size_t i = 0; i < named.size(); ++i) {
      if (named[i] == Part::kNoParent) {
        complain(display_name(options_.file) + ": there is no part " +
                 printable(options_.numbers[i]));
        return false;
      }
      chosen_[named[i]] = true;
    }
    for (std::size_t i = 0; i < parts_.size(); ++i) {
      const std::size_t parent = parts_[i].parent;
      if (parent != Part::kNoParent && chosen_[parent] && parts_[parent].multipart) {
        chosen_[i] = true;
      }
    }
    return true;
  }

  template <class Action>
  int for_each_chosen(Action&& action) {
    int status = kFine;
    for (std::size_t i = 0; i < parts_.size(); ++i) {
      if (chosen_[i] && has_content(i)) status = std::max<int>(status, action(i));
    }
    return status;
  }

  int failed(std::size_t i, const std::string& reason) const {
    complain(display_name(options_.file) + ": part " + part_number(parts_, i) + ": " + reason);
    return kFileFailed;
  }

  std::string name_of(std::size_t i) {
    std::string name = safe_name(parts_[i].file_name);
    if (name.empty()) {
      name = "part-" + part_number(parts_, i);
      std::erase(name, '#');
      name += types_.extension(parts_[i].type);
    }
    return names_.take(name);
  }

  int list() {
    std::size_t width = 0;
    for (std::size_t i = 0; i < parts_.size(); ++i) {
      if (chosen_[i] && has_content(i)) width = std::max(width, part_number(parts_, i).size());
    }
    return for_each_chosen([&](std::size_t i) {
      const auto counter = ComPtr<Counter>::adopt(new Counter);
      if (!export_content(handles_[i], parts_[i], line_end_follows(i), *counter)) {
        return failed(i, kCannotDecode);
      }
      const std::string number = part_number(parts_, i);
      const std::string line = number + std::string(width - number.size(), ' ') + "  " +
                               printable(parts_[i].type) + "  " + std::to_string(counter->count()) +
                               " bytes  " + printable(name_of(i)) + "\n";
      return print(line) ? int{kFine} : int{kFileFailed};
    });
  }

  int write_one() {
    std::size_t only = Part::kNoParent;
    std::size_t count = 0;
    for_each_chosen([&](std::size_t i) {
      only = i;
      ++count;
      return 0;
    });
    if (count != 1) {
      complain(display_name(options_.file) + ": " + std::to_string(count) +
               " parts have content; choose one with --part (--list shows them)");
      return kUsage;
    }
    if (refuse_terminal()) return kUsage;
    const int failure =
        write_standard_output([&](FileStream& target) { return export_to(only, target); });
    if (failure == kUndecodable) return failed(only, kCannotDecode);
    return failure == 0 ? int{kFine} : failed(only, std::strerror(failure));
  }

  int export_to(std::size_t i, FileStream& target) const {
    return export_content(handles_[i], parts_[i], line_end_follows(i), target) ? 0 : kUndecodable;
  }

  int write_files() {
    const fs::path folder = options_.folder;
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
      complain(display_name(options_.folder) + ": " + error.message());
      return kFileFailed;
    }
    int status = for_each_chosen([&](std::size_t i) {
      const fs::path path = folder == "." ? fs::path(name_of(i)) : folder / name_of(i);
      const auto existing = options_.force ? Existing::kReplace : Existing::kKeep;
      Pending pending{i, path, std::make_unique<PendingFile>(path, existing)};
      int failure = pending.file->write([&](FileStream& target) { return export_to(i, target); });
      if (pending_.size() >= kFewFiles && failure == 0) failure = pending.file->close();
      if (failure != 0) return not_written(pending, failure);
      pending_.push_back(std::move(pending));
      return pending_.size() < kMostPending ? int{kFine} : finish_files();
    });
    status = std::max(status, finish_files());
    sync_folder(folder);
    return status;
  }

  // A few files go to the disk one by one; of many, each would take as long as all of them.
  int finish_files() {
    const bool at_once = pending_.size() > kFewFiles;
    const int unsynced = at_once ? sync_files(options_.folder) : 0;
    int status = kFine;
    for (const Pending& pending : pending_) {
      const int failure = unsynced != 0 ? unsynced : pending.file->finish();
      status = std::max(status, failure == 0 ? written(pending) : not_written(pending, failure));
    }
    pending_.clear();
    return status;
  }

  int written(const Pending& pending) const {
    const std::string line =
        part_number(parts_, pending.part) + "  " + printable(pending.path.string()) + "\n";
    return print(line) ? kFine : kFileFailed;
  }

  int not_written(const Pending& pending, int error) const {
    const std::string shown = printable(pending.path.string());
    if (error == kUndecodable) return failed(pending.part, kCannotDecode);
    if (error == EEXIST) {
      return failed(pending.part, shown + " is there already; --force replaces it");
    }
    return failed(pending.part, shown + ": " + std::strerror(error));
  }

  const Options& options_;
  bool closed_;  // the file holds the line "." that ends a message
  Words words_;
  std::vector<Object> handles_;
  std::vector<Part> parts_;
  std::vector<bool> chosen_;
  MediaTypes types_;
  UniqueNames names_;
  std::vector<Pending> pending_;
};

int extract(const Options& options) {
  const Host host;
  const Loaded loaded = host.load(options.file);
  if (loaded.outcome != Loaded::Outcome::kLoaded) {
    complain(loaded.complaint(options.file));
    return loaded.status();
  }
  return Extraction(options, loaded).run();
}

}  // namespace

void add_extract(CLI::App& program, int& status) {
  auto* const command =
      program.add_subcommand("extract", "Write the decoded bodies and attachments of a message");
  const auto options = std::make_shared<Options>();
  command->add_option("FILE", options->file, "The message to read; - is standard input")
      ->required();
  command
      ->add_option("-o,--output", options->folder,
                   "The folder for the files; it is made if need be")
      ->type_name("DIR");
  command
      ->add_option("--part", options->numbers,
                   "Only this part, or all parts of this multipart; may be given several times")
      ->type_name("N.N")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->allow_extra_args(false);
  auto* const list = command->add_flag(
      "--list", options->list, "Only print the parts: number, type, decoded size, file name");
  command->add_flag("--stdout", options->standard_output, "Write the one part to standard output")
      ->excludes(list);
  command->add_flag("-f,--force", options->force, "Replace files that are there already");
  command->footer(R"(Parts count as mail programs count them: 2.1 is the first part of the second. A
message inside is one file, "part-N.eml" if it has no name; what is in it can be
listed, and chosen by its number.

Texts are written as UTF-8. Their lines end in LF, save those of base64, which
are kept; base64 without a charset is kept byte for byte. A file gets the name
that the message gives it, reduced to a plain base name of at most 200 bytes; a
second one of the same name gets "-2". Each file appears whole or not at all. A
part that cannot be written is told on standard error, the others are written,
and the exit status is 3.

Examples:
  tallowbrook extract letter.eml -o attachments
  tallowbrook extract --list letter.eml
  tallowbrook extract --part 1.2 --stdout letter.eml | less)");
  command->callback([options, &status] { status = extract(*options); });
}

}  // namespace tallowbrook::cli
