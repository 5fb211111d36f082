// tallowbrook-explorer: shows the messages of a folder as a tree, their context menu and their
// options page. Without a terminal it prints the tree.
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "cli/terminal.h"
#include "platform/com/activation.h"
#include "platform/kernel/message_queue.h"
#include "samples/explorer/browser.h"
#include "samples/explorer/keyboard.h"

namespace bramblescope {
namespace {

namespace fs = std::filesystem;

enum ExitStatus : int { kFine = 0, kUsage = 2, kFailed = 3 };

constexpr char kUsageText[] =
    "usage: tallowbrook-explorer [FOLDER]\n"
    "Shows the messages (*.eml) of a folder as a tree, with their context menu and their options.\n"
    "Where standard output is no terminal, the tree is printed.\n";

// How long a terminal may take between the bytes of one key.
constexpr timespec kBetweenBytes{0, 50'000'000};

volatile sig_atomic_t ended = 0;
void on_end(int) { ended = 1; }
void on_resize(int) {}  // ends the wait for keys

// The terminal, taken over for the life of this object: no line editing, no echo, a screen of its
// own.
class Terminal {
 public:
  Terminal() {
    if (tcgetattr(STDIN_FILENO, &before_) != 0) throw std::runtime_error(std::strerror(errno));
    catch_signals();
    termios raw = before_;
    cfmakeraw(&raw);
    if (tcsetattr(STDIN_FILENO, TCSAFLUSH, &raw) != 0) {
      throw std::runtime_error(std::strerror(errno));
    }
    write("\x1B[?1049h\x1B[?25l\x1B[?7l");  // other screen, no cursor, long lines are cut
  }
  ~Terminal() {
    write("\x1B[?7h\x1B[?25h\x1B[?1049l");
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  [[nodiscard]] static winsize size() {
    winsize size{};
    const bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0;
    if (!known || size.ws_row == 0) size.ws_row = 24;
    if (!known || size.ws_col == 0) size.ws_col = 80;
    return size;
  }

  static void show(const std::vector<std::string>& lines) {
    std::string text = "\x1B[H";
    for (std::size_t i = 0; i < lines.size(); ++i) {
      text += lines[i] + "\x1B[K" + (i + 1 < lines.size() ? "\r\n" : "\x1B[J");
    }
    write(text);
  }

  // Waits for keys; none when something else ended the wait. `closed` when no more will come.
  [[nodiscard]] std::vector<Key> keys(bool& closed) {
    bool complete = false;
    while (true) {
      if (auto pressed = take_keys(pending_, complete); !pressed.empty() || complete) {
        return pressed;
      }
      pollfd input{STDIN_FILENO, POLLIN, 0};
      const int ready = ppoll(&input, 1, pending_.empty() ? nullptr : &kBetweenBytes, &waiting_);
      if (ready < 0) return {};
      complete = ready == 0;
      if (complete) continue;
      char block[256];
      const ssize_t count = ::read(STDIN_FILENO, block, sizeof block);
      closed = count == 0 || (count < 0 && errno != EINTR);
      if (count <= 0) return {};
      pending_.append(block, static_cast<std::size_t>(count));
    }
  }

 private:
  // Signals arrive in the wait for keys alone, so that none is missed before it.
  void catch_signals() {
    sigset_t caught;
    sigemptyset(&caught);
    struct sigaction action {};
    for (const int number : {SIGTERM, SIGHUP, SIGINT, SIGWINCH}) {
      sigaddset(&caught, number);
      action.sa_handler = number == SIGWINCH ? &on_resize : &on_end;
      sigaction(number, &action, nullptr);
    }
    sigprocmask(SIG_BLOCK, &caught, &waiting_);
  }

  static void write(std::string_view text) {
    while (!text.empty()) {
      const ssize_t count = ::write(STDOUT_FILENO, text.data(), text.size());
      if (count < 0 && errno != EINTR) return;
      if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
    }
  }

  termios before_{};
  sigset_t waiting_{};  // the signals that are blocked while keys are awaited
  std::string pending_;
};

// Loads a component that lies beside the program, or where the loader looks.
void load_component(const std::string& name) {
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  const fs::path beside = program.parent_path() / "../lib" / name;
  const std::string path = fs::exists(beside, error) ? beside.lexically_normal().string() : name;
  HMODULE module = nullptr;
  if (FAILED(CoLoadComponent(path.c_str(), &module))) {
    throw std::runtime_error(name + ": " + CoComponentError());
  }
}

// Makes the calls that other threads handed to this one.
void dispatch_messages() {
  MSG message{};
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) DispatchMessageW(&message);
}

void run(Browser& browser) {
  Terminal terminal;
  bool closed = false;
  while (!browser.done() && !closed && ended == 0) {
    dispatch_messages();
    const winsize size = Terminal::size();
    Terminal::show(browser.screen(size.ws_row, size.ws_col));
    for (const Key& key : terminal.keys(closed)) browser.press(key);
  }
}

int explore(const fs::path& folder) {
  load_component("libtallowbrook.so");
  load_component("libbramblescope.so");
  NodeTree tree(folder);
  if (isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1) {
    Browser browser("Messages in " + tallowbrook::cli::printable(folder.string()), tree);
    run(browser);
  } else {
    for (const Node& node : tree.nodes()) std::puts(tree_line(node).c_str());
  }
  return kFine;
}

}  // namespace
}  // namespace bramblescope

int main(int count, char** arguments) {
  const std::string folder = count > 1 ? arguments[1] : ".";
  if (folder == "--help" || folder == "-h") {
    std::fputs(bramblescope::kUsageText, stdout);
    return bramblescope::kFine;
  }
  if (count > 2 || folder.starts_with("-")) {
    std::fputs(bramblescope::kUsageText, stderr);
    return bramblescope::kUsage;
  }
  try {
    return bramblescope::explore(folder);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "tallowbrook-explorer: %s: %s\n",
                 tallowbrook::cli::printable(folder).c_str(), error.what());
    return bramblescope::kFailed;
  }
}
