#include "model/reparse.h"

#include <functional>
#include <utility>

#include "parser/load.h"
#include "tests/model/host.h"

namespace tallowbrook::test {
namespace {

using Lines = std::vector<std::string>;

// A message that parses like the real one, and lets a test do something while it waits.
class Owner final : public MessageOwner {
 public:
  MessageStore& store() override { return store_; }
  void NotifyChanged() override {}
  HRESULT ParseHeaderInto(std::string_view name, std::string_view text,
                          HeaderValue& target) override {
    ++parses;
    if (auto handler = std::exchange(while_waiting, nullptr)) handler();
    return parse_field(name, text, target);
  }

  MessageStore store_;
  std::function<void()> while_waiting;
  int parses = 0;
};

Lines read(Owner& owner, FieldSlot& slot, std::string_view name, ReadMode mode) {
  ReparseHeader(owner, slot, name, mode);
  Lines lines;
  const HeaderValue& value = slot.value;
  if (value.is(ValueKind::AddressMap)) {
    lines.push_back("map");
    for (const auto& [address, shown] : value.entries()) {
      lines.push_back(address + "|" + shown.AsText());
    }
  } else if (value.is(ValueKind::List)) {
    lines.push_back("list");
    for (std::size_t i = 0; i < value.size(); ++i) {
      lines.push_back(std::string(value[i].address_text()) + "|" + value[i].name().AsText());
    }
  } else {
    lines.push_back(value.is(ValueKind::Raw) ? "raw" : value.AsText());
  }
  return lines;
}

TEST(Reparse, Fields) {
  const struct {
    const char* text;
    ReadMode mode;
    Lines expected;
  } rows[] = {
      {"b@x, Ann <a@x>", ReadMode::List, {"map", "<a@x>|Ann", "b@x|"}},
      {"Group: Ann <a@x>;", ReadMode::List, {"map", "<a@x>|Ann"}},
      {"b@x, @@, a@x", ReadMode::List, {"list", "b@x|", "@@|", "a@x|"}},
      {"b@x,\r\n\t@@\r\n\t, a@x", ReadMode::List, {"list", "b@x|", "@@|", "a@x|"}},
      {"Ann <a@x>", ReadMode::Single, {"Ann"}},
      {"@@", ReadMode::Single, {"raw"}},
  };
  for (const auto& row : rows) {
    Owner owner;
    FieldSlot slot{HeaderValue::raw(row.text), {}, {}};
    const char* name = row.mode == ReadMode::List ? "To" : "Reply-To";
    EXPECT_EQ(read(owner, slot, name, row.mode), row.expected) << row.text;
    EXPECT_EQ(slot.source.AsText(), row.expected[0] == "raw" ? "" : row.text);
  }
}

TEST(Reparse, DatesThatAreNoneStayText) {
  for (const char* text : {"Sat, 31 Feb 2004 10:00:00 GMT", "1 Jun 2004 10:00:60 +0000",
                           "1 Jun 2004 24:00:00 GMT", "tomorrow", "(never)"}) {
    Owner owner;
    FieldSlot slot{HeaderValue::raw(text), {}, {}};
    EXPECT_EQ(read(owner, slot, "Date", ReadMode::Single), Lines{"raw"}) << text;
    EXPECT_EQ(slot.value.AsText(), text);
  }
}

TEST(Reparse, ManyCommasAreSplitWithoutTheParser) {
  EXPECT_EQ(split_at_commas("").size(), 0U);
  EXPECT_EQ(split_at_commas("a,").size(), 1U);
  const HeaderValue pieces = split_at_commas(std::string_view(" a\r\n\t b,,c\0d", 12));
  ASSERT_EQ(pieces.size(), 3U);
  EXPECT_EQ(pieces[0].AsText(), " a b");
  EXPECT_EQ(pieces[1].AsText(), "");
  EXPECT_EQ(pieces[2].AsText(), "cd");

  // 511 commas go through the grammar, 512 do not; the last piece has nothing of the closing dot.
  for (const int commas : {511, 512, 600}) {
    std::string text = "@@";
    for (int i = 0; i < commas; ++i) text += ",\r\n\tu" + std::to_string(i) + "@x";
    Owner owner;
    FieldSlot slot{HeaderValue::raw(text), {}, {}};
    ReparseHeader(owner, slot, "To", ReadMode::List);
    ASSERT_TRUE(slot.value.is(ValueKind::List));
    ASSERT_EQ(slot.value.size(), static_cast<std::size_t>(commas) + 1);
    EXPECT_EQ(slot.value[0].address_text(), commas < 512 ? "@@" : " @@");
    EXPECT_EQ(slot.value[static_cast<std::size_t>(commas)].address_text(),
              "u" + std::to_string(commas - 1) + "@x");
    EXPECT_EQ(owner.parses, 1 + (commas < 512 ? 1 : 0) + commas + 1);
  }
}

TEST(Reparse, HandlersThatRunMeanwhileHarmNothing) {
  Owner owner;
  FieldSlot to{HeaderValue::raw("b@x"), {}, {}};
  FieldSlot date{HeaderValue::raw("Tue, 1 Jun 2004 10:00:00 GMT"), {}, {}};
  // Another field is read; the same field is read.
  owner.while_waiting = [&] {
    read(owner, date, "Date", ReadMode::Single);
    read(owner, to, "To", ReadMode::List);
  };
  EXPECT_EQ(read(owner, to, "To", ReadMode::List), (Lines{"map", "b@x|"}));
  EXPECT_EQ(to.source.AsText(), "b@x");
  EXPECT_TRUE(date.value.is(ValueKind::DateTime));
  // The same field is put: the put stays.
  FieldSlot cc{HeaderValue::raw("b@x"), {}, {}};
  owner.while_waiting = [&] { cc.put(HeaderValue::text("put")); };
  EXPECT_EQ(read(owner, cc, "cc", ReadMode::List), Lines{"put"});
  EXPECT_FALSE(cc.source.is_set());
}

TEST(Reparse, OccurrencesMeetAFieldThatWasReadDuringItsLoad) {
  Owner owner;
  FieldSlot& to = owner.store_.slot(SlotId::To);
  for (const char* text : {"a@x,", "b@x", "c@x"}) {
    owner.store_.store_field(SlotId::To, HeaderValue::raw(text));
    read(owner, to, "To", ReadMode::List);
  }
  EXPECT_EQ(read(owner, to, "To", ReadMode::List), (Lines{"map", "a@x|", "b@x|", "c@x|"}));
  EXPECT_EQ(to.source.AsText(), "a@x,\r\n\tb@x\r\n\tc@x");
  // What a host put stays.
  to.put(HeaderValue::text("put"));
  owner.store_.store_field(SlotId::To, HeaderValue::raw("d@x"));
  EXPECT_EQ(to.value.AsText(), "put");
}

}  // namespace
}  // namespace tallowbrook::test
