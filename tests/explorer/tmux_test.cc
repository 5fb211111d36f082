// The explorer in a real terminal, as a user works with it.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "tests/explorer/folder.h"

namespace bramblescope {
namespace {

std::string output_of(const std::string& command) {
  std::string text;
  FILE* const pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) return text;
  char block[4096];
  for (std::size_t n = 0; (n = std::fread(block, 1, sizeof block, pipe)) > 0;)
    text.append(block, n);
  ::pclose(pipe);
  return text;
}

// A tmux server of the test's own, with one window.
class Tmux {
 public:
  explicit Tmux(const std::filesystem::path& folder)
      : tmux_("LC_ALL=C.UTF-8 tmux -u -f /dev/null -S '" + (folder / "tmux").string() + "' ") {}
  ~Tmux() { (void)output_of(tmux_ + "kill-server 2>/dev/null"); }
  Tmux(const Tmux&) = delete;
  Tmux& operator=(const Tmux&) = delete;

  void run(const std::string& command) {
    (void)output_of(tmux_ + "new-session -d -x 80 -y 20 \"" + command + "\" 2>&1");
  }
  void keys(const std::string& names) { (void)output_of(tmux_ + "send-keys " + names); }
  // The screen once `text` is on it (or, after a while, as it is).
  std::string wait_for(const std::string& text) {
    std::string screen;
    for (int tries = 0; tries < 300; ++tries) {
      screen = output_of(tmux_ + "capture-pane -p 2>/dev/null");
      if (screen.find(text) != std::string::npos) break;
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return screen;
  }

 private:
  std::string tmux_;
};

using ExplorerInTmux = test::Folder;

#define EXPECT_SEEN(tmux, text) \
  EXPECT_NE((tmux).wait_for(text).find(text), std::string::npos) << (text)

TEST_F(ExplorerInTmux, AUserChangesASubject) {
  if (output_of("command -v tmux").empty()) GTEST_SKIP() << "tmux is not installed";
  write("mail.eml", "Subject: before\r\n\r\nbody\r\n.\r\n");
  Tmux tmux(folder_);
  tmux.run("'" EXPLORER_PROGRAM "' '" + folder_.string() + "'; echo left with $?; sleep 600");
  EXPECT_SEEN(tmux, "> E before");
  tmux.keys("m");
  EXPECT_SEEN(tmux, "> Rename   Rename this mail");
  tmux.keys("Escape");
  EXPECT_SEEN(tmux, "Enter options");
  tmux.keys("Enter");
  EXPECT_SEEN(tmux, "> Subject: before   (Subject of this mail)");
  tmux.keys("Enter");
  EXPECT_SEEN(tmux, "Ctrl-U clear");
  tmux.keys("C-u 'after noon' BSpace BSpace Enter");
  EXPECT_SEEN(tmux, "> Subject: after no   (Subject of this mail)");
  tmux.keys("Escape");
  EXPECT_SEEN(tmux, "> E after no (not saved)");
  tmux.keys("s");
  EXPECT_SEEN(tmux, "Saved.");
  tmux.keys("q");
  EXPECT_SEEN(tmux, "left with 0");
  EXPECT_EQ(output_of("'" EXPLORER_PROGRAM "' '" + folder_.string() + "' </dev/null 2>&1"),
            "E after no\n");
}

TEST_F(ExplorerInTmux, ASignalGivesTheTerminalBack) {
  if (output_of("command -v tmux").empty()) GTEST_SKIP() << "tmux is not installed";
  write("mail.eml", "Subject: before\r\n\r\n.\r\n");
  Tmux tmux(folder_);
  const std::string folder = folder_.string();
  write("run.sh", "echo $$ >'" + folder + "/pid'\nexec '" EXPLORER_PROGRAM "' '" + folder + "'\n");
  tmux.run("echo here; sh '" + folder + "/run.sh'; stty -a; sleep 600");
  EXPECT_SEEN(tmux, "> E before");
  (void)output_of("kill -TERM " + read("pid"));
  EXPECT_SEEN(tmux, "here");
  EXPECT_SEEN(tmux, " icanon") << "lines are edited again";
}

TEST_F(ExplorerInTmux, WithoutATerminalPrintsTheTree) {
  write("mail.eml", "Subject: before\r\n\r\n.\r\n");
  EXPECT_EQ(output_of("'" EXPLORER_PROGRAM "' '" + folder_.string() + "' </dev/null 2>&1"),
            "E before\n");
  EXPECT_NE(output_of("'" EXPLORER_PROGRAM "' /nowhere/at/all 2>&1").find("No such file"),
            std::string::npos);
}

}  // namespace
}  // namespace bramblescope
