// `new` and `edit`, whose results the program itself and plain looks at their bytes tell of.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/cli/program.h"

namespace tallowbrook::cli {
namespace {

using nlohmann::json;

json shown(const fs::path& file) {
  return json::parse(run("show --json --body '" + file.string() + "'").text);
}

TEST_F(Cli, NewWritesAMessageThatReadsBack) {
  const std::string letter =
      "Grüße,\n.\n..dots\ntrailing  \n--\nFrom me\n" + std::string(1200, 'x') + "\n";
  const auto text = file("letter.txt", letter).string();
  const auto html = file("letter.html", "<p>Grüße</p>").string();
  std::string binary;
  for (int i = 0; i < 5000; ++i) binary.push_back(static_cast<char>(i * 7));
  file("a.pdf", binary);
  file("Grüße \"x\".mp3", binary);
  file("plain.eml", "From: q@example.org\n\nquoted\n");
  const std::string out = path("out.eml");
  const auto [status, complaint] = run(
      "new --from 'Jürgen \"J.\" M <j@example.org>' --to 'z@example.org, \"B, C\" <b@example.org>'"
      " --to a@example.org --cc 'd@example.org (Dee)' --bcc e@[192.0.2.1]"
      " --subject 'Тема \"eins\" =?x?= " +
      std::string(100, 'y') + "' --text " + text + " --html " + html + " --attach '" +
      path("a.pdf") + "' --attach '" + path("Grüße \"x\".mp3") + "' --attach " + path("plain.eml") +
      " -o " + out + " 2>&1");
  ASSERT_EQ(status, 0) << complaint;
  const json message = shown(out);
  EXPECT_EQ(message["subject"], "Тема \"eins\" =?x?= " + std::string(100, 'y'));
  EXPECT_EQ(message["from"].at(0).value("name", ""), "Jürgen J. M");
  EXPECT_EQ(message["to"].size(), 3U);
  EXPECT_EQ(message["cc"].at(0).value("name", ""), "Dee");
  EXPECT_EQ(message["bcc"][0]["address"], "e@[192.0.2.1]");
  EXPECT_TRUE(message.contains("date"));
  EXPECT_TRUE(message["messageId"].get<std::string>().ends_with("@example.org>"));
  const std::vector<std::string> types = {
      "multipart/mixed", "multipart/alternative", "text/plain", "text/html", "application/pdf",
      "audio/mpeg",      "message/rfc822",        "text/plain"};
  ASSERT_EQ(message["parts"].size(), types.size());
  for (std::size_t i = 0; i < types.size(); ++i) EXPECT_EQ(message["parts"][i]["type"], types[i]);
  EXPECT_EQ(message["parts"][5]["fileName"], "Grüße \"x\".mp3");

  const std::string bytes = content(out);
  EXPECT_NE(bytes.find(" z@example.org,\r\n\t\"B, C\" <b@example.org>,\r\n\ta@example.org\r\n"),
            std::string::npos)  // in their order
      << bytes;
  EXPECT_EQ(bytes.find("\n."), std::string::npos);  // nothing that a transport would change
  std::istringstream lines(bytes);
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 79U) << line;

  EXPECT_EQ(run("extract " + out + " -o " + path("o")).status, 0);
  EXPECT_EQ(content(folder_ / "o/part-1.1.txt"), letter);
  EXPECT_EQ(content(folder_ / "o" / "part-1.2.html"), "<p>Grüße</p>");
  EXPECT_EQ(content(folder_ / "o" / "a.pdf"), binary);
  EXPECT_EQ(content(folder_ / "o" / "Grüße \"x\".mp3"), binary);
}

// A text comes back as it was, whatever it holds; alone, it ends with a line end.
TEST_F(Cli, NewKeepsATextAsItIs) {
  for (const std::string& text : {std::string("plain\n"), std::string("no line end"),
                                  std::string("two\n\n"), std::string("\n"), std::string(".\n"),
                                  std::string("a\0b", 3), std::string("ü\n.\n"), std::string()}) {
    const auto in = file("in.txt", text).string();
    for (const std::string& attached : {std::string(), " --attach " + in}) {
      const std::string out = path("out.eml");
      ASSERT_EQ(run("new --from a@example.org --text " + in + attached + " -o " + out).status, 0);

      const std::string back = run("extract --stdout --part 1 " + out).text;
      const bool open =
          attached.empty() && !text.empty() && text.back() != '\n' && text.find('\0') == text.npos;
      EXPECT_EQ(back, open ? text + "\n" : text) << attached << "\n" << content(out);
    }
  }
}

TEST_F(Cli, NewRefusesWhatIsNoMessage) {
  const auto binary = file("binary", "\xFF\xFE").string();
  const std::string out = " -o " + path("out.eml");
  expect_told("new", {
                         {"--to a@example.org" + out, 2, "--from"},
                         {"--from a@example.org", 2, "--output"},
                         {"--from 'no address'" + out, 2, "no mail address: no address"},
                         {"--from 'a@b, c@d'" + out, 2, "--from takes one"},
                         {"--from a@b --to 'x <a@b'" + out, 2, "no mail address"},
                         {"--from a@b --to 'x\nBcc: y@z'" + out, 2, "no mail address"},
                         {"--from a@b --to Friends:a@b" + out, 2, "no mail address"},
                         {"--from a@b --to п@b" + out, 2, "no mail address"},
                         {"--from a@b --text " + binary + out, 3, "is not UTF-8 text"},
                         {"--from a@b --attach nowhere" + out, 3, "nowhere: No such file"},
                         {"--from a@b --attach /" + out, 3, "/: Is a directory"},
                         {"--from a@b --attach /proc/self/mem" + out, 3, "Input/output error"},
                         {"--from a@b -o /dev/full", 3, "No space left"},
                     });
  EXPECT_EQ(files(), 1);
  // A header cannot be broken out of.
  const auto sly = run("new --from a@b --subject 'x\r\nBcc: y@z' -o -");
  EXPECT_NE(sly.text.find("\r\nSubject: x Bcc: y@z\r\n"), std::string::npos) << sly.text;
}

constexpr char kParts[] =
    "Received: from x by y;\r\n  Tue, 5 Mar 2024 10:15:04 +0100\r\n"
    "Date: Tue, 5 Mar 2024 10:15:04 +0100\r\n"
    "From: =?utf-8?Q?J=C3=BCrgen?= <j@example.org>\r\n"
    "To: Friends: a@example.org, \"B, C\"\r\n <b@example.org>;, \xE9 <d@example.org> (Dee)\r\n"
    "Subject: before\r\n"
    "X-Odd:   spacing  \xE9\r\n"
    "Content-Type: multipart/mixed; boundary=\"b\"\r\n"
    "\r\n"
    "--b\r\n"
    "content-type: TEXT/plain; x=1; charset=Koi8-r (note)\r\n"
    "\r\n"
    "..\r\n.x  \xC1\r\n"
    "--b\r\n"
    "Content-Type: application/pdf; name=\"a\"\r\n"
    "Content-Transfer-Encoding: base64\r\n"
    "\r\n"
    "AAEC\r\n  /w==\r\n"
    "--b--\r\n";

TEST_F(Cli, EditChangesWhatIsNamedAlone) {
  const auto in = file("in.eml", kParts).string();
  const std::string out = path("out.eml");
  ASSERT_EQ(run("edit " + in +
                " --set-subject 'Größe' --add-to 'Zoë <z@example.org>' --add-cc k@example.org"
                " -o " +
                out)
                .status,
            0);
  const std::string bytes = content(out);
  for (const char* kept : {
           "Received: from x by y;\r\n  Tue, 5 Mar 2024 10:15:04 +0100\r\n",
           "Date: Tue, 5 Mar 2024 10:15:04 +0100\r\n",
           "From: =?utf-8?Q?J=C3=BCrgen?= <j@example.org>\r\n",
           " Friends: a@example.org, \"B, C\"\r\n <b@example.org>;, \xE9 <d@example.org> (Dee),\r\n"
           "\t=?UTF-8?B?Wm/Dqw==?= <z@example.org>\r\n",
           "X-Odd: spacing  \xE9\r\n",
           "--b\r\nContent-Type: TEXT/plain; x=1; charset=Koi8-r (note)\r\n\r\n..\r\n.x  "
           "\xC1\r\n--b\r\n",
           "--b\r\nContent-Type: application/pdf; name=\"a\"\r\nContent-Transfer-Encoding: "
           "base64\r\n\r\n"
           "AAEC\r\n  /w==\r\n--b--\r\n",
       }) {
    EXPECT_NE(bytes.find(kept), std::string::npos) << kept << "\nin\n" << bytes;
  }
  const json message = shown(out);
  EXPECT_EQ(message["subject"], "Größe");
  EXPECT_EQ(message["cc"][0]["address"], "k@example.org");
  // A second edit of the result adds nothing of its own.
  ASSERT_EQ(run("edit -i --set-subject before " + out).status, 0);
  const std::string once = content(out);
  ASSERT_EQ(run("edit --in-place --set-subject before " + out).status, 0);
  EXPECT_EQ(content(out), once);
}

TEST_F(Cli, EditRemovesAndAttachesParts) {
  const auto in = file("in.eml", kParts).string();
  const auto added = file("added.csv", "a;b\n").string();
  const std::string out = path("out.eml");
  ASSERT_EQ(
      run("edit " + in + " --remove-part 1 --attach " + added + " --attach " + added + " -o " + out)
          .status,
      0);
  EXPECT_EQ(run("extract --list " + out).text,
            "1  application/pdf  4 bytes  a\n"
            "2  text/csv  4 bytes  added.csv\n"
            "3  text/csv  4 bytes  added-2.csv\n");
  // Around what is no multipart/mixed a new one is put; the old body keeps its bytes.
  const auto flat =
      file("flat.eml",
           "From: a@example.org\nContent-type: text/plain;\n charset=utf-8\nX-Kept: 1\n"
           "Content-Transfer-Encoding: 8bit\n\n..x\nü\n\n")
          .string();
  ASSERT_EQ(run("edit " + flat + " --attach " + added + " -o " + out).status, 0);
  const std::string bytes = content(out);
  EXPECT_NE(bytes.find("\r\nContent-Type: text/plain;\r\n charset=utf-8\r\n"
                       "Content-Transfer-Encoding: 8bit\r\n\r\n..x\r\nü\r\n\r\n\r\n--"),
            std::string::npos)
      << bytes;
  EXPECT_EQ(count(bytes, "X-Kept: 1"), 1U);
  EXPECT_LT(bytes.find("X-Kept"), bytes.find("--="));
  EXPECT_EQ(run("extract --stdout --part 1 " + out).text, run("extract --stdout " + flat).text);
  expect_told("</dev/null edit",
              {
                  {in + " -o x", 2, "nothing is to be changed"},
                  {in + " --set-subject x", 2, "--in-place"},
                  {"- -i --set-subject x", 2, "in place"},
                  {in + " --remove-part 3 -o x", 3, "in.eml: there is no part 3"},
                  {flat + " --remove-part 1 -o x", 3, "is all that its message has"},
                  {in + " --attach nowhere -o x", 3, "nowhere: No such file"},
                  {sample("broken.eml") + " --set-subject x -o x", 1, "broken.eml:2: "},
              });
  EXPECT_FALSE(fs::exists("x"));
}

// The body grows by nothing, and what stands behind the line that ends a message stays.
TEST_F(Cli, EditKeepsTheEndOfTheFile) {
  for (const std::string end : {"\r\n", "\r\n\r\n", "\r\n.\r\n", "\r\n.\r\nrest\r\n..\r\n\r\nx"}) {
    const auto in = file("in.eml", "From: a@example.org\r\n\r\ntext" + end);
    ASSERT_EQ(run("edit -i --set-subject x " + in.string()).status, 0);
    EXPECT_TRUE(content(in).ends_with("\r\n\r\ntext" + end)) << content(in);
  }
  const std::string tail = "\r\n.\r\n" + std::string(50000, 'x') + "\r\n";
  const auto in = file("in.eml", "From: a@example.org\r\n\r\ntext" + tail);
  const std::string piped = run("edit --set-subject x - -o - < " + in.string()).text;
  EXPECT_TRUE(piped.ends_with("\r\n\r\ntext" + tail));
}

}  // namespace
}  // namespace tallowbrook::cli
