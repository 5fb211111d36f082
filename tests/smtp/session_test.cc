// The session against servers that behave, and against every way in which they do not.
#include "smtp/session.h"

#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "core/text.h"
#include "platform/kernel/debug_output.h"
#include "tests/model/host.h"
#include "tests/support/mail_server.h"

namespace tallowbrook {
namespace {

using platform::ComPtr;
using test::Action;
using test::MailServer;
using test::Peer;
using test::polite;
using test::say;
using test::Steps;

constexpr char kMessage[] =
    "From: a@example.org\r\nTo: b@example.net, c@example.net\r\nSubject: hello\r\n\r\ntext\r\n";

class Session : public ::testing::Test {
 protected:
  static CSMTP* connect(CSMTP& session, const MailServer& server) {
    session.set_server("127.0.0.1", server.port());
    return session.connect_session() ? &session : nullptr;
  }
  static bool prepare(CSMTP& session, std::string_view message = kMessage) {
    return session.prepare(test::loaded(message).get());
  }
};

// ---- the envelope ---------------------------------------------------------------------------

TEST_F(Session, EnvelopeComesFromSenderFromAndTo) {
  const struct {
    const char* header;
    std::vector<std::string> commands;  // none: nothing is sent
  } cases[] = {
      {"Sender: s@x.org\r\nFrom: a@x.org\r\nTo: b@x.org\r\n",
       {"MAIL From: <s@x.org>", "RCPT TO: <b@x.org>", "DATA"}},
      {"From: a@x.org, c@x.org\r\nTo: b@x.org\r\nCc: d@x.org\r\nBcc: e@x.org\r\n",
       {"MAIL From: <a@x.org>", "RCPT TO: <b@x.org>", "DATA"}},
      {"From: Ann Other <a@x.org>\r\nTo: \"B, b\" <b@x.org>\r\n",
       {"MAIL From: <a@x.org>", "RCPT TO: <b@x.org>", "DATA"}},
      {"Sender:\r\nFrom: A. B. <a@x.org>\r\nTo: Team: b@x.org, C. <@h:c@x.org>; (d)\r\n",
       {"MAIL From: <a@x.org>", "RCPT TO: <b@x.org>", "RCPT TO: <@h:c@x.org>", "DATA"}},
      {"From: \"a:<b>;\"@x.org\r\nTo: c@[IPv6:::1]\r\nTo: Team: d@x.org, e@x.org;\r\n",
       {"MAIL From: <\"a:<b>;\"@x.org>", "RCPT TO: <c@[IPv6:::1]>", "RCPT TO: <d@x.org>",
        "RCPT TO: <e@x.org>", "DATA"}},
      {"From: a@x.org\r\nTo: B <b@x.org> C <c@x.org>\r\n",  // not one of them alone
       {"MAIL From: <a@x.org>", "RCPT TO: <B <b@x.org> C <c@x.org>", "DATA"}},
      {"From: a@x.org\r\n", {}},
      {"To: b@x.org\r\n", {}},
      {"Sender: Team:;\r\nFrom: Team:;\r\nTo: b@x.org\r\n", {}},
  };
  for (const auto& c : cases) {
    MailServer server(polite());
    {
      CSMTP session;
      ASSERT_TRUE(connect(session, server));
      EXPECT_EQ(prepare(session, std::string(c.header) + "\r\n"), !c.commands.empty()) << c.header;
    }
    server.stop();
    const std::size_t last = c.commands.empty() ? 2 : 1 + c.commands.size();
    ASSERT_EQ(server.commands.size(), last) << c.header;
    for (std::size_t i = 0; i < c.commands.size(); ++i) {
      EXPECT_EQ(server.commands[i + 1], c.commands[i]);
    }
  }
}

// No address can hold a command, and none of the transaction is sent.
TEST_F(Session, AddressesWithLineEndsOrNulsAreRefused) {
  const std::vector<std::string> bad = {"x@y>\r\nRCPT TO: <evil@x.org", "x\ny@x.org", "x\ry@x.org",
                                        std::string("x\0y@x.org", 9)};
  for (const std::string& address : bad) {
    for (const char16_t* field : {u"Sender", u"To"}) {
      MailServer server(polite());
      const auto message = test::loaded("From: a@x.org\r\nTo: b@x.org\r\n\r\n");
      ASSERT_EQ(test::put(message.get(), field, test::text(address)), S_OK);
      CSMTP session;
      ASSERT_TRUE(connect(session, server));
      EXPECT_FALSE(session.prepare(message.get())) << address;
      EXPECT_EQ(session.last_error(), "Address holds a line end or a NUL");
      EXPECT_EQ(session.write("RSET\r\n"), -1);
      EXPECT_FALSE(session.result());
      EXPECT_TRUE(session.disconnect_session());
      server.stop();
      EXPECT_EQ(server.commands.size(), 2U);
    }
  }
}

TEST_F(Session, WithoutAConnectionNothingIsDone) {
  CSMTP session;
  EXPECT_FALSE(prepare(session));
  EXPECT_EQ(session.last_error(), "Must be connected");
  EXPECT_FALSE(session.result());
  EXPECT_TRUE(session.disconnect_session());
  session.set_server("no such host", 25);
  EXPECT_FALSE(session.connect_session());
  EXPECT_EQ(session.last_error(), "Hostname could not be resolved.");
  session.set_server(std::string("127.0.0.1\0.example", 18), 25);
  EXPECT_FALSE(session.connect_session());
  EXPECT_EQ(session.last_error(), "Hostname could not be resolved.");
  for (const LONG port : {0, -1, 65536 + 25}) {
    session.set_server("127.0.0.1", port);
    EXPECT_FALSE(session.connect_session());
    EXPECT_EQ(session.last_error(), CWinSockException(WSAEADDRNOTAVAIL).what());
  }
  const int before = test::open_descriptors();
  session.set_server("127.0.0.1", test::dead_port());
  EXPECT_FALSE(session.connect_session());
  EXPECT_EQ(session.last_error(), CWinSockException(WSAECONNREFUSED).what());
  EXPECT_FALSE(session.is_open());
  EXPECT_EQ(test::open_descriptors(), before);
}

// ---- faults of servers ----------------------------------------------------------------------

struct Step {
  const char* verb;
  const char* reply;
  const char* failure;  // the text of its row
};
const Step kSteps[] = {
    {"", "220", "SMTP server not available"},
    {"HELO", "250", "SMTP server error"},
    {"MAIL", "250", "SMTP server error"},
    {"RCPT", "250", "SMTP server error"},
    {"DATA", "354", "SMTP server not ready for data"},
    {".", "250", "SMTP server error"},
    {"QUIT", "221", "SMTP server didn't terminate session"},
};

enum class Effect { kNone, kFails, kEnds };  // the connection goes on, goes on rejected, is gone

struct Fault {
  const char* name;
  Effect effect;
  const char* code;  // that the error text begins with; null: that of a reset connection
  std::vector<std::string> packets;  // "%" stands for the code that is due
  void (Peer::*end)() = nullptr;     // what ends the connection behind them
};
const Fault kFaults[] = {
    {"closes", Effect::kEnds, "0", {}, &Peer::close},
    {"closes in the middle", Effect::kEnds, "2", {"2"}, &Peer::close},
    {"resets", Effect::kEnds, nullptr, {}, &Peer::reset},
    {"answers in two packets", Effect::kNone, "", {"% fi", "ne\r\n"}},
    {"breaks the code in two", Effect::kFails, "2", {"2", "50 late\r\n"}},
    {"answers with several lines", Effect::kNone, "", {"%-one\r\n%-two\r\n% three\r\n"}},
    {"answers with several packets", Effect::kNone, "", {"%-one\r\n", "% two\r\n"}},
    {"has a code of four digits", Effect::kNone, "", {"%0\r\n"}},
    {"has a code of two digits", Effect::kFails, "25", {"25\r\n"}},
    {"has no code", Effect::kFails, "0", {"abc\r\n"}},
    {"says an empty line", Effect::kFails, "0", {"\r\n"}},
    {"rejects", Effect::kFails, "554", {"554 no\r\n"}},
    {"says 10 KB without a line end", Effect::kFails, "0", {std::string(10240, 'x')}},
};

Action action_of(const Fault& fault, const std::string& reply) {
  return [&fault, reply](Peer& peer) {
    for (const std::string& packet : fault.packets) {
      if (&packet != &fault.packets.front()) test::pause(30);
      peer.say(std::regex_replace(packet, std::regex("%"), reply));
    }
    if (fault.end == nullptr) return true;
    if (!fault.packets.empty()) test::pause(20);  // so that they arrive
    (peer.*fault.end)();
    return false;
  };
}

// Which steps succeed, and with what text the others fail: greeting and HELO decide Connect, MAIL
// and DATA decide Prepare.
void expect_outcome(const Step& step, const Fault& fault, int port) {
  SCOPED_TRACE(std::string("at \"") + step.verb + "\" the server " + fault.name);
  const std::string verb = step.verb;
  const bool fails = fault.effect != Effect::kNone;
  const bool ends = fault.effect == Effect::kEnds;
  const bool in_connect = verb.empty() || verb == "HELO";
  const bool in_prepare = verb == "MAIL" || verb == "DATA" || verb == "RCPT";
  std::string expected = fault.code == nullptr ? CWinSockException(WSAECONNRESET).what()
                                               : std::string(fault.code) + ":" + step.failure;
  if (verb.empty()) expected = "Server didn't respond.";
  if (!fails) expected = "OK";

  CSMTP session("127.0.0.1", port);
  EXPECT_EQ(session.connect_session(), !(in_connect && fails)) << session.last_error();
  EXPECT_EQ(session.connected(), !(in_connect && fails));
  if (in_connect) {
    EXPECT_EQ(session.last_error(), expected);
  }
  if (!session.connected()) return;

  const bool prepared = session.prepare(test::loaded(kMessage).get());
  EXPECT_EQ(prepared, !(in_prepare && fails && (verb != "RCPT" || ends))) << session.last_error();
  if (in_prepare && !(verb == "RCPT" && ends)) {
    EXPECT_EQ(session.last_error(), expected);
  }
  if (prepared) {
    EXPECT_EQ(session.write("text"), 4);
    EXPECT_EQ(session.result(), !(verb == "." && fails)) << session.last_error();
    if (verb == ".") {
      EXPECT_EQ(session.last_error(), expected);
    }
  }
  const bool left = session.disconnect_session();
  EXPECT_FALSE(session.connected());
  if (verb == "QUIT") {
    EXPECT_EQ(left, !fails);
    EXPECT_EQ(session.last_error(), expected);
  } else if (verb == "DATA" && fails && !ends && fault.code != std::string("554")) {
    EXPECT_FALSE(left);  // the server may wait for a text and would take QUIT for its first line
  } else if (!(ends && (in_prepare || verb == "."))) {
    EXPECT_TRUE(left) << session.last_error();
  }
}

TEST_F(Session, FaultsOfServersFailTheStepAndNoMore) {
  const int before = test::open_descriptors();
  for (const Step& step : kSteps) {
    for (const Fault& fault : kFaults) {
      Steps steps = polite();
      steps[step.verb] = action_of(fault, step.reply);
      MailServer server(std::move(steps));
      const auto start = std::chrono::steady_clock::now();
      expect_outcome(step, fault, server.port());
      EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5)) << fault.name;
      server.stop();
      EXPECT_EQ(test::open_descriptors(), before) << fault.name << " at " << step.verb;
    }
  }
}

// A server that says nothing is waited for; that it closes ends the wait.
TEST_F(Session, ASilentServerBlocksUntilItCloses) {
  MailServer server([](Peer&) { test::pause(400); });
  CSMTP session("127.0.0.1", server.port());
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(session.connect_session());
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(350));
  EXPECT_EQ(session.last_error(), "Server didn't respond.");
}

// All steps at once, so that the test takes no longer than the slowest of them.
TEST_F(Session, ThreadsWaitForSlowServers) {
  std::vector<std::thread> threads;
  std::atomic<int> delivered{0};
  for (const Step& slow : kSteps) {
    threads.emplace_back([&slow, &delivered] {
      Steps steps = polite();
      steps[slow.verb] = [at_once = steps[slow.verb]](Peer& peer) {
        test::pause(3000);
        return at_once(peer);
      };
      MailServer server(std::move(steps));
      CSMTP session("127.0.0.1", server.port());
      const std::string text = "From: a@example.org\r\nTo: b@example.net\r\n\r\n";
      if (session.connect_session() && session.prepare(test::loaded(text).get()) &&
          session.write("text\r\n.\r\n") == 9 && session.result() && session.disconnect_session()) {
        ++delivered;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(delivered, 7);
}

TEST_F(Session, ARejectedRecipientDoesNotStopTheRest) {
  for (const bool all : {false, true}) {
    Steps steps = polite();
    steps["RCPT"] = [all, n = 0](Peer& peer) mutable {
      peer.say(all || n++ == 0 ? "550 no such user\r\n" : "250 fine\r\n");
      return true;
    };
    if (all) steps["DATA"] = say("503 no recipients\r\n");
    MailServer server(std::move(steps));
    CSMTP session;
    ASSERT_TRUE(connect(session, server));
    EXPECT_EQ(prepare(session), !all);
    EXPECT_EQ(session.last_error(),
              all ? "503:SMTP server not ready for data" : "550:SMTP server error");
  }
}

// ---- the text of a message ------------------------------------------------------------------

// Result supplies the end that is missing; nothing is taken behind it, and an ambiguous one breaks
// the connection off.
TEST_F(Session, TheTextEndsOnceAndClearly) {
  const struct {
    std::vector<std::pair<std::string, int>> writes;  // and what each returns
    std::string received;                             // nothing: the connection is broken off
    const char* error = "OK";
  } cases[] = {
      {{{"text\r\n.\r\nMAIL From: <evil@x.org>\r\n", 9}, {"MAIL From: <evil@x.org>\r\n", -1}},
       "text\r\n.\r\n",
       "Data refused, server is not ready for it"},
      {{{"text\n", 5}, {".\nMAIL From: <evil@x.org>\r\n", -1}},
       "",
       "Line end around a lone dot is not CR LF"},
      {{}, ".\r\n"},
      {{{"text", 4}}, "text\r\n.\r\n"},
      {{{"text\r", 5}}, "text\r\n.\r\n"},
      {{{"text\r\n", 6}}, "text\r\n.\r\n"},
      {{{"text\r\n.", 7}}, "text\r\n.\r\n"},
      {{{"text\r\n.\r", 8}}, "text\r\n.\r\n"},
  };
  for (const auto& c : cases) {
    MailServer server(polite());
    CSMTP session;
    ASSERT_TRUE(connect(session, server));
    ASSERT_TRUE(prepare(session));
    for (const auto& [text, sent] : c.writes) EXPECT_EQ(session.write(text), sent) << text;
    EXPECT_EQ(session.last_error(), c.error);
    const bool goes_on = !c.received.empty();
    EXPECT_EQ(session.connected(), goes_on);
    EXPECT_EQ(session.result(), goes_on) << c.received;
    EXPECT_TRUE(session.disconnect_session()) << session.last_error();
    server.stop();
    EXPECT_EQ(server.commands.size(), goes_on ? 6U : 5U);
    EXPECT_EQ(server.messages, std::vector<std::string>(goes_on ? 1 : 0, c.received));
  }
}

// The server must not take half of a message for the whole, nor QUIT for a line of it.
TEST_F(Session, DisconnectingInTheMiddleOfATextDropsIt) {
  for (const bool prepares_again : {false, true}) {
    MailServer server(polite());
    CSMTP session;
    ASSERT_TRUE(connect(session, server));
    ASSERT_TRUE(prepare(session));
    session.write("half of the text\r\n");
    if (prepares_again) {
      EXPECT_FALSE(prepare(session, "From: a@x.org\r\n\r\n"));
    }
    EXPECT_FALSE(session.disconnect_session());
    EXPECT_FALSE(session.connected());
    EXPECT_EQ(session.last_error(), "Message data was not finished");
    server.stop();
    EXPECT_TRUE(server.messages.empty());
  }
}

// Bytes that do not go out at once: the watch follows what was sent, not what was given.
TEST_F(Session, ShortSendsAreCountedAndWatchedAsSent) {
  Steps steps = polite();
  steps["DATA"] = [](Peer& peer) {
    peer.say("354 go on\r\n");
    test::pause(200);
    return true;
  };
  MailServer server(std::move(steps), 4096);
  std::string text;
  while (text.size() < 8'000'000) text += "..a line with a dot. and more\r\n";
  text += ".\r\n";
  CSMTP session;
  ASSERT_TRUE(connect(session, server));
  ASSERT_TRUE(prepare(session));
  session.set_blocking(false);
  std::size_t done = 0;
  int writes = 0;
  for (; done < text.size(); ++writes) {
    const int sent = session.write(std::string_view(text).substr(done));
    ASSERT_GE(sent, 0);
    done += static_cast<std::size_t>(sent);
  }
  EXPECT_GT(writes, 1);
  EXPECT_TRUE(session.result());
  EXPECT_TRUE(session.disconnect_session());
  server.stop();
  ASSERT_EQ(server.messages.size(), 1U);
  EXPECT_TRUE(server.messages[0] == text);
}

// ---- what the debug output tells ------------------------------------------------------------

TEST_F(Session, TheDebugOutputTellsTheDialogue) {
  std::mutex lock;
  std::string told;
  platform::SetDebugOutputHandler([&](std::string_view text) {
    const std::lock_guard hold(lock);
    told += text;
  });
  Steps steps = polite();
  steps["MAIL"] = say("250-fine\r\n250 \x1B[31mred\r\n");
  steps["RCPT"] = say("550 no\r\n");
  MailServer server(std::move(steps));
  CSMTP session;
  EXPECT_EQ(session.last_error(), "OK");
  for (const bool again : {false, true}) EXPECT_TRUE(connect(session, server)) << again;
  EXPECT_TRUE(prepare(session, "From: a@x.org\r\nTo: b@x.org\r\n\r\n"));
  EXPECT_EQ(session.write("text\r\n"), 6);
  EXPECT_TRUE(session.result());
  for (const bool again : {false, true}) EXPECT_TRUE(session.disconnect_session()) << again;
  platform::SetDebugOutputHandler({});
  char name[256]{};
  ASSERT_EQ(::gethostname(name, sizeof name - 1), 0);
  EXPECT_EQ(told, "SMTP * connected to 127.0.0.1:" + std::to_string(server.port()) +
                      "\nSMTP < 220 ready\nSMTP > HELO " + name +
                      "\nSMTP < 250 hello\nSMTP > MAIL From: <a@x.org>\nSMTP < 250-fine\n"
                      "SMTP < 250 \\x1B[31mred\nSMTP > RCPT TO: <b@x.org>\nSMTP < 550 no\n"
                      "SMTP ! 550:SMTP server error\nSMTP > DATA\nSMTP < 354 go on\n"
                      "SMTP > (9 bytes of message)\nSMTP < 250 taken\nSMTP > QUIT\n"
                      "SMTP < 221 bye\n");
}

}  // namespace
}  // namespace tallowbrook
