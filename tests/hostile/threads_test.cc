// Threads whose handlers load, edit and read while a load waits, a fork that no exec follows, and a
// week's use in minutes.
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

#include "platform/kernel/message_queue.h"
#include "tallowbrook/mime_body.h"
#include "tests/model/host.h"
#include "tests/support/dump.h"
#include "tests/support/host_stream.h"
#include "tests/support/scratch_folder.h"

namespace tallowbrook::test {
namespace {

constexpr std::string_view kMessage =
    "Received: from a by b; 1 Jun 2026 10:00:00 +0200\r\nFrom: A B <a@b>\r\n"
    "To: x@y, bad <<z\r\nSubject: s\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n"
    "--b\r\nContent-Type: message/rfc822\r\n\r\nSubject: "
    "inside\r\n\r\nbody\r\n--b\r\n\r\nend\r\n--b--\r\n";

// Edits a message at each of its levels and saves it.
void edit(const ComPtr<IMimeDecoder>& message) {
  EXPECT_EQ(put(message.get(), u"Subject", text("edited")), S_OK);
  EXPECT_EQ(put(message.get(), u"To", text("n@m")), S_OK);
  (void)platform::get(message.get(), u"From");
  const auto body = object(message, u"Body");
  const auto inside = object(item(body, 0), u"EmbeddedMessage");
  if (inside) (void)put(inside.get(), u"Subject", text("edited too"));
  (void)platform::call(body.get(), u"AddNew");
  EXPECT_NE(saved(message).find("edited"), std::string::npos);
}

// A process that hangs is ended, and so fails its test.
class Deadline {
 public:
  explicit Deadline(unsigned seconds) { ::alarm(seconds); }
  ~Deadline() { ::alarm(0); }
  Deadline(const Deadline&) = delete;
  Deadline& operator=(const Deadline&) = delete;
};

// More threads than there are parsers, each of which posts calls to the others; they run wherever
// the other waits, and use messages of their own and the one that the thread is at.
void load_and_post(int threads, int rounds) {
  std::vector<std::atomic<DWORD>> ids(static_cast<std::size_t>(threads));
  std::atomic<int> handled{0};
  std::atomic<int> running{threads};
  const auto run = [&](std::size_t self) {
    ids[self] = GetCurrentThreadId();
    ComPtr<IMimeDecoder> current;  // which a handler may edit
    std::mt19937 random(static_cast<unsigned>(self));
    const auto pump = [] {
      MSG message;
      while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    };
    for (int round = 0; round < rounds; ++round) {
      HostStream stream(std::string(kMessage), 64);
      stream.on_call = [] { std::this_thread::yield(); };
      const auto message = new_message();
      EXPECT_EQ(message.query<IPersistStream>()->Load(&stream), S_OK);
      const DWORD other = ids[random() % ids.size()];
      if (other != 0) {
        (void)platform::post_call(other, [&handled] {
          edit(loaded(kMessage));
          ++handled;
        });
      }
      current = message;
      (void)platform::post_call(ids[self], [&current, &handled] {
        if (current) edit(current);
        ++handled;
      });
      for (const char16_t* const name : {u"To", u"From", u"Received", u"Date"}) {
        (void)platform::get(message.get(), name);
      }
      if (round % 3 == 0) pump();
      edit(message);
      current.reset();
    }
    for (--running; running > 0;) {
      pump();
      std::this_thread::yield();
    }
  };
  std::vector<std::thread> started;
  for (std::size_t i = 0; i < ids.size(); ++i) started.emplace_back(run, i);
  for (std::thread& thread : started) thread.join();
  EXPECT_GE(handled, threads * rounds / 2);
}

TEST(Threads, HandlersLoadAndEditWhileALoadWaits) {
  const Deadline deadline(300);
  load_and_post(16, 60);
}

// The child has the thread that forked and no other.
TEST(Process, SurvivesAForkThatNoExecFollows) {
  const Deadline deadline(300);
  const ScratchFolder folder;
  std::atomic<bool> end{false};
  std::thread idle([&] {  // knows the component, and is in none of its calls
    edit(loaded(kMessage));
    while (!end) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  });
  load_and_post(4, 5);
  const auto kept = loaded(kMessage);
  for (int i = 0; i < 3; ++i) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      ::alarm(200);
      edit(kept);
      load_and_post(12, 5);
      const platform::Bstr path(to_wide(folder.file("saved")));
      VARIANT_BOOL done = VARIANT_FALSE;
      EXPECT_EQ(kept->SaveToFile(path.get(), &done), S_OK);
      EXPECT_EQ(kept->LoadFromFile(path.get(), &done), S_OK);
      EXPECT_EQ(done, VARIANT_TRUE);
      _exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    edit(loaded(kMessage));
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  end = true;
  idle.join();
}

// --- a week's use --------------------------------------------------------------------------------

std::size_t resident() {
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages >> pages;
  return pages * static_cast<std::size_t>(getpagesize());
}

// Every message of the corpus is loaded, read, edited, saved and loaded again on eight threads,
// `TALLOWBROOK_SOAK` times. After ten rounds the process has all the memory that it will need.
TEST(SoakOfThreads, TakesNoMoreMemoryAfterTenRounds) {
  std::vector<std::string> messages;
  std::error_code missing;
  for (const auto& entry :
       std::filesystem::directory_iterator(TALLOWBROOK_SOURCE_DIR "/../shared/corpus", missing)) {
    if (entry.path().extension() == ".eml") messages.push_back(read_file(entry.path()));
  }
  if (messages.empty()) GTEST_SKIP() << "no corpus beside the project";
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  constexpr int kRounds = 2;
#else
  constexpr int kRounds = 16;
#endif
  const char* const wanted = std::getenv("TALLOWBROOK_SOAK");
  const int rounds = wanted != nullptr ? std::atoi(wanted) : kRounds;
  std::size_t level = 0;
  std::size_t most = 0;
  for (int round = 1; round <= rounds; ++round) {
    std::atomic<std::size_t> next{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
      threads.emplace_back([&] {
        for (std::size_t at = next++; at < messages.size(); at = next++) {
          const auto message = new_message();
          if (FAILED(load(message, messages[at]))) continue;
          for (const char16_t* const name : {u"From", u"To", u"Date", u"Received", u"Subject"}) {
            (void)platform::get(message.get(), name);
          }
          EXPECT_EQ(put(message.get(), u"Subject", text("edited")), S_OK);
          const auto part = object(message, u"Body");
          (void)platform::put(part.get(), u"Description", text("d"));
          EXPECT_EQ(load(message, saved(message)), S_OK);
        }
        (void)take_error_text();
      });
    }
    for (std::thread& thread : threads) thread.join();
    if (round == 10) level = resident();
    if (round > 10) most = std::max(most, resident());
    if (rounds > 100 && round % 100 == 0) {
      std::printf("round %d: %zu KB\n", round, resident() / 1024);
      std::fflush(stdout);
    }
  }
  // Threads' arenas are shared out anew in every round; a leak of a few bytes a message would be
  // many times as much in the long run.
  EXPECT_LE(most, level + level / 10 + (std::size_t{4} << 20));
}

}  // namespace
}  // namespace tallowbrook::test
