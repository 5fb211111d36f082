// At most ten loads run at once; what comes above waits politely.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "parser/load.h"
#include "platform/kernel/message_queue.h"
#include "platform/kernel/thread.h"
#include "tests/support/dump.h"
#include "tests/support/host_stream.h"

namespace tallowbrook::test {
namespace {

// Gives a header byte by byte; calls `before` ahead of the first.
class CallingStream final : public ISequentialStream {
 public:
  explicit CallingStream(std::function<void()> before) : before_(std::move(before)) {}
  HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG AddRef() override { return 2; }
  ULONG Release() override { return 1; }
  HRESULT Read(void* pv, ULONG, ULONG* read) override {
    constexpr std::string_view kText = "X: y\r\n";
    if (at_ == 0) before_();
    *read = at_ < kText.size() ? 1 : 0;
    if (*read > 0) *static_cast<char*>(pv) = kText[at_++];
    return S_OK;
  }
  HRESULT Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }

 private:
  std::function<void()> before_;
  std::size_t at_ = 0;
};

void load_calling(std::function<void()> before) {
  CallingStream stream(std::move(before));
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
  EXPECT_EQ(inside, 11);
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
