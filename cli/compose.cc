#include "cli/compose.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "cli/body_tree.h"
#include "cli/file_name.h"
#include "cli/random_text.h"
#include "cli/terminal.h"

namespace tallowbrook::cli {
namespace {

using namespace std::string_view_literals;
using platform::ComPtr;
using platform::Variant;

// RFC 5322 section 2.1.1.
constexpr std::size_t kLongestLine = 998;
// More attachments than this are read at once: the system allows only so many open files.
constexpr std::size_t kMostOpenFiles = 256;

constexpr char16_t kSevenBit[] = u"7bit";
constexpr char16_t kQuotedPrintable[] = u"quoted-printable";
constexpr char16_t kBase64[] = u"base64";

[[noreturn]] void fail(const std::string& file, int error) {
  throw std::runtime_error(display_name(file) + ": " + std::strerror(error));
}

// Calls `action` with each line, its line end not included.
template <class Action>
void for_each_line(std::string_view text, Action&& action) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    if (line.ends_with('\r')) line.remove_suffix(1);
    action(line);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

// Lines end in CR LF on the way (RFC 2046 section 4.1.1).
std::string with_line_ends(std::string_view text) {
  std::string result;
  result.reserve(text.size() + text.size() / 16);
  char last = '\0';
  for (const char c : text) {
    if (c == '\n' && last != '\r') result.push_back('\r');
    result.push_back(c);
    last = c;
  }
  return result;
}

// True for lines that every transport leaves alone, which some do not with a "." or "From " at the
// start of a line. A line that begins like a delimiter must not be taken for one.
bool is_seven_bit(std::string_view text) {
  bool plain = true;
  for_each_line(text, [&](std::string_view line) {
    plain = plain && line.size() <= kLongestLine && !line.starts_with('.') &&
            !line.starts_with("--") && !line.starts_with("From ") &&
            std::all_of(line.begin(), line.end(),
                        [](char c) { return (c >= ' ' && c <= '~') || c == '\t'; });
  });
  return plain;
}

// A message can be attached as one when it needs no encoding, which RFC 2046 section 5.2.1 does not
// let it have, and when it is so short that its lines may be looked at.
bool is_plain_message(std::string_view text) {
  bool plain = text.find('\0') == text.npos;
  for_each_line(text, [&](std::string_view line) {
    plain = plain && line.size() <= kLongestLine && !line.starts_with('.') &&
            std::all_of(line.begin(), line.end(),
                        [](char c) { return static_cast<unsigned char>(c) < 0x80 && c != '\r'; });
  });
  return plain;
}

// Makes a part one of this media type; false when the component does not take it: it knows some
// minor types by numbers alone and takes the "mpeg" of "audio/mpeg" for the number of another.
bool put_type(const Object& part, const std::string& type) {
  const auto slash = type.find('/');
  part.put(u"MajorContentType", to_utf16(type.substr(0, slash)));
  part.put(u"MinorContentType", to_utf16(type.substr(slash + 1)));
  return content_type_of(part) == type;
}

// Such a type as a field of text, which other programs and a later load read as any other.
void put_type_field(const Object& part, const std::string& type) {
  part.object(u"Fields").call(u"Remove", Variant(u"Content-Type"sv));
  platform::put(part.dispatch().get(), u"ExtField", Variant(u"Content-Type"sv),
                Variant(std::u16string_view(to_utf16(type))));
}

// The text of a header field as the message would write it, folding included; empty without one.
std::u16string field_text(const Object& message, std::string_view name) {
  const Variant value = message.get(u"MessageHeader");
  const std::u16string_view header = value.text();
  std::size_t start = 0;
  while (start < header.size()) {
    std::size_t end = start;
    do {
      end = std::min(header.find(u'\n', end), header.size() - 1) + 1;
    } while (end < header.size() && (header[end] == u' ' || header[end] == u'\t'));
    const std::u16string_view field = header.substr(start, end - start);
    const auto colon = field.find(u':');
    if (colon != field.npos && same_name(to_utf8(field.substr(0, colon)), name)) {
      const std::u16string_view text = field.substr(colon + 1);
      const auto first = text.find_first_not_of(u" \t\r\n");
      if (first == text.npos) return {};
      return std::u16string(text.substr(first, text.find_last_not_of(u" \t\r\n") - first + 1));
    }
    start = end;
  }
  return {};
}

// A parameter's value as it stands in a header.
std::u16string in_quotes(std::string_view text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') result.push_back('\\');
    result.push_back(c);
  }
  return to_utf16(result + "\"");
}

void put_parameter(const Object& owner, const char16_t* name, const std::u16string& value) {
  owner.object(u"Parameters")
      .call(u"Modify", Variant(std::u16string_view(name)), Variant(std::u16string_view(value)),
            Variant::boolean(false));
}

bool is_plain_name(std::string_view name) {
  return name.find("=?") == name.npos &&
         std::all_of(name.begin(), name.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

}  // namespace

std::string read_whole(const std::string& file) {
  const int descriptor =
      file == "-" ? STDIN_FILENO : ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
  if (descriptor < 0) fail(file, errno);
  const auto source = ComPtr<FileStream>::adopt(new FileStream(descriptor));
  const auto collector = ComPtr<Collector>::adopt(new Collector);
  source->pass_rest(*collector);
  if (source->error() != 0) fail(file, source->error());
  return collector->take();
}

std::string read_text(const std::string& file) {
  std::string text = read_whole(file);
  if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
  if (!is_utf8(text)) throw std::runtime_error(display_name(file) + ": is not UTF-8 text");
  return text;
}

void make_multipart(const Object& part, std::u16string_view kind) {
  part.put(u"MajorContentType", u"multipart");
  part.put(u"MinorContentType", kind);
  put_parameter(part.object(u"ContentType"), u"boundary", in_quotes("=_" + random_text()));
}

int save_message(const Object& message, IStream& target) {
  const auto persistence = message.dispatch().query<IPersistStream>();
  const auto without = ComPtr<WithoutDotLine>::adopt(new WithoutDotLine(target));
  if (!persistence || FAILED(persistence->Save(without.get(), FALSE))) return EIO;
  without->finish();
  return 0;
}

void Composer::set_subject(const Object& message, std::string_view subject) const {
  message.put(u"SubjectRaw", words_.encoded(subject));
}

void Composer::add_addresses(const Object& message, const char16_t* property,
                             std::string_view field, const std::vector<Mailbox>& mailboxes) const {
  if (mailboxes.empty()) return;
  std::u16string text = field_text(message, field);
  for (const Mailbox& mailbox : mailboxes) {
    if (!text.empty()) text += u",\r\n\t";
    text += header_form(mailbox, words_);
  }
  // An item of a list is stored as it is: neither sorted nor parsed.
  const Object list = create(u"Tallowbrook.Collection");
  list.call(u"Add", Variant(std::u16string_view(text)));
  message.put(property, Variant(list.dispatch().get()));
}

void Composer::set_address(const Object& message, const char16_t* property,
                           const std::vector<Mailbox>& mailboxes) const {
  if (!mailboxes.empty()) message.put(property, header_form(mailboxes.front(), words_));
}

void Composer::put_text(const Object& part, std::u16string_view kind, std::string_view text,
                        bool alone) const {
  std::string lines = with_line_ends(text);
  const bool binary = lines.find('\0') != lines.npos;
  // The component closes an open line only. The line end before a delimiter belongs to that.
  if (!binary && !alone && lines.ends_with("\r\n")) lines += "\r\n";
  part.put(u"MajorContentType", u"text");
  part.put(u"MinorContentType", kind);
  part.put(u"Charset", u"utf-8");
  part.put(u"Encoding", binary ? kBase64 : is_seven_bit(lines) ? kSevenBit : kQuotedPrintable);
  part.put(u"Value", to_utf16(lines));
}

ComPtr<IStream> Composer::open(const std::string& file) {
  // What has no size, as some files of the system, is read at once.
  struct stat info {};
  if (file == "-" || ::stat(file.c_str(), &info) != 0 || !S_ISREG(info.st_mode) ||
      info.st_size == 0 || attached_.size() >= kMostOpenFiles) {
    return ComPtr<TextStream>::adopt(new TextStream(read_whole(file)));
  }
  const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) fail(file, errno);
  auto stream = ComPtr<FileStream>::adopt(new FileStream(descriptor));
  attached_.emplace_back(file, stream);
  return stream;
}

void Composer::attach(const Object& part, const std::string& file) {
  std::string name = file == "-" ? "attachment" : std::filesystem::path(file).filename().string();
  if (printable(name) != name) name = safe_name(name);
  std::string type = types_.of_file(name);
  ComPtr<IStream> content;
  bool encoded = true;
  if (type.starts_with("message/") || type.starts_with("multipart/")) {
    std::string text = read_whole(file);
    encoded = type != "message/rfc822" || !is_plain_message(text);
    if (encoded) type = "application/octet-stream";
    content = ComPtr<TextStream>::adopt(new TextStream(std::move(text)));
  } else {
    content = open(file);
  }
  const bool typed = put_type(part, type);
  if (!typed) put_type_field(part, type);
  if (encoded) part.put(u"Encoding", kBase64);
  put_name(part, name, typed);
  const Variant done =
      part.call(u"Import", Variant(static_cast<IUnknown*>(content.get())), Variant::boolean(true));
  if (done.vt != VT_BOOL || done.boolVal == VARIANT_FALSE) fail(file, EIO);
}

// Both the disposition and the content type name the file: old programs look for the second.
void Composer::put_name(const Object& part, const std::string& name, bool typed) const {
  const std::u16string value =
      is_plain_name(name) ? in_quotes(name) : u'"' + words_.encoded(name) + u'"';
  const Object disposition = part.object(u"ContentDisposition");
  disposition.put(u"Value", u"attachment");
  put_parameter(disposition, u"filename", value);
  if (typed) put_parameter(part.object(u"ContentType"), u"name", value);
}

void Composer::check_attachments() const {
  for (const auto& [file, stream] : attached_) {
    if (stream->error() != 0) fail(file, stream->error());
  }
}

}  // namespace tallowbrook::cli
