// At most ten loads run at once; what comes above waits politely.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "parser/load.h"
#include "platform/kernel/message_queue.h"
#include "platform/kernel/thread.h"
#include "tests/support/dump.h"
#include "tests/support/host_stream.h"

namespace tallowbrook::test {
namespace {

// Loads a header that comes byte by byte, `before` being called ahead of each.
void load_calling(const std::function<void()>& before) {
  HostStream stream("X: y\r\n", 1);
  stream.on_call = before;
  MessageStore store;
  ParseRun run{.store = &store};
  EXPECT_EQ(DispatchParse(run, &stream), S_OK);
  EXPECT_EQ(store.root[kPartFields].size(), 1U);
}

template <class Condition>
bool eventually(Condition condition) {
  for (int i = 0; i < 5000 && !condition(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return condition();
}

TEST(Pool, EleventhLoadWaitsPumpsAndHasItsPriorityBack) {
  std::atomic<int> inside{0};
  std::atomic<bool> release{false};
  const auto wait_inside = [&] {
    if (release) return;
    ++inside;
    while (!release) std::this_thread::yield();
  };
  std::vector<std::thread> holders;
  for (int i = 0; i < 10; ++i) holders.emplace_back([&] { load_calling(wait_inside); });
  ASSERT_TRUE(eventually([&] { return inside == 10; }));

  std::atomic<DWORD> waiter_id{0};
  std::atomic<int> priority_seen{99};
  std::atomic<bool> entered{false};
  std::thread waiter([&] {
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_ABOVE_NORMAL);
    waiter_id = GetCurrentThreadId();
    load_calling(wait_inside);
    entered = true;
    EXPECT_EQ(GetThreadPriority(GetCurrentThread()), THREAD_PRIORITY_ABOVE_NORMAL);
  });
  ASSERT_TRUE(eventually([&] { return waiter_id != 0; }));
  EXPECT_TRUE(eventually([&] {
    (void)platform::post_call(waiter_id,
                              [&] { priority_seen = GetThreadPriority(GetCurrentThread()); });
    return priority_seen == THREAD_PRIORITY_LOWEST;
  }));
  EXPECT_EQ(inside, 10);
  EXPECT_FALSE(entered);
  release = true;
  for (std::thread& holder : holders) holder.join();
  waiter.join();
  EXPECT_TRUE(entered);
}

// A stream that loads another message from inside its own Read does not disturb the load it is in.
TEST(Pool, LoadWithinALoad) {
  load_calling([] { load_calling([] { load_calling([] {}); }); });
}

TEST(Pool, ManyThreads) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 32; ++i) {
    threads.emplace_back([i] {
      for (int k = 0; k < 50; ++k) {
        const std::string number = std::to_string(i * 1000 + k);
        EXPECT_EQ(load_and_dump("X: " + number + "\r\n\r\n" + number),
                  "part\n  X: raw \"" + number + "\"\n  body raw \"" + number + "\\r\\n\"\n");
        HeaderValue value;
        EXPECT_EQ(parse_field("To", "a" + number + "@b", value), S_OK);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(Pool, FailingReadIsNoGoodLoad) {
  HostStream stream("X: y\r\n\r\nbody");
  stream.reads_before_failure = 1;
  MessageStore store;
  ParseRun run{.store = &store};
  EXPECT_EQ(DispatchParse(run, &stream), E_ABORT);
  EXPECT_EQ(run.read_status, E_ACCESSDENIED);
  EXPECT_EQ(take_error_text(), "The input could not be read to its end in Line 5");
  EXPECT_EQ(dump(store), "part\n  X: raw \"y\"\n  body raw \"body\\r\\n\"\n");
  EXPECT_EQ(DispatchParse(run, nullptr), E_INVALIDARG);
}

}  // namespace
}  // namespace tallowbrook::test
