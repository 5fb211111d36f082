#include "tests/support/dump.h"

#include <utility>
#include <vector>

#include "core/text.h"
#include "parser/load.h"
#include "platform/automation/dispatch.h"
#include "tests/support/host_stream.h"

namespace tallowbrook::test {
namespace {

std::string quoted(std::string_view text) {
  std::string result = "\"";
  for (const char c : text) {
    const std::size_t escaped = std::string_view("\r\n\t").find(c);
    if (escaped == std::string_view::npos) {
      result += c;
    } else {
      result += {'\\', "rnt"[escaped]};
    }
  }
  return result + "\"";
}

std::string dump_map(const AddressMap& entries) {
  std::string result = "{";
  for (const auto& [name, value] : entries) {
    if (result.size() > 1) result += ", ";
    result += name + "=" + dump(value);
  }
  return result + "}";
}

std::string dump_parts(const HeaderValue& root) {
  std::string result;
  std::vector<std::pair<const HeaderValue*, std::size_t>> pending{{&root, 0}};
  while (!pending.empty()) {
    const auto [part, depth] = pending.back();
    pending.pop_back();
    const std::string indent(depth * 2, ' ');
    result += indent + "part\n";
    const HeaderValue& fields = (*part)[kPartFields];
    for (std::size_t i = 0; i < fields.size(); ++i) {
      const HeaderValue& entry = fields[i];
      const bool extra = entry[kEntryName].text_view() == "ExtField";
      const HeaderValue& named = extra ? entry[kEntryValue] : entry;
      result += indent + "  " + std::string(named[0].text_view()) + ": " + dump(named[1]) + "\n";
    }
    const HeaderValue& body = (*part)[kPartBody];
    if (body.is(ValueKind::List)) {
      for (std::size_t i = body.size(); i-- > 0;) pending.emplace_back(&body[i], depth + 1);
    } else if (body.is_set()) {
      result += indent + "  body " + dump(body) + (body.has_begin_line() ? " uuencode" : "") + "\n";
    }
  }
  return result;
}

}  // namespace

std::string dump(const HeaderValue& value) {
  switch (value.kind()) {
    case ValueKind::Empty:
      return "-";
    case ValueKind::Text:
      return quoted(value.text_view());
    case ValueKind::Integer:
    case ValueKind::Character:
      return std::to_string(value.number());
    case ValueKind::Address:
      return "address " + quoted(value.address_text()) + " " + dump(value.name());
    case ValueKind::AddressMap:
      return dump_map(value.entries());
    case ValueKind::TimeOfDay:
    case ValueKind::DateTime:
      return "date " + quoted(value.AsText());
    case ValueKind::Raw:
      return "raw " + quoted(value.raw_text());
    case ValueKind::Foreign:
      return "foreign";
    case ValueKind::List:
      break;
  }
  std::string result = "[";
  for (std::size_t i = 0; i < value.size(); ++i) result += (i > 0 ? ", " : "") + dump(value[i]);
  return result + "]";
}

std::string dump(const MessageStore& store) {
  std::string result;
  for (std::size_t i = 0; i < store.received.size(); ++i) {
    result += "Received: " + dump(store.received[i]) + "\n";
  }
  for (const FieldInfo& field : all_fields()) {
    const HeaderValue& value = store.slot(field.slot).value;
    if (value.is_set()) result += std::string(field.name) + ": " + dump(value) + "\n";
  }
  if (store.mime_major != 1 || store.mime_minor != 0) {
    result += "MIME-Version: " + std::to_string(store.mime_major) + "." +
              std::to_string(store.mime_minor) + "\n";
  }
  return result + dump_parts(store.root);
}

HRESULT load(std::string_view text, MessageStore& store, ULONG step) {
  HostStream stream(std::string(text), step);
  ParseRun run{.store = &store};
  return DispatchParse(run, &stream);
}

std::string take_error_text() {
  platform::ComPtr<IErrorInfo> info;
  if (GetErrorInfo(0, info.out()) != S_OK) return {};
  platform::Bstr text;
  info->GetDescription(text.out());
  return to_ansi(text.view());
}

std::string load_and_dump(std::string_view text, ULONG step) {
  MessageStore store;
  if (FAILED(load(text, store, step))) return take_error_text();
  return dump(store);
}

}  // namespace tallowbrook::test
