#include "writer/message_writer.h"

#include <gtest/gtest.h>

#include "model/body_part.h"
#include "model/mime_body.h"
#include "tests/support/dump.h"
#include "tests/support/fake_message.h"
#include "tests/support/host_stream.h"

namespace tallowbrook {
namespace {

using test::FakeMessage;
using test::kPreamble;
using test::load;

const std::string kDate = "Date: Mon, 1 Jun 2020 10:00:00 +0200\r\n";
const std::string kVersion = "MIME-Version: 1.0\r\n";

HeaderValue address(const char* text, const char* name = "") {
  return HeaderValue::address(HeaderValue::text(text), HeaderValue::text(name));
}

void put_date(MessageStore& store) {
  store.slot(SlotId::Date)
      .put(HeaderValue::date_time(
          {.day = 1, .month = 6, .year = 2020, .hour = 10, .minute = 0, .second = 0}, "+0200"));
}

TEST(MessageWriter, WritesFieldsInTheirOrder) {
  FakeMessage message;
  MessageStore& store = message.data;
  put_date(store);
  HeaderValue clauses = HeaderValue::map();
  clauses.mutable_entries().insert("by", HeaderValue::text("b"));
  clauses.mutable_entries().insert("from", HeaderValue::text("a"));
  store.add_received(clauses, store.slot(SlotId::Date).value);
  store.add_raw_received(HeaderValue::raw("from x\r\n\tby y; today"));
  HeaderValue to = HeaderValue::map();
  for (const char* name : {"<c@x>", "<a@x>", "<b@x>"}) {
    to.mutable_entries().insert(name, HeaderValue::text(""));
  }
  store.slot(SlotId::To).put(to);
  store.slot(SlotId::From).put(address("<me@x>", "Me"));
  store.slot(SlotId::ReturnPath).put(address("<back@x>", "not written"));
  store.slot(SlotId::Cc).put(HeaderValue::map());
  store.slot(SlotId::Bcc).put(HeaderValue::raw(" \r\n"));
  store.slot(SlotId::Sender).put(address("", ""));
  store.slot(SlotId::ResentTo).put(HeaderValue::raw("as@loaded\r\n\tand@joined"));
  store.slot(SlotId::Subject).put(HeaderValue::text("hi\r\nBcc: hidden@x\r\n\r\nbody"));
  store.slot(SlotId::MessageID).put(HeaderValue::text("<id@x>"));
  store.slot(SlotId::ReturnReceiptTo).put(HeaderValue::list(address("<r@x>")));
  const std::string header =
      "Received: by b\r\n\tfrom a; Mon, 1 Jun 2020 10:00:00 +0200\r\n"
      "Received: from x\r\n\tby y; today\r\n"
      "Return-path: <back@x>\r\n" +
      kDate +
      "From: Me <me@x>\r\n"
      "To:  <a@x>\r\n     , <b@x>\r\n     , <c@x>\r\n"
      "Resent-To: as@loaded\r\n\tand@joined\r\n" +
      kVersion +
      "Message-ID: <id@x>\r\nSubject: hi\r\n\tBcc: hidden@x\r\n\tbody\r\n"
      "Return-Receipt-To:  <r@x>\r\n";
  EXPECT_EQ(message.saved(), header + ".\r\n");
  EXPECT_EQ(message.saved({.enclosed = true}), header);
  HeaderValue text = HeaderValue::raw("one\ntwo");
  store.root = HeaderValue::list(HeaderValue(), text);
  EXPECT_EQ(message.saved(), header + "\r\none\r\ntwo\r\n.\r\n");
  EXPECT_EQ(message.saved({.enclosed = true}), header + "\r\none\r\ntwo");
  EXPECT_EQ(message.saved({.header_only = true}), header + ".\r\n");
}

TEST(MessageWriter, LeavesOutAnEmptyPath) {
  for (const HeaderValue& path : {address("", "name"), address(" "), HeaderValue::raw("\r\n ")}) {
    FakeMessage message;
    put_date(message.data);
    message.data.slot(SlotId::ReturnPath).put(path);
    EXPECT_EQ(message.saved(), kDate + kVersion + ".\r\n");
  }
}

TEST(MessageWriter, MakesAndKeepsADate) {
  FakeMessage message;
  const std::string first = message.saved();
  EXPECT_EQ(first.rfind("Date: ", 0), 0u);
  EXPECT_TRUE(message.data.slot(SlotId::Date).value.is(ValueKind::DateTime));
  EXPECT_EQ(message.saved(), first);
}

TEST(MessageWriter, ADateThatNamesNoMomentIsNone) {
  FakeMessage message;
  for (const SlotId slot : {SlotId::Date, SlotId::ResentDate}) {
    message.data.slot(slot).put(HeaderValue::date_time({}, "-0000"));
  }
  const std::string written = message.saved();
  EXPECT_TRUE(message.data.slot(SlotId::Date).value.AsText().ends_with("000")) << written;
  EXPECT_EQ(written.find(": \r\n"), std::string::npos);
  EXPECT_EQ(written.find("Resent-"), std::string::npos);
}

TEST(MessageWriter, WritesTheRawCopyAlone) {
  FakeMessage message;
  test::HostStream raw("as\nloaded", 4);
  raw.position = 3;
  EXPECT_EQ(message.saved({.raw_copy = &raw}), "as\nloaded");
  put_date(message.data);
  EXPECT_EQ(message.saved({.header_only = true, .raw_copy = &raw}), kDate + kVersion + ".\r\n");
  EXPECT_EQ(write_message(message.data, nullptr, nullptr, {}).status, E_INVALIDARG);
  test::HostStream target;
  target.writes_before_failure = 0;
  const WriteOutcome outcome = write_message(message.data, nullptr, &target, {});
  EXPECT_EQ(outcome.status, S_OK);
  EXPECT_FALSE(outcome.complete);
}

// What a message becomes when it is saved; the saved form loads and saves as itself.
TEST(MessageWriter, SavesWhatLoadsAgain) {
  const std::string start = "Date: Mon, 1 Jun 2020 10:00:00 +0200\n";
  const struct {
    std::string loaded;
    std::string saved;  // behind the date and the version; "?": anything
  } kRows[] = {
      {start + "To: b@x, a@x\nTo: c@x\nSubject: s\n\nbody\n.\n", "Subject: s\r\n\r\nbody\r\n.\r\n"},
      {start, ".\r\n"},
      {start + "\n", "\r\n.\r\n"},
      {start + "X-A:   b\n c\nContent-Type: TEXT/Plain; charset=x\n\nbody",
       "X-A: b\r\n c\r\nContent-Type: TEXT/Plain; charset=x\r\n\r\nbody\r\n.\r\n"},
      {start + "X-A:\n b\nSubject:\n c\nContent-Type:\n text/plain\nX-B:\n\nbody\n", "?"},
      {start + "Content-Disposition:\nContent-Type:\nContent-ID:\nContent-Description:\n"
               "Content-Transfer-Encoding:\n\nbody\n",
       "?"},
      {start + "Content-Type: multipart/mixed; boundary=b\n\npre\n--b\n\none\n--b\n"
               "Content-Type: multipart/alternative; boundary=\"c d\"\n\n--c d\nX: y\n\ntwo\n"
               "--c d--\n\nepilogue\n--b--\nend\n",
       "Content-Type: multipart/mixed;\r\n\tboundary=\"b\"\r\n\r\n" + kPreamble +
           "--b\r\n\r\none\r\n--b\r\nContent-Type: multipart/alternative;\r\n\t"
           "boundary=\"c d\"\r\n\r\n" +
           kPreamble + "--c d\r\nX: y\r\n\r\ntwo\r\n--c d--\r\n\r\n--b--\r\n\r\n.\r\n"},
      {start + "Content-Type: multipart/mixed; boundary=b\n\n--b\n--b\nX: y\n--b--\n", "?"},
      {start + "Content-Type: multipart/mixed; boundary=b\n\n--b--\n", ""},
      {start + "Content-Type: text/plain\nContent-Transfer-Encoding: 7bit\n"
               "Content-Transfer-Encoding: base64\nContent-Type: multipart/mixed; boundary=b\n\n"
               "--b\n\nx\n--b--\n.\n",
       "Content-Type: text/plain\r\nContent-Transfer-Encoding: 7bit\r\n"
       "Content-Type: multipart/mixed;\r\n\tboundary=\"b\"\r\n\r\n" +
           kPreamble + "--b\r\n\r\nx\r\n--b--\r\n\r\n.\r\n"},
      {start + "Content-Type: message/external-body; access-type=ftp; permission=read;\n"
               " expiration=\"x\"; Name=n; x-y:z; empty=\n\nbody\n",
       "?"},
      {start + "Content-Type: multipart/report; report-type=delivery-status;\n"
               " boundary=\"a_b+c='()/:?\"\n\n--a_b+c='()/:?\n\nx\n..\n.\n",
       "?"},
  };
  for (const auto& row : kRows) {
    FakeMessage message;
    if (FAILED(load(row.loaded, message.data))) {
      EXPECT_EQ(row.saved, "") << row.loaded << test::take_error_text();
      continue;
    }
    const auto root = make_root_body(message.data, message.link);
    platform::Variant major;
    (void)root->get_MajorContentType(&major);
    (void)root->get_FileName(platform::Bstr().out());
    const std::string first = message.saved();
    EXPECT_TRUE(row.saved == "?" || first.ends_with(row.saved)) << first;
    FakeMessage again;
    ASSERT_EQ(load(first, again.data), S_OK) << first << test::take_error_text();
    EXPECT_EQ(again.saved(), first) << row.loaded;
    FakeMessage unread;
    ASSERT_EQ(load(row.loaded, unread.data), S_OK);
    EXPECT_EQ(unread.saved(), first) << "reading changes nothing";
  }
}

}  // namespace
}  // namespace tallowbrook
