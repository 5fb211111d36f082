// Runs the built program as users do: what it prints, what it leaves behind, its exit status.
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

#include "tests/cli/program.h"

namespace tallowbrook::cli {
namespace {

// The commands of the README's examples print what stands there, but for the name of the machine.
TEST_F(Cli, TheExamplesOfTheReadmeAreTrue) {
  const std::string prompt = "$ scripts/tallowbrook ";
  const auto without_host = [](const std::string& text) {
    return std::regex_replace(text, std::regex("HELO \\S+"), "HELO");
  };
  std::istringstream lines(content(fs::path(TALLOWBROOK_SOURCE_DIR) / "README.md"));
  std::string command;
  std::string wanted;
  int compared = 0;
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with("$ ") && !line.starts_with("```")) {
      (command.ends_with('\\') ? command : wanted) += line + "\n";
      continue;
    }
    if (!command.empty() && !wanted.empty()) {
      const Outcome outcome = run(
          "--version >/dev/null; cd '" TALLOWBROOK_SOURCE_DIR "' && TZ=UTC0 " + kProgram + command);
      EXPECT_EQ(outcome.status, 0) << command;
      EXPECT_EQ(without_host(outcome.text), without_host(wanted)) << command;
      ++compared;
    }
    command = line.starts_with(prompt) ? line.substr(prompt.size()) : "";
    wanted.clear();
  }
  EXPECT_GE(compared, 2);
}

TEST_F(Cli, ShowJsonIsOneObjectPerMessage) {
  const auto [status, text] =
      run("show --json " + sample("welcome.eml") + " " + sample("broken.eml") + " 2>/dev/null");
  EXPECT_EQ(status, 1);
  std::istringstream lines(text);
  std::string line;
  ASSERT_TRUE(std::getline(lines, line));
  const auto welcome = nlohmann::json::parse(line);
  EXPECT_EQ(welcome["schema"], 1);
  EXPECT_EQ(welcome["subject"], "Welcome to the garden club");
  EXPECT_EQ(welcome["to"][0]["name"], "Barbara B.");
  EXPECT_EQ(welcome["sender"]["name"], "Post Room");
  EXPECT_EQ(welcome["received"].size(), 3U);
  EXPECT_EQ(welcome["fields"].size(), 3U);
  ASSERT_EQ(welcome["parts"].size(), 5U);
  EXPECT_EQ(welcome["parts"][3]["type"], "text/html");
  EXPECT_EQ(welcome["parts"][3]["parent"], 1);
  EXPECT_EQ(welcome["parts"][4]["fileName"], "seeds.csv");
  ASSERT_TRUE(std::getline(lines, line));
  EXPECT_EQ(nlohmann::json::parse(line)["error"]["line"], 2);
  EXPECT_FALSE(std::getline(lines, line));
}

TEST_F(Cli, ShowTellsNamesWithDots) {
  const auto message = file("dots.eml",
                            "Sender: Dr. Who <w@x>\r\n"
                            "To: J. R. <j@x>, =?utf-8?Q?=D0=90?= D. <d@x>, Bob <b@x>\r\n\r\n");
  const auto read = nlohmann::json::parse(run("show --json " + message.string()).text);
  EXPECT_EQ(read["sender"].dump(), R"({"address":"w@x","name":"Dr. Who"})");
  EXPECT_EQ(read["to"][0]["name"], "J. R.");
  EXPECT_EQ(read["to"][1]["name"], "А D.");
  EXPECT_EQ(read["to"][2].dump(), R"({"address":"b@x","name":"Bob"})");
}

// A message inside a message is told as a part; it is not opened yet.
TEST_F(Cli, ShowTellsOfMessagesInside) {
  const auto [status, text] = run("show " + sample("forwarded.eml"));
  EXPECT_EQ(status, 0);
  EXPECT_NE(text.find("\n  └─ message/rfc822  "), std::string::npos) << text;
}

TEST_F(Cli, HeadersPrintsTheFieldsThatAreNamed) {
  const auto [status, text] = run("headers " + sample("welcome.eml") + " SUBJECT x-mailer");
  EXPECT_EQ(status, 0);
  EXPECT_EQ(text, "Subject: Welcome to the garden club\nX-Mailer: Tallow Writer 1.0\n");
  // A message without a date does not get one by being read.
  const auto undated = file("undated.eml", "From: a@example.org\r\n\r\n");
  EXPECT_EQ(run("headers " + undated.string() + " date").text, "");
}

TEST_F(Cli, CopyGivesTheSameBytes) {
  for (const auto& entry : fs::directory_iterator(kSamples)) {
    const std::string in = entry.path().string();
    if (!in.ends_with(".eml") || in.ends_with("broken.eml")) continue;
    const std::string out = path("out.eml");
    EXPECT_EQ(run("copy '" + in + "' " + out).status, 0) << in;
    EXPECT_EQ(content(out), content(in)) << in;
    EXPECT_EQ(run("copy - - < '" + in + "'").text, content(in)) << in;
  }
  // Also what follows the line that ends a message, beyond what is read at once.
  const std::string long_tail =
      content(kSamples / "plain.eml") + ".\r\n" + std::string(50000, 'x') + "\r\n";
  const auto in = file("tail.eml", long_tail);
  EXPECT_EQ(run("copy " + in.string() + " -").text, long_tail);
  EXPECT_EQ(files(), 2);
}

TEST_F(Cli, CopyLeavesTheTargetWhenItCannotBeReplaced) {
  const std::string copy_plain = "copy " + sample("plain.eml") + " ";
  const fs::path target = file("target.eml", "as before");
  fs::permissions(target, fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(run("copy " + sample("broken.eml") + " " + target.string() + " 2>&1").status, 1);
  EXPECT_EQ(content(target), "as before");
  const auto full = run_on_full_disk(copy_plain + target.string());
  EXPECT_EQ(full.status, 3) << full.text;
  EXPECT_EQ(content(target), "as before");
  EXPECT_EQ(run_with_errors(copy_plain + "/dev/full").status, 3);
  EXPECT_EQ(run_with_errors(copy_plain + path("no/where")).status, 3);
  EXPECT_EQ(files(), 1);
  // When it can, the target keeps its rights and a link stays a link.
  fs::create_symlink("target.eml", folder_ / "link");
  EXPECT_EQ(run(copy_plain + path("link")).status, 0);
  EXPECT_TRUE(fs::is_symlink(folder_ / "link"));
  EXPECT_EQ(content(target), content(kSamples / "plain.eml"));
  EXPECT_EQ(fs::status(target).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(Cli, CheckTellsOneLinePerFile) {
  const auto [status, text] = run("check " + sample("plain.eml") + " " + sample("broken.eml"));
  EXPECT_EQ(status, 1);
  EXPECT_EQ(text.find((kSamples / "plain.eml").string() + ": ok\n" +
                      (kSamples / "broken.eml").string() + ":2: parse error"),
            0U)
      << text;
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2);
  EXPECT_EQ(run("check -q - < " + sample("plain.eml")).text, "");
}

TEST_F(Cli, ExitStatusTellsWhatWentWrong) {
  expect_told(
      "", {
              {"check nowhere.eml " + sample("broken.eml"), 3, "nowhere.eml: No such file"},
              {"show " + folder_.string(), 3, "Is a directory"},
              {"show /proc/self/mem", 3, "Input/output error"},  // opens, and the first read fails
              {"show --json " + sample("plain.eml") + " >/dev/full", 3, "No space left"},
              {"", 2, "--help"},
              {"copy one", 2, "tallowbrook copy --help"},
              {"frob", 2, "there is no command frob"},
              {"copy --help", 0, "Examples:"},
          });
}

}  // namespace
}  // namespace tallowbrook::cli
