// Mail servers that others wrote, started and stopped by these tests. Each takes every hard text
// whole. A test whose server is not installed is skipped.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "smtp/session.h"
#include "tests/smtp/deliver.h"
#include "tests/support/mail_server.h"
#include "tests/support/mail_texts.h"
#include "tests/support/scratch_folder.h"

namespace tallowbrook {
namespace {

namespace fs = std::filesystem;

// A command that runs in `folder` until the object, or this process, ends.
class Program {
 public:
  Program(const std::string& command, const fs::path& folder) {
    const std::string line = "cd '" + folder.string() + "' || exit; " + command + " & cat; kill $!";
    input_ = ::popen(line.c_str(), "w");
  }
  ~Program() { ::pclose(input_); }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

 private:
  FILE* input_;
};

class RealServers : public ::testing::Test {
 protected:
  static bool works(const std::string& command) {
    return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
  }
  static bool await(int port) {
    for (int tries = 0; tries < 1000; ++tries) {
      if (CSMTP("127.0.0.1", port).connect_session()) return true;
      test::pause(20);
    }
    return false;
  }
  // The one file that a delivery left, which is taken away.
  std::string take_file() const {
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
  // Sends every text; `expected` tells from the saved one, with its dots undone, and the message
  // what the server's file must end with.
  template <class Expected>
  void send_all(const std::string& command, int port, Expected&& expected) const {
    const Program server(command, folder_);
    ASSERT_TRUE(await(port));
    for (const auto& [name, text] : test::mail_texts()) {
      const auto message = test::loaded(text);
      EXPECT_TRUE(test::deliver(message, port)) << name;
      const std::string wanted = expected(test::undone(test::saved(message)), message);
      EXPECT_TRUE(take_file().ends_with(wanted)) << name;
    }
  }

  const test::ScratchFolder scratch_;
  const fs::path folder_ = scratch_.path();
};

TEST_F(RealServers, AiosmtpdGetsEveryTextWhole) {
  std::string python;
  for (const char* candidate : {"/usr/bin/python3", "/usr/local/bin/python3"}) {
    if (python.empty() && works(candidate + std::string(" -c 'import aiosmtpd'"))) {
      python = candidate;
    }
  }
  if (python.empty()) GTEST_SKIP() << "skipped: python3-aiosmtpd is not installed";
  const int port = test::dead_port();
  const std::string script = TALLOWBROOK_SOURCE_DIR "/tests/smtp/aiosmtpd_sink.py";
  send_all(python + " '" + script + "' " + std::to_string(port) + " .", port,
           [](const std::string& text, const auto& message) {
             std::string lines = "a@example.org\n";
             for (const std::string& line : test::addresses(message.get(), u"To")) {
               lines += line.substr(0, line.find('|')) + "\n";
             }
             return lines + "\n" + text;
           });
}

// It writes line ends as LF, behind a trace header of its own, and an empty line in the end.
TEST_F(RealServers, SmtpSinkGetsEveryTextWhole) {
  const std::string sink = "/usr/sbin/smtp-sink";
  if (!works("test -x " + sink)) GTEST_SKIP() << "skipped: smtp-sink (postfix) is not installed";
  const int port = test::dead_port();
  const std::string user = ::geteuid() == 0 ? " -u root" : "";
  send_all(sink + " -d letter." + user + " 127.0.0.1:" + std::to_string(port) + " 10", port,
           [](std::string text, const auto&) {
             text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
             return ")\n" + text + "\n";
           });
}

}  // namespace
}  // namespace tallowbrook
