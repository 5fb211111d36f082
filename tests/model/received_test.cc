#include "model/received.h"

#include "tests/model/host.h"

namespace tallowbrook::test {
namespace {

constexpr std::string_view kTwoHops =
    "Received: from b by c with SMTP id 7;\r\n Tue, 1 Jun 2004 10:00:00 +0200\r\n"
    "Received: by b; Sat, 31 Feb 2004 10:00:00 GMT\r\n"
    "Received: @@ broken\r\n"
    "Received: from a\r\n"
    "Subject: s\r\n\r\n";

// Item `index` of the message's trace headers.
Variant hop(const ComPtr<IMimeDecoder>& message, LONG index) {
  const Variant list = read(message.get(), u"Received");
  auto item = platform::get(list.pdispVal, u"Item", index);
  EXPECT_EQ(item.status, S_OK);
  return std::move(item.value);
}

// The trace headers of a saved message, which stand before the Date.
std::string before_date(const std::string& saved) {
  return saved.substr(0, saved.find("\r\nDate:"));
}

LONG hops(const ComPtr<IMimeDecoder>& message) {
  return read(read(message.get(), u"Received").pdispVal, u"Count").lVal;
}

TEST(Received, ReadsItsPartsAndKeepsWhatIsWritten) {
  const Zone zone("UTC");
  const auto message = loaded(kTwoHops);
  const std::string before = saved(message);
  ASSERT_EQ(hops(message), 4);

  const Variant first = hop(message, 0);
  EXPECT_EQ(read_text(first.pdispVal, u"Value"),
            "from b by c with SMTP id 7;\r\n Tue, 1 Jun 2004 10:00:00 +0200");
  EXPECT_EQ(read(first.pdispVal, u"Date").vt, VT_DATE);
  EXPECT_EQ(read_text(first.pdispVal, u"Value"),
            "by c\r\n\tfrom b\r\n\tid 7\r\n\twith SMTP; Tue, 1 Jun 2004 10:00:00 +0200");
  const Variant parameters = read(first.pdispVal, u"Parameters");
  EXPECT_EQ(read(parameters.pdispVal, u"Count").lVal, 4);

  // A date that is not on the calendar, and none, are texts.
  EXPECT_EQ(read_text(hop(message, 1).pdispVal, u"Date"), "Sat, 31 Feb 2004 10:00:00 GMT");
  EXPECT_EQ(platform::get(hop(message, 2).pdispVal, u"Date").status, E_ABORT);
  EXPECT_EQ(platform::get(hop(message, 2).pdispVal, u"Parameters").status, E_ABORT);
  EXPECT_EQ(read_text(hop(message, 3).pdispVal, u"Date"), "<no date>");

  EXPECT_EQ(message.query<IPersistStream>()->IsDirty(), S_FALSE);
  EXPECT_EQ(before_date(saved(message)), before_date(before));
}

TEST(Received, PutsReplaceWithoutTellingTheMessage) {
  const Zone zone("UTC");
  auto message = new_message();
  message->put_CollectRawStream(VARIANT_TRUE);
  ASSERT_EQ(load(message, kTwoHops), S_OK);
  // Shorter than what was there: nothing of it may be left.
  EXPECT_EQ(put(hop(message, 0).pdispVal, u"Value", text("from x\r\nBcc: evil")), S_OK);
  EXPECT_EQ(read_text(hop(message, 0).pdispVal, u"Value"), "from x\r\nBcc: evil");
  EXPECT_EQ(put(hop(message, 1).pdispVal, u"Date", Variant::date_value(38139.5)), S_OK);
  const Variant last = hop(message, 3);
  const Variant parameters = read(last.pdispVal, u"Parameters");
  EXPECT_EQ(put(last.pdispVal, u"Date", Variant()), S_OK);
  EXPECT_EQ(message.query<IPersistStream>()->IsDirty(), S_FALSE);
  EXPECT_EQ(before_date(saved(message)),
            "Received: from x\r\n\tBcc: evil\r\n"
            "Received: by b; Tue, 1 Jun 2004 12:00:00 -0000\r\n"
            "Received: @@ broken\r\n"
            "Received: from a; ");
}

TEST(Received, CollectionRemovesAndOutlivesItsMessage) {
  Variant list;
  Variant kept;
  {
    const auto message = loaded(kTwoHops);
    list = read(message.get(), u"Received");
    kept = hop(message, 1);
    EXPECT_EQ(platform::get(list.pdispVal, u"Item", LONG{4}).status, E_INVALIDARG);
    EXPECT_EQ(platform::get(list.pdispVal, u"Item", LONG{-1}).status, E_INVALIDARG);
    EXPECT_EQ(platform::call(list.pdispVal, u"Remove", LONG{4}).status, E_INVALIDARG);
    EXPECT_EQ(message.query<IPersistStream>()->IsDirty(), S_FALSE);
    EXPECT_EQ(platform::call(list.pdispVal, u"Remove", LONG{0}).status, S_OK);
    EXPECT_EQ(message.query<IPersistStream>()->IsDirty(), S_OK);
    EXPECT_EQ(hops(message), 3);
    EXPECT_EQ(platform::call(list.pdispVal, u"Clear").status, S_OK);
    EXPECT_EQ(hops(message), 0);
    EXPECT_EQ(saved(message).find("Received:"), std::string::npos);
    ASSERT_EQ(load(message, kTwoHops), S_OK);
    EXPECT_EQ(read(list.pdispVal, u"Count").lVal, 4);
    ASSERT_EQ(message.query<IPersistStreamInit>()->InitNew(), S_OK);
    EXPECT_EQ(read(list.pdispVal, u"Count").lVal, 0);
    ASSERT_EQ(load(message, kTwoHops), S_OK);
    EXPECT_EQ(platform::call(list.pdispVal, u"Remove", LONG{0}).status, S_OK);
  }
  EXPECT_EQ(read(list.pdispVal, u"Count").lVal, 3);
  EXPECT_EQ(put(kept.pdispVal, u"Value", text("by z")), S_OK);
  EXPECT_EQ(read_text(kept.pdispVal, u"Value"), "by z");
}

TEST(Received, OldRecordsAreNoBusinessOfANewLoad) {
  const auto message = new_message();
  message->put_CollectRawStream(VARIANT_TRUE);
  ASSERT_EQ(load(message, kTwoHops), S_OK);
  const Variant old = hop(message, 0);
  const Variant clauses = read(old.pdispVal, u"Parameters");
  ASSERT_EQ(load(message, kTwoHops), S_OK);
  EXPECT_EQ(platform::call(clauses.pdispVal, u"Clear").status, S_OK);
  EXPECT_EQ(put(old.pdispVal, u"Value", text("by z")), S_OK);
  EXPECT_EQ(message.query<IPersistStream>()->IsDirty(), S_FALSE);
  EXPECT_EQ(saved(message), kTwoHops);
}

TEST(Received, AClauseThatIsLookedUpIsNotWritten) {
  const auto message = loaded("Received: from by b; Tue, 1 Jun 2004 10:00:00 +0200\r\n\r\n");
  const Variant record = hop(message, 0);
  const Variant clauses = read(record.pdispVal, u"Parameters");
  EXPECT_EQ(platform::get(clauses.pdispVal, u"Item", text("with")).value.vt, VT_EMPTY);
  EXPECT_EQ(platform::get(clauses.pdispVal, u"Item", text("from")).value.vt, VT_EMPTY);
  EXPECT_EQ(platform::call(clauses.pdispVal, u"Modify", text("by"), text("c")).status, S_OK);
  const std::string_view written =
      "by =?iso-8859-1?Q?c?=\r\n\tfrom ; Tue, 1 Jun 2004 10:00:00 +0200";
  EXPECT_EQ(read_text(record.pdispVal, u"Value"), written);
  EXPECT_EQ(before_date(saved(message)), std::string("Received: ").append(written));
}

// A put text is one trace header, whatever its lines say.
TEST(Received, APutTextCannotActAsAnotherField) {
  const auto message = loaded(kTwoHops);
  const Variant record = hop(message, 0);
  const char* kText = "from x\r\nReceived: from evil; Tue, 1 Jun 2004 10:00:00 GMT";
  EXPECT_EQ(put(record.pdispVal, u"Value", text(kText)), S_OK);
  EXPECT_EQ(platform::get(record.pdispVal, u"Date").status, E_ABORT);
  EXPECT_EQ(put(record.pdispVal, u"Value", text("from x\r\nby y\r\n\r\n")), S_OK);
  const Variant clauses = read(record.pdispVal, u"Parameters");
  EXPECT_EQ(read(clauses.pdispVal, u"Count").lVal, 2);
}

}  // namespace
}  // namespace tallowbrook::test
