// The explorer without its terminal: what keys do to messages, and what is shown.
#include "samples/explorer/browser.h"

#include <algorithm>

#include "platform/automation/late_bound.h"
#include "platform/com/activation.h"
#include "samples/explorer/keyboard.h"
#include "tests/explorer/folder.h"

namespace bramblescope {
namespace {

class BrowserTest : public test::Folder {
 protected:
  BrowserTest() {
    EXPECT_EQ(CoLoadComponent(TALLOWBROOK_COMPONENT, &component_), S_OK);
    EXPECT_EQ(CoLoadComponent(BRAMBLESCOPE_COMPONENT, &host_), S_OK);
    write("a.eml", "From: a@example.org\r\nSubject: first\r\n\r\nbody\r\n.\r\n");
    write("b.eml", "Subject:\r\n\r\n.\r\n");
    write("notes.txt", "no message");
  }
  ~BrowserTest() override {
    browser_.reset();
    tree_.reset();
    EXPECT_EQ(CoUnloadComponent(host_), S_OK) << "host objects leak";
    EXPECT_EQ(CoUnloadComponent(component_), S_OK) << "messages leak";
  }

  // The keys as a terminal sends them.
  void type(std::string bytes) {
    if (!browser_) {
      tree_.emplace(folder_);
      browser_.emplace("title", *tree_);
    }
    for (const Key& key : take_keys(bytes, true)) browser_->press(key);
  }
  // The rows between title and news, with the cursor; then the news.
  std::string rows() {
    type("");
    const auto lines = browser_->screen(40, 80);
    std::string text;
    for (std::size_t i = 2; i + 3 < lines.size(); ++i) text += lines[i] + "\n";
    return text;
  }
  std::string news() {
    const auto lines = browser_->screen(40, 80);
    return lines.at(lines.size() - 2);
  }

  std::optional<NodeTree> tree_;
  std::optional<Browser> browser_;

 private:
  HMODULE component_ = nullptr;
  HMODULE host_ = nullptr;
};

constexpr char kUp[] = "\x1B[A";
constexpr char kDown[] = "\x1B[B";
constexpr char kEsc[] = "\x1B";

// As the character under the cursor is shown.
std::string under(const std::string& character) { return "\x1B[7m" + character + "\x1B[m"; }

TEST_F(BrowserTest, ShowsAFolderAsATree) {
  write("broken.eml", "no header\r\n");
  EXPECT_EQ(rows().substr(0, 27), "> E first\n  E <no name>\n  !");
  EXPECT_NE(rows().find("broken.eml: parse error"), std::string::npos) << rows();
  type(std::string(kUp) + kDown + kDown + kDown);
  EXPECT_EQ(rows().find("> !"), rows().find("!") - 2);
  for (const char* key : {"m", "o", "s"}) {
    type(key);
    EXPECT_EQ(news().substr(0, 6), "There ") << key;
  }
}

TEST_F(BrowserTest, ChangesTheSubjectOnTheOptionsPage) {
  type("\r");
  EXPECT_EQ(rows(), "> Subject: first   (Subject of this mail)\n");
  type("\r\x15gr\xC3\xBCn!\x7F\r");
  EXPECT_EQ(rows(), "> Subject: gr\xC3\xBCn   (Subject of this mail)\n");
  type("s");
  EXPECT_EQ(news(), "Saved.");
  type(kEsc);
  EXPECT_EQ(rows(), "> E gr\xC3\xBCn\n  E <no name>\n");
  const std::string saved = read("a.eml");
  EXPECT_NE(saved.find("gr=FCn"), std::string::npos) << saved;
  EXPECT_NE(saved.find("body\r\n"), std::string::npos) << saved;
  type("sq");
  EXPECT_TRUE(browser_->done());
}

TEST_F(BrowserTest, RenamesThroughTheMenu) {
  type("m");
  EXPECT_EQ(rows(), "> Rename   Rename this mail\n");
  type("\r");
  type("!");
  EXPECT_EQ(news(), "Name: first!" + under(" "));
  type(kEsc);
  EXPECT_EQ(rows(), "> E first\n  E <no name>\n");
  type("m\r\x15\rq");
  EXPECT_EQ(rows(), "> E <no name> (not saved)\n  E <no name>\n");
  EXPECT_FALSE(browser_->done()) << news();
  type("m\x1B\x03");
  EXPECT_FALSE(browser_->done()) << "another key between the two";
  type("q");
  EXPECT_TRUE(browser_->done());
  EXPECT_NE(read("a.eml").find("first"), std::string::npos);
}

TEST_F(BrowserTest, EditsAnywhereInALine) {
  type("m\r");
  const std::pair<const char*, std::string> steps[] = {
      {"\x1B[D\x1B[Dxy", "firxy" + under("s") + "t"},
      {"\x7F\x1B[3~", "firx" + under("t")},
      {"\x01\x1B[Dü", "ü" + under("f") + "irxt"},
      {"\x1BOD\x1BOC\x1B[C", "üf" + under("i") + "rxt"},
      {"\x05\x1B[3~\x1B[C", "üfirxt" + under(" ")},
  };
  for (const auto& [keys, line] : steps) {
    type(keys);
    EXPECT_EQ(news(), "Name: " + line);
  }
  for (int i = 0; i < 40; ++i) type("1234567890\xE6\x97\xA5");
  const std::string end = "567890\xE6\x97\xA5" + under(" ");
  EXPECT_EQ(browser_->screen(9, 16).at(5), "Name: " + end) << "scrolled to the cursor";
  EXPECT_EQ(browser_->screen(9, 1).at(5), "Name: " + under(" "));
  type("\x03");
  EXPECT_EQ(rows(), "> E first\n  E <no name>\n") << "Ctrl-C leaves the line";
}

// A script that has the message too changes it: the tree shows the new name.
TEST_F(BrowserTest, HearsOfNewNames) {
  type("");
  const auto& message = tree_->nodes().at(0).object;
  tallowbrook::platform::put(message.get(), u"Subject", u"told \x1B[2J");
  EXPECT_EQ(rows(), "> E told \\x1B[2J (not saved)\n  E <no name>\n");
}

// And adds nothing: the line "." and what follows it are there if they were.
TEST_F(BrowserTest, SavingKeepsWhatFollowsTheMessage) {
  for (const std::string tail : {".\r\nnot of the message\r\n.\r\n", ".\r\n", "", "..two\r\n"}) {
    const std::string body = ".hidden\r\nbody\r\n";
    write("a.eml", "Subject: first\r\n\r\n" + body + tail);
    tree_.emplace(folder_);
    browser_.emplace("title", *tree_);
    for (const char* subject : {"second", "a longer third"}) {
      type(std::string("m\r\x15") + subject + "\rs");
      EXPECT_EQ(news(), "Saved.");
      const std::string saved = read("a.eml");
      EXPECT_EQ(NodeTree(folder_).nodes().at(0).name, subject);
      EXPECT_EQ(saved.substr(saved.find("\r\n\r\n") + 4), body + tail);
    }
  }
}

TEST_F(BrowserTest, LeavesAFileAloneThatSomebodyElseChanged) {
  type("m\rx\r");
  write("a.eml", "Subject: theirs\r\n\r\n.\r\n");
  type("s");
  EXPECT_EQ(news(), "Not saved: somebody else has changed the file.");
  EXPECT_EQ(read("a.eml"), "Subject: theirs\r\n\r\n.\r\n");
  EXPECT_EQ(rows(), "> E firstx (not saved)\n  E <no name>\n");
}

TEST_F(BrowserTest, ScrollsAroundTheCursor) {
  for (char c = 'c'; c <= 'z'; ++c) {
    write(std::string(1, c) + ".EML", std::string("Subject: ") + c + "\r\n\r\n.\r\n");
  }
  // Between the title and the news there are five rows: the first of them, and that of the cursor.
  const auto shown = [&](const std::string& keys) {
    type(keys);
    const auto lines = browser_->screen(10, 80);
    EXPECT_EQ(lines.size(), 10U);
    std::string cursor;
    for (const std::string& line : lines) cursor += line[0] == '>' ? line.substr(4) : "";
    return lines.at(2).substr(4) + " " + cursor;
  };
  EXPECT_EQ(shown(""), "first first");
  EXPECT_EQ(shown("\x1B[6~"), "<no name> f");
  EXPECT_EQ(shown("\x1B[6~"), "g k");
  EXPECT_EQ(shown(kUp), "g j");
  EXPECT_EQ(shown("\x1B[F"), "v z");
  EXPECT_EQ(shown(std::string("\x1B[6~") + kDown), "v z");
  EXPECT_EQ(shown("\x1B[5~"), "u u");
  EXPECT_EQ(shown("\x1B[H\x1B[5~"), "first first");
  EXPECT_EQ(browser_->screen(1, 80).size(), 6U) << "one row is always shown";
}

TEST(Keyboard, TakesKeysFromBytesInAnyPieces) {
  const std::string bytes = "a\xC3\xBC\x1B[A\x1BOB\x1B[3~\x1B[1;5C\r\x7F\x15\x03\x02z";
  const auto kinds = [](const std::vector<Key>& keys) {
    std::string text;
    for (const Key& key : keys)
      text += key.kind == Key::kText ? key.text : std::string(1, "?udlr^v[]nebx-q"[key.kind]);
    return text;
  };
  for (std::size_t piece = 1; piece <= bytes.size(); ++piece) {
    std::string pending;
    std::string got;
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
      pending += bytes.substr(at, piece);
      got += kinds(take_keys(pending, false));
    }
    EXPECT_EQ(got, "a\xC3\xBCudxnb-qz") << piece;
    EXPECT_EQ(pending, "") << piece;
  }
  std::string escape = "\x1B";
  EXPECT_TRUE(take_keys(escape, false).empty());
  EXPECT_EQ(kinds(take_keys(escape, true)), "e");
  std::string cut = "\xC3";
  EXPECT_EQ(kinds(take_keys(cut, true)), "\xC3") << "shown as an escape";
}

}  // namespace
}  // namespace bramblescope
