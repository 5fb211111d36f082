#include "model/addresses.h"

#include <map>
#include <random>
#include <vector>

#include "model/header_text.h"
#include "tests/model/host.h"

namespace tallowbrook::test {
namespace {

using Lines = std::vector<std::string>;

ComPtr<IDispatch> new_address(std::string_view address, std::string_view name) {
  ComPtr<IDispatch> object;
  EXPECT_EQ(create_mail_address(IDispatch::kIid, object.out_void()), S_OK);
  put(object.get(), u"Address", text(address));
  put(object.get(), u"NameRaw", text(name));
  return object;
}

TEST(MailAddress, ShowsWhatItHolds) {
  const struct {
    const char* stored;
    const char* expected;  // Address|RouteAddress|NameRaw
  } rows[] = {
      {"", "||"},
      {"a@b", "a@b|<a@b>|"},
      {" \t<a@b>\r\n ", "<a@b>|<a@b>|"},
      {"Ann <a@b", "a@b|<Ann <a@b>|"},
      {"Ann <a@b>", "<a@b>|<Ann <a@b>|"},
      {"Ann <a@b> x", "<a@b>|<Ann <a@b> x>|"},
      {"> Ann <a@b>", "<a@b>|<> Ann <a@b>|"},
      {"   ", "|<>|"},
      {"caf\xE9@b", "caf\xE9@b|<caf\xE9@b>|"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(address_line(new_address(row.stored, "").get()), row.expected) << row.stored;
  }
}

// The text that a put leaves behind, as the writer lays it out.
std::string laid_out(const HeaderValue& value) {
  const std::string layout = address_layout(value);
  return layout.empty() ? "(none)" : layout;
}

TEST(Addresses, PutOfAnyValue) {
  const auto message = new_message();  // an object without the two properties
  const Variant address(new_address("a@b", "Ann").get());
  const struct {
    Variant value;
    const char* single;
    const char* list;
  } rows[] = {
      {text("Ann <a@b>, c"), "Ann <a@b>, c\r\n", "  c\r\n     , Ann <a@b>\r\n"},
      {text("B,A,, A,A,"), "B,A,, A,A,\r\n", "  A\r\n     , A\r\n     , B\r\n"},
      {text(",,"), ",,\r\n", "(none)"},
      {text(" , "), " , \r\n", "(none)"},
      {address, "Ann <a@b>\r\n", " Ann <a@b>\r\n"},
      {Variant(LONG{5}), "(none)", "(none)"},
      {Variant(static_cast<IDispatch*>(message.get())), "(none)", "(none)"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(laid_out(put_single_address(row.value)), row.single);
    EXPECT_EQ(laid_out(put_address_list(row.value)), row.list);
  }
  EXPECT_FALSE(put_single_address(Variant()).is_set());
  EXPECT_FALSE(put_address_list(Variant()).is_set());
}

TEST(Addresses, PutOfACollection) {
  ComPtr<ICollection> list;
  ASSERT_EQ(create_collection(ICollection::kIid, list.out_void()), S_OK);
  const Variant listed(static_cast<IDispatch*>(list.get()));
  EXPECT_EQ(laid_out(put_address_list(listed)), "(none)");
  list->Add(Variant(new_address("a@b", "First").get()));
  list->Add(text("x,y"));
  list->Add(Variant(LONG{7}));
  list->Add(Variant(new_address("<a@b>", "Second").get()));
  EXPECT_EQ(laid_out(put_address_list(listed)), " Second <a@b>\r\n     , x,y\r\n");
  // Addresses that say nothing leave no line, and no comma.
  list->Add(Variant(new_address("", "").get()));
  list->Add(text(" \r\n"));
  EXPECT_EQ(laid_out(put_address_list(listed)), " Second <a@b>\r\n     , x,y\r\n");
}

TEST(HeaderText, NoTextLeavesItsField) {
  const struct {
    std::string given;
    std::string written;
  } rows[] = {
      {"plain", "plain"},
      {"a\r\nBcc: x", "a\r\n\tBcc: x"},
      {"a\nb\rc", "a\r\n\tb\r\n\tc"},
      {"a\r\n\r\nbody", "a\r\n\tbody"},
      {"a\r\n \t\r\n\r\r\nbody", "a\r\n\tbody"},
      {"a\r\n b\r\r\n\tc\n d", "a\r\n b\r\r\n\tc\n d"},
      {"a\r b", "a\r\n b"},
      {"a\r\n", "a"},
      {"\r\na", "a"},
      {"\n.\r\n", "."},
      {"\r\r\r", ""},
      {{"p\0q", 3}, "pq"},
      {{"a\n\0\nX: 1", 8}, "a\r\n\tX: 1"},
      {{"a\r\0\n b", 6}, "a\r\n b"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(folded(row.given), row.written) << row.given;
    EXPECT_EQ(is_folded(row.given), row.given == row.written) << row.given;
  }
}

TEST(Addresses, OfAMessage) {
  const auto message = loaded(
      "From: Ann <a@b>\r\nReply-To: \"R. X\" <r@x>\r\nTo: z@z, Bea <b@b>\r\nTo: c@c\r\n"
      "CC: one@x, two, @@, Three <t@t>\r\nSender: @@\r\n\r\n");
  EXPECT_EQ(addresses(message.get(), u"From"), (Lines{"<a@b>|<a@b>|Ann"}));
  // A clean list is sorted, and joins the field's occurrences.
  EXPECT_EQ(addresses(message.get(), u"To"),
            (Lines{"<b@b>|<b@b>|Bea", "c@c|<c@c>|", "z@z|<z@z>|"}));
  // One malformed piece: the order of the source, the piece as its text.
  EXPECT_EQ(addresses(message.get(), u"CC"),
            (Lines{"one@x|<one@x>|", "two|<two>|", "@@|<@@>|", "<t@t>|<t@t>|Three"}));
  EXPECT_EQ(addresses(message.get(), u"BCC"), (Lines{"(empty)"}));
  const Variant reply_to = read(message.get(), u"ReplyTo");
  EXPECT_EQ(address_line(reply_to.pdispVal), "<r@x>|<r@x>|\"R. X\"");
  const Variant sender = read(message.get(), u"Sender");  // does not parse
  EXPECT_EQ(address_line(sender.pdispVal), "||");

  // Reading changed nothing of what is written.
  const std::string written = saved(message);
  for (const char* line : {"From: Ann <a@b>\r\n", "To: z@z, Bea <b@b>\r\n\tc@c\r\n",
                           "cc: one@x, two, @@, Three <t@t>\r\n", "Sender: @@\r\n"}) {
    EXPECT_NE(written.find(line), std::string::npos) << line << "in\n" << written;
  }
}

// The objects of a long list look into it: each says what an object of its own says, in the order
// of the addresses, keeps what is put on it to itself, and outlives message and list.
TEST(Addresses, OfALongList) {
  std::mt19937 random(7);
  std::map<std::string, std::string> expected;
  std::string field = "To: ";
  for (int i = 0; i < 400; ++i) {
    static constexpr const char* kNames[] = {"",
                                             "Ann",
                                             "Ann B",
                                             "\"B, A\"",
                                             "\"\"",
                                             "\"caf\xE9\"",
                                             "=?utf-8?Q?=C3=A9_x?=",
                                             "\"=?utf-8?Q?a?=\"",
                                             "A =?koi8-r?B?1g==?="};
    static constexpr const char* kLocals[] = {"a", "ann.b", "ann.bee", "anna-lena.bee", "x=y"};
    const std::string name = kNames[random() % std::size(kNames)];
    const std::string spec = std::string(kLocals[random() % std::size(kLocals)]) +
                             std::to_string(random() % 50) + "@c.d";
    const std::string address = name.empty() && random() % 2 == 0 ? spec : "<" + spec + ">";
    expected.emplace(address, name);
    field += (i == 0       ? ""
              : i % 3 == 0 ? ",\r\n "
                           : ", ") +
             name + (name.empty() ? "" : " ") + address;
  }
  auto message = loaded(field + "\r\n\r\n");
  const auto list = read(message.get(), u"To");
  message.reset();
  std::vector<ComPtr<IDispatch>> objects;
  for (LONG i = 0; i < static_cast<LONG>(expected.size()); ++i) {
    objects.push_back(object(platform::get(list.pdispVal, u"Item", i).value));
    if (i % 2 == 0) put(objects.back().get(), u"Name", text("Z"));
    const auto again = object(platform::get(list.pdispVal, u"Item", i).value);
    EXPECT_EQ(again.get(), objects.back().get());
  }
  platform::query<ICollection>(list.pdispVal)->Clear();
  auto next = expected.begin();
  for (std::size_t i = 0; i < objects.size(); ++i, ++next) {
    const auto own = new_address(next->first, i % 2 == 0 ? "=?iso-8859-1?Q?Z?=" : next->second);
    for (const char16_t* member : {u"Address", u"RouteAddress", u"NameRaw", u"Name"}) {
      EXPECT_EQ(read_text(objects[i].get(), member), read_text(own.get(), member)) << next->first;
    }
  }
}

TEST(Addresses, FieldsThatSayNothingStay) {
  const auto message =
      loaded("To: (nobody)\r\nReply-To: (x)\r\nCC: undisclosed-recipients:;\r\nDate: (x)\r\n\r\n");
  const std::string before = saved(message);
  EXPECT_EQ(addresses(message.get(), u"To"), Lines{});
  EXPECT_EQ(addresses(message.get(), u"To"), Lines{});
  EXPECT_EQ(addresses(message.get(), u"CC"), Lines{"||undisclosed-recipients"});
  EXPECT_EQ(read_text(message.get(), u"Date"), "(x)");
  EXPECT_EQ(address_line(read(message.get(), u"ReplyTo").pdispVal), "||");
  EXPECT_EQ(saved(message), before);
  EXPECT_TRUE(holds(before, "To: (nobody)\r\n"));
}

TEST(Addresses, ANullPathPutBackStays) {
  const auto message = loaded("Return-path: <>\r\n\r\n");
  put(message.get(), u"ReturnPath", read(message.get(), u"ReturnPath"));
  EXPECT_TRUE(holds(saved(message), "Return-path: <>\r\n"));
}

TEST(Addresses, PutOnAMessage) {
  const auto message = new_message();
  EXPECT_EQ(put(message.get(), u"To", text("B,A, A,A")), S_OK);
  EXPECT_EQ(addresses(message.get(), u"To"), (Lines{"A|<A>|", "A|<A>|", "B|<B>|"}));
  EXPECT_EQ(put(message.get(), u"From", text("a@b,c@d")), S_OK);
  EXPECT_EQ(addresses(message.get(), u"From").size(), 1U);
  // A list goes into From as a list.
  EXPECT_EQ(put(message.get(), u"From", read(message.get(), u"To")), S_OK);
  EXPECT_EQ(addresses(message.get(), u"From"), (Lines{"<A>|<A>|", "<B>|<B>|"}));
  EXPECT_EQ(put(message.get(), u"CC", text("x@y\r\n\r\nBcc: evil@z")), S_OK);
  EXPECT_TRUE(holds(saved(message), "cc:  x@y\r\n\tBcc: evil@z\r\n"));
  EXPECT_EQ(put(message.get(), u"To", Variant()), S_OK);
  EXPECT_EQ(addresses(message.get(), u"To"), (Lines{"(empty)"}));
  // A name that the grammar does not read comes back as one that it does.
  const auto dotted = loaded(
      "CC: A. B. <a@x>, \xC3\x84. <b@x>, =?utf-8?Q?=C3=84?= C. <c@x>, =?utf-8?Q?=D0=90?= D. "
      "<d@x>\r\n\r\n");
  EXPECT_EQ(addresses(dotted.get(), u"CC"),
            (Lines{"<a@x>|<A. B. <a@x>|", "<b@x>|<\xC3\x84. <b@x>|", "<c@x>|<\xC4 C. <c@x>|",
                   "<d@x>|<=?utf-8?Q?=D0=90?= D. <d@x>|"}));
  put(dotted.get(), u"To", read(dotted.get(), u"CC"));
  EXPECT_EQ(addresses(loaded(saved(dotted)).get(), u"To"),
            (Lines{"<a@x>|<a@x>|\"A. B.\"", "<b@x>|<b@x>|\"\xC3\x84.\"",
                   "<c@x>|<c@x>|=?iso-8859-1?Q?=C4_C=2E?=", "<d@x>|<d@x>|=?UTF-8?B?0JAgRC4=?="}));
  // A group without members does not become a recipient of its name.
  const auto group = loaded("CC: undisclosed-recipients:;\r\n\r\n");
  put(group.get(), u"To", read(group.get(), u"CC"));
  const auto again = loaded(saved(group));
  EXPECT_EQ(addresses(again.get(), u"To"), (Lines{"||undisclosed-recipients"}));
}

}  // namespace
}  // namespace tallowbrook::test
