#include "cli/body_tree.h"

#include <algorithm>
#include <array>
#include <span>
#include <unordered_map>

#include "cli/part_name.h"
#include "cli/terminal.h"

namespace tallowbrook::cli {
namespace {

using platform::ComPtr;
using platform::Variant;

constexpr std::array kMultipart = {"mixed", "parallel", "digest", "alternative"};
constexpr std::array kText = {"plain", "html"};
constexpr std::array kImage = {"gif", "jpeg"};
constexpr std::array kApplication = {"octet-stream", "postscript"};
constexpr std::array kAudio = {"basic"};
constexpr std::array kVideo = {"mpeg"};
constexpr std::array kMessage = {"rfc822", "partial", "external-body"};
constexpr std::array kEncodings = {"7bit", "quoted-printable", "base64", "8bit", "binary"};

struct MajorType {
  const char* name;
  std::span<const char* const> minors;
};
// The order of the enumeration MajorMimeTypes, and of each type's own enumeration.
const std::array kMajor = {
    MajorType{"multipart", kMultipart},     MajorType{"text", kText},   MajorType{"image", kImage},
    MajorType{"application", kApplication}, MajorType{"audio", kAudio}, MajorType{"video", kVideo},
    MajorType{"message", kMessage},
};
constexpr LONG kMultipartType = 0;
constexpr LONG kMessageType = 6;

// The name of an enumerated value; a value that is a text is its own name.
std::string named(const Variant& value, std::span<const char* const> names) {
  if (value.vt == VT_BSTR) return unfold(to_utf8(value.text()));
  if (value.vt != VT_I4) return {};
  const auto index = static_cast<std::size_t>(value.lVal);
  return value.lVal >= 0 && index < names.size() ? names[index] : std::to_string(value.lVal);
}

std::string type_of(const Variant& major, const Variant& minor) {
  std::array<const char*, kMajor.size()> names{};
  for (std::size_t i = 0; i < kMajor.size(); ++i) names[i] = kMajor[i].name;
  std::span<const char* const> minors;
  if (major.vt == VT_I4 && major.lVal >= 0 &&
      static_cast<std::size_t>(major.lVal) < kMajor.size()) {
    minors = kMajor[static_cast<std::size_t>(major.lVal)].minors;
  }
  return named(major, names) + "/" + named(minor, minors);
}

std::string unquoted(std::string text) {
  if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
    return text.substr(1, text.size() - 2);
  }
  return text;
}

std::optional<std::uint64_t> content_size(const Object& body) {
  const auto persistence = body.dispatch().query<IPersistStream>();
  if (!persistence) return std::nullopt;
  const auto counter = ComPtr<ContentCounter>::adopt(new ContentCounter);
  if (FAILED(persistence->Save(counter.get(), FALSE))) return std::nullopt;
  return counter->content_size();
}

// A part with its object, while its children are walked.
struct Open {
  Object body;
  std::size_t index;
  std::int32_t next = 0;
  std::int32_t count = 0;
  int embedded = 0;  // messages around this part
  bool message = false;
};

class Walk {
 public:
  Walk(const Words& words, std::vector<Object>* handles) : words_(words), handles_(handles) {}

  std::vector<Part> run(const Object& message) {
    if (Object root = message.object(u"Body")) enter(std::move(root), Part{}, 0);
    while (!open_.empty()) {
      Open& top = open_.back();
      if (top.next == top.count) {
        open_.pop_back();
        continue;
      }
      Part part;
      part.parent = top.index;
      part.depth = open_.size();
      part.embedded = top.message;
      part.inside = top.embedded > 0 || top.message;
      if (part.embedded) {
        const Object inner = top.body.object(u"EmbeddedMessage");
        part.subject = unfold(words_.decoded(inner.get(u"SubjectRaw").text()));
      }
      part.position = static_cast<std::size_t>(top.next) + 1;
      Object child = top.body.item(top.next++);
      part.last = top.next == top.count;
      if (child) enter(std::move(child), std::move(part), top.embedded + (top.message ? 1 : 0));
    }
    return std::move(parts_);
  }

 private:
  void enter(Object body, Part part, int embedded) {
    // The size first: reading some of the properties below adds fields to the part.
    const Variant major = body.get(u"MajorContentType");
    part.multipart = major.vt == VT_I4 && major.lVal == kMultipartType;
    const bool message = major.vt == VT_I4 && major.lVal == kMessageType;
    if (!part.multipart) part.size = content_size(body);
    part.type = type_of(major, body.get(u"MinorContentType"));
    part.encoding = named(body.get(u"Encoding"), kEncodings);
    part.charset = unquoted(unfold(body.text(u"Charset")));
    const Object disposition = disposition_of(body);
    part.disposition = unfold(disposition.text(u"Value"));
    part.file_name = unfold(sent_name(body, disposition, words_));
    part.description = unfold(words_.decoded(body.get(u"Description").text()));
    part.content_id = unfold(body.text(u"ContentID"));
    const bool closed = message && embedded >= kEmbeddedDepth;
    const std::int32_t count = closed ? 0 : body.count();
    part.children = static_cast<std::size_t>(count > 0 ? count : 0);
    parts_.push_back(std::move(part));
    if (handles_ != nullptr) handles_->push_back(body);
    if (count > 0)
      open_.push_back({std::move(body), parts_.size() - 1, 0, count, embedded, message});
  }

  const Words& words_;
  std::vector<Object>* handles_;
  std::vector<Part> parts_;
  std::vector<Open> open_;
};

// Deeper numbers would be longer than people count, and all of them together than the message.
constexpr std::size_t kDeepestNumber = 64;

bool has_number(const Part& part) {
  return !part.multipart || (part.parent != Part::kNoParent && !part.embedded);
}

}  // namespace

std::vector<Part> read_body(const Object& message, const Words& words,
                            std::vector<Object>* handles) {
  return Walk(words, handles).run(message);
}

std::string part_number(const std::vector<Part>& parts, std::size_t index) {
  if (!has_number(parts[index])) return {};
  if (parts[index].depth > kDeepestNumber) return "#" + std::to_string(index);
  std::vector<std::size_t> positions;
  for (std::size_t i = index; i != Part::kNoParent; i = parts[i].parent) {
    if (has_number(parts[i])) positions.push_back(parts[i].position);
  }
  std::string number;
  for (auto position = positions.rbegin(); position != positions.rend(); ++position) {
    if (!number.empty()) number += '.';
    number += std::to_string(*position);
  }
  return number;
}

std::vector<std::size_t> find_parts(const std::vector<Part>& parts,
                                    const std::vector<std::string>& numbers) {
  std::unordered_map<std::string, std::size_t> found;
  for (const std::string& number : numbers) found.emplace(number, Part::kNoParent);
  for (std::size_t i = 0; i < parts.size() && !numbers.empty(); ++i) {
    const std::string number = part_number(parts, i);
    const auto wanted = number.empty() ? found.end() : found.find(number);
    if (wanted != found.end()) wanted->second = i;
  }
  std::vector<std::size_t> indexes;
  for (const std::string& number : numbers) indexes.push_back(found.at(number));
  return indexes;
}

std::string content_type_of(const Object& body) {
  return type_of(body.get(u"MajorContentType"), body.get(u"MinorContentType"));
}

}  // namespace tallowbrook::cli
