// The host's side of the component: loading the library, creating messages, late-bound access.
//
// The host knows the component by its ProgIDs and its members' names alone.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/file_stream.h"
#include "platform/automation/dispatch.h"
#include "platform/automation/late_bound.h"
#include "platform/com/unknown.h"
#include "platform/storage/stream.h"

namespace tallowbrook::cli {

// What the program answers to its caller; the highest one of a run wins.
enum ExitStatus : int {
  kFine = 0,
  kUnparsable = 1,  // a message could not be parsed
  kUsage = 2,
  kFileFailed = 3,  // a file (or the component itself) could not be read or written
};

// An automation object, used by its members' names. A member that fails or yields nothing reads as
// an empty value, which is how a mail that lacks a field looks.
class Object {
 public:
  Object() = default;
  explicit Object(platform::ComPtr<IDispatch> object) : object_(std::move(object)) {}
  // The object in a value; empty for any other value.
  explicit Object(const VARIANT& value);

  explicit operator bool() const { return static_cast<bool>(object_); }
  [[nodiscard]] const platform::ComPtr<IDispatch>& dispatch() const { return object_; }

  [[nodiscard]] platform::Variant get(const char16_t* name) const;
  [[nodiscard]] platform::Variant get(const char16_t* name, std::int32_t index) const;
  // UTF-8; empty for a value that is no text.
  [[nodiscard]] std::string text(const char16_t* name) const;
  [[nodiscard]] std::string text(const char16_t* name, std::int32_t index) const;
  [[nodiscard]] Object object(const char16_t* name) const { return Object(get(name)); }
  [[nodiscard]] Object item(std::int32_t index) const;
  // The property Count, 0 when there is none.
  [[nodiscard]] std::int32_t count() const;
  // What the enumerator of a collection yields, objects only.
  [[nodiscard]] std::vector<Object> elements() const;
  HRESULT put(const char16_t* name, const platform::Variant& value) const;
  HRESULT put(const char16_t* name, std::u16string_view text) const {
    return put(name, platform::Variant(text));
  }
  // Calls a method; its result is empty when it fails.
  template <class... Argument>
  platform::Variant call(const char16_t* name, const Argument&... arguments) const {
    platform::Outcome outcome = platform::call(object_.get(), name, arguments...);
    return SUCCEEDED(outcome.status) ? std::move(outcome.value) : platform::Variant();
  }

 private:
  platform::ComPtr<IDispatch> object_;
};

// A message that was asked for: loaded, or what stood in the way.
struct Loaded {
  enum class Outcome { kLoaded, kUnparsable, kUnreadable };

  Outcome outcome = Outcome::kUnreadable;
  Object message;  // set when loaded
  // Where it came from, set when loaded.
  platform::ComPtr<FileStream> source;
  platform::ComPtr<MessageInput> input;  // not for copying
  std::string text;                      // the parser's or the system's text otherwise, UTF-8
  long line = 0;                         // where the parser stopped; 0 when it does not say

  [[nodiscard]] ExitStatus status() const;
  // "FILE:LINE: text" or "FILE: text", safe for a terminal.
  [[nodiscard]] std::string complaint(std::string_view file) const;
};

// What a message is loaded for.
enum class LoadFor {
  kReading,
  kCopying,   // an unchanged save gives the same bytes back
  kChanging,  // a save puts no empty line behind the last one
};

// Loads the component, which then stays for the life of the process. Throws std::runtime_error
// with a text for people when it cannot be had.
class Host {
 public:
  Host();

  // Loads the message in `file` ("-": standard input). Throws std::runtime_error when no message
  // object can be created.
  [[nodiscard]] Loaded load(const std::string& file, LoadFor use = LoadFor::kReading) const;

  // The component's library.
  [[nodiscard]] HMODULE module() const { return module_; }

 private:
  HMODULE module_ = nullptr;
};

// A new object of the class with this ProgID, once the component is loaded. Throws
// std::runtime_error when there is none.
[[nodiscard]] Object create(const char16_t* prog_id);
inline constexpr char16_t kMessageClass[] = u"Tallowbrook.Decoder";

// The file's name as people see it.
[[nodiscard]] std::string display_name(std::string_view file);

// Takes the thread's error description, UTF-8; empty when there is none.
[[nodiscard]] std::string take_error_text();

// Why the library `path` could not be loaded, as CoComponentError has it; the path comes first.
[[nodiscard]] std::string load_problem(const std::string& path);

// "status 0x80004005"
[[nodiscard]] std::string status_text(HRESULT status);

// "tallowbrook: text" on standard error.
void complain(std::string_view text);

}  // namespace tallowbrook::cli
