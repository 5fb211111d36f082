#include "cli/host.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "cli/terminal.h"
#include "platform/com/activation.h"

namespace tallowbrook::cli {
namespace {

using platform::Bstr;
using platform::ComPtr;
using platform::Variant;

constexpr char kLibrary[] = "libtallowbrook.so";

// The places where the component may lie: beside the program as it is built or installed, then
// wherever the loader looks.
std::vector<std::string> candidates() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  std::vector<std::string> paths;
  if (!error) {
    for (const char* folder : {"../lib", "."}) {
      const auto path = program.parent_path() / folder / kLibrary;
      if (std::filesystem::exists(path, error)) paths.push_back(path.lexically_normal().string());
    }
  }
  paths.emplace_back(kLibrary);
  return paths;
}

// "parse error ... in Line 12": the number goes to `line`, the rest stays.
void split_line(std::string& text, long& line) {
  constexpr std::string_view kMark = " in Line ";
  const auto at = text.rfind(kMark);
  if (at == std::string::npos) return;
  long number = 0;
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data() + at + kMark.size(), end, number);
  if (parsed.ec != std::errc() || parsed.ptr != end) return;
  text.resize(at);
  line = number > 0 ? number : 0;
}

Loaded unreadable(int error) {
  Loaded result;
  result.text = std::strerror(error);
  return result;
}

Loaded unparsable(HRESULT status) {
  Loaded result;
  result.outcome = Loaded::Outcome::kUnparsable;
  result.text = take_error_text();
  if (result.text.empty()) result.text = "the message could not be loaded, " + status_text(status);
  split_line(result.text, result.line);
  return result;
}

}  // namespace

std::string status_text(HRESULT status) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "status 0x%08X", static_cast<unsigned>(status));
  return buffer;
}

std::string take_error_text() {
  ComPtr<IErrorInfo> info;
  if (GetErrorInfo(0, info.out()) != S_OK || !info) return {};
  Bstr text;
  if (FAILED(info->GetDescription(text.out()))) return {};
  return to_utf8(text.view());
}

std::string load_problem(const std::string& path) {
  const std::string reason = CoComponentError();
  // The loader's own texts mostly begin with it.
  if (reason.rfind(path, 0) == 0) return printable(reason);
  return printable(path + ": " + (reason.empty() ? "it cannot be loaded" : reason));
}

Object::Object(const VARIANT& value) {
  if (value.vt == VT_DISPATCH) {
    object_ = ComPtr<IDispatch>(value.pdispVal);
  } else if (value.vt == VT_UNKNOWN) {
    object_ = platform::query<IDispatch>(value.punkVal);
  }
}

Variant Object::get(const char16_t* name) const {
  platform::Outcome outcome = platform::get(object_.get(), name);
  return SUCCEEDED(outcome.status) ? std::move(outcome.value) : Variant();
}

Variant Object::get(const char16_t* name, std::int32_t index) const {
  platform::Outcome outcome = platform::get(object_.get(), name, index);
  return SUCCEEDED(outcome.status) ? std::move(outcome.value) : Variant();
}

std::string Object::text(const char16_t* name) const { return to_utf8(get(name).text()); }

std::string Object::text(const char16_t* name, std::int32_t index) const {
  return to_utf8(get(name, index).text());
}

Object Object::item(std::int32_t index) const { return Object(get(u"Item", index)); }

std::int32_t Object::count() const {
  const Variant value = get(u"Count");
  return value.vt == VT_I4 ? value.lVal : 0;
}

std::vector<Object> Object::elements() const {
  std::vector<Object> found;
  const Variant value = get(u"_NewEnum");
  if (value.vt != VT_UNKNOWN && value.vt != VT_DISPATCH) return found;
  const auto enumerator = platform::query<IEnumVARIANT>(value.punkVal);
  if (!enumerator) return found;
  for (;;) {
    Variant element;
    ULONG fetched = 0;
    if (FAILED(enumerator->Next(1, &element, &fetched)) || fetched == 0) return found;
    if (Object object(element); object) found.push_back(std::move(object));
  }
}

HRESULT Object::put(const char16_t* name, const Variant& value) const {
  return platform::put(object_.get(), name, value).status;
}

ExitStatus Loaded::status() const {
  switch (outcome) {
    case Outcome::kLoaded:
      return kFine;
    case Outcome::kUnparsable:
      return kUnparsable;
    case Outcome::kUnreadable:
      break;
  }
  return kFileFailed;
}

std::string Loaded::complaint(std::string_view file) const {
  std::string result = display_name(file);
  if (line > 0) result += ":" + std::to_string(line);
  return result + ": " + printable(text);
}

Host::Host() {
  std::string reasons;
  for (const std::string& path : candidates()) {
    if (SUCCEEDED(CoLoadComponent(path.c_str(), &module_))) return;
    reasons += "\n  " + load_problem(path);
  }
  throw std::runtime_error("the component cannot be loaded:" + reasons);
}

Object create(const char16_t* prog_id) {
  CLSID clsid{};
  ComPtr<IDispatch> object;
  HRESULT status = CLSIDFromProgID(prog_id, &clsid);
  if (SUCCEEDED(status)) {
    status =
        CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IDispatch::kIid, object.out_void());
  }
  if (FAILED(status)) {
    throw std::runtime_error("the component creates no " + to_utf8(prog_id) + " (" +
                             status_text(status) + ")");
  }
  return Object(std::move(object));
}

Loaded Host::load(const std::string& file, LoadFor use) const {
  const int descriptor =
      file == "-" ? STDIN_FILENO : ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
  if (descriptor < 0) return unreadable(errno);
  const auto stream = ComPtr<FileStream>::adopt(new FileStream(descriptor));

  Loaded result;
  result.message = create(kMessageClass);
  if (use == LoadFor::kCopying &&
      FAILED(result.message.put(u"CollectRawStream", Variant::boolean(true)))) {
    throw std::runtime_error("the component keeps no copy of what it loads");
  }
  const auto persistence = result.message.dispatch().query<IPersistStream>();
  if (!persistence) throw std::runtime_error("the message object loads from no stream");
  static_cast<void>(take_error_text());  // an earlier call's
  if (use != LoadFor::kCopying) {
    result.input = ComPtr<MessageInput>::adopt(new MessageInput(stream, use == LoadFor::kChanging));
  }
  const HRESULT status =
      result.input ? persistence->Load(result.input.get()) : persistence->Load(stream.get());
  // A stream that fails ends the data for the parser, which may then find a message or none.
  if (stream->error() != 0) return unreadable(stream->error());
  if (FAILED(status)) return unparsable(status);
  result.outcome = Loaded::Outcome::kLoaded;
  result.source = stream;
  return result;
}

std::string display_name(std::string_view file) {
  return file == "-" ? "standard input" : printable(file);
}

void complain(std::string_view text) {
  std::fflush(stdout);
  std::fprintf(stderr, "tallowbrook: %.*s\n", static_cast<int>(text.size()), text.data());
}

}  // namespace tallowbrook::cli
