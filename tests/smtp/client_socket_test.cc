// The socket object as hosts use it: late-bound, and as the stream that a message is saved into.
#include "smtp/client_socket.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include "core/text.h"
#include "tests/host/script_host.h"
#include "tests/model/host.h"
#include "tests/smtp/deliver.h"
#include "tests/support/mail_server.h"
#include "tests/support/mail_texts.h"

namespace tallowbrook {
namespace {

using platform::ComPtr;
using platform::Variant;
using test::ask;
using test::connect;
using test::deliver;
using test::MailServer;
using test::new_socket;
using test::Peer;
using test::polite;
using test::save;
using test::Steps;

TEST(ClientSocket, AnswersToItsInterfaces) {
  const auto socket = new_socket();
  EXPECT_TRUE(socket.query<IStream>());
  EXPECT_TRUE(socket.query<IClientSocket>());
  const auto errors = socket.query<ISupportErrorInfo>();
  EXPECT_EQ(errors->InterfaceSupportsErrorInfo(IClientSocket::kIid), S_OK);
  EXPECT_EQ(errors->InterfaceSupportsErrorInfo(IStream::kIid), S_FALSE);
}

TEST(ClientSocket, DeliversWhatTheMessageSaves) {
  auto texts = test::mail_texts();
  // More than any buffer on the way holds.
  texts.emplace_back("a text of 50 MB", test::header() + test::lines(50'000'000));
  for (const auto& [name, text] : texts) {
    for (const bool raw_copy : {false, true}) {  // whose closing line the socket adds
      const auto message = test::new_message();
      ASSERT_EQ(message->put_CollectRawStream(raw_copy ? VARIANT_TRUE : VARIANT_FALSE), S_OK);
      ASSERT_EQ(test::load(message, text), S_OK);
      MailServer server(polite(), raw_copy ? 0 : 4096);  // bytes; with few nearly every send waits
      EXPECT_TRUE(deliver(message, server.port())) << name;
      server.stop();
      ASSERT_EQ(server.messages.size(), 1U) << name;
      const std::string end = !raw_copy ? "" : text.back() == '\n' ? ".\r\n" : "\r\n.\r\n";
      EXPECT_TRUE(server.messages[0] == test::saved(message) + end) << name;
    }
  }
}

// One connection may carry several messages, and one that was taken down can be made anew.
TEST(ClientSocket, AConnectionCarriesManyMessages) {
  MailServer server(polite());
  const int before = test::open_descriptors();
  const auto message = test::loaded(test::header() + "text\r\n");
  const auto socket = new_socket();
  for (int connection = 0; connection < 2; ++connection) {
    EXPECT_TRUE(connect(socket, server.port()));
    for (int i = 0; i < 3; ++i) {
      EXPECT_TRUE(ask(socket, u"PrepareSMTP", message.get()));
      EXPECT_TRUE(save(message, socket));
      EXPECT_TRUE(ask(socket, u"GetResultSMTP"));
    }
    EXPECT_TRUE(ask(socket, u"DisconnectSMTP"));
  }
  server.stop();
  EXPECT_EQ(server.messages.size(), 6U);
  EXPECT_EQ(server.connections, 2);
  EXPECT_LT(test::open_descriptors(), before);  // the listening socket is closed, and no other left
}

TEST(ClientSocket, ANullServerKeepsTheLastOne) {
  MailServer server(polite());
  const auto socket = new_socket().query<IClientSocket>();
  VARIANT_BOOL done = VARIANT_FALSE;
  EXPECT_EQ(socket->ConnectSMTP(platform::Bstr(u"127.0.0.1").get(), server.port(), &done), S_OK);
  EXPECT_EQ(done, VARIANT_TRUE);
  EXPECT_EQ(socket->DisconnectSMTP(&done), S_OK);
  EXPECT_EQ(socket->ConnectSMTP(nullptr, 1, &done), S_OK);
  EXPECT_EQ(done, VARIANT_TRUE);
  EXPECT_EQ(socket->DisconnectSMTP(nullptr), E_POINTER);
  EXPECT_EQ(socket->PrepareSMTP(nullptr, &done), S_OK);
  EXPECT_EQ(done, VARIANT_FALSE);
}

TEST(ClientSocket, StreamMovesBytesOnceAndRefusesTheRest) {
  MailServer server([](Peer& peer) {
    peer.say("220 ready\r\n");
    std::string line;
    while (peer.line(line)) peer.say(line == "NOOP" ? "252 well\r\n" : "250 hello\r\n");
  });
  const auto socket = new_socket();
  const auto stream = socket.query<IStream>();
  char bytes[32]{};
  ULONG count = 9;
  EXPECT_EQ(stream->Write("x", 1, &count), E_FAIL);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(stream->Read(bytes, 1, &count), E_FAIL);
  ASSERT_TRUE(connect(socket, server.port()));
  EXPECT_EQ(stream->Write("NOOP\r\n", 6, &count), S_OK);
  EXPECT_EQ(count, 6U);
  EXPECT_EQ(stream->Write("", 0, nullptr), S_OK);
  EXPECT_EQ(stream->Write(nullptr, 1, nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(stream->Read(bytes, sizeof bytes, &count), S_OK);
  EXPECT_EQ(std::string(bytes, count), "252 well\r\n");
  ULARGE_INTEGER size{};
  STATSTG stat{};
  ComPtr<IStream> clone;
  EXPECT_EQ(stream->Seek({0}, STREAM_SEEK_SET, &size), E_NOTIMPL);
  EXPECT_EQ(stream->SetSize(size), E_NOTIMPL);
  EXPECT_EQ(stream->CopyTo(stream.get(), size, &size, &size), E_NOTIMPL);
  EXPECT_EQ(stream->Commit(0), E_NOTIMPL);
  EXPECT_EQ(stream->Stat(&stat, 0), E_NOTIMPL);
  EXPECT_EQ(stream->Clone(clone.out()), E_NOTIMPL);
  EXPECT_FALSE(ask(socket, u"DisconnectSMTP"));  // QUIT is answered with 250
}

// A connection that breaks in the middle of a message fails the save; no SIGPIPE ends the host.
TEST(ClientSocket, ABrokenConnectionFailsTheSave) {
  const auto before = std::signal(SIGPIPE, SIG_DFL);
  for (const bool reset : {false, true}) {
    Steps steps = polite();
    steps["DATA"] = [reset](Peer& peer) {
      peer.say("354 go on\r\n");
      test::pause(20);
      if (reset) peer.reset();
      return false;
    };
    MailServer server(std::move(steps));
    const auto message = test::loaded(test::header() + test::lines(8'000'000));
    const auto socket = new_socket();
    ASSERT_TRUE(connect(socket, server.port()));
    ASSERT_TRUE(ask(socket, u"PrepareSMTP", message.get()));
    EXPECT_FALSE(save(message, socket));
    ULONG count = 9;
    EXPECT_EQ(socket.query<IStream>()->Write("x", 1, &count),
              make_status(0x80070000U | WSAECONNRESET));
    EXPECT_EQ(count, 0U);
    EXPECT_FALSE(ask(socket, u"GetResultSMTP"));
    ask(socket, u"DisconnectSMTP");
    EXPECT_EQ(socket.query<IStream>()->Write("x", 1, nullptr), E_FAIL);
  }
  std::signal(SIGPIPE, before);
}

// ---- messages that are none of ours ---------------------------------------------------------

// A host's object with one property, or for its default member a list of items.
ComPtr<IDispatch> foreign(test::Behaviour behaviour) {
  return make_object<test::ScriptObject>(std::move(behaviour));
}

TEST(ClientSocket, AnyObjectWithThePropertiesIsAMessage) {
  std::vector<Variant> routes;
  for (int i = 0; i < 200; ++i) {
    routes.emplace_back(to_wide("<" + std::to_string(i) + "@x.org>"));
  }
  routes[7] = Variant(u"");  // a group without members: no mailbox
  Variant size(u"200");
  const auto recipients = foreign([&](const test::HostCall& list) {
    if (list.name == u"Count") {
      return size.vt == VT_EMPTY ? E_FAIL : VariantCopy(list.result, &size);
    }
    const auto& arguments = list.arguments;
    if (!list.name.empty() || arguments.cArgs != 1) return DISP_E_MEMBERNOTFOUND;
    const auto person = foreign(
        [&route = routes.at(static_cast<std::size_t>(arguments.rgvarg[0].lVal))](const auto& call) {
          if (call.name != u"RouteAddress" || route.vt == VT_EMPTY) return DISP_E_MEMBERNOTFOUND;
          return VariantCopy(call.result, &route);
        });
    Variant(person.get()).detach_to(list.result);
    return S_OK;
  });
  const auto message = foreign([&](const test::HostCall& call) {
    if (call.name != u"Sender") Variant(recipients.get()).detach_to(call.result);
    return S_OK;
  });

  MailServer server(polite());
  const auto socket = new_socket();
  ASSERT_TRUE(connect(socket, server.port()));
  EXPECT_TRUE(ask(socket, u"PrepareSMTP", message.get()));
  EXPECT_TRUE(ask(socket, u"GetResultSMTP"));

  // A recipient that cannot be read, or not be written, stops the transaction before its start.
  for (const Variant& broken : {Variant(), Variant(u"<\u2603@x.org>")}) {
    routes[150] = broken;
    EXPECT_FALSE(ask(socket, u"PrepareSMTP", message.get()));
  }
  size = Variant();
  EXPECT_FALSE(ask(socket, u"PrepareSMTP", message.get()));
  size = Variant(LONG{0});  // a list without entries is none that cannot be read
  EXPECT_TRUE(ask(socket, u"PrepareSMTP", message.get()));
  EXPECT_TRUE(ask(socket, u"GetResultSMTP"));
  EXPECT_TRUE(ask(socket, u"DisconnectSMTP"));
  server.stop();
  ASSERT_EQ(server.commands.size(), 205U);
  EXPECT_EQ(server.commands[1], "MAIL From: <0@x.org>");
  EXPECT_EQ(server.commands[200], "RCPT TO: <199@x.org>");
  EXPECT_EQ(server.commands[203], "DATA");
}

}  // namespace
}  // namespace tallowbrook
