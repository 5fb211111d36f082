#include "writer/part_writer.h"

#include <gtest/gtest.h>

#include "model/body_part.h"
#include "model/mime_body.h"
#include "tests/support/fake_message.h"
#include "tests/support/host_stream.h"

namespace tallowbrook {
namespace {

using Values = std::initializer_list<std::pair<const char*, HeaderValue>>;

HeaderValue number(std::int32_t value) { return HeaderValue::integer(value); }
HeaderValue text(const char* value) { return HeaderValue::text(value); }
HeaderValue parameters(Values values) {
  HeaderValue map = HeaderValue::map();
  for (const auto& [name, value] : values) map.mutable_entries().insert(name, value);
  return map;
}
HeaderValue type(HeaderValue major, HeaderValue minor, Values values = {}) {
  return HeaderValue::list(std::move(major), std::move(minor), parameters(values));
}
HeaderValue part(Values fields, HeaderValue body = {}) {
  HeaderValue record = HeaderValue::list(HeaderValue::list());
  for (const auto& [name, value] : fields) {
    record.element(kPartFields).push_back(HeaderValue::list(text(name), value));
  }
  if (body.is_set()) record.element(kPartBody) = std::move(body);
  return record;
}
HeaderValue extension(const char* name, const char* value) {
  return HeaderValue::list(text(name), HeaderValue::raw(value));
}

HeaderValue mixed(const char* boundary = "b") {
  return type(number(0), number(0), {{"boundary", text(boundary)}});
}
HeaderValue multipart(HeaderValue children) {
  return part({{"Content-Type", mixed()}}, std::move(children));
}

struct Saved {
  WriteOutcome outcome;
  std::string bytes;
};
Saved save(const HeaderValue& record, bool header_only = false) {
  const auto target = CISSHelper::create();
  Saved result{save_part(target.get(), record, nullptr, header_only), {}};
  result.bytes = target->bytes();
  return result;
}

constexpr const char* kEncoding = "Content-Transfer-Encoding";
using test::kPreamble;

TEST(PartWriter, WritesFields) {
  const struct {
    HeaderValue record;
    const char* written;
  } kRows[] = {
      {part({{"Content-Type", type(number(1), number(0), {{"charset", text("utf-8")}})},
             {kEncoding, number(1)}}),
       "Content-Type: text/plain;\r\n\tcharset=\"utf-8\"\r\n"
       "Content-Transfer-Encoding: quoted-printable\r\n"},
      {part({{"Content-Type", type(text("font"), text("ttf"),
                                   {{"a", text("x\"y\\z")},
                                    {"b", text("\"quoted\"")},
                                    {"c", {}},
                                    {"d", text("")},
                                    {"e", number(7)},
                                    {"f", text("two\r\nlines")},
                                    {"access", number(1)}})}}),
       "Content-Type: font/ttf;\r\n\ta=\"x\\\"y\\\\z\";\r\n\taccess-type=\"anon-ftp\";\r\n\t"
       "b=\"quoted\";\r\n\te=\"7\";\r\n\tf=\"two\r\n\tlines\"\r\n"},
      {part({{"Content-Type", HeaderValue::list(number(2))}}), "Content-Type: image/jpeg\r\n"},
      {part({{"Content-Type", HeaderValue::list(text("x"))}}), "Content-Type: x/unknown\r\n"},
      // Words that are none, and that would keep a multipart from being read again.
      {part({{"Content-Type", type(text("a b/c"), text("d;\"e"), {{"f g", text("h")}})}}),
       "Content-Type: abc/de\r\n"},
      {part({{"Content-Type", type(number(1), text("()"), {{"text", text("kept")}})}}),
       "Content-Type: text/plain;\r\n\ttext=\"kept\"\r\n"},
      {part({{"Content-Type",
              type(number(0), text("(x)"), {{"boundary", text("b")}, {"text", text("dropped")}})},
             {kEncoding, number(9)}}),
       "Content-Type: multipart/x;\r\n\tboundary=\"b\"\r\n"},
      {part({{"Content-Type", HeaderValue::raw("text/plain;\r\n charset=x")}}),
       "Content-Type: text/plain;\r\n charset=x\r\n"},
      {part({{"Content-Type", {}}, {kEncoding, text(" ")}, {"Content-Other", text("x")}}), ""},
      {part({{"Content-ID", text("<a@b>")}, {"Content-Description", text("a\r\n\r\nX-Bad: b")}}),
       "Content-ID: <a@b>\r\nContent-Description: a\r\n\tX-Bad: b\r\n"},
      {part({{"Content-Type", type(number(6), number(0))}, {kEncoding, number(3)}}),
       "Content-Type: message/rfc822\r\n"},
      {part({{kEncoding, number(0)}, {"Content-Type", HeaderValue::raw("Message/RFC822 (x)")}}),
       "Content-Type: Message/RFC822 (x)\r\n"},
      {part({{"Content-Type", type(number(6), number(0))}, {kEncoding, number(2)}}),
       "Content-Type: message/rfc822\r\nContent-Transfer-Encoding: base64\r\n"},
      {part({{"Content-Type", type(number(6), number(1))}, {kEncoding, number(0)}}),
       "Content-Type: message/partial\r\nContent-Transfer-Encoding: 7bit\r\n"},
      {part({{kEncoding, text("x-uue")}}), "Content-Transfer-Encoding: x-uue\r\n"},
      {part({{"Content-Disposition",
              HeaderValue::list({}, parameters({{"filename", text("a b.txt")}}))}}),
       "Content-Disposition: attachment;\r\n\tfilename=\"a b.txt\"\r\n"},
      {part({{"Content-Disposition", HeaderValue::list({}, parameters({{"filename", {}}}))}}), ""},
      {part({{"Content-Disposition", HeaderValue::list(text("inline"))}}),
       "Content-Disposition: inline\r\n"},
      {part({{"ExtField", extension("X-A", "folded\r\n line")},
             {"ExtField", extension("X: Bad", "b")},
             {"ExtField", extension("Bad\r\nX", "b")}}),
       "X-A: folded\r\n line\r\n"},
  };
  for (const auto& row : kRows) {
    const Saved saved = save(row.record, true);
    EXPECT_EQ(saved.bytes, row.written);
    EXPECT_TRUE(saved.outcome.complete);
    EXPECT_EQ(saved.outcome.status, S_OK);
    EXPECT_EQ(save(row.record, true).bytes, row.written) << "a save changes nothing it wrote";
  }
}

TEST(PartWriter, WritesContentAndChildren) {
  HeaderValue decoded = part({{kEncoding, number(2)}}, HeaderValue::raw("abc"));
  decoded.element(kPartDecoded) = number(1);
  HeaderValue bare = part({}, HeaderValue::raw(".dot"));
  bare.element(kPartDecoded) = number(1);
  const HeaderValue open_line = part({}, HeaderValue::raw("no line end"));
  HeaderValue children = HeaderValue::list(decoded, HeaderValue::list(HeaderValue()), open_line);
  children.push_back(part({{"Content-ID", text("x")}}));
  const struct {
    HeaderValue record;
    std::string written;
  } kRows[] = {
      {decoded, "Content-Transfer-Encoding: base64\r\n\r\nYWJj\r\n"},
      {bare, "\r\n..dot\r\n"},
      {part({{kEncoding, number(2)}}, HeaderValue::raw("as held\r\n")),
       "Content-Transfer-Encoding: base64\r\n\r\nas held\r\n"},
      {HeaderValue::list(), ""},
      {part({{"Content-Type", mixed("b 1")}, {kEncoding, number(2)}}, children),
       "Content-Type: multipart/mixed;\r\n\tboundary=\"b 1\"\r\n\r\n" + kPreamble +
           "--b 1\r\nContent-Transfer-Encoding: base64\r\n\r\nYWJj\r\n"
           "--b 1\r\n\r\n--b 1\r\n\r\nno line end\r\n--b 1\r\nContent-ID: x\r\n\r\n"
           "--b 1--\r\n\r\n"},
      {part({{"Content-Type", mixed("b 1")}}),
       "Content-Type: multipart/mixed;\r\n\tboundary=\"b 1\"\r\n\r\n" + kPreamble +
           "--b 1\r\n\r\n--b 1--\r\n\r\n"},
  };
  for (const auto& row : kRows) {
    const Saved saved = save(row.record);
    EXPECT_EQ(saved.bytes, row.written);
    EXPECT_TRUE(saved.outcome.complete);
  }
  const std::string made = save(part({{"Content-Type", HeaderValue::list(number(0))}})).bytes;
  EXPECT_NE(made.find("boundary=\"----_=_NeXtPaRt_BoUnDaRy_"), std::string::npos) << made;
}

TEST(PartWriter, StopsAtWhatHasAnotherShape) {
  HeaderValue bad_entry = part({{"Content-ID", text("x")}});
  bad_entry.element(kPartFields).push_back(text("no entry"));
  const HeaderValue children = HeaderValue::list(bad_entry, text("no part"), part({}));
  const std::string mixed_text = "Content-Type: multipart/mixed;\r\n\tboundary=\"b\"\r\n\r\n";
  const struct {
    HeaderValue record;
    HRESULT status;
    std::string written;
  } kRows[] = {
      {text("no record"), E_FAIL, ""},
      {bad_entry, E_FAIL, "Content-ID: x\r\n"},
      {part({{"Content-Type", type(number(1), number(2))}}), E_FAIL, ""},
      {part({{"Content-Type", type(number(7), number(0))}}), E_FAIL, ""},
      {part({{kEncoding, number(5)}}), E_FAIL, ""},
      {part({{"ExtField", text("x")}}), E_FAIL, ""},
      {part({}, HeaderValue::list(part({}))), E_FAIL, "\r\n"},
      {multipart(HeaderValue::raw("x")), E_FAIL,
       mixed_text + kPreamble + "--b\r\n\r\n--b--\r\n\r\n"},  // it loads again
      {multipart(children), S_OK,
       mixed_text + kPreamble + "--b\r\nContent-ID: x\r\n--b\r\n\r\n--b\r\n\r\n--b--\r\n\r\n"},
  };
  for (const auto& row : kRows) {
    const Saved saved = save(row.record);
    EXPECT_EQ(saved.outcome.status, row.status) << row.written;
    EXPECT_FALSE(saved.outcome.complete) << row.written;
    EXPECT_EQ(saved.bytes, row.written);
  }
  EXPECT_EQ(save_part(nullptr, part({}), nullptr, false).status, E_INVALIDARG);
}

TEST(PartWriter, TellsWhenTheTargetRefusesBytes) {
  const HeaderValue record = part({}, HeaderValue::raw(std::string(100000, 'x')));
  test::HostStream whole;
  whole.most_taken = 5000;  // a short write is gone on behind
  EXPECT_TRUE(save_part(&whole, record, nullptr, false).complete);
  EXPECT_EQ(whole.written(), save(record).bytes);
  for (int n = 0; n < static_cast<int>(whole.writes.size()); ++n) {
    test::HostStream target;
    target.most_taken = 5000;
    target.writes_before_failure = n;
    const WriteOutcome outcome = save_part(&target, record, nullptr, false);
    EXPECT_EQ(outcome.status, S_OK);
    EXPECT_FALSE(outcome.complete);
    EXPECT_EQ(target.writes.size(), static_cast<std::size_t>(n)) << "nothing behind a gap";
  }
  whole.most_taken = 0;
  EXPECT_FALSE(save_part(&whole, record, nullptr, false).complete);
}

TEST(PartWriter, TellsWhenContentIsMissing) {
  for (const LONG decoded : {0, 1}) {
    for (const int good : {-1, 0, 2, 3}) {
      test::HostStream host("content\r\n", 4);
      host.reads_before_failure = good;
      host.position = 5;  // it is read from its start
      HeaderValue record =
          part({{kEncoding, number(1)}}, HeaderValue::raw_stream(platform::ComPtr<IStream>(&host)));
      record.element(kPartDecoded) = number(decoded);
      const Saved saved = save(multipart(HeaderValue::list(record)));
      EXPECT_EQ(saved.outcome.status, S_OK);
      EXPECT_EQ(saved.outcome.complete, good < 0) << decoded << ' ' << good;
      EXPECT_NE(saved.bytes.find("--b--"), std::string::npos);
      const bool whole = saved.bytes.find("\r\n\r\ncontent\r\n--b--") != std::string::npos;
      EXPECT_EQ(whole, good < 0 || good == 3) << "the third read gives the last byte";
    }
    test::HostStream host("content\r\n");
    host.can_seek = false;
    HeaderValue record = part({}, HeaderValue::raw_stream(platform::ComPtr<IStream>(&host)));
    record.element(kPartDecoded) = number(decoded);
    EXPECT_FALSE(save(record).outcome.complete);
  }
}

// It empties the message while it is being written.
TEST(PartWriter, SurvivesATargetThatChangesTheModel) {
  HeaderValue children = HeaderValue::list();
  for (int i = 0; i < 100; ++i) {
    children.push_back(part({{"Content-ID", text("x")}}, HeaderValue::raw(std::string(9000, 'x'))));
  }
  HeaderValue root = multipart(children);
  children.Reset();
  root.pin();
  test::HostStream target;
  target.on_call = [&root] {
    root.element(kPartBody).clear_elements();
    root.element(kPartFields).clear_elements();
    root.Reset();
  };
  EXPECT_EQ(save_part(&target, root, nullptr, false).status, S_OK);
}

TEST(PartWriter, SavesAndDropsTenThousandLevels) {
  constexpr int kLevels = 10000;
  test::FakeMessage message;
  message.data.root = part({}, HeaderValue::raw("deep\r\n"));
  for (int i = 0; i < kLevels; ++i) {
    message.data.root = multipart(HeaderValue::list(std::move(message.data.root)));
  }
  EXPECT_GT(save(message.data.root).bytes.size(), kLevels * 100u);
  platform::ComPtr<CMimeBody> handle = make_root_body(message.data, message.link);
  for (int i = 0; i < kLevels; ++i) {
    platform::ComPtr<IDispatch> child;
    ASSERT_EQ(handle->get_Item(0, child.out()), S_OK);
    handle = platform::ComPtr<CMimeBody>(static_cast<CMimeBody*>(child.get()));
  }
}

}  // namespace
}  // namespace tallowbrook
