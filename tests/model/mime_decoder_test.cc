#include "model/mime_decoder.h"

#include <cstdio>

#include "model/body_part.h"
#include "tallowbrook/events.h"
#include "tests/host/script_host.h"
#include "tests/model/host.h"
#include "tests/support/dump.h"
#include "tests/support/host_stream.h"

namespace tallowbrook {
namespace {

using platform::ComPtr;
using platform::Variant;
using test::done;
using test::is_dirty;
using test::text;

constexpr std::string_view kSmall = "Subject: one\r\nTo: a@b\r\nX-Keep: x\r\n\r\nbody\r\n";

TEST(MimeDecoder, FreshMessage) {
  const auto message = test::new_message();
  EXPECT_EQ(test::read(message.get(), u"MajorMimeVersion").lVal, 1);
  EXPECT_EQ(test::read(message.get(), u"MinorMimeVersion").lVal, 0);
  EXPECT_EQ(test::read_text(message.get(), u"Subject"), "");
  EXPECT_EQ(test::read_text(message.get(), u"SubjectRaw"), "");
  for (const char16_t* absent : {u"MessageID", u"To", u"From", u"Sender", u"Date"}) {
    EXPECT_EQ(test::read(message.get(), absent).vt, VT_EMPTY);
  }
  EXPECT_EQ(test::read(message.get(), u"InterpretEmbeddedMails").boolVal, VARIANT_TRUE);
  EXPECT_EQ(test::read(message.get(), u"CollectRawStream").boolVal, VARIANT_FALSE);
  EXPECT_FALSE(is_dirty(message));
  EXPECT_EQ(message.query<ISupportErrorInfo>()->InterfaceSupportsErrorInfo(IMimeDecoder::kIid),
            S_OK);
}

TEST(MimeDecoder, PutsThatAreNoText) {
  const auto message = test::new_message();
  test::put(message.get(), u"Subject", text("kept"));
  EXPECT_EQ(test::put(message.get(), u"Subject", Variant(static_cast<IDispatch*>(nullptr))), S_OK);
  EXPECT_EQ(test::read_text(message.get(), u"Subject"), "kept");
  EXPECT_EQ(test::put(message.get(), u"MessageID", Variant(LONG{12})), S_OK);
  EXPECT_EQ(test::read_text(message.get(), u"MessageID"), "12");
  EXPECT_EQ(test::put(message.get(), u"Charset", Variant(LONG{1})), E_INVALIDARG);
  EXPECT_EQ(test::put(message.get(), u"Body", Variant(LONG{1})), E_FAIL);
  EXPECT_EQ(test::put(message.get(), u"SubjectRaw", text("a\r\n\r\nBcc: x@y\r\n")), S_OK);
  EXPECT_NE(test::saved(message).find("Subject: a\r\n\tBcc: x@y\r\n"), std::string::npos);
}

TEST(MimeDecoder, DirtyFlag) {
  const auto message = test::loaded(kSmall);
  EXPECT_FALSE(is_dirty(message));
  test::read(message.get(), u"To");
  message->put_InterpretEmbeddedMails(VARIANT_FALSE);
  EXPECT_FALSE(is_dirty(message));
  const auto dirtied = [&] {
    test::put(message.get(), u"MajorMimeVersion", Variant(LONG{1}));
    return is_dirty(message);
  };
  const auto stream = CISSHelper::create();
  EXPECT_TRUE(dirtied());
  EXPECT_EQ(message.query<IPersistStream>()->Save(stream.get(), FALSE), S_OK);
  EXPECT_TRUE(is_dirty(message));
  test::HostStream failing;
  failing.writes_before_failure = 0;
  EXPECT_EQ(message.query<IPersistStream>()->Save(&failing, TRUE), S_OK);
  EXPECT_TRUE(is_dirty(message)) << "nothing was written";
  EXPECT_EQ(message.query<IPersistStream>()->Save(stream.get(), TRUE), S_OK);
  EXPECT_FALSE(is_dirty(message));
  EXPECT_TRUE(dirtied());
  EXPECT_EQ(message.query<IPersistStreamInit>()->InitNew(), S_OK);
  EXPECT_FALSE(is_dirty(message));
  EXPECT_TRUE(dirtied());
  VARIANT_BOOL opened = VARIANT_FALSE;
  EXPECT_EQ(message->LoadFromFile(platform::Bstr(u"/no/such/file").get(), &opened), E_FAIL);
  EXPECT_FALSE(is_dirty(message));
}

TEST(MimeDecoder, RawCopyIsSavedUntilSomethingChanges) {
  const auto message = test::new_message();
  message->put_CollectRawStream(VARIANT_TRUE);
  const std::string odd = "Subject:   one\nX-Odd:x\n\nbody";
  ASSERT_EQ(test::load(message, odd), S_OK);
  EXPECT_EQ(test::saved(message), odd);
  EXPECT_EQ(test::saved(message), odd);
  message->put_InterpretEmbeddedMails(VARIANT_FALSE);
  test::put(message.get(), u"Charset", text("utf-8"));
  EXPECT_NE(test::read_text(message.get(), u"MessageHeader").find("MIME-Version: 1.0\r\n"),
            std::string::npos);
  EXPECT_EQ(test::saved(message), odd);
  test::put(message.get(), u"Subject", text("two"));
  EXPECT_NE(test::saved(message).find("Subject: =?UTF-8?B?dHdv?=\r\n"), std::string::npos);

  // A load that fails keeps its bytes, and a change drops them.
  const std::string broken = "Subject: one\r\nContent-Type: multipart/mixed; =x\r\n";
  EXPECT_EQ(test::load(message, broken), E_ABORT);
  EXPECT_EQ(test::saved(message), broken);
  test::put(message.get(), u"Subject", text("two"));
  EXPECT_NE(test::saved(message).find("Subject: =?UTF-8?B?dHdv?=\r\n"), std::string::npos);
  EXPECT_FALSE(is_dirty(message));
}

TEST(MimeDecoder, FailingLoads) {
  const auto message = test::loaded(kSmall);
  const auto persist = message.query<IPersistStream>();
  EXPECT_EQ(persist->Load(nullptr), E_INVALIDARG);
  EXPECT_EQ(test::read_text(message.get(), u"Subject"), "one");

  EXPECT_FALSE(done(*message, &IMimeDecoder::Load, message.get()));  // no stream
  EXPECT_EQ(test::read_text(message.get(), u"Subject"), "one");

  EXPECT_EQ(test::load(message, ""), E_ABORT);
  EXPECT_NE(test::take_error_text().find(" in Line 2"), std::string::npos);
  EXPECT_EQ(test::read_text(message.get(), u"Subject"), "");

  EXPECT_EQ(
      test::load(message, "Subject: kept\r\nTo: x@y\r\nContent-Type: multipart/mixed; =x\r\n"),
      E_ABORT);
  EXPECT_EQ(test::read_text(message.get(), u"Subject"), "kept");
  EXPECT_EQ(test::read(message.get(), u"Body").vt, VT_EMPTY);

  for (const char16_t* path : {u"/no/such/file", u"/", u""}) {
    ASSERT_EQ(test::load(message, kSmall), S_OK);
    VARIANT_BOOL opened = VARIANT_TRUE;
    EXPECT_EQ(message->LoadFromFile(platform::Bstr(path).get(), &opened), E_FAIL);
    EXPECT_EQ(opened, VARIANT_FALSE);
    EXPECT_EQ(test::take_error_text(), "File not found: \"" + to_ansi(path) + "\"");
    EXPECT_EQ(test::read_text(message.get(), u"Subject"), "");
  }
  EXPECT_EQ(test::load(message, kSmall), S_OK);
  EXPECT_EQ(test::read(message.get(), u"Body").vt, VT_DISPATCH);
}

TEST(MimeDecoder, AStreamThatFailsIsNoGoodLoad) {
  const auto message = test::new_message();
  test::HostStream stream{std::string(kSmall)};
  stream.reads_before_failure = 1;
  EXPECT_EQ(message.query<IPersistStream>()->Load(&stream), E_ABORT);
  EXPECT_NE(test::take_error_text(), "");
  EXPECT_EQ(test::read_text(message.get(), u"Subject"), "one");
  EXPECT_EQ(test::read(message.get(), u"Body").vt, VT_EMPTY);
  EXPECT_EQ(test::load(message, kSmall), S_OK);
  EXPECT_EQ(test::read(message.get(), u"Body").vt, VT_DISPATCH);
}

TEST(MimeDecoder, FilesAndStreams) {
  const std::string path = ::testing::TempDir() + "tallowbrook_mime_decoder_test.eml";
  const platform::Bstr wide_path(to_wide(path));
  const auto message = test::loaded(kSmall);
  test::put(message.get(), u"Subject", text("two"));
  EXPECT_TRUE(done(*message, &IMimeDecoder::SaveToFile, wide_path.get()));
  EXPECT_FALSE(is_dirty(message));
  const auto again = test::new_message();
  EXPECT_TRUE(done(*again, &IMimeDecoder::LoadFromFile, wide_path.get()));
  EXPECT_EQ(test::saved(again), test::saved(message));
  std::remove(path.c_str());
  EXPECT_FALSE(
      done(*message, &IMimeDecoder::SaveToFile, platform::Bstr(u"/no/such/folder/x").get()));
  EXPECT_FALSE(done(*message, &IMimeDecoder::Save, message.get()));
  EXPECT_EQ(message.query<IPersistStream>()->Save(nullptr, FALSE), E_INVALIDARG);
}

TEST(MimeDecoder, ChangesReachTheBoundStreamAndTheEnclosingMessage) {
  const auto outer = make_object<CMimeDecoder>();
  const auto stream = CISSHelper::create_with(kSmall);
  HeaderValue record = HeaderValue::list(HeaderValue());
  set_major(record, HeaderValue::integer(kMessage));
  set_decoded_content(record, stream);
  record.pin();
  EmbeddedPlace place(record);
  const auto inner = make_object<CMimeDecoder>(outer->link(), place);
  place.show(*inner);
  ASSERT_EQ(inner->Load(static_cast<IStream*>(stream.get())), S_OK);
  EXPECT_EQ(inner->put_Subject(text("two")), S_OK);
  EXPECT_NE(stream->bytes().find("Subject: =?iso-8859-1?Q?two?=\r\n"), std::string::npos);
  EXPECT_FALSE(stream->bytes().ends_with("\r\n.\r\n"));
  EXPECT_FALSE(is_decoded(record));
  EXPECT_EQ(outer->IsDirty(), S_OK);
}

TEST(MimeDecoder, LivesThroughAPutThatReleasesIt) {
  auto message = test::new_message();
  int calls = 0;
  const auto value = make_object<test::EventSink>([&](DISPID, DISPPARAMS&) {
    ++calls;
    message.reset();
  });
  IMimeDecoder& last = *message;
  EXPECT_EQ(last.put_From(Variant(static_cast<IDispatch*>(value.get()))), S_OK);
  EXPECT_FALSE(message);
  EXPECT_EQ(calls, 1) << "asked for its enumerator once";
}

TEST(MimeDecoder, PutOfSubjectRaisesTheAccessorEvent) {
  const auto message = test::new_message();
  int changes = 0;
  const auto sink = make_object<test::EventSink>([&](DISPID event, DISPPARAMS& arguments) {
    EXPECT_EQ(event, _IAccessorEvents::kChanged);
    ASSERT_EQ(arguments.cArgs, 2U);
    EXPECT_EQ(arguments.rgvarg[1].pdispVal, message.get());
    ++changes;
  });
  const test::Connected connected(message, sink.get());
  test::put(message.get(), u"Subject", text("s"));
  EXPECT_EQ(changes, 1);
  ComPtr<IConnectionPoint> point;
  EXPECT_EQ(message.query<IConnectionPointContainer>()->FindConnectionPoint(
                _IMimeDecoderEvents::kIid, point.out()),
            S_OK);
}

TEST(MimeDecoder, BodyPutIsATextPart) {
  const auto message = test::loaded(kSmall);
  EXPECT_EQ(test::put(message.get(), u"Charset", text("iso-8859-1")), S_OK);
  EXPECT_EQ(test::put(message.get(), u"Body", text("new text")), S_OK);
  const std::string written = test::saved(message);
  for (const char* piece : {"Content-Type: text/plain", "charset=\"iso-8859-1\"",
                            "Content-Transfer-Encoding: quoted-printable", "X-Keep: x\r\n"}) {
    EXPECT_NE(written.find(piece), std::string::npos) << piece << " in\n" << written;
  }
}

}  // namespace
}  // namespace tallowbrook
