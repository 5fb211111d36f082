#include "model/body_part.h"

#include <gtest/gtest.h>

#include "tests/support/dump.h"
#include "tests/support/fake_message.h"

namespace tallowbrook::test {
namespace {

HeaderValue record_with(EntryName name, HeaderValue value) {
  HeaderValue record = HeaderValue::list();
  HeaderValue entry = find_or_add_entry(record, name);
  entry.element(kEntryValue) = std::move(value);
  return record;
}

TEST(BodyPart, QuotesAndUnquotes) {
  const struct {
    const char* text;
    const char* quoted;
    const char* unquoted;
  } kRows[] = {
      {"abc", "\"abc\"", "abc"},
      {"\"abc\"", "\"abc\"", "abc"},
      {"\"a\\\"b\"", "\"a\\\"b\"", "a\"b"},
      {"a\"b\\c", "\"a\\\"b\\\\c\"", "a\"b\\c"},
      {"\"open", "\"\\\"open\"", "\"open"},
      {"\"a\" b\"", "\"\\\"a\\\" b\\\"\"", "\"a\" b\""},
      {"\"a\\\"", "\"\\\"a\\\\\\\"\"", "\"a\\\""},
      {"\"", "\"\\\"\"", "\""},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(quoted(row.text), row.quoted);
    EXPECT_EQ(unquoted(row.text), row.unquoted);
    EXPECT_EQ(unquoted(in_quotes(row.text)), row.text);
  }
}

// Of two Content-Types the parser takes the multipart for the body: so do lookups.
TEST(BodyPart, ABodyOfChildrenHasTheTypeOfAMultipart) {
  MessageStore store;
  ASSERT_EQ(load("Content-Type: text/plain\r\nContent-Type: multipart/mixed; boundary=b\r\n"
                 "\r\n--b\r\n\r\nx\r\n--b--\r\n",
                 store),
            S_OK);
  EXPECT_TRUE(is_multipart(store.root));
  EXPECT_EQ(boundary_text(find_entry(store.root, EntryName::ContentType)[kEntryValue]), "b");
  set_major(store.root, HeaderValue::integer(kText));
  EXPECT_FALSE(is_multipart(store.root));
}

TEST(BodyPart, ParsesFieldsWhenLookedAtAndKeepsTheirText) {
  FakeMessage message;
  const struct {
    EntryName name;
    const char* text;
    const char* value;
  } kRows[] = {
      {EntryName::ContentType, " text/html; charset=UTF-8", "[1, 1, {charset=\"utf-8\"}]"},
      {EntryName::ContentType, "", "[3, 0]"},
      {EntryName::ContentType, ";;;", "raw \";;;\""},
      {EntryName::ContentDisposition, "inline", "[\"inline\"]"},
      {EntryName::ContentDisposition, "", "[]"},
  };
  for (const bool alive : {true, false}) {
    if (!alive) message.link->owner = nullptr;
    for (const auto& row : kRows) {
      HeaderValue record = record_with(row.name, HeaderValue::raw(row.text));
      resolve_field(record, row.name, message.link);
      EXPECT_EQ(dump(field_value(record, row.name)), row.value) << row.text;
      HeaderValue entry = find_entry(record, row.name);
      const bool parsed = !entry[kEntryValue].is(ValueKind::Raw);
      EXPECT_EQ(entry[kEntrySource].AsText(), parsed ? row.text : "");
      (void)edit_value(entry);
      EXPECT_FALSE(entry[kEntrySource].is_set());
    }
  }
}

TEST(BodyPart, GivesMultipartsOneUsableBoundary) {
  EXPECT_EQ(make_boundary().rfind("\"----_=_NeXtPaRt_BoUnDaRy_", 0), 0u);
  HeaderValue record = HeaderValue::list();
  set_major(record, HeaderValue::integer(kMultipart));
  const std::string first = dump(field_value(record, EntryName::ContentType));
  set_major(record, HeaderValue::integer(kMultipart));
  EXPECT_EQ(dump(field_value(record, EntryName::ContentType)), first) << "the boundary stays";
  const struct {
    const char* name;
    const char* boundary;
    bool usable;
  } kRows[] = {
      {"boundary", "\"a b\"", true},
      {"Boundary", "x", true},
      {"boundary", "", false},
      {"BOUNDARY", "\"\"", false},
      {"boundary", "a\r\nb", false},
      {"boundary", "\" \"", false},
      {"boundary", "\"a \"", true},
      {"other", "x", false},
      {"boundary", "\"a\\b\"", false},
      {"boundary", "\"a\\\"b\"", false},
      {"boundary", "\"=?\"", true},
      {"boundary", "=?us-ascii?Q?=3D=3Fus-ascii=3FQ=3Fa=3F=3D?=", false},
  };
  for (const auto& row : kRows) {
    HeaderValue type = HeaderValue::list(HeaderValue::integer(kMultipart), HeaderValue::integer(0),
                                         HeaderValue::map());
    type.element(kTypeParameters)
        .mutable_entries()
        .insert(row.name, HeaderValue::text(row.boundary));
    EXPECT_EQ(ensure_boundary(type), !row.usable) << row.boundary;
    EXPECT_TRUE(is_usable_boundary(boundary_text(type))) << row.boundary;
  }
}

}  // namespace
}  // namespace tallowbrook::test
