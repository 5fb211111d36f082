#include "cli/part_name.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>

#include "cli/report.h"

namespace tallowbrook::cli {
namespace {

std::string unquoted(std::string text) {
  if (text.size() < 2 || text.front() != '"' || text.back() != '"') return text;
  std::string result;
  for (std::size_t i = 1; i + 1 < text.size(); ++i) {
    if (text[i] == '\\' && i + 2 < text.size()) ++i;
    result.push_back(text[i]);
  }
  return result;
}

// --- RFC 2231 ------------------------------------------------------------------------------------

int hex(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string percent_decoded(std::string_view text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool escape =
        text[i] == '%' && i + 2 < text.size() && hex(text[i + 1]) >= 0 && hex(text[i + 2]) >= 0;
    bytes.push_back(escape ? static_cast<char>(hex(text[i + 1]) * 16 + hex(text[i + 2])) : text[i]);
    if (escape) i += 2;
  }
  return bytes;
}

// The pieces of one parameter (section 3 and 4.1): "name*", or "name*0", "name*1*" and so on, where
// a closing "*" marks percent encoding. The first of the encoded ones begins with
// charset'language'.
class Extended {
 public:
  explicit Extended(std::string_view name) : name_(name) {}

  void take(std::string_view key, std::string value) {
    if (key.size() <= name_.size() || key[name_.size()] != '*' ||
        !same_name(key.substr(0, name_.size()), name_)) {
      return;
    }
    key.remove_prefix(name_.size() + 1);
    const bool encoded = key.empty() || key.ends_with('*');
    if (key.empty()) {
      whole_ = std::move(value);
      return;
    }
    if (encoded) key.remove_suffix(1);
    const bool number =
        !key.empty() && key.size() <= 6 &&
        std::all_of(key.begin(), key.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (number) pieces_.try_emplace(std::stoul(std::string(key)), Piece{std::move(value), encoded});
  }

  // Pieces count from 0 without a gap; what follows one is not part of the name.
  [[nodiscard]] std::string name(const Words& words) const {
    if (whole_) {
      std::string_view rest = *whole_;
      const std::string charset = take_charset(rest);
      return words.from_charset(percent_decoded(rest), charset);
    }
    std::string charset;
    std::string bytes;
    bool any_encoded = false;
    std::size_t next = 0;
    for (const auto& [number, piece] : pieces_) {
      if (number != next++) break;
      std::string_view rest = piece.value;
      if (number == 0 && piece.encoded) charset = take_charset(rest);
      any_encoded = any_encoded || piece.encoded;
      bytes += piece.encoded ? percent_decoded(rest) : std::string(rest);
    }
    return any_encoded ? words.from_charset(bytes, charset) : words.decoded(bytes);
  }

 private:
  struct Piece {
    std::string value;
    bool encoded;
  };

  // Takes "charset'language'" off; empty, taking nothing, when that is missing.
  static std::string take_charset(std::string_view& value) {
    const auto first = value.find('\'');
    const auto second = first == value.npos ? first : value.find('\'', first + 1);
    if (second == value.npos) return {};
    const std::string charset(value.substr(0, first));
    value.remove_prefix(second + 1);
    return charset;
  }

  std::string_view name_;
  std::optional<std::string> whole_;
  std::map<std::size_t, Piece> pieces_;
};

std::string extended_name(const Object& parameters, std::string_view name, const Words& words) {
  Extended extended(name);
  const std::int32_t count = parameters.count();
  for (std::int32_t i = 0; i < count; ++i) {
    const std::string key = parameters.text(u"ParameterName", i);
    if (key.find('*') == key.npos) continue;
    extended.take(key, unquoted(recovered(parameters.get(u"Item", i).text())));
  }
  return extended.name(words);
}

bool has_field(const Object& body, std::string_view name) {
  const Object fields = body.object(u"Fields");
  const std::int32_t count = fields.count();
  for (std::int32_t i = 0; i < count; ++i) {
    if (same_name(fields.text(u"Item", i), name)) return true;
  }
  return false;
}

}  // namespace

Object disposition_of(const Object& body) {
  return has_field(body, "Content-Disposition") ? body.object(u"ContentDisposition") : Object();
}

std::string sent_name(const Object& body, const Object& disposition, const Words& words) {
  if (disposition) {
    std::string name = extended_name(disposition.object(u"Parameters"), "filename", words);
    if (!name.empty()) return name;
  }
  std::string plain = unquoted(recovered(body.get(u"FileName").text()));
  if (!plain.empty() || !has_field(body, "Content-Type")) return plain;
  return extended_name(body.object(u"ContentType").object(u"Parameters"), "name", words);
}

}  // namespace tallowbrook::cli
