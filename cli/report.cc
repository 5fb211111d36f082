#include "cli/report.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <set>
#include <span>
#include <string_view>

#include "cli/body_tree.h"
#include "cli/terminal.h"

namespace tallowbrook::cli {
namespace {

using platform::Variant;

struct AddressProperty {
  const char16_t* property;
  const char* label;  // but for Receipt-To, the field's name
  const char* key;
  bool list;
};

constexpr std::array kAddresses = {
    AddressProperty{u"From", "From", "from", true},
    AddressProperty{u"Sender", "Sender", "sender", false},
    AddressProperty{u"ReplyTo", "Reply-To", "replyTo", false},
    AddressProperty{u"To", "To", "to", true},
    AddressProperty{u"CC", "Cc", "cc", true},
    AddressProperty{u"BCC", "Bcc", "bcc", true},
    AddressProperty{u"ReturnPath", "Return-Path", "returnPath", false},
    AddressProperty{u"ReturnReceiptTo", "Receipt-To", "returnReceiptTo", true},
    AddressProperty{u"ResentFrom", "Resent-From", "resentFrom", true},
    AddressProperty{u"ResentSender", "Resent-Sender", "resentSender", false},
    AddressProperty{u"ResentReplyTo", "Resent-Reply-To", "resentReplyTo", true},
};

std::string lower(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
  return result;
}

std::string date_text(const Variant& value) {
  if (value.vt == VT_BSTR) return unfold(to_utf8(value.text()));
  SYSTEMTIME time{};
  if (value.vt != VT_DATE || !VariantTimeToSystemTime(value.date, &time)) return {};
  char buffer[48];
  std::snprintf(buffer, sizeof buffer, "%04u-%02u-%02uT%02u:%02u:%02u", unsigned{time.wYear},
                unsigned{time.wMonth}, unsigned{time.wDay}, unsigned{time.wHour},
                unsigned{time.wMinute}, unsigned{time.wSecond});
  return buffer;
}

// A display name without the quotes and backslashes of a quoted-string (RFC 5322 section 3.2.4).
std::string unquoted_name(const std::string& name) {
  if (name.size() < 2 || name.front() != '"' || name.back() != '"') return name;
  std::string result;
  for (std::size_t i = 1; i + 1 < name.size(); ++i) {
    if (name[i] == '\\' && i + 2 < name.size()) ++i;
    result.push_back(name[i]);
  }
  return result;
}

std::string without_brackets(std::string address) {
  if (address.size() < 2 || address.front() != '<' || address.back() != '>') return address;
  return address.substr(1, address.size() - 2);
}

// A text that the component keeps as one, because a name in it has dots that are not quoted:
// "J. R. Hacker <jr@example.org>".
Address split_address(const std::string& text, const Words& words) {
  const auto open = text.find('<', 1);
  if (open == std::string::npos) return {{}, without_brackets(text)};
  const std::string name = text.substr(0, text.find_last_not_of(" \t", open - 1) + 1);
  return {unquoted_name(words.decoded(name)), without_brackets(text.substr(open))};
}

Address read_address(const Object& object, const Words& words) {
  const Variant raw = object.get(u"NameRaw");
  Address result{unfold(recovered(object.get(u"Name").text(), raw.text())),
                 without_brackets(unfold(object.text(u"Address")))};
  if (result.name.empty()) result.name = unfold(recovered(raw.text()));
  result.name = unquoted_name(result.name);
  if (result.name.empty()) {
    const std::string route = unfold(recovered(object.get(u"RouteAddress").text()));
    if (route.find('<', 1) != std::string::npos) {
      result.name = split_address(route.substr(1), words).name;
    }
  }
  return result;
}

// A field of one address that the component cannot read has an address object without a text.
Address read_single(const Object& object, const char* label, const std::vector<Field>& header,
                    const Words& words) {
  Address address = read_address(object, words);
  if (!address.name.empty() || !address.address.empty()) return address;
  const auto field = std::find_if(header.begin(), header.end(),
                                  [&](const Field& one) { return same_name(one.name, label); });
  return field == header.end() ? address : split_address(field->value, words);
}

std::vector<AddressField> read_addresses(const Object& message, const std::vector<Field>& header,
                                         const Words& words) {
  std::vector<AddressField> fields;
  for (const auto& [property, label, key, list] : kAddresses) {
    const Object value = message.object(property);
    if (!value) continue;
    AddressField& field = fields.emplace_back(AddressField{label, key, list, {}});
    if (!list) {
      field.addresses.push_back(read_single(value, label, header, words));
      continue;
    }
    for (const Object& element : value.elements()) {
      field.addresses.push_back(read_address(element, words));
    }
  }
  return fields;
}

std::vector<Trace> read_trace(const Object& message) {
  std::vector<Trace> trace;
  const Object list = message.object(u"Received");
  const std::int32_t count = list.count();
  for (std::int32_t i = 0; i < count; ++i) {
    const Object record = list.item(i);
    // The text first: reading the date parses the record, whose text is then put together anew.
    std::string value = unfold(record.text(u"Value"));
    trace.push_back({std::move(value), date_text(record.get(u"Date"))});
  }
  return trace;
}

// Names of the extension fields: what the root part's field list holds beside its own five fields.
std::set<std::string> extension_names(const Object& message) {
  const Object fields = message.object(u"Body").object(u"Fields");
  std::set<std::string> names;
  const std::int32_t count = fields.count();
  for (std::int32_t i = 0; i < count; ++i) {
    names.insert(lower(to_utf8(fields.get(u"Item", i).text())));
  }
  for (const char* own : {"content-type", "content-transfer-encoding", "content-disposition",
                          "content-description", "content-id"}) {
    names.erase(own);
  }
  return names;
}

}  // namespace

bool same_name(std::string_view a, std::string_view b) {
  return a.size() == b.size() && lower(a) == lower(b);
}

std::vector<Field> read_header(const Object& message) {
  const bool has_date = message.get(u"Date").vt != VT_EMPTY;
  const std::string text = recovered(message.get(u"MessageHeader").text());
  std::vector<Field> fields;
  const auto add = [&](std::string_view lines) {
    const auto colon = lines.find(':');
    if (colon == std::string_view::npos) return;  // the line "." that ends the text
    Field field{unfold(lines.substr(0, colon)), unfold(lines.substr(colon + 1))};
    if (has_date || !same_name(field.name, "Date")) fields.push_back(std::move(field));
  };
  std::size_t start = 0;
  for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1)) {
    const bool folded = at + 1 < text.size() && (text[at + 1] == ' ' || text[at + 1] == '\t');
    if (folded) continue;
    add(std::string_view(text).substr(start, at - start));
    start = at + 1;
  }
  add(std::string_view(text).substr(start));
  return fields;
}

Report read_report(const Object& message, const Words& words) {
  Report report;
  // Trace headers before anything that could parse them; the header text before the body's objects
  // are touched, since reading those may add fields to a part. The dates before the header text,
  // which would make one up.
  report.trace = read_trace(message);
  report.date = date_text(message.get(u"Date"));
  report.resent_date = date_text(message.get(u"ResentDate"));
  const std::vector<Field> header = read_header(message);
  const std::set<std::string> extensions = extension_names(message);
  for (const Field& field : header) {
    const std::string name = lower(field.name);
    if (name == "resent-to" || name == "resent-cc" || name == "resent-bcc") {
      report.resent.push_back({field.name, words.decoded(field.value)});
    } else if (extensions.count(name) != 0) {
      report.extensions.push_back(field);
    } else if (name == "mime-version") {
      report.mime_version = field.value;
    }
  }
  report.addresses = read_addresses(message, header, words);
  report.subject = unfold(words.decoded(message.get(u"SubjectRaw").text()));
  report.message_id = unfold(message.text(u"MessageID"));
  report.parts = read_body(message, words);
  return report;
}

}  // namespace tallowbrook::cli
