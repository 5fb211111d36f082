// At most ten loads run at once; what comes above waits politely.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "parser/load.h"
#include "platform/kernel/message_queue.h"
#include "platform/kernel/thread.h"
#include "tests/support/dump.h"

namespace tallowbrook::test {
namespace {

// Gives "X: y" after `release`, and counts how many readers stand inside.
class GatedStream final : public ISequentialStream {
 public:
  GatedStream(std::atomic<int>& inside, std::atomic<bool>& release)
      : inside_(inside), release_(release) {}
  HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG AddRef() override { return 2; }
  ULONG Release() override { return 1; }
  HRESULT Read(void* pv, ULONG, ULONG* read) override {
    if (!given_) {
      ++inside_;
      while (!release_) std::this_thread::yield();
      std::memcpy(pv, "X: y", 4);
    }
    *read = std::exchange(given_, true) ? 0 : 4;
    return S_OK;
  }
  HRESULT Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }

 private:
  std::atomic<int>& inside_;
  std::atomic<bool>& release_;
  bool given_ = false;
};

void load_from(ISequentialStream& stream) {
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
  std::vector<std::thread> holders;
  for (int i = 0; i < 10; ++i) {
    holders.emplace_back([&] {
      GatedStream stream(inside, release);
      load_from(stream);
    });
  }
  ASSERT_TRUE(eventually([&] { return inside == 10; }));

  std::atomic<DWORD> waiter_id{0};
  std::atomic<int> priority_seen{99};
  std::atomic<bool> entered{false};
  std::thread waiter([&] {
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_ABOVE_NORMAL);
    waiter_id = GetCurrentThreadId();
    GatedStream stream(inside, release);
    load_from(stream);
    entered = true;
    EXPECT_EQ(GetThreadPriority(GetCurrentThread()), THREAD_PRIORITY_ABOVE_NORMAL);
  });
  ASSERT_TRUE(eventually([&] { return waiter_id != 0; }));
  EXPECT_TRUE(platform::post_call(waiter_id,
                                  [&] { priority_seen = GetThreadPriority(GetCurrentThread()); }));
  EXPECT_TRUE(eventually([&] { return priority_seen != 99; }));
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
class LoadingStream final : public ISequentialStream {
 public:
  explicit LoadingStream(int depth) : depth_(depth) {}
  HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG AddRef() override { return 2; }
  ULONG Release() override { return 1; }
  HRESULT Read(void* pv, ULONG, ULONG* read) override {
    if (depth_ > 0) {
      LoadingStream inner(depth_ - 1);
      load_from(inner);
    }
    constexpr std::string_view kText = "X: y\r\n";
    const std::string_view piece = kText.substr(at_, 1);
    at_ += piece.size();
    if (!piece.empty()) *static_cast<char*>(pv) = piece[0];
    *read = static_cast<ULONG>(piece.size());
    return S_OK;
  }
  HRESULT Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }

 private:
  int depth_;
  std::size_t at_ = 0;
};

TEST(Pool, LoadWithinALoad) {
  LoadingStream stream(2);
  load_from(stream);
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

class FailingStream final : public ISequentialStream {
 public:
  HRESULT QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG AddRef() override { return 2; }
  ULONG Release() override { return 1; }
  HRESULT Read(void* pv, ULONG, ULONG* read) override {
    *read = 0;
    if (at_++ > 0) return E_ACCESSDENIED;
    std::memcpy(pv, "X: y\r\n\r\nbody", 12);
    *read = 12;
    return S_OK;
  }
  HRESULT Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }

 private:
  int at_ = 0;
};

TEST(Pool, FailingReadIsNoGoodLoad) {
  FailingStream stream;
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
