#include "parser/actions.h"

#include <cstdio>
#include <utility>

#include "coding/uuencode.h"
#include "core/text.h"
#include "model/header_block.h"
#include "parser/input_reader.h"
#include "parser/report.h"
#include "parser/scanner.h"
#include "streams/memory_stream.h"

namespace tallowbrook {
namespace {

constexpr std::string_view kNoDate = "<no date>";

// The text of words that `dotted` collected, in their order.
HeaderValue joined(HeaderValue words) {
  if (!words.is(ValueKind::List)) return words;
  HeaderValue text = HeaderValue::text({});
  for (std::size_t i = words.size(); i-- > 0;) {
    text.AppendText(words[i].text_view());
    if (i > 0) text.AppendChar('.');
  }
  return text;
}

HeaderValue text_of(std::string_view before, const HeaderValue& middle, std::string_view after) {
  HeaderValue text = HeaderValue::text(before);
  text.AppendText(middle.text_view());
  text.AppendText(after);
  return text;
}

// A subtype that only names its major type: plain, jpeg, octet-stream, basic, mpeg, rfc822.
std::int32_t default_subtype(Major major) { return major == Major::Image ? 1 : 0; }

// A line of a file that begins with "end" by chance: it is as long as its count says.
bool is_encoded_line(std::string_view line) {
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.remove_suffix(1);
  if (line.empty() || line[0] <= ' ') return false;
  const auto count = static_cast<std::size_t>(line[0] - ' ');
  return line.size() == 1 + (count + 2) / 3 * 4;
}

// An entry begins with its name.
bool are_several(const HeaderValue& field) { return field[0].is(ValueKind::List); }

// True when the lines of a block give at least one byte.
bool holds_bytes(const HeaderValue& lines) {
  CISSHelper input;
  input.write(lines.raw_view());
  input.rewind();
  CISSHelper bytes;
  CUUCoder().Decode(input, bytes);
  return bytes.size() > 0;
}

// Bodies up to here have no stream before somebody asks for it.
constexpr std::size_t kShortBody = 4096;

// The text as the content of a body, with room for so many bytes more.
HeaderValue content_of(std::string_view text, std::size_t more) {
  HeaderValue body = HeaderValue::raw_content(text.size() + more);
  body.AppendText(text);
  return body;
}

}  // namespace

void Actions::start(ParseRun& run) {
  run_ = &run;
  in_uuencode_ = false;
}

// --- the message and its field list --------------------------------------------------------------

void Actions::message(HeaderValue fields) {
  if (run_->full_load) run_->store->store_root(HeaderValue::list(std::move(fields)));
}

void Actions::message(HeaderValue fields, HeaderValue& body) {
  if (run_->full_load) {
    run_->store->store_root(HeaderValue::list(std::move(fields), std::move(body)));
  }
}

HeaderValue Actions::first_field(HeaderValue field) {
  if (are_several(field)) return field;
  return field.is_set() ? HeaderValue::list(std::move(field)) : HeaderValue::list();
}

// A field that went to a slot is empty here and leaves no entry.
HeaderValue Actions::next_field(HeaderValue fields, HeaderValue& field) {
  if (are_several(field)) {
    for (std::size_t i = 0; i < field.size(); ++i) fields.push_back(field[i]);
  } else if (field.is_set()) {
    fields.push_back(std::move(field));
  }
  return fields;
}

HeaderValue Actions::entry(EntryName name, HeaderValue value) {
  return HeaderValue::list(entry_name(name), std::move(value));
}

HeaderValue Actions::extension_field(HeaderValue name, HeaderValue& value) {
  return entry(EntryName::ExtField, HeaderValue::list(std::move(name), std::move(value)));
}

HeaderValue Actions::usual_fields(HeaderValue entries) {
  return entries.is(ValueKind::List) ? entries : HeaderValue();
}

// --- stores --------------------------------------------------------------------------------------

HeaderValue Actions::store(SlotId slot, HeaderValue& value) {
  if (run_->target != nullptr) {
    *run_->target = std::move(value);
  } else {
    run_->store->store_field(slot, std::move(value));
  }
  return {};
}

void Actions::single(HeaderValue& value) {
  if (run_->target != nullptr) *run_->target = std::move(value);
}

void Actions::received(HeaderValue& parameters, HeaderValue& date) {
  if (run_->target != nullptr) {
    *run_->target = HeaderValue::list(std::move(parameters), std::move(date));
  } else {
    run_->store->add_received(std::move(parameters), std::move(date));
  }
}

void Actions::received(HeaderValue& parameters) {
  HeaderValue date = HeaderValue::text(kNoDate);
  received(parameters, date);
}

void Actions::received_date(HeaderValue& date) {
  HeaderValue parameters = HeaderValue::map();
  received(parameters, date);
}

void Actions::received() {
  HeaderValue date = HeaderValue::text(kNoDate);
  received_date(date);
}

void Actions::raw_received(HeaderValue& raw) {
  if (run_->target == nullptr) run_->store->add_raw_received(std::move(raw));
}

void Actions::version(const HeaderValue& major, const HeaderValue& minor) {
  if (run_->target == nullptr) run_->store->store_mime_version(major.number(), minor.number());
}

void Actions::version(const HeaderValue& major) { version(major, HeaderValue::integer(0)); }

void Actions::version() { version(HeaderValue::integer(1)); }

// --- joining -------------------------------------------------------------------------------------

HeaderValue Actions::append(HeaderValue value, HeaderValue& next) {
  value.Append(std::move(next));
  return value;
}

HeaderValue Actions::first_entry(HeaderValue value) {
  HeaderValue map = HeaderValue::map();
  map.Append(std::move(value));
  return map;
}

// --- addresses -----------------------------------------------------------------------------------

HeaderValue Actions::mailbox(HeaderValue address, HeaderValue name) {
  return HeaderValue::address(std::move(address), std::move(name));
}

HeaderValue Actions::empty_group(HeaderValue name) {
  return HeaderValue::address(HeaderValue::text({}), std::move(name));
}

HeaderValue Actions::route_addr(HeaderValue& address) { return text_of("<", address, ">"); }

HeaderValue Actions::route_addr(HeaderValue& route, HeaderValue& address) {
  HeaderValue text = text_of("<", route, address.text_view());
  text.AppendChar('>');
  return text;
}

HeaderValue Actions::route_addr() { return HeaderValue::text("<>"); }

HeaderValue Actions::route(HeaderValue& domain) {
  return text_of("@", joined(std::move(domain)), ":");
}

HeaderValue Actions::addr_spec(HeaderValue local_part, HeaderValue& domain) {
  HeaderValue text = joined(std::move(local_part));
  text.AppendChar('@');
  text.AppendText(joined(std::move(domain)).text_view());
  return text;
}

HeaderValue Actions::addr_spec(HeaderValue local_part) { return joined(std::move(local_part)); }

HeaderValue Actions::dotted(HeaderValue first, HeaderValue& rest) {
  HeaderValue words =
      rest.is(ValueKind::List) ? std::move(rest) : HeaderValue::list(std::move(rest));
  words.push_back(std::move(first));
  return words;
}

HeaderValue Actions::phrase(HeaderValue words, HeaderValue& word) {
  words.AppendChar(' ');
  words.AppendText(word.text_view());
  return words;
}

HeaderValue Actions::list_word(HeaderValue& word) { return HeaderValue::raw(word.text_view()); }

HeaderValue Actions::more_words(HeaderValue words, HeaderValue& word) {
  words.AppendChar(' ');
  words.Append(std::move(word));
  return words;
}

// --- dates ---------------------------------------------------------------------------------------

HeaderValue Actions::date_time(const HeaderValue& date, const HeaderValue& time) {
  DateFields fields = date.date();
  fields.hour = time.date().hour;
  fields.minute = time.date().minute;
  fields.second = time.date().second;
  return HeaderValue::date_time(fields, time.zone());
}

// A year of two digits is one of the twentieth century.
HeaderValue Actions::date(const HeaderValue& day, const HeaderValue& month,
                          const HeaderValue& year) {
  const std::int32_t full_year = year.number() < 100 ? year.number() + 1900 : year.number();
  return HeaderValue::date_time({.day = day.number(), .month = month.number(), .year = full_year},
                                {});
}

HeaderValue Actions::time(const HeaderValue& hour, const HeaderValue& zone) {
  const DateFields& f = hour.date();
  return HeaderValue::time_of_day(f.hour, f.minute, f.second, zone.text_view());
}

HeaderValue Actions::time(const HeaderValue& hour) { return hour; }

HeaderValue Actions::zone_only(const HeaderValue& zone) {
  return HeaderValue::time_of_day(0, 0, 0, zone.text_view());
}

HeaderValue Actions::hour(const HeaderValue& hour, const HeaderValue& minute,
                          const HeaderValue& second) {
  return HeaderValue::time_of_day(hour.number(), minute.number(), second.number(), {});
}

HeaderValue Actions::hour(const HeaderValue& h, const HeaderValue& minute) {
  return hour(h, minute, HeaderValue::integer(0));
}

HeaderValue Actions::numeric_zone(const HeaderValue& zone) {
  char text[16];
  std::snprintf(text, sizeof text, "%04d", static_cast<int>(zone.number()));
  return HeaderValue::text(text);
}

// --- bodies --------------------------------------------------------------------------------------

HeaderValue Actions::empty_body() { return HeaderValue::raw(); }

HeaderValue Actions::whole_body(HeaderValue body) {
  body.trim_raw();
  return body;
}

// Nearly every body is one run of lines. One that goes on behind the scanner's buffer gets room for
// more of it.
HeaderValue Actions::first_line(HeaderValue line) {
  const std::string_view text = line.text_view();
  const bool ends_here = !scanner_.body_goes_on();
  if (ends_here && text.size() <= kShortBody) {
    return HeaderBlock(HeaderBlock::room_for_raw(text.size())).raw(text);
  }
  return content_of(text, ends_here ? 2 : 2 * kChunk);
}

HeaderValue Actions::next_line(HeaderValue body, HeaderValue& line) {
  const std::string_view text = body.raw_view();
  if (body.is_unopened_raw() && text.size() + line.text_view().size() > kShortBody) {
    HeaderValue content = content_of(text, 2 * kChunk);
    if (body.has_begin_line()) content.set_begin_line();
    body = std::move(content);
  }
  body.Append(std::move(line));
  return body;
}

HeaderValue Actions::first_begin_line(HeaderValue line) {
  HeaderValue body = first_line(std::move(line));
  body.set_begin_line();
  return body;
}

HeaderValue Actions::next_begin_line(HeaderValue body, HeaderValue& line) {
  body = next_line(std::move(body), line);
  body.set_begin_line();
  return body;
}

void Actions::uu_done(HeaderValue& blocks) {
  blocks = uu_close(std::move(blocks));
  single(blocks);
}

HeaderValue Actions::uu_start() {
  in_uuencode_ = false;
  return HeaderValue::list(HeaderValue::raw_content());
}

HeaderValue Actions::uu_text(HeaderValue blocks, HeaderValue line) {
  if (in_uuencode_) {
    blocks.element(blocks.size() - 1).element(1).Append(std::move(line));
  } else {
    blocks.element(0).Append(std::move(line));
  }
  return blocks;
}

HeaderValue Actions::uu_begin(HeaderValue blocks, HeaderValue line) {
  blocks = uu_close(std::move(blocks));
  in_uuencode_ = true;
  HeaderValue begin_line = HeaderValue::text(line.text_view());
  blocks.push_back(HeaderValue::list(std::move(begin_line), HeaderValue::raw_content()));
  return blocks;
}

HeaderValue Actions::uu_end(HeaderValue blocks, HeaderValue& line) {
  if (!in_uuencode_ || is_encoded_line(line.text_view())) {
    return uu_text(std::move(blocks), std::move(line));
  }
  if (holds_bytes(blocks[blocks.size() - 1][1])) {
    in_uuencode_ = false;
    return blocks;
  }
  return uu_text(uu_close(std::move(blocks)), std::move(line));
}

// A block that is still open has no end line, so it is none: its lines are text.
HeaderValue Actions::uu_close(HeaderValue blocks) {
  if (!std::exchange(in_uuencode_, false)) return blocks;
  const HeaderValue block = blocks[blocks.size() - 1];
  blocks.erase_element(blocks.size() - 1);
  HeaderValue& text = blocks.element(0);
  text.Append(block[0]);
  text.Append(HeaderValue::text(block[1].raw_view()));
  return blocks;
}

// --- content types and parameters ----------------------------------------------------------------

HeaderValue Actions::type(Major major) {
  return type(major, HeaderValue::integer(default_subtype(major)));
}

HeaderValue Actions::type(Major major, HeaderValue& subtype) {
  return HeaderValue::list(HeaderValue::integer(static_cast<std::int32_t>(major)),
                           std::move(subtype));
}

// A multipart without a usable boundary is a text body. The scanner decided the same when the value
// ended: `note_boundary` heard of every boundary parameter, and both take the first.
HeaderValue Actions::multipart_type(HeaderValue subtype, HeaderValue& parameters) {
  const HeaderValue* boundary = parameters.entries().find("boundary");
  if (boundary == nullptr || usable_boundary(boundary->text_view()).empty()) {
    return type(Major::Text);
  }
  return HeaderValue::list(HeaderValue::integer(static_cast<std::int32_t>(Major::Multipart)),
                           std::move(subtype), std::move(parameters));
}

HeaderValue Actions::parameter(std::string_view name, HeaderValue& value) {
  return HeaderValue::address(HeaderValue::text(name), std::move(value));
}

HeaderValue Actions::parameter(std::string_view name) {
  return HeaderValue::address(HeaderValue::text(name), {});
}

HeaderValue Actions::named_parameter(HeaderValue name, HeaderValue& value) {
  const std::string lower = to_lower(name.text_view());
  return lower == "boundary" ? boundary(value) : parameter(lower, value);
}

HeaderValue Actions::named_parameter(HeaderValue name) {
  HeaderValue none;
  return named_parameter(std::move(name), none);
}

HeaderValue Actions::permission(std::int32_t value) {
  HeaderValue number = HeaderValue::integer(value);
  return parameter("permission", number);
}

HeaderValue Actions::charset(HeaderValue& value) {
  HeaderValue lower = HeaderValue::text(to_lower(value.text_view()));
  return parameter("charset", lower);
}

HeaderValue Actions::boundary(HeaderValue& value) {
  scanner_.note_boundary(value.text_view());
  return parameter("boundary", value);
}

void Actions::syntax_error(const std::string& text, long line) {
  ReportParseError(*run_, text, line);
}

}  // namespace tallowbrook
