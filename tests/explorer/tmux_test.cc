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
class ExplorerInTmux : public test::Folder {
 protected:
  void SetUp() override {
    if (output_of("command -v tmux").empty()) GTEST_SKIP() << "tmux is not installed";
    write("mail.eml", "Subject: before\r\n\r\nbody\r\n.\r\n");
  }
  ~ExplorerInTmux() override { (void)output_of(tmux_ + "kill-server 2>/dev/null"); }

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

  const std::string tmux_ =
      "LC_ALL=C.UTF-8 tmux -u -f /dev/null -S '" + scratch_.file("tmux") + "' ";
  const std::string explorer_ = "'" EXPLORER_PROGRAM "' '" + folder_ + "'";
};

#define EXPECT_SEEN(text) EXPECT_NE(wait_for(text).find(text), std::string::npos) << (text)

TEST_F(ExplorerInTmux, AUserChangesASubject) {
  run(explorer_ + "; echo left with $?; sleep 600");
  const std::pair<const char*, const char*> steps[] = {
      {"", "> E before"},
      {"m", "> Rename   Rename this mail"},
      {"Escape", "Enter options"},
      {"Enter", "> Subject: before   (Subject of this mail)"},
      {"Enter", "Ctrl-U clear"},
      {"C-u 'after noon' BSpace BSpace Enter", "> Subject: after no   (Subject of this mail)"},
      {"Escape", "> E after no (not saved)"},
      {"s", "Saved."},
      {"q", "left with 0"},
  };
  for (const auto& [pressed, seen] : steps) {
    if (*pressed != '\0') keys(pressed);
    EXPECT_SEEN(seen);
  }
  EXPECT_EQ(output_of(explorer_ + " </dev/null 2>&1"), "E after no\n");
}

TEST_F(ExplorerInTmux, ASignalGivesTheTerminalBack) {
  write("run.sh", "echo $$ >'" + scratch_.file("pid") + "'\nexec " + explorer_ + "\n");
  run("echo here; sh '" + scratch_.file("run.sh") + "'; stty -a; sleep 600");
  EXPECT_SEEN("> E before");
  (void)output_of("kill -TERM " + read("pid"));
  EXPECT_SEEN("here");
  EXPECT_SEEN(" icanon") << "lines are edited again";
}

using ExplorerWithoutATerminal = test::Folder;

TEST_F(ExplorerWithoutATerminal, PrintsTheTree) {
  write("mail.eml", "Subject: before\r\n\r\n.\r\n");
  EXPECT_EQ(output_of("'" EXPLORER_PROGRAM "' '" + folder_ + "' </dev/null 2>&1"), "E before\n");
  EXPECT_NE(output_of("'" EXPLORER_PROGRAM "' /nowhere/at/all 2>&1").find("No such file"),
            std::string::npos);
}

}  // namespace
}  // namespace bramblescope
