#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>

#include "tests/cli/program.h"

namespace tallowbrook::cli {
namespace {

constexpr char kMessage[] =
    "From: a@example.org\n"
    "Subject: Gr\xC3\xBC\xC3\x9F"
    "e =?iso-8859-1?Q?=E9?=\n"
    "Content-Type: multipart/mixed; boundary=b\n"
    "\n"
    "--b\n"
    "Content-Type: multipart/alternative; boundary=c\n"
    "\n"
    "--c\n"
    "Content-Type: text/plain; charset=iso-8859-1\n"
    "Content-Transfer-Encoding: quoted-printable\n"
    "\n"
    "Gr=FC=DFe=1B[2J\n"
    "\n"
    "--c\n"
    "Content-Type: text/html; charset=utf-8\n"
    "\n"
    "<p>Gr\xC3\xBC\xC3\x9F"
    "e</p>\n"
    "--c--\n"
    "--b\n"
    "Content-Type: application/x-thing; name=wrong.bin\n"
    "Content-Disposition: attachment;\n"
    " filename*0*=utf-8''..%2F..%2F%e2%82;\n"
    " filename*1*=%ac;\n"
    " filename*2=\".bin\"; filename=also-wrong.bin\n"
    "Content-Transfer-Encoding: base64\n"
    "\n"
    "AAEC/w0K\n"
    "--b\n"
    "Content-Type: message/rfc822\n"
    "\n"
    "Subject: inside\n"
    "\n"
    "deep text\n"
    "--b\n"
    "Content-Type: text/x-log\n"
    "Content-Disposition: attachment; filename=\"=?utf-8?Q?=E2=82=AC?=.bin\"\n"
    "Content-Transfer-Encoding: base64\n"
    "\n"
    "4A0K\n"  // no UTF-8, and no charset says what it is
    "--b--\n";

TEST_F(Cli, ExtractWritesEveryPart) {
  const auto in = file("in.eml", kMessage);
  const fs::path out = folder_ / "new" / "out";
  const std::string arguments = "extract " + in.string() + " -o " + out.string() + " 2>&1";
  const auto [status, text] = run(arguments);
  EXPECT_EQ(status, 0) << text;
  EXPECT_EQ(content(out / "part-1.1.txt"), "Grüße\x1B[2J\n");
  EXPECT_EQ(content(out / "part-1.2.html"), "<p>Grüße</p>");
  EXPECT_EQ(content(out / "€.bin"), std::string("\0\1\2\xFF\r\n", 6));
  EXPECT_EQ(content(out / "part-3.eml"), "Subject: inside\n\ndeep text");
  EXPECT_EQ(content(out / "€-2.bin"), "\xE0\r\n");
  EXPECT_EQ(std::distance(fs::directory_iterator(out), fs::directory_iterator()), 5);
  EXPECT_NE(text.find("\n2  " + (out / "€.bin").string() + "\n"), std::string::npos) << text;
  // What is there stays, and is told; the rest is written.
  std::ofstream(out / "€.bin") << "mine";
  fs::remove(out / "part-3.eml");
  const auto again = run(arguments);
  EXPECT_EQ(again.status, 3);
  EXPECT_NE(again.text.find("in.eml: part 2: "), std::string::npos) << again.text;
  EXPECT_EQ(content(out / "€.bin"), "mine");
  EXPECT_TRUE(fs::exists(out / "part-3.eml"));
  // Told to, it replaces the name, not what a link leads to.
  const auto elsewhere = file("elsewhere", "untouched");
  fs::remove(out / "€.bin");
  fs::create_symlink(elsewhere, out / "€.bin");
  EXPECT_EQ(run("extract --part 2 --force " + in.string() + " -o " + out.string()).status, 0);
  EXPECT_EQ(content(elsewhere), "untouched");
  EXPECT_EQ(content(out / "€.bin").size(), 6U);
  for (const auto& entry : fs::directory_iterator(out)) {
    EXPECT_NE(entry.path().filename().string().front(), '.');
  }
}

TEST_F(Cli, ExtractTakesThePartsThatAreNamed) {
  const auto in = file("in.eml", kMessage).string();
  EXPECT_EQ(run("extract --list " + in).text,
            "1.1  text/plain  12 bytes  part-1.1.txt\n"
            "1.2  text/html  14 bytes  part-1.2.html\n"
            "2    application/x-thing  6 bytes  €.bin\n"
            "3    message/rfc822  26 bytes  part-3.eml\n"
            "3.1  text/plain  9 bytes  part-3.1.txt\n"
            "4    text/x-log  3 bytes  €-2.bin\n");
  EXPECT_EQ(run("extract --part 3.1 --stdout - < " + in).text, "deep text");
  EXPECT_EQ(run("extract --part 1 -o " + path("o") + " " + in).status, 0);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_ / "o"), fs::directory_iterator()), 2);
  expect_told("extract",
              {
                  {"--part 5 " + in, 3, "there is no part 5"},
                  {"--stdout " + in, 2, "choose one with --part"},
                  {"--stdout --part 2 " + in + " >/dev/full", 3, "part 2: No space left"},
                  {"--part 2 -o /dev/null/x " + in, 3, "Not a directory"},
                  {sample("broken.eml"), 1, "broken.eml:2: "},
              });
}

// A file that cannot be written whole is not there.
TEST_F(Cli, ExtractLeavesNothingHalfWritten) {
  const auto in = file("in.eml", kMessage).string();
  fs::create_directory(folder_ / "o");
  const auto full = run_on_full_disk("extract " + in + " -o " + path("o"));
  EXPECT_NE(full.text.find("part 4: "), std::string::npos) << full.text;
  EXPECT_TRUE(fs::is_empty(folder_ / "o"));
}

// The last line end belongs to what follows the content.
TEST_F(Cli, ExtractEndsContentsWhereTheyEnd) {
  const struct {
    const char* encoding;
    const char* end;  // of the file
    const char* content;
  } cases[] = {
      {"", "\n", "text\n"},
      {"", "", "text"},
      {"", "\n.\n", "text\n"},
      {"Content-Transfer-Encoding: 7bit\r\n", "\r\n", "text\n"},
      {"Content-Transfer-Encoding: quoted-printable\n", "\n", "text\n"},
      {"Content-Transfer-Encoding: quoted-printable\n", "=\n", "text"},
  };
  for (const auto& [encoding, end, wanted] : cases) {
    const auto in =
        file("in.eml", std::string("From: a@example.org\n") + encoding + "\ntext" + end);
    EXPECT_EQ(run("extract --stdout " + in.string()).text, wanted) << encoding << end;
  }
}

TEST_F(Cli, ShowDecodesNamesAndPrintsTheBody) {
  const auto in = file("in.eml", kMessage).string();
  const auto json = nlohmann::json::parse(run("show --json --body " + in).text);
  EXPECT_EQ(json["subject"], "Grüße é");
  EXPECT_EQ(json["parts"][4]["fileName"], "../../€.bin");
  EXPECT_EQ(json["parts"][4]["number"], "2");
  EXPECT_EQ(json["parts"][6]["number"], "3.1");
  EXPECT_EQ(json["body"], "Grüße\x1B[2J");
  EXPECT_EQ(run("show --body " + in).text, "Grüße\\x1B[2J\n");
  EXPECT_EQ(run("headers --decode " + in + " subject").text, "Subject: Grüße é\n");
  const std::string two = run("show --body " + in + " " + sample("plain.eml")).text;
  EXPECT_EQ(two.find("==> " + in + " <==\n"), 0U);
  EXPECT_NE(two.find("\n==> " + (kSamples / "plain.eml").string() + " <==\n"), std::string::npos);

  const std::string plain = "Content-Type: text/plain\n\n";
  const std::string html = "Content-Type: text/html\n\n";
  const std::string attached = "Content-Disposition: attachment\n";
  const std::string inside = "Content-Type: message/rfc822\n\nSubject: x\n\n";
  const struct {
    std::string kind;
    std::vector<std::string> parts;
    const char* shown;
  } cases[] = {
      {"alternative", {html + "<p>h", plain + "p"}, "p\n"},
      {"alternative", {plain + " \n", html + "<p>h&amp;"}, "h&\n"},
      {"alternative", {"Content-Type: text/x-other\n\no", html + "h"}, "h\n"},
      {"mixed", {html + "h", plain + "footer"}, "h\n"},
      {"mixed", {attached + plain + "a", plain + "p"}, "p\n"},
      {"mixed", {inside + "i", plain + "p"}, "p\n"},
      {"mixed", {"Content-Type: image/png\n\nx", inside + "i"}, "i\n"},
      {"mixed", {attached + plain + "a"}, ""},
  };
  for (const auto& [kind, parts, shown] : cases) {
    std::string text = "Content-Type: multipart/" + kind + "; boundary=b\n\n";
    for (const std::string& part : parts) text += "--b\n" + part + "\n";
    const auto message = file("choice.eml", text + "--b--\n");
    EXPECT_EQ(run("show --body " + message.string()).text, shown) << text;
  }
}

}  // namespace
}  // namespace tallowbrook::cli
