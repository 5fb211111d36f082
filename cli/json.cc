#include <nlohmann/json.hpp>

#include "cli/body_tree.h"
#include "cli/commands.h"

namespace tallowbrook::cli {
namespace {

// Members keep the order in which they are set.
using Json = nlohmann::ordered_json;

void set_text(Json& object, const char* key, const std::string& text) {
  if (!text.empty()) object[key] = text;
}

Json address_json(const Address& address) {
  Json result = Json::object();
  set_text(result, "name", address.name);
  result["address"] = address.address;
  return result;
}

Json fields_json(const std::vector<Field>& fields) {
  Json list = Json::array();
  for (const Field& field : fields) list.push_back({{"name", field.name}, {"value", field.value}});
  return list;
}

Json part_json(const std::vector<Part>& parts, std::size_t index) {
  const Part& part = parts[index];
  Json result = Json::object();
  set_text(result, "number", part_number(parts, index));
  result["parent"] = part.parent == Part::kNoParent ? Json() : Json(part.parent);
  result["depth"] = part.depth;
  result["type"] = part.type;
  set_text(result, "charset", part.charset);
  set_text(result, "encoding", part.encoding);
  set_text(result, "disposition", part.disposition);
  set_text(result, "fileName", part.file_name);
  set_text(result, "description", part.description);
  set_text(result, "contentId", part.content_id);
  if (part.embedded) result["embeddedSubject"] = part.subject;
  if (part.size) result["size"] = *part.size;
  return result;
}

// A file name is bytes; those that are no UTF-8 become U+FFFD.
std::string dump(const Json& json) {
  return json.dump(-1, ' ', true, Json::error_handler_t::replace);
}

Json start(std::string_view file) { return {{"schema", 1}, {"file", std::string(file)}}; }

}  // namespace

std::string to_json(std::string_view file, const Report& report) {
  Json json = start(file);
  for (const AddressField& field : report.addresses) {
    Json list = Json::array();
    for (const Address& address : field.addresses) list.push_back(address_json(address));
    json[field.key] = field.list || list.empty() ? std::move(list) : Json(list.front());
  }
  json["subject"] = report.subject;
  set_text(json, "date", report.date);
  set_text(json, "resentDate", report.resent_date);
  set_text(json, "messageId", report.message_id);
  set_text(json, "mimeVersion", report.mime_version);
  json["resentRecipients"] = fields_json(report.resent);
  Json& trace = json["received"] = Json::array();
  for (const Trace& record : report.trace) {
    Json entry{{"value", record.value}};
    set_text(entry, "date", record.date);
    trace.push_back(std::move(entry));
  }
  json["fields"] = fields_json(report.extensions);
  Json& parts = json["parts"] = Json::array();
  for (std::size_t i = 0; i < report.parts.size(); ++i) {
    parts.push_back(part_json(report.parts, i));
  }
  if (report.body) json["body"] = *report.body;
  return dump(json);
}

std::string to_json(std::string_view file, const Loaded& failure) {
  Json json = start(file);
  Json& error = json["error"] = Json::object();
  error["text"] = failure.text;
  if (failure.line > 0) error["line"] = failure.line;
  return dump(json);
}

}  // namespace tallowbrook::cli
