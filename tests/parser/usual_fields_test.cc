// Usual header fields that go past the grammar are stored as the grammar stores them.
#include "parser/usual_fields.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>

#include "parser/load.h"
#include "tests/support/dump.h"
#include "tests/support/host_stream.h"
#include "tests/support/scratch_folder.h"

namespace tallowbrook::test {
namespace {

// All that a load leaves behind.
std::string outcome(const std::string& text, bool only_grammar) {
  MessageStore store;
  HostStream input(text);
  ParseRun run;
  run.store = &store;
  run.only_grammar = only_grammar;
  const HRESULT status = DispatchParse(run, &input);
  return (SUCCEEDED(status) ? "ok " : "error: " + take_error_text()) +
         std::to_string(input.position) + " - " + std::to_string(run.unread) + "\n" + dump(store);
}

// How many fields the quick way takes from the start of the text.
int taken(std::string_view text, bool in_part = false) {
  UsualFields fields;
  int count = 0;
  while (const std::size_t length = fields.take(text, in_part)) {
    text.remove_prefix(length);
    ++count;
  }
  MessageStore store;
  if (count > 0) (void)fields.store(store);
  return count;
}

TEST(UsualFields, TakesTheUsual) {
  EXPECT_EQ(taken("From: a@b\r\nRECEIVED:\tfrom x\r\n\tby y; z\r\nSubject: a  b \r\n c\r\nDate:\r\n"
                  "X-Long:\r\n value\r\nmime-version: 1.0\nContent-Type: text/plain\r\n"
                  "content-transfer-encoding: BASE64\r\nContent-ID: <a>\r\n--: x\r\n"),
            9);
  EXPECT_EQ(taken("Subject: a\r\nFrom: \r\n b\r\nMIME-Version: 2\r\n\r\n", true), 3);
  EXPECT_EQ(taken(std::string(9000, 'x') + ": y\r\n\r\n"), 0);
  std::string many;
  for (int i = 0; i < 100; ++i) many += "X: " + std::to_string(i) + "\r\n";
  EXPECT_EQ(taken(many), 64);
}

TEST(UsualFields, LeavesTheRestToTheGrammar) {
  for (const char* text : {"",
                           "X",
                           "X:",
                           "X: y",
                           "X: y\r\n",
                           "X : y\r\nZ",
                           ": y\r\nZ",
                           "a b: y\r\nZ",
                           "a(: y\r\nZ",
                           "--X: y\r\nZ",
                           "MIME\rVersion: 1.0\r\nZ",
                           "S\x15"
                           "bject: y\r\nZ",
                           "X: y\r\n \r\nZ",
                           "X: y\r\n \t\r",
                           "To:\r\n y\r\nZ",
                           "MIME-Version: 1.0 \r\nZ",
                           "Content-Type: Multipart/x\r\nZ",
                           "Content-Transfer-Encoding: x\r\nZ",
                           "Content-Transfer-Encoding:\r\nZ",
                           "Content-ID:\r\nZ",
                           "Subject: a\rb\r\nZ"}) {
    EXPECT_EQ(taken(text), 0) << text;
  }
}

// Messages put together at random from what they are made of.
TEST(UsualFields, AgreesWithTheGrammar) {
  static constexpr const char* kPieces[] = {"\r\n",
                                            "\r\n",
                                            "\r\n",
                                            "\r\n\r\n",
                                            "\n",
                                            "\r\n ",
                                            "\r\n\t",
                                            "\r\n \r\n",
                                            "\r\r\n",
                                            "\r",
                                            "To: ",
                                            "from:",
                                            "Cc: ",
                                            "Date: ",
                                            "Subject: ",
                                            "Subject:",
                                            "Message-ID: ",
                                            "Received: ",
                                            "X-A: ",
                                            "x_b:",
                                            "X-C : ",
                                            "a b: ",
                                            "MIME-Version: ",
                                            "1.0",
                                            "1.0 (x)",
                                            "Content-Type: ",
                                            "content-type:",
                                            "Content-Transfer-Encoding: ",
                                            "Content-ID: ",
                                            "Content-Description: ",
                                            "Content-Disposition: ",
                                            "text/plain",
                                            "multipart/mixed; boundary=b",
                                            "multipart/x;\r\n boundary=\"b\"; charset=y",
                                            "; boundary=\"c d\"",
                                            "multipart/mixed; =",
                                            "base64",
                                            "8BIT",
                                            "x-uue",
                                            "a@b",
                                            "word",
                                            " ",
                                            "\t",
                                            "(c",
                                            ".",
                                            "--b",
                                            "--b--",
                                            "--",
                                            "begin 644 f",
                                            "end",
                                            "\x80"};
  std::mt19937 random(7);
  int ok = 0;
  for (int round = 0; round < 30000; ++round) {
    std::string text = random() % 4 == 0 ? "" : "X: y\r\n";
    if (random() % 4 == 0) text += "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n";
    for (std::size_t i = random() % 24; i > 0; --i) text += kPieces[random() % std::size(kPieces)];
    const std::string reference = outcome(text, true);
    ASSERT_EQ(outcome(text, false), reference) << text;
    ok += reference.starts_with("ok") ? 1 : 0;
  }
  EXPECT_GT(ok, 10000);
}

TEST(UsualFields, AgreesWithTheGrammarOnTheCorpus) {
  const std::filesystem::path folder =
      std::filesystem::path(TALLOWBROOK_SOURCE_DIR) / ".." / "shared" / "corpus";
  if (!std::filesystem::exists(folder)) GTEST_SKIP() << "no corpus beside the project";
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    const std::string text = read_file(entry.path());
    EXPECT_EQ(outcome(text, false), outcome(text, true)) << entry.path();
  }
  // A header that is much longer than the scanner's buffer, so that its borders fall anywhere.
  std::string text;
  for (int i = 0; i < 20000; ++i) {
    text += (i % 3 == 0 ? "Received: from " : "X-Y: ") +
            std::string(static_cast<std::size_t>(i % 97), 'x') + "\r\n";
  }
  EXPECT_EQ(outcome(text + "\r\nbody", false), outcome(text + "\r\nbody", true));
}

}  // namespace
}  // namespace tallowbrook::test
