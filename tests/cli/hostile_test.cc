// The program against mail and moments that mean harm: names that lead elsewhere, a kill while it
// writes, bytes that steer a terminal.
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <map>
#include <random>
#include <thread>

#include "tests/cli/program.h"

namespace tallowbrook::cli {
namespace {

// A process that becomes the program with `arguments` as a shell takes them. With `terminal`, its
// standard streams are a terminal, whose other side is put there.
pid_t start(const std::string& arguments, int* terminal = nullptr) {
  const std::string line = "exec " + kProgram + arguments;
  const pid_t child =
      terminal != nullptr ? ::forkpty(terminal, nullptr, nullptr, nullptr) : ::fork();
  if (child == 0) {
    ::execl("/bin/sh", "sh", "-c", line.c_str(), nullptr);
    ::_exit(127);
  }
  return child;
}

// What the program shows on a terminal.
std::string shown(const std::string& arguments) {
  int terminal = -1;
  const pid_t child = start(arguments, &terminal);
  std::string text;
  char block[4096];
  for (ssize_t got = 0; (got = ::read(terminal, block, sizeof block)) > 0;) {
    text.append(block, static_cast<std::size_t>(got));
  }
  ::close(terminal);
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status)) << arguments;
  return text;
}

TEST_F(Cli, ControlCharactersNeverReachATerminal) {
  const std::string nasty = "\x1B[31m\a\x9B\xC2\x9B\r\x7F";
  const auto name = [&](const char* file) {
    return " '" + (folder_ / (nasty + file)).string() + "' ";
  };
  const std::string message = name("a.eml");
  file(nasty + "a.eml", "From: \"" + nasty + "\" <a" + nasty +
                            "@example.org>\r\nTo: b@example.net\r\nX-\x9B: \x1B[2J\r\n"
                            "Date: " +
                            nasty + "\r\nSubject: =?utf-8?Q?=1B[5m=C2=9B?= " + nasty +
                            "\r\n"
                            "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
                            "--b\r\nContent-Type: text/plain; charset=\"\x1B[0m\"; name=\"" +
                            nasty + "\"\r\n\r\n" + nasty +
                            "\r\n"
                            "--b\r\nContent-Type: x\x1B[1m/\x1B[2m; name*=utf-8''%1B%5B5m%C2%9B\r\n"
                            "Content-Transfer-Encoding: \x1B[3m\r\n\r\n\x1B\r\n--b--\r\n");
  file(nasty + "b.eml", nasty + "\r\n");
  const std::string quoted = "'" + nasty + "'";
  for (const std::string& arguments : {"show" + message,
                                       "show --json --body" + message,
                                       "show --body" + message,
                                       "headers" + message,
                                       "headers --decode" + message,
                                       "headers" + message + quoted,
                                       "check" + message + name("b.eml"),
                                       "show" + name("b.eml"),
                                       "extract --list" + message,
                                       "extract -o" + name("o") + message,
                                       "extract -o" + name("o") + message,
                                       "extract --part 1 --stdout" + message,
                                       "extract --part " + quoted + message,
                                       "copy" + message + "-",
                                       "copy" + name("none") + "x",
                                       "copy" + message + name("none/x"),
                                       "edit" + message + "--set-subject " + quoted + " -o -",
                                       "edit" + message + "--add-to " + quoted + " -o -",
                                       "edit -i" + message + "--attach" + name("none"),
                                       "edit -i" + message + "--remove-part " + quoted,
                                       "new --from " + quoted + " -o -",
                                       "new --from a@b --to " + quoted + " -o -",
                                       "new --from a@b --text" + name("a.eml") + "-o -",
                                       "new --from a@b --subject " + quoted + " -o -",
                                       "send --server 127.0.0.1:1" + message,
                                       "send --dry-run" + message,
                                       "send --server " + quoted + message,
                                       "typelib" + message,
                                       "register" + message,
                                       "dialup run " + quoted,
                                       quoted,
                                       "show --" + quoted}) {
    std::string text = shown(arguments);
    std::erase(text, '\r');  // the terminal's own, in front of line ends
    const auto steers = [](char c) {
      return (c != '\n' && static_cast<unsigned char>(c) < 0x20) || c == 0x7F;
    };
    EXPECT_TRUE(std::none_of(text.begin(), text.end(), steers)) << arguments << "\n" << text;
    EXPECT_FALSE(text.empty() && arguments.find("-o -") != arguments.npos) << arguments;
    for (const char* const c1 : {"\xC2\x9B", "[\x9B", "\a"}) {
      EXPECT_EQ(text.find(c1), text.npos) << arguments << "\n" << text;
    }
  }
}

// Names of attachments lead nowhere but into the folder, and are names that can be typed.
TEST_F(Cli, ExtractStaysInItsFolder) {
  const std::string names[] = {"../up",
                               "../../../../../../tmp/up",
                               "/etc/up",
                               "..",
                               ".",
                               "",
                               "a/../../b",
                               "..\\..\\c",
                               "C:\\d",
                               "\x1B[2J\x07"
                               "e",
                               "f\r\n\tg",
                               "h\x7F\xC2\x9B",
                               "~/i",
                               ".bashrc",
                               "-rf",
                               "k%2Fl",
                               std::string(10'000, 'm'),
                               std::string(10'000, '\xE9'),
                               std::string(5000, '/') + "n",
                               "=?utf-8?Q?..=2F..=2Fo?=",
                               "p\xE2\x80\xAEq",
                               "con",
                               "r:s"};
  std::string text = "From: a@example.org\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n";
  std::size_t parts = 0;
  for (const std::string& name : names) {
    std::string coded;
    for (const char c : name) {
      char hex[4];
      std::snprintf(hex, sizeof hex, "%%%02X", static_cast<unsigned char>(c));
      coded += hex;
    }
    for (const std::string& field :
         {"Content-Disposition: attachment; filename=\"" + name + "\"",
          "Content-Type: application/x; name=\"" + name + "\"",
          "Content-Disposition: attachment; filename*=utf-8''" + coded}) {
      text += "--b\r\n" + field + "\r\n\r\nx\r\n";
      ++parts;
    }
  }
  const auto in = file("in.eml", text + "--b--\r\n");
  const auto out = folder_ / "deep" / "out";
  EXPECT_EQ(run_with_errors("extract " + in.string() + " -o " + out.string()).status, 0);
  std::size_t files = 0;
  for (const auto& entry : fs::recursive_directory_iterator(folder_)) {
    if (entry.path() == in || entry.path() == out || entry.path() == out.parent_path()) continue;
    ++files;
    const std::string name = entry.path().filename();
    EXPECT_EQ(entry.path().parent_path(), out) << name;
    EXPECT_TRUE(name.size() <= 250 && name[0] != '.') << name;
    EXPECT_TRUE(std::none_of(name.begin(), name.end(), [](char c) {
      return (c >= 0 && c < 0x20) || c == 0x7F;
    })) << name;
  }
  EXPECT_EQ(files, parts);
  EXPECT_FALSE(fs::exists("/tmp/up") || fs::exists("/etc/up"));
}

// Whenever the program is killed, a file is the old one or the new one.
TEST_F(Cli, NothingIsHalfWrittenWhenItIsKilled) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  constexpr int kKills = 40;
#else
  constexpr int kKills = 200;
#endif
  const std::string body(3'000'000, 'x');
  const std::string attachment =
      "--b\r\nContent-Disposition: attachment; filename=f\r\n\r\n" + body + "\r\n";
  const auto in = file("in.eml",
                       "From: a@example.org\r\nDate: Tue, 5 Mar 2024 09:15:00 +0000\r\nSubject: "
                       "old\r\nContent-Type: multipart/mixed; "
                       "boundary=b\r\n\r\n" +
                           attachment + attachment + "--b--\r\n")
                      .string();
  const std::string target = path("target");
  const std::string calls[] = {"copy " + in + " " + target,
                               "edit " + in + " --set-subject new -o " + target,
                               "new --from a@example.org --attach " + in + " -o " + target,
                               "extract --force " + in + " -o " + path("out")};
  const auto look = [&] {
    std::map<std::string, std::string> found{{"target", content(target)}};
    for (const char* const part : {"out/f", "out/f-2"}) found[part] = content(folder_ / part);
    return found;
  };
  // What a call makes of the files, and how long it takes.
  std::mt19937 random(20260501);
  int killed = 0;
  for (std::size_t which = 0; which < std::size(calls); ++which) {
    const auto before = std::chrono::steady_clock::now();
    ASSERT_EQ(run(calls[which] + " >/dev/null").status, 0) << calls[which];
    const auto taken = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::steady_clock::now() - before);
    const auto whole = look();
    std::uniform_int_distribution<long> pause(0, taken.count());
    for (int i = 0; i < kKills / 4; ++i) {
      const bool there = i % 2 == 0;
      for (const auto& file_name : {"target", "out/f", "out/f-2"}) {
        fs::remove(folder_ / file_name);
        if (there) file(file_name, "old");
      }
      const pid_t child = start(calls[which] + " >/dev/null 2>&1");
      std::this_thread::sleep_for(std::chrono::microseconds(pause(random)));
      ::kill(child, SIGKILL);
      int status = 0;
      ASSERT_EQ(::waitpid(child, &status, 0), child);
      killed += WIFSIGNALED(status) ? 1 : 0;
      for (const auto& [name, bytes] : look()) {
        const bool is_new =
            which == 2 ? bytes.size() == whole.at(name).size() : bytes == whole.at(name);
        EXPECT_TRUE(bytes == (there ? "old" : "") || is_new)
            << calls[which] << ": " << name << " has " << bytes.size();
      }
    }
  }
  EXPECT_GT(killed, kKills / 4);
}

}  // namespace
}  // namespace tallowbrook::cli
