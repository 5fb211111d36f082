// The form of a message that people read: field names in one column, values in the next, then the
// body as a tree.
#include <algorithm>

#include "cli/commands.h"
#include "cli/terminal.h"

namespace tallowbrook::cli {
namespace {

// Names longer than this do not push all values to the right.
constexpr std::size_t kWidestName = 20;
// Branches are drawn down to this depth; deeper parts keep that indentation and say their depth.
constexpr std::size_t kDeepestBranch = 16;

struct Row {
  std::string name;
  std::string value;
};

std::string address_text(const Address& address) {
  if (address.name.empty()) return address.address;
  return address.name + " <" + address.address + ">";
}

std::string date_for_people(std::string date) {
  const bool iso = date.size() == 19 && date[10] == 'T' && date[4] == '-';
  if (iso) date[10] = ' ';
  return date;
}

void add(std::vector<Row>& rows, const char* name, std::string value) {
  if (!value.empty()) rows.push_back({name, std::move(value)});
}

std::vector<Row> header_rows(const Report& report) {
  std::vector<Row> rows;
  for (const AddressField& field : report.addresses) {
    const char* name = field.label;
    for (const Address& address : field.addresses) {
      rows.push_back({name, address_text(address)});
      name = "";
    }
  }
  for (const Field& field : report.resent) rows.push_back({field.name, field.value});
  add(rows, "Subject", report.subject);
  add(rows, "Date", date_for_people(report.date));
  add(rows, "Resent-Date", date_for_people(report.resent_date));
  add(rows, "Message-ID", report.message_id);
  for (const Trace& trace : report.trace) rows.push_back({"Received", trace.value});
  for (const Field& field : report.extensions) rows.push_back({field.name, field.value});
  return rows;
}

std::string size_text(std::uint64_t size) {
  return std::to_string(size) + (size == 1 ? " byte" : " bytes");
}

std::string part_text(const Part& part) {
  std::string text = part.type;
  const auto also = [&](const std::string& more) {
    if (!more.empty()) text += "  " + more;
  };
  if (!part.charset.empty()) text += "; charset=" + part.charset;
  also(part.encoding);
  if (part.size) also(size_text(*part.size));
  also(part.disposition);
  if (!part.file_name.empty()) also("\"" + part.file_name + "\"");
  also(part.content_id);
  if (!part.description.empty()) also("(" + part.description + ")");
  if (part.embedded) also("of the message \"" + part.subject + "\"");
  return printable(text);
}

// The branches in front of each part: a column for each ancestor below the root, open where a
// sibling of that ancestor is still to come.
void append_tree(std::string& out, const std::vector<Part>& parts) {
  std::vector<bool> open;  // by depth: a sibling follows
  for (const Part& part : parts) {
    open.resize(part.depth);
    out += "  ";
    const std::size_t drawn = std::min(part.depth, kDeepestBranch);
    for (std::size_t i = 1; i < drawn; ++i) out += open[i] ? "│  " : "   ";
    if (part.depth > 0) out += part.last ? "└─ " : "├─ ";
    if (part.depth > kDeepestBranch) out += "(depth " + std::to_string(part.depth) + ") ";
    out += part_text(part) + "\n";
    open.push_back(!part.last);
  }
}

}  // namespace

std::string to_text(std::string_view file, const Report& report) {
  const std::vector<Row> rows = header_rows(report);
  std::size_t width = 0;
  for (const Row& row : rows) {
    if (row.name.size() <= kWidestName) width = std::max(width, row.name.size());
  }
  std::string out = display_name(file) + "\n";
  for (const Row& row : rows) {
    const std::string name = printable(row.name);
    out += "  " + name + std::string(name.size() < width ? width - name.size() : 0, ' ') + "  " +
           printable(row.value) + "\n";
  }
  out += "\n";
  append_tree(out, report.parts);
  return out;
}

}  // namespace tallowbrook::cli
