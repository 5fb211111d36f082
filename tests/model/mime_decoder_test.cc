#include "model/mime_decoder.h"

#include "tallowbrook/events.h"
#include "tests/host/script_host.h"
#include "tests/model/host.h"
#include "tests/support/dump.h"
#include "tests/support/host_stream.h"

namespace tallowbrook::test {
namespace {

constexpr std::string_view kSmall = "Subject: one\r\nTo: a@b\r\nX-Keep: x\r\n\r\nbody\r\n";

TEST(MimeDecoder, PutsThatAreNoText) {
  const auto message = new_message();
  put(message.get(), u"Subject", text("kept"));
  EXPECT_EQ(put(message.get(), u"Subject", Variant(static_cast<IDispatch*>(nullptr))), S_OK);
  EXPECT_EQ(read_text(message.get(), u"Subject"), "kept");
  EXPECT_EQ(put(message.get(), u"MessageID", Variant(LONG{12})), S_OK);
  EXPECT_EQ(read_text(message.get(), u"MessageID"), "12");
  EXPECT_EQ(put(message.get(), u"ResentDate", Variant::date_value(38139.5)), S_OK);
  EXPECT_EQ(put(message.get(), u"ResentDate", Variant()), S_OK);
  EXPECT_EQ(read(message.get(), u"ResentDate").vt, VT_EMPTY);
  EXPECT_EQ(put(message.get(), u"Charset", Variant(LONG{1})), E_INVALIDARG);
  EXPECT_EQ(put(message.get(), u"Body", Variant(LONG{1})), E_FAIL);
  EXPECT_EQ(put(message.get(), u"SubjectRaw", text("a\r\n\r\nBcc: x@y\r\n")), S_OK);
  EXPECT_TRUE(holds(saved(message), "Subject: a\r\n\tBcc: x@y\r\n"));
}

TEST(MimeDecoder, DirtyFlag) {
  const auto message = loaded(kSmall);
  EXPECT_FALSE(is_dirty(message));
  read(message.get(), u"To");
  message->put_InterpretEmbeddedMails(VARIANT_FALSE);
  EXPECT_FALSE(is_dirty(message));
  const auto dirtied = [&] {
    put(message.get(), u"MajorMimeVersion", Variant(LONG{1}));
    return is_dirty(message);
  };
  const auto stream = CISSHelper::create();
  EXPECT_TRUE(dirtied());
  EXPECT_EQ(message.query<IPersistStream>()->Save(stream.get(), FALSE), S_OK);
  EXPECT_TRUE(is_dirty(message));
  HostStream failing;
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
  const auto message = new_message();
  message->put_CollectRawStream(VARIANT_TRUE);
  const std::string odd = "Subject:   one\nX-Odd:x\n\nbody";
  ASSERT_EQ(load(message, odd), S_OK);
  EXPECT_EQ(saved(message), odd);
  EXPECT_EQ(saved(message), odd);
  message->put_InterpretEmbeddedMails(VARIANT_FALSE);
  put(message.get(), u"Charset", text("utf-8"));
  EXPECT_TRUE(holds(read_text(message.get(), u"MessageHeader"), "MIME-Version: 1.0\r\n"));
  EXPECT_EQ(saved(message), odd);
  put(message.get(), u"Subject", text("two"));
  EXPECT_TRUE(holds(saved(message), "Subject: =?UTF-8?B?dHdv?=\r\n"));

  // A load that fails keeps its bytes, and a change drops them.
  const std::string broken = "Subject: one\r\nContent-Type: multipart/mixed; =x\r\n";
  EXPECT_EQ(load(message, broken), E_ABORT);
  EXPECT_EQ(saved(message), broken);
  put(message.get(), u"Subject", text("two"));
  EXPECT_TRUE(holds(saved(message), "Subject: =?UTF-8?B?dHdv?=\r\n"));
  EXPECT_FALSE(is_dirty(message));
}

TEST(MimeDecoder, FailingLoads) {
  const auto message = loaded(kSmall);
  const auto persist = message.query<IPersistStream>();
  EXPECT_EQ(persist->Load(nullptr), E_INVALIDARG);
  EXPECT_EQ(persist->Save(nullptr, FALSE), E_INVALIDARG);
  EXPECT_FALSE(done(*message, &IMimeDecoder::Load, message.get()));  // no stream
  EXPECT_FALSE(done(*message, &IMimeDecoder::Save, message.get()));
  EXPECT_EQ(read_text(message.get(), u"Subject"), "one");

  EXPECT_EQ(load(message, ""), E_ABORT);
  EXPECT_TRUE(holds(take_error_text(), " in Line 2"));
  EXPECT_EQ(read_text(message.get(), u"Subject"), "");

  EXPECT_EQ(load(message, "Subject: kept\r\nTo: x@y\r\nContent-Type: multipart/mixed; =x\r\n"),
            E_ABORT);
  EXPECT_EQ(read_text(message.get(), u"Subject"), "kept");
  EXPECT_EQ(read(message.get(), u"Body").vt, VT_EMPTY);

  for (const char16_t* path : {u"/no/such/file", u"/", u""}) {
    ASSERT_EQ(load(message, kSmall), S_OK);
    VARIANT_BOOL opened = VARIANT_TRUE;
    EXPECT_EQ(message->LoadFromFile(platform::Bstr(path).get(), &opened), E_FAIL);
    EXPECT_EQ(opened, VARIANT_FALSE);
    EXPECT_EQ(take_error_text(), "File not found: \"" + to_ansi(path) + "\"");
    EXPECT_EQ(read_text(message.get(), u"Subject"), "");
  }
  EXPECT_EQ(load(message, kSmall), S_OK);
  EXPECT_EQ(read(message.get(), u"Body").vt, VT_DISPATCH);
}

TEST(MimeDecoder, LivesThroughAPutThatReleasesIt) {
  auto message = new_message();
  int calls = 0;
  const auto value = make_object<EventSink>([&](DISPID, DISPPARAMS&) {
    ++calls;
    message.reset();
  });
  IMimeDecoder& last = *message;
  EXPECT_EQ(last.put_From(Variant(static_cast<IDispatch*>(value.get()))), S_OK);
  EXPECT_FALSE(message);
  EXPECT_EQ(calls, 1) << "asked for its enumerator once";
}

TEST(MimeDecoder, PutOfSubjectRaisesTheAccessorEvent) {
  const auto message = new_message();
  int changes = 0;
  const auto sink = make_object<EventSink>([&](DISPID event, DISPPARAMS& arguments) {
    EXPECT_EQ(event, _IAccessorEvents::kChanged);
    ASSERT_EQ(arguments.cArgs, 2U);
    EXPECT_EQ(arguments.rgvarg[1].pdispVal, message.get());
    ++changes;
  });
  const Connected connected(message, sink.get());
  put(message.get(), u"Subject", text("s"));
  EXPECT_EQ(changes, 1);
  ComPtr<IConnectionPoint> point;
  EXPECT_EQ(message.query<IConnectionPointContainer>()->FindConnectionPoint(
                _IMimeDecoderEvents::kIid, point.out()),
            S_OK);
}

}  // namespace
}  // namespace tallowbrook::test
