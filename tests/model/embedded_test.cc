// Messages inside of messages, as a host reads and edits them.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "model/body_part.h"
#include "model/mime_decoder.h"
#include "tallowbrook/mime_body.h"
#include "tests/model/host.h"
#include "tests/support/dump.h"
#include "tests/support/host_stream.h"

namespace tallowbrook::test {
namespace {

using Object = ComPtr<IDispatch>;

Object body(const Object& message) { return object(message, u"Body"); }
Object embedded(const Object& part) { return object(part, u"EmbeddedMessage"); }
LONG count(const Object& part) { return read(part.get(), u"Count").lVal; }
std::string subject(const Object& message) { return read_text(message.get(), u"Subject"); }
void put_subject(const Object& message, std::string_view value) {
  EXPECT_EQ(put(message.get(), u"SubjectRaw", text(value)), S_OK);
}

void import(const Object& part, IStream* stream, bool by_reference) {
  const VARIANT_BOOL shared = by_reference ? VARIANT_TRUE : VARIANT_FALSE;
  EXPECT_TRUE(done(*part.query<IMimeBody>(), &IMimeBody::Import, stream, shared));
}
void import(const Object& part, std::string_view content) {
  import(part, CISSHelper::create_with(content).get(), false);
}
std::string content(const Object& part) {
  const auto stream = CISSHelper::create();
  EXPECT_TRUE(done(*part.query<IMimeBody>(), &IMimeBody::Export, stream.get()));
  return std::string(stream->bytes());
}

constexpr std::string_view kDate = "Date: Mon, 1 Jan 2024 00:00:00 +0000\r\n";

// The innermost message has two lines of text; each other one is a multipart of a text and the
// next.
std::string nest(int levels) {
  std::string inner;
  for (int level = levels; level >= 1; --level) {
    const std::string number = std::to_string(level);
    std::string message = std::string(kDate) + "MIME-Version: 1.0\r\nSubject: level " + number;
    if (level == levels) {
      message += "\r\n\r\n..\r\nend\r\n";
    } else {
      const std::string delimiter = "\r\n--b" + number;
      message += "\r\nContent-Type: multipart/mixed; boundary=b" + number + "\r\n" + delimiter +
                 "\r\n\r\ntext" + delimiter + "\r\nContent-Type: message/rfc822\r\n\r\n" + inner +
                 delimiter.substr(2) + "--\r\n\r\n";
    }
    inner = std::move(message);
  }
  return inner;
}

TEST(Embedded, EditsReachEveryLevel) {
  const auto message = loaded(nest(4));
  const std::string before = saved(message);
  const Object outer = message;
  const Object part2 = item(body(outer), 1);
  const Object part3 = item(item(part2, 7), 1);
  const Object level4 = embedded(item(item(part3, 0), 1));
  EXPECT_EQ(count(part2), 1);
  EXPECT_EQ(subject(level4), "level 4");
  EXPECT_FALSE(is_dirty(outer));
  EXPECT_EQ(saved(message), before);

  // The first change brings the lines around the parts into the writer's form.
  put_subject(level4, "level 4");
  const std::string written = saved(message);
  EXPECT_TRUE(holds(written, "\r\n\r\n..\r\nend\r\n--b3--\r\n\r\n--b2--\r\n\r\n--b1--\r\n"));
  for (const char* name : {"changed 4", "longer 44"}) {
    put_subject(level4, name);
    EXPECT_TRUE(holds(content(part3), std::string("Subject: ") + name));
    EXPECT_TRUE(holds(content(part2), std::string("Subject: ") + name));
    std::string expected = written;
    expected.replace(expected.find("level 4"), 7, name);
    EXPECT_EQ(saved(message), expected);
    EXPECT_TRUE(is_dirty(outer) && is_dirty(embedded(part2)));
  }
  // Parts inside tell as well: the text of level 3, and its children.
  const Object body3 = item(part3, 0);
  EXPECT_EQ(put(item(body3, 0).get(), u"Value", text("new text")), S_OK);
  EXPECT_TRUE(holds(saved(message), "\r\nnew text\r\n"));
  const std::string with_text = saved(message);
  EXPECT_EQ(platform::call(body3.get(), u"AddNew").status, S_OK);
  EXPECT_NE(saved(message), with_text);
  EXPECT_EQ(platform::call(body3.get(), u"Remove", LONG{2}).status, S_OK);
  EXPECT_EQ(saved(message), with_text);
  EXPECT_EQ(platform::call(body3.get(), u"Clear").status, S_OK);
  EXPECT_EQ(saved(message).find("longer 44"), std::string::npos);
  put_subject(level4, "no part of it any more");
  EXPECT_EQ(saved(message).find("any more"), std::string::npos);
}

TEST(Embedded, ReadingOneMessageParsesOne) {
  const auto message = loaded("Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n--b--\r\n");
  const Object root = body(message);
  const std::string inner = nest(1);
  std::vector<HostStream> streams(100, HostStream(inner));
  for (HostStream& stream : streams) {
    const Object part = object(platform::call(root.get(), u"AddNew").value);
    put(part.get(), u"MajorContentType", text("message"));
    put(part.get(), u"MinorContentType", text("rfc822"));
    import(part, &stream, true);
  }
  const Object part = item(body(message), 2);
  for (const HostStream& stream : streams) EXPECT_EQ(stream.position, 0u);
  EXPECT_EQ(count(part), 1);
  const Object shown = embedded(part);
  streams[1].reads_before_failure = 0;  // not read again
  EXPECT_EQ(embedded(item(body(message), 2)).get(), shown.get());
  EXPECT_EQ(embedded(part).get(), shown.get());
  EXPECT_EQ(std::count_if(streams.begin(), streams.end(),
                          [](const HostStream& stream) { return stream.position > 0; }),
            1);
  EXPECT_GT(streams[1].position, 0u);
  // A stream that cannot be emptied stays as it is; the part has one of its own from then on.
  put_subject(shown, "own");
  EXPECT_EQ(streams[1].content, inner);
  EXPECT_TRUE(holds(content(part), "Subject: own\r\n"));
  EXPECT_EQ(streams[1].references, 1);
  // One that cannot be read holds no message.
  streams[2].reads_before_failure = 0;
  EXPECT_EQ(count(item(root, 3)), 0);
  EXPECT_EQ(platform::call(root.get(), u"Clear").status, S_OK);  // before the streams go
}

TEST(Embedded, ViewsKeepTheMessage) {
  const auto message = loaded(nest(2));
  // Nothing but the part of the inner message is held.
  const Object text_part = item(item(body(message), 1), 0);
  EXPECT_EQ(put(text_part.get(), u"Description", text("described")), S_OK);
  EXPECT_TRUE(holds(saved(message), "Content-Description: described\r\n"));
  const Object inner = embedded(item(body(message), 1));
  EXPECT_EQ(read_text(body(inner).get(), u"Description"), "described");
}

TEST(Embedded, NewContentDetaches) {
  const auto message = loaded(nest(2));
  const Object part = item(body(message), 1);
  const Object old = embedded(part);
  import(part, "Subject: imported\r\n\r\nx\r\n");
  const std::string with_import = saved(message);
  put_subject(old, "lost");
  EXPECT_EQ(subject(old), "lost");
  EXPECT_EQ(saved(message), with_import);
  const Object fresh = embedded(part);
  EXPECT_EQ(subject(fresh), "imported");
  EXPECT_EQ(put(part.get(), u"Value", text("Subject: valued\r\n\r\ny\r\n")), S_OK);
  EXPECT_EQ(subject(embedded(part)), "valued");
  put_subject(fresh, "lost");
  EXPECT_EQ(subject(embedded(part)), "valued");
  // An encoding that a message cannot be read through hides it, and keeps its edits out.
  const Object valued = embedded(part);
  EXPECT_EQ(put(part.get(), u"Encoding", text("base64")), S_OK);
  EXPECT_FALSE(embedded(part));
  const std::string coded = saved(message);
  put_subject(valued, "lost");
  EXPECT_EQ(saved(message), coded);
}

// By reference, the host's own stream is rewritten while it takes the bytes.
TEST(Embedded, WritesThroughToAHostsStream) {
  const auto message = loaded(nest(2));
  const Object part = item(body(message), 1);
  const auto stream = CISSHelper::create_with("Subject: mine\r\n\r\nx\r\n");
  import(part, stream.get(), true);
  put_subject(embedded(part), "edited");
  EXPECT_TRUE(holds(stream->bytes(), "Subject: edited\r\n"));
  EXPECT_TRUE(stream->bytes().ends_with("\r\n\r\nx\r\n"));
  EXPECT_NE(saved(message).find(stream->bytes()), std::string::npos);
}

TEST(Embedded, DotLinesOfImportedMessages) {
  const auto message = loaded(nest(2));
  const Object part = item(body(message), 1);
  import(part, std::string(kDate) + "MIME-Version: 1.0\nSubject: s\n\na\n.\n..\n.b\nc\n.\n");
  const auto inner_text = [](const Object& of) { return content(body(embedded(of))); };
  EXPECT_EQ(inner_text(part), "a\n..\n..\n.b\nc\n");
  const std::string once = saved(message);
  EXPECT_TRUE(holds(once, "\r\n\r\na\r\n..\r\n..\r\n.b\r\nc\r\n--b1--"));
  put_subject(embedded(part), "s");
  EXPECT_EQ(saved(message), once);
  const auto again = loaded(once);
  EXPECT_EQ(inner_text(item(body(again), 1)), "a\r\n..\r\n..\r\n.b\r\nc\r\n");
}

TEST(Embedded, WhatHoldsAMessage) {
  const struct {
    std::string_view fields;
    bool in_digest;
    bool holds;
  } kCases[] = {
      {"Content-Type: message/rfc822\r\n", false, true},
      {"Content-Type: message/rfc822\r\nContent-Transfer-Encoding: 7bit\r\n", false, true},
      {"Content-Type: message/rfc822\r\nContent-Transfer-Encoding: 8BIT\r\n", false, true},
      {"Content-Type: message/rfc822\r\nContent-Transfer-Encoding:\r\n", false, true},
      {"Content-Type: message/rfc822\r\nContent-Transfer-Encoding: binary\r\n", false, false},
      {"Content-Type: message/rfc822\r\nContent-Transfer-Encoding: base64\r\n", false, false},
      {"Content-Type: message\r\n", false, true},
      {"Content-Type: message/partial\r\n", false, false},
      {"Content-Type: text/plain\r\n", true, false},
      {"", false, false},
      {"", true, true},
      {"Content-Transfer-Encoding: base64\r\n", true, false},
  };
  for (const auto& [fields, in_digest, holds] : kCases) {
    std::string source = "Content-Type: multipart/";
    source += in_digest ? "digest" : "mixed";
    source.append("; boundary=b\r\n\r\n--b\r\n").append(fields);
    source += "\r\nSubject: inner\r\n\r\ntext\r\n--b--\r\n";
    const auto message = loaded(source);
    const Object part = item(body(message), 0);
    EXPECT_EQ(count(part), holds ? 1 : 0) << source;
    EXPECT_EQ(static_cast<bool>(embedded(part)), holds) << source;
    EXPECT_EQ(platform::get(part.get(), u"Item", LONG{3}).status, holds ? S_OK : E_INVALIDARG);
    EXPECT_EQ(platform::call(part.get(), u"AddNew").status, E_INVALIDARG);
    EXPECT_EQ(platform::call(part.get(), u"Remove", LONG{0}).status, S_OK);
    EXPECT_EQ(platform::call(part.get(), u"Clear").status, S_OK);
    if (holds) {
      put_subject(embedded(part), "edited");
      const auto again = loaded(saved(message));
      EXPECT_EQ(subject(embedded(item(body(again), 0))), "edited");
    }
    message->put_InterpretEmbeddedMails(VARIANT_FALSE);
    EXPECT_FALSE(embedded(item(body(message), 0)));
    EXPECT_EQ(count(item(body(message), 0)), 0);
  }
}

// Looking at the type of a digest's child, or naming it, leaves it the message that it is.
TEST(Embedded, ADigestsChildKeepsItsDefaultType) {
  for (const bool names : {false, true}) {
    const auto message = loaded(
        "Content-Type: multipart/digest; boundary=b\r\n\r\n--b\r\n\r\nSubject: inner\r\n\r\n"
        "text\r\n--b--\r\n");
    const Object part = item(body(message), 0);
    if (names) put(part.get(), u"Name", text("n"));
    const Object type = object(read(part.get(), u"ContentType"));
    EXPECT_EQ(read(type.get(), u"Major").lVal, 6);
    EXPECT_EQ(read(object(read(type.get(), u"Parameters")).get(), u"Count").lVal, names ? 1 : 0);
    EXPECT_EQ(subject(embedded(part)), "inner");
    const auto again = loaded(saved(message));
    EXPECT_EQ(subject(embedded(item(body(again), 0))), "inner");
  }
}

TEST(Embedded, WhatDoesNotParseIsDroppedSilently) {
  const auto message = loaded(
      "Content-Type: message/rfc822\r\n\r\nContent-Type: multipart/mixed; boundary=x\r\n\r\n"
      "no delimiter\r\n");
  EXPECT_NE(load(new_message(), "Content-Type: multipart/mixed; boundary=x\r\n\r\nno\r\n"), S_OK);
  EXPECT_NE(take_error_text(), "");
  const Object root = body(message);
  ComPtr<IDispatch> none;
  EXPECT_EQ(root.query<IMimeBody>()->get_EmbeddedMessage(none.out()), S_OK);
  EXPECT_FALSE(none);
  EXPECT_EQ(take_error_text(), "");
  EXPECT_EQ(count(root), 0);
}

// Every order in which a host may let go of the message, a handle, the embedded message and what
// it got from there, with edits in between; and what becomes of the part meanwhile.
TEST(Embedded, EveryOrderOfRelease) {
  for (int fate = 0; fate < 4; ++fate) {
    std::vector<std::size_t> order(6);
    std::iota(order.begin(), order.end(), std::size_t{0});
    do {
      std::vector<Object> held{loaded(nest(3))};  // message, part, message, body, part, message
      held.push_back(item(body(held[0]), 1));
      held.push_back(embedded(held[1]));
      held.push_back(body(held[2]));
      held.push_back(item(held[3], 1));
      held.push_back(embedded(held[4]));
      if (fate == 1) (void)platform::call(body(held[0]).get(), u"Clear");
      if (fate == 2) import(item(body(held[0]), 1), "Subject: other\r\n\r\n");
      if (fate == 3) (void)load(held[0].query<IMimeDecoder>(), nest(2));
      for (const std::size_t next : order) {
        held[next].reset();
        if (held[5]) {
          put_subject(held[5], "x");
          (void)saved(held[5].query<IMimeDecoder>());
        }
        if (held[4]) (void)embedded(held[4]);
        if (held[3]) put(held[3].get(), u"Description", text("d"));
        if (held[2]) put_subject(held[2], "y");
        if (held[1]) (void)count(held[1]);
        if (held[0]) (void)saved(held[0].query<IMimeDecoder>());
      }
    } while (std::next_permutation(order.begin(), order.end()));
  }
}

// Each message holds the one around it: a long chain ends without recursion.
TEST(Embedded, LongChainsEnd) {
  auto message = make_object<CMimeDecoder>();
  for (int i = 0; i < 100000; ++i) {
    HeaderValue record = HeaderValue::list(HeaderValue(), HeaderValue::raw());
    record.pin();
    EmbeddedPlace place(record);
    auto inner = make_object<CMimeDecoder>(message->link(), place);
    place.show(*inner);
    message = std::move(inner);
  }
}

}  // namespace
}  // namespace tallowbrook::test
