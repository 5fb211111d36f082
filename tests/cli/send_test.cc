// The command "send" against a server of the test's own.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/mail_server.h"
#include "tests/support/mail_texts.h"

namespace tallowbrook::cli {
namespace {

namespace fs = std::filesystem;

using test::MailServer;
using test::Peer;
using test::polite;
using test::say;
using test::Steps;

struct Outcome {
  int status;
  std::string text;
};

constexpr char kHeader[] =
    "From: a@example.org\nTo: b@example.net, c@example.net\nCc: b@example.net, d@example.net\n";

class Send : public ::testing::Test {
 protected:
  Send() {
    std::string name = (fs::temp_directory_path() / "tallowbrook-send.XXXXXX").string();
    folder_ = ::mkdtemp(name.data());
  }
  ~Send() override { fs::remove_all(folder_); }

  [[nodiscard]] std::string file(const std::string& bytes) {
    const fs::path path = folder_ / (std::to_string(++files_) + ".eml");
    std::ofstream(path, std::ios::binary) << bytes;
    return path.string();
  }
  // Both outputs of the program.
  static Outcome run(const std::string& arguments) {
    const std::string program = "'" TALLOWBROOK_BINARY_DIR "/bin/tallowbrook' send ";
    FILE* const pipe = ::popen((program + arguments + " 2>&1").c_str(), "r");
    Outcome outcome{-1, {}};
    std::array<char, 4096> block{};
    for (std::size_t n = 0; (n = std::fread(block.data(), 1, block.size(), pipe)) > 0;) {
      outcome.text.append(block.data(), n);
    }
    const int status = ::pclose(pipe);
    if (WIFEXITED(status)) outcome.status = WEXITSTATUS(status);
    return outcome;
  }
  static Outcome send(const MailServer& server, const std::string& arguments) {
    return run(arguments + " --server 127.0.0.1:" + std::to_string(server.port()));
  }

  fs::path folder_;
  int files_ = 0;
};

TEST_F(Send, EveryoneGetsTheMessageAndNobodySeesBcc) {
  MailServer server(polite());
  const std::string letter = file(std::string(kHeader) +
                                  "BCC : e@example.net,\n\tf@example.net\nSubject: x\n"
                                  "resent-bcc: g@example.net\nX-Bcc: stays\n\n.dot\n..\n.\ntext");
  const auto [status, text] = send(server, letter);
  EXPECT_EQ(status, 0) << text;
  EXPECT_NE(text.find("  recipient  <f@example.net>  accepted\n"), std::string::npos) << text;
  EXPECT_NE(text.find("bytes  accepted: 250 taken\n"), std::string::npos) << text;
  server.stop();
  std::vector<std::string> recipients;
  for (const std::string& command : server.commands) {
    if (command.rfind("RCPT", 0) == 0) recipients.push_back(command.substr(9));
  }
  std::sort(recipients.begin(), recipients.end());
  EXPECT_EQ(recipients,
            (std::vector<std::string>{"<b@example.net>", "<c@example.net>", "<d@example.net>",
                                      "<e@example.net>", "<f@example.net>"}));
  EXPECT_EQ(server.messages,
            std::vector<std::string>{
                "From: a@example.org\r\nTo: b@example.net, c@example.net\r\n"
                "Cc: b@example.net, d@example.net\r\nSubject: x\r\nX-Bcc: stays\r\n\r\n"
                "..dot\r\n...\r\n..\r\ntext\r\n.\r\n"});
}

// A text with its closing dot line is ready as it is; one without gets its dots doubled.
TEST_F(Send, WhatTheReceiverUndoesIsTheFile) {
  for (const auto& [name, text] : test::mail_texts()) {
    for (const bool ready : {false, true}) {
      const bool open = text.back() != '\n';
      std::string content = text;
      if (ready) content += open ? "\r\n.\r\n" : ".\r\n";
      MailServer server(polite());
      const auto [status, output] = send(server, file(content));
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
  const std::string letter = file(std::string(kHeader) + "\ntext\n");
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
  const struct {
    std::string arguments;
    int status;
    const char* text;
  } cases[] = {
      {file("To: b@example.net\n\ntext\n"), 12, "names no sender"},
      {file("From: a@example.org\n\ntext\n"), 13, "names no recipient"},
      {file(std::string(kHeader) + "\ntext\n.\nlost\n.\n"), 1, "text follows the line"},
      {file("no message"), 1, "parse error"},
      {"nowhere.eml", 3, "No such file"},
  };
  for (const auto& c : cases) {
    const auto [status, text] = send(server, c.arguments);
    EXPECT_EQ(status, c.status) << text;
    EXPECT_NE(text.find(c.text), std::string::npos) << text;
  }
  const std::string letter = file(std::string(kHeader) + "Bcc: e@example.net\n\n.dot\n");
  const auto [status, text] = send(server, letter + " --dry-run");
  EXPECT_EQ(status, 0) << text;
  EXPECT_NE(text.find("\n  > RCPT TO: <e@example.net>\n  > DATA\n"), std::string::npos) << text;
  EXPECT_EQ(server.connections, 0);
  for (const char* bad : {"", "''", "host:", "host:x", "host:0", "host:70000", ":25"}) {
    EXPECT_EQ(run(letter + " --server " + bad).status, 2) << bad;
  }
  const int port = server.port();
  server.stop();
  EXPECT_EQ(run(letter + " --server 127.0.0.1:" + std::to_string(port)).status, 10);
}

// The rejected transaction of one message is nothing to the next.
TEST_F(Send, ConnectsAnewAfterARejection) {
  Steps steps = polite();
  steps["MAIL"] = [n = 0](Peer& peer) mutable {
    peer.say(n++ == 1 ? "550 not you\r\n" : "250 fine\r\n");
    return true;
  };
  MailServer server(std::move(steps));
  const std::string letter = file(std::string(kHeader) + "\ntext\n");
  const auto [status, text] = send(server, letter + " " + letter + " " + letter + " " + letter);
  EXPECT_EQ(status, 12) << text;
  server.stop();
  EXPECT_EQ(server.connections, 2);
  EXPECT_EQ(server.messages.size(), 3U);
}

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
  const auto [status, text] = send(server, file(std::string(kHeader) + "\ntext\n") + " --verbose");
  EXPECT_EQ(status, 0) << text;
  for (const char* line : {"  < 220 ready\n", "  < 250-one\n", "  < 250 \\x1B[2J\n", "  > DATA\n",
                           "  ? 250 late\n", "  > QUIT\n"}) {
    EXPECT_NE(text.find(line), std::string::npos) << line << " in\n" << text;
  }
}

}  // namespace
}  // namespace tallowbrook::cli
