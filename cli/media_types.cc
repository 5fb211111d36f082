#include "cli/media_types.h"

#include <array>
#include <fstream>
#include <sstream>
#include <utility>

namespace tallowbrook::cli {
namespace {

constexpr char kSystemTypes[] = "/etc/mime.types";

// The first extension of a type is the one that new files get.
constexpr std::array<std::pair<const char*, const char*>, 34> kCommon = {{
    {"txt", "text/plain"},
    {"html", "text/html"},
    {"htm", "text/html"},
    {"csv", "text/csv"},
    {"ics", "text/calendar"},
    {"vcf", "text/vcard"},
    {"css", "text/css"},
    {"xml", "application/xml"},
    {"json", "application/json"},
    {"pdf", "application/pdf"},
    {"ps", "application/postscript"},
    {"rtf", "application/rtf"},
    {"zip", "application/zip"},
    {"gz", "application/gzip"},
    {"p7s", "application/pkcs7-signature"},
    {"asc", "application/pgp-signature"},
    {"doc", "application/msword"},
    {"docx", "application/vnd.openxmlformats-officedocument.wordprocessingml.document"},
    {"xls", "application/vnd.ms-excel"},
    {"xlsx", "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet"},
    {"odt", "application/vnd.oasis.opendocument.text"},
    {"ods", "application/vnd.oasis.opendocument.spreadsheet"},
    {"png", "image/png"},
    {"jpg", "image/jpeg"},
    {"jpeg", "image/jpeg"},
    {"gif", "image/gif"},
    {"svg", "image/svg+xml"},
    {"webp", "image/webp"},
    {"tiff", "image/tiff"},
    {"mp3", "audio/mpeg"},
    {"wav", "audio/x-wav"},
    {"mp4", "video/mp4"},
    {"mpeg", "video/mpeg"},
    {"eml", "message/rfc822"},
}};

std::string lower(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  return result;
}

}  // namespace

MediaTypes::MediaTypes() {
  for (const auto& [extension, type] : kCommon) add(type, extension);
  read_system_types();
}

void MediaTypes::add(std::string_view type, std::string_view extension) {
  types_.emplace(lower(extension), lower(type));
  extensions_.emplace(lower(type), lower(extension));
}

// Each line: a type and its extensions; "#" begins a comment.
void MediaTypes::read_system_types() {
  std::ifstream file(kSystemTypes);
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line.substr(0, line.find('#')));
    std::string type;
    words >> type;
    for (std::string extension; words >> extension;) add(type, extension);
  }
}

std::string MediaTypes::of_file(std::string_view name) const {
  const auto dot = name.rfind('.');
  const auto found = dot == name.npos ? types_.end() : types_.find(lower(name.substr(dot + 1)));
  return found == types_.end() ? "application/octet-stream" : found->second;
}

std::string MediaTypes::extension(std::string_view type) const {
  const auto found = extensions_.find(lower(type));
  return "." + (found == extensions_.end() ? "bin" : found->second);
}

}  // namespace tallowbrook::cli
