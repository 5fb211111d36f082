// Mail servers that others wrote, started and stopped by these tests. Each takes every hard text
// whole. A test whose server is not installed is skipped.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/smtp/deliver.h"
#include "tests/support/mail_server.h"
#include "tests/support/mail_texts.h"
#include "tests/support/scratch_folder.h"

namespace tallowbrook {
namespace {

namespace fs = std::filesystem;

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  return address;
}

// A port that was free a moment ago.
int free_port() {
  const int probe = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = loopback(0);
  socklen_t length = sizeof address;
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  EXPECT_EQ(::bind(probe, generic, length), 0);
  EXPECT_EQ(::getsockname(probe, generic, &length), 0);
  ::close(probe);
  return ntohs(address.sin_port);
}

bool listens(int port) {
  const int probe = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_in address = loopback(port);
  const bool made =
      ::connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  ::close(probe);
  return made;
}

// A program that runs until the object ends, or until its standard input does.
class Program {
 public:
  Program(std::vector<std::string> arguments, const fs::path& folder) {
    int input[2];
    EXPECT_EQ(::pipe2(input, O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    if (::posix_spawn(&process_, pointers[0], &actions, nullptr, pointers.data(), environ) != 0) {
      process_ = -1;
    }
    posix_spawn_file_actions_destroy(&actions);
    ::close(input[0]);
    input_ = input[1];
  }
  ~Program() {
    ::close(input_);
    if (process_ < 0) return;
    ::kill(process_, SIGTERM);
    ::waitpid(process_, nullptr, 0);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  [[nodiscard]] bool runs() const {
    return process_ > 0 && ::waitpid(process_, nullptr, WNOHANG) == 0;
  }

 private:
  pid_t process_ = -1;
  int input_ = -1;
};

class RealServers : public ::testing::Test {
 protected:
  [[nodiscard]] static bool await(const Program& program, int port) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (program.runs() && std::chrono::steady_clock::now() < end) {
      if (listens(port)) return true;
      test::pause(20);
    }
    return false;
  }
  // The one file that a delivery left, which is taken away.
  [[nodiscard]] std::string take_file() const {
    for (int tries = 0; tries < 500; ++tries) {
      for (const auto& entry : fs::directory_iterator(folder_)) {
        if (entry.path().extension() == ".part") continue;
        const std::string content = test::read_file(entry.path().string());
        fs::remove(entry.path());
        return content;
      }
      test::pause(10);
    }
    return "nothing";
  }

  const test::ScratchFolder scratch_;
  const fs::path folder_ = scratch_.path();
};

TEST_F(RealServers, AiosmtpdGetsEveryTextWhole) {
  std::string python;
  for (const char* candidate : {"/usr/bin/python3", "/usr/local/bin/python3"}) {
    const std::string probe = std::string(candidate) + " -c 'import aiosmtpd' 2>/dev/null";
    if (python.empty() && std::system(probe.c_str()) == 0) python = candidate;
  }
  if (python.empty()) GTEST_SKIP() << "skipped: python3-aiosmtpd is not installed";
  const int port = free_port();
  const Program server({python, TALLOWBROOK_SOURCE_DIR "/tests/smtp/aiosmtpd_sink.py",
                        std::to_string(port), folder_.string()},
                       folder_);
  ASSERT_TRUE(await(server, port));
  for (const auto& [name, text] : test::mail_texts()) {
    const auto message = test::loaded(text);
    EXPECT_TRUE(test::deliver(message, port)) << name;
    std::string expected = "a@example.org\n";
    const auto recipients = test::addresses(message.get(), u"To");
    for (const std::string& line : recipients) expected += line.substr(0, line.find('|')) + "\n";
    expected += "\n" + test::undone(test::saved(message));
    EXPECT_TRUE(take_file() == expected) << name;
  }
}

// It writes line ends as LF, behind lines of its own of which the last is folded twice, and an
// empty line in the end.
TEST_F(RealServers, SmtpSinkGetsEveryTextWhole) {
  std::string sink;
  for (const char* candidate : {"/usr/sbin/smtp-sink", "/usr/local/sbin/smtp-sink"}) {
    if (sink.empty() && ::access(candidate, X_OK) == 0) sink = candidate;
  }
  if (sink.empty()) GTEST_SKIP() << "skipped: smtp-sink is not installed (package postfix)";
  const int port = free_port();
  std::vector<std::string> command = {sink, "-d", "letter."};
  if (::geteuid() == 0) command.insert(command.end(), {"-u", "root"});
  command.insert(command.end(), {"127.0.0.1:" + std::to_string(port), "10"});
  const Program server(command, folder_);
  ASSERT_TRUE(await(server, port));
  for (const auto& [name, text] : test::mail_texts()) {
    const auto message = test::loaded(text);
    EXPECT_TRUE(test::deliver(message, port)) << name;
    const std::string sent = test::undone(test::saved(message));
    std::string expected;
    std::remove_copy(sent.begin(), sent.end(), std::back_inserter(expected), '\r');
    expected += '\n';
    const std::string file = take_file();
    const std::string start = "\tby smtp-sink";
    const std::size_t at = file.find('\n', file.find('\n', file.find(start)) + 1);
    ASSERT_NE(at, std::string::npos) << file;
    EXPECT_TRUE(file.substr(at + 1) == expected) << name;
    EXPECT_EQ(file.find("X-Mail-Args: <a@example.org>\n") != std::string::npos, true) << name;
  }
}

}  // namespace
}  // namespace tallowbrook
