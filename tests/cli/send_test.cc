// The command "send" against a server of the test's own.
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "cli/routes.h"
#include "tests/cli/program.h"
#include "tests/support/mail_server.h"
#include "tests/support/mail_texts.h"

namespace tallowbrook::cli {
namespace {

using test::MailServer;
using test::Peer;
using test::polite;
using test::say;
using test::Steps;

constexpr char kHeader[] =
    "From: a@example.org\nTo: b@example.net, c@example.net\nCc: b@example.net, d@example.net\n";

class Send : public Cli {
 protected:
  std::string letter_of(const std::string& bytes) {
    return file(std::to_string(++letters_) + ".eml", bytes).string();
  }
  static Outcome send(const MailServer& server, const std::string& arguments) {
    return run_with_errors("send " + arguments +
                           " --server 127.0.0.1:" + std::to_string(server.port()));
  }

 private:
  int letters_ = 0;
};

TEST(Routes, AreTheMailboxesThatAFieldMeans) {
  using List = std::vector<std::string>;
  const struct {
    std::string field;
    List routes;
  } cases[] = {
      {" a@x.org,\r\n B <b@x.org>, \"C, c\" <c@x.org>\r\n",
       {"<a@x.org>", "<b@x.org>", "<c@x.org>"}},
      {"z@x.org, Team: a@x.org, \"B: b\" <b@x.org>;, c@x.org",
       {"<z@x.org>", "<a@x.org>", "<b@x.org>", "<c@x.org>"}},
      {"undisclosed-recipients:;", {}},
      {"a@x.org; b@x.org,, c@x.org,", {"<a@x.org>", "<b@x.org>", "<c@x.org>"}},
      {"John Q. Public <j@x.org> Ann <a@x.org> b@x.org", {"<j@x.org>", "<a@x.org>", "<b@x.org>"}},
      {"a@x.org (A (of \\) \"B\"), <x@y>), (c) b@x.org", {"<a@x.org>", "<b@x.org>"}},
      {"Bob <b@x.org, c@x.org, <d@x.org <e@x.org>",
       {"<b@x.org>", "<c@x.org>", "<d@x.org>", "<e@x.org>"}},
      {"\"not closed <a@x.org>, b@x.org (nor this", {"<a@x.org>", "<b@x.org>"}},
      {"<@h1,@h2:a@x.org>, <mailto:b@x.org>, @h:c@x.org", {"<a@x.org>", "<b@x.org>", "<c@x.org>"}},
      {"\"a,\r\n <b\" . c @ x . org, <\"d e>\"@[IPv6:::1]>, f@[1.2.3.4]",
       {"<\"a, <b\".c@x.org>", "<\"d e>\"@[IPv6:::1]>", "<f@[1.2.3.4]>"}},
      {"root, b at x.org, , A [x] <a@x.org>, <>", {"<root>", "<b at x.org>", "<a@x.org>", "<>"}},
      {std::string("m\xFC\0@x.org", 9), {"<m\xFC@x.org>"}},
  };
  for (const auto& c : cases) EXPECT_EQ(routes_in(c.field), c.routes) << c.field;
  // Nothing is searched twice.
  for (const char* piece : {"(", "\"", "\\\"", "<", "<a,", "@[", ":", " ", "<\"", "a@b:", "<(<"}) {
    std::string field;
    while (field.size() < 300'000) field += piece;
    static_cast<void>(routes_in(field));
  }
}

TEST_F(Send, EveryoneGetsTheMessageAndNobodySeesBcc) {
  MailServer server(polite());
  const std::string letter = letter_of(
      "From b@example.net Mon Jan  1 00:00:00 2024\nSender:\nFrom: A. B. <a@example.org>\n"
      "To: Team: b@example.net, C <c@example.net>;\nBCC : e@example.net,,\n\tf@example.net\n"
      "Cc: b@example.net; d@example.net\nSubject: x\nresent-bcc: g@example.net\nX-Bcc: stays\n"
      "To: h@example.net\n\n.dot\r.\rFrom me\n..\n.\n" +
      test::lines(20'000) + "text");
  const auto [status, text] = send(server, letter);
  EXPECT_EQ(status, 0) << text;
  EXPECT_NE(text.find("  recipient  <f@example.net>  accepted\n"), std::string::npos) << text;
  EXPECT_NE(text.find("bytes  accepted: 250 taken\n"), std::string::npos) << text;
  server.stop();
  std::vector<std::string> people;
  for (const std::string& command : server.commands) {
    const std::size_t colon = command.find(": ");
    if (colon != command.npos) people.push_back(command.substr(colon + 2));
  }
  EXPECT_EQ(people, (std::vector<std::string>{
                        "<a@example.org>", "<b@example.net>", "<c@example.net>", "<h@example.net>",
                        "<d@example.net>", "<e@example.net>", "<f@example.net>"}));
  ASSERT_EQ(server.messages.size(), 1U);
  EXPECT_EQ(server.messages[0],
            "Sender:\r\nFrom: A. B. <a@example.org>\r\n"
            "To: Team: b@example.net, C <c@example.net>;\r\n"
            "Cc: b@example.net; d@example.net\r\nSubject: x\r\nX-Bcc: stays\r\n"
            "To: h@example.net\r\n\r\n..dot\r\n..\r\nFrom me\r\n...\r\n..\r\n" +
                test::lines(20'000) + "text\r\n.\r\n");
}

// A text with its closing dot line is ready as it is; one without gets its dots doubled.
TEST_F(Send, WhatTheReceiverUndoesIsTheFile) {
  for (const auto& [name, text] : test::mail_texts()) {
    for (const bool ready : {false, true}) {
      const bool open = text.back() != '\n';
      std::string content = text;
      if (ready) content += open ? "\r\n.\r\n" : ".\r\n";
      MailServer server(polite());
      const auto [status, output] = send(server, letter_of(content));
      EXPECT_EQ(status, 0) << name << output;
      server.stop();
      ASSERT_EQ(server.messages.size(), 1U) << name;
      const std::string arrived = test::undone(server.messages[0]);
      const std::string wanted = ready ? test::undone(content) : text + (open ? "\r\n" : "");
      EXPECT_TRUE(arrived == wanted) << name << ready;
    }
  }
}

TEST_F(Send, ExitStatusTellsThePhase) {
  const struct {
    const char* verb;
    test::Action action;
    int status;
    const char* text;
  } cases[] = {
      {"", say("554 go away\r\n"), 11, "554 go away"},
      {"HELO", say("501 who?\r\n"), 11, "501 who?"},
      {"MAIL", say("550 not you\r\n"), 12, "the sender was rejected: 550 not you"},
      {"RCPT", say("550 nobody\r\n"), 13, "rejected: 550 nobody"},
      {"DATA", say("451 later\r\n"), 14, "the text was refused: 451 later"},
      {".", say("552 too large\r\n"), 15, "the message was not taken: 552 too large"},
      {".", [](Peer&) { return false; }, 15, "the message was not taken"},
      {"QUIT", say("250 no\r\n"), 0, "accepted: 250 taken"},
  };
  const std::string letter = letter_of(std::string(kHeader) + "\ntext\n");
  for (const auto& c : cases) {
    Steps steps = polite();
    steps[c.verb] = c.action;
    MailServer server(std::move(steps));
    const auto [status, text] = send(server, letter);
    EXPECT_EQ(status, c.status) << c.verb << text;
    EXPECT_NE(text.find(c.text), std::string::npos) << c.verb << text;
    server.stop();
    EXPECT_LE(server.messages.size(), c.status == 15 || c.status == 0 ? 1U : 0U) << c.verb;
  }
}

TEST_F(Send, WhatCannotBeSentIsToldBeforeAnyConnection) {
  MailServer server(polite());
  expect_told(
      "send --server 127.0.0.1:" + std::to_string(server.port()),
      {
          {letter_of("To: b@example.net\n\ntext\n"), 12, "names no sender"},
          {letter_of("From: a@example.org\n\ntext\n"), 13, "names no recipient"},
          {letter_of(std::string(kHeader) + "\ntext\n.\nlost\n.\n"), 1, "text follows the line"},
          {letter_of("no message"), 1, "parse error"},
          {"nowhere.eml", 3, "No such file"},
      });
  const std::string letter = letter_of(std::string(kHeader) + "Bcc: e@example.net\n\n.dot\n");
  EXPECT_EQ(send(server, letter + " --dry-run").status, 0);
  EXPECT_EQ(server.connections, 0);
  for (const char* bad : {"", "''", "host:", "host:x", "host:0", "host:70000", ":25", "[]:25",
                          "[127.0.0.1]25", "[::1]:25", "::1"}) {
    EXPECT_EQ(run_with_errors("send " + letter + " --server " + bad).status, 2) << bad;
  }
  server.stop();
  EXPECT_EQ(send(server, letter).status, 10);
}

// The rejected transaction of one message is nothing to the next.
TEST_F(Send, ConnectsAnewAfterARejection) {
  Steps steps = polite();
  steps["MAIL"] = [n = 0](Peer& peer) mutable {
    peer.say(n++ == 1 ? "550 not you\r\n" : "250 fine\r\n");
    return true;
  };
  MailServer server(std::move(steps));
  const std::string letter = letter_of(std::string(kHeader) + "\ntext\n");
  const auto [status, text] = send(server, letter + " " + letter + " " + letter + " " + letter);
  EXPECT_EQ(status, 12) << text;
  server.stop();
  EXPECT_EQ(server.connections, 2);
  EXPECT_EQ(server.messages.size(), 3U);
}

// What --dry-run shows is what is said, over one connection.
TEST_F(Send, VerbosePrintsBothSidesAndNoControlCharacters) {
  Steps steps = polite();
  steps["HELO"] = say("250-one\r\n250 \x1B[2J\r\n");
  steps["RCPT"] = [](Peer& peer) {
    peer.say("250-two\r\n");
    test::pause(100);
    peer.say("250 late\r\n");
    return true;
  };
  MailServer server(std::move(steps));
  std::string letters = letter_of(std::string(kHeader) + "\n.text");
  letters += " " + letter_of("From: m\xFC@x.org\nTo: m\xC3\xBC@x.org\n\n.\n");
  const auto [status, text] = send(server, letters + " --verbose");
  EXPECT_EQ(status, 0) << text;
  for (const char* line :
       {"  < 220 ready\n", "  < 250-one\n", "  < 250 \\x1B[2J\n", "  ? 250 late\n",
        "  > MAIL From: <m\xC3\xBC@x.org>\n", "  > RCPT TO: <m\xC3\xBC@x.org>\n"}) {
    EXPECT_NE(text.find(line), std::string::npos) << line << " in\n" << text;
  }
  const std::string said = std::regex_replace(text, std::regex("(^|\n)  [^>][^\n]*(?=\n)"), "");
  EXPECT_EQ(said, send(server, letters + " --dry-run").text);
}

}  // namespace
}  // namespace tallowbrook::cli
