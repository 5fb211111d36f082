// What the reduction of each grammar rule computes, and where it goes.
//
// Values are built bottom-up. Fields that the message has a slot for go to its store as soon as
// they are reduced (or, in a run for a single value, to that run's target); the others become
// entries of the field list that the body part receives.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "model/header_value.h"
#include "model/message_store.h"
#include "parser/load.h"

namespace tallowbrook {

class Scanner;

// Major content types by their numbers in the type library.
enum class Major : std::int32_t { Multipart, Text, Image, Application, Audio, Video, Message };

// Moves a right-hand value out of the parser's stack. The result first gives up the copy of it that
// it holds by default, so that the value is the only owner of its content again.
[[nodiscard]] inline HeaderValue take(HeaderValue& result, HeaderValue& value) {
  result.Reset();
  return std::move(value);
}

class Actions {
 public:
  explicit Actions(Scanner& scanner) : scanner_(scanner) {}
  void start(ParseRun& run);

  // --- the message and its field list -------------------------------------------------------
  void message(HeaderValue fields);
  void message(HeaderValue fields, HeaderValue& body);
  HeaderValue first_field(HeaderValue field);
  HeaderValue next_field(HeaderValue fields, HeaderValue& field);
  HeaderValue entry(EntryName name, HeaderValue value);
  HeaderValue extension_field(HeaderValue name, HeaderValue& value);
  // The entries of several fields at once, which the scanner took in (UsualFields).
  HeaderValue usual_fields(HeaderValue entries);

  // --- stores -------------------------------------------------------------------------------
  HeaderValue store(SlotId slot, HeaderValue& value);  // yields the empty value
  void single(HeaderValue& value);
  void received(HeaderValue& parameters, HeaderValue& date);
  void received(HeaderValue& parameters);
  void received_date(HeaderValue& date);
  void received();
  void raw_received(HeaderValue& raw);
  void version(const HeaderValue& major, const HeaderValue& minor);
  void version(const HeaderValue& major);
  void version();

  // --- joining ------------------------------------------------------------------------------
  HeaderValue append(HeaderValue value, HeaderValue& next);
  // A map that holds the address or parameter, if it is one.
  HeaderValue first_entry(HeaderValue value);

  // --- addresses ----------------------------------------------------------------------------
  HeaderValue mailbox(HeaderValue address, HeaderValue name = {});
  HeaderValue empty_group(HeaderValue name);
  HeaderValue route_addr(HeaderValue& address);
  HeaderValue route_addr(HeaderValue& route, HeaderValue& address);
  HeaderValue route_addr();
  HeaderValue route(HeaderValue& domain);
  HeaderValue addr_spec(HeaderValue local_part, HeaderValue& domain);
  HeaderValue addr_spec(HeaderValue local_part);
  // "first.rest", where the rest was reduced before: the words are kept last one first until the
  // whole is needed, so that a name of n words costs n.
  HeaderValue dotted(HeaderValue first, HeaderValue& rest);
  HeaderValue phrase(HeaderValue words, HeaderValue& word);
  HeaderValue list_word(HeaderValue& word);
  HeaderValue more_words(HeaderValue words, HeaderValue& word);

  // --- dates --------------------------------------------------------------------------------
  HeaderValue date_time(const HeaderValue& date, const HeaderValue& time);
  HeaderValue date(const HeaderValue& day, const HeaderValue& month, const HeaderValue& year);
  HeaderValue time(const HeaderValue& hour, const HeaderValue& zone);
  HeaderValue time(const HeaderValue& hour);
  HeaderValue zone_only(const HeaderValue& zone);
  HeaderValue hour(const HeaderValue& hour, const HeaderValue& minute, const HeaderValue& second);
  HeaderValue hour(const HeaderValue& hour, const HeaderValue& minute);
  HeaderValue numeric_zone(const HeaderValue& zone);

  // --- bodies -------------------------------------------------------------------------------
  HeaderValue empty_body();
  HeaderValue whole_body(HeaderValue body);
  HeaderValue first_line(HeaderValue line);
  HeaderValue first_begin_line(HeaderValue line);
  HeaderValue next_line(HeaderValue body, HeaderValue& line);
  HeaderValue next_begin_line(HeaderValue body, HeaderValue& line);
  void uu_done(HeaderValue& blocks);
  HeaderValue uu_start();
  HeaderValue uu_text(HeaderValue blocks, HeaderValue line);
  HeaderValue uu_begin(HeaderValue blocks, HeaderValue line);
  HeaderValue uu_end(HeaderValue blocks, HeaderValue& line);

  // --- content types and parameters ---------------------------------------------------------
  HeaderValue type(Major major);  // with its default subtype
  HeaderValue type(Major major, HeaderValue& subtype);
  HeaderValue type(Major major, HeaderValue&& subtype) { return type(major, subtype); }
  HeaderValue multipart_type(HeaderValue subtype, HeaderValue& parameters);
  HeaderValue parameter(std::string_view name, HeaderValue& value);
  HeaderValue parameter(std::string_view name);
  HeaderValue named_parameter(HeaderValue name, HeaderValue& value);
  HeaderValue named_parameter(HeaderValue name);
  HeaderValue permission(std::int32_t value);
  HeaderValue charset(HeaderValue& value);
  HeaderValue boundary(HeaderValue& value);

  void syntax_error(const std::string& text, long line);

 private:
  HeaderValue uu_close(HeaderValue blocks);

  Scanner& scanner_;
  ParseRun* run_ = nullptr;
  bool in_uuencode_ = false;
};

}  // namespace tallowbrook
