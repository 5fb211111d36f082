// Mutexes, events, waits with messages, and priority.
#include "platform/kernel/wait.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <array>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "platform/kernel/debug_output.h"
#include "platform/kernel/message_queue.h"
#include "platform/kernel/thread.h"

namespace tallowbrook::platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

Handle make_mutex(BOOL owned = FALSE) { return Handle(CreateMutexW(nullptr, owned, nullptr)); }
Handle make_event(BOOL manual) { return Handle(CreateEventW(nullptr, manual, FALSE, nullptr)); }

DWORD message_wait(HANDLE handle, DWORD time_out) {
  return MsgWaitForMultipleObjects(1, &handle, FALSE, time_out, QS_ALLINPUT);
}

template <class Body>
void on_other_thread(Body body) {
  std::thread(body).join();
}

TEST(Mutex, IsRecursiveAndOwnedByItsThread) {
  const Handle mutex = make_mutex(TRUE);
  ASSERT_EQ(WaitForSingleObject(mutex.get(), 0), WAIT_OBJECT_0);
  const auto other_sees = [&mutex](DWORD expected) {
    on_other_thread([&] {
      EXPECT_EQ(WaitForSingleObject(mutex.get(), 0), expected);
      EXPECT_EQ(ReleaseMutex(mutex.get()), expected == WAIT_OBJECT_0);
      if (expected != WAIT_OBJECT_0) {
        EXPECT_EQ(GetLastError(), ERROR_NOT_OWNER);
      }
    });
  };
  other_sees(WAIT_TIMEOUT);
  EXPECT_TRUE(ReleaseMutex(mutex.get()));
  other_sees(WAIT_TIMEOUT);
  EXPECT_TRUE(ReleaseMutex(mutex.get()));
  other_sees(WAIT_OBJECT_0);
  EXPECT_FALSE(ReleaseMutex(mutex.get()));
}

TEST(Mutex, AbandonedByAThreadThatEnds) {
  const Handle first = make_mutex();
  const Handle second = make_mutex();
  const Handle taken = make_event(TRUE);
  std::thread sleeper([&] {
    EXPECT_EQ(WaitForSingleObject(first.get(), 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(second.get(), 0), WAIT_OBJECT_0);
    SetEvent(taken.get());
    Sleep(20);
  });
  EXPECT_EQ(WaitForSingleObject(taken.get(), INFINITE), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(first.get(), 1), WAIT_TIMEOUT);
  const HANDLE both[] = {second.get(), first.get()};
  EXPECT_EQ(WaitForMultipleObjects(2, both, TRUE, INFINITE), WAIT_ABANDONED_0);
  sleeper.join();
  EXPECT_TRUE(ReleaseMutex(first.get()));
  EXPECT_EQ(WaitForSingleObject(first.get(), 0), WAIT_OBJECT_0);  // abandoned only once
  EXPECT_TRUE(ReleaseMutex(first.get()));
  EXPECT_TRUE(ReleaseMutex(second.get()));
}

// A handle may be closed while its mutex is owned; the owner keeps the object.
TEST(Mutex, OutlivesItsHandleWhileOwned) {
  make_mutex(TRUE).reset();
  on_other_thread([] { make_mutex(TRUE).reset(); });
}

// A pool of ten as the component has: never two owners, and nobody is left waiting.
TEST(Mutex, ElevenThreadsShareTen) {
  std::array<Handle, 10> mutexes;
  std::array<int, 10> plain_counts{};  // guarded by the mutexes, as the race detector checks
  for (Handle& mutex : mutexes) mutex = make_mutex();
  std::array<HANDLE, 10> handles;
  for (std::size_t i = 0; i < 10; ++i) handles[i] = mutexes[i].get();
  constexpr int kRounds = 300;
  std::vector<std::thread> threads;
  for (int t = 0; t < 11; ++t) {
    threads.emplace_back([&, t] {
      for (int round = 0; round < kRounds; ++round) {
        // One thread polls at the lowest priority, the others block on one or on any of them.
        DWORD got = WAIT_TIMEOUT;
        if (t == 0) {
          SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_LOWEST);
          for (DWORD i = 0; got == WAIT_TIMEOUT; i = (i + 1) % 10) {
            if (message_wait(handles[i], 0) == WAIT_OBJECT_0) got = i;
          }
        } else if (t % 2 == 0) {
          got = static_cast<DWORD>(round % 3);
          ASSERT_EQ(WaitForSingleObject(handles[got], INFINITE), WAIT_OBJECT_0);
        } else {
          got = MsgWaitForMultipleObjects(10, handles.data(), FALSE, INFINITE, QS_ALLINPUT);
          ASSERT_LT(got, 10U);
        }
        ++plain_counts[got];
        if (round % 16 == 0) std::this_thread::yield();
        ASSERT_TRUE(ReleaseMutex(handles[got]));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  int total = 0;
  for (const int count : plain_counts) total += count;
  EXPECT_EQ(total, 11 * kRounds);
}

TEST(Event, ManualStaysAutomaticLetsOneThrough) {
  const Handle manual = make_event(TRUE);
  const Handle automatic = make_event(FALSE);
  const HANDLE both[] = {automatic.get(), manual.get()};
  SetEvent(automatic.get());
  EXPECT_EQ(WaitForMultipleObjects(2, both, TRUE, 1), WAIT_TIMEOUT);  // and gives back what it got
  std::thread setter([&] { SetEvent(manual.get()); });
  EXPECT_EQ(WaitForMultipleObjects(2, both, TRUE, INFINITE), WAIT_OBJECT_0);
  setter.join();
  EXPECT_EQ(WaitForMultipleObjects(2, both, FALSE, 0), WAIT_OBJECT_0 + 1);
  ResetEvent(manual.get());
  EXPECT_EQ(WaitForMultipleObjects(2, both, FALSE, 0), WAIT_TIMEOUT);
}

TEST(Wait, RefusesWhatCannotBeAwaited) {
  const Handle mutex = make_mutex();
  HANDLE many[MAXIMUM_WAIT_OBJECTS] = {};
  for (const HANDLE bad : {HANDLE{nullptr}, INVALID_HANDLE_VALUE, GetCurrentThread()}) {
    EXPECT_EQ(WaitForSingleObject(bad, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
  }
  EXPECT_EQ(MsgWaitForMultipleObjects(MAXIMUM_WAIT_OBJECTS, many, FALSE, 0, QS_ALLINPUT),
            WAIT_FAILED);
  EXPECT_EQ(WaitForMultipleObjects(0, many, FALSE, 0), WAIT_FAILED);
  EXPECT_FALSE(SetEvent(mutex.get()));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
  EXPECT_EQ(CreateMutexW(nullptr, FALSE, u"named"), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_NOT_SUPPORTED);
}

TEST(Messages, WakeAWaitAndRunOnTheirThread) {
  const Handle never = make_event(TRUE);
  const DWORD me = GetCurrentThreadId();
  DWORD ran_on = 0;
  std::thread poster([&] {
    Sleep(10);
    post_call(me, [&] { ran_on = GetCurrentThreadId(); });
  });
  EXPECT_EQ(message_wait(never.get(), INFINITE), WAIT_OBJECT_0 + 1);
  poster.join();
  EXPECT_EQ(message_wait(never.get(), 0), WAIT_OBJECT_0 + 1);  // it is still there
  MSG message{};
  ASSERT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(message_wait(never.get(), 0), WAIT_TIMEOUT);
  DispatchMessageW(&message);
  EXPECT_EQ(ran_on, me);
  ran_on = 0;
  DispatchMessageW(&message);  // a call is made once
  EXPECT_EQ(ran_on, 0U);
}

TEST(Messages, KeepTheirOrderAndReachTheHandler) {
  const DWORD me = GetCurrentThreadId();
  std::vector<UINT> handled;
  set_thread_message_handler([&](const MSG& seen) { handled.push_back(seen.message); });
  PostThreadMessageW(me, WM_APP, 1, 2);
  PostThreadMessageW(me, WM_USER, 3, 4);
  PostQuitMessage(7);
  MSG message{};
  ASSERT_TRUE(PeekMessageW(&message, nullptr, WM_USER, WM_USER, PM_NOREMOVE));
  EXPECT_EQ(message.wParam, 3U);
  while (GetMessageW(&message, nullptr, 0, 0) == TRUE) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  EXPECT_EQ(message.wParam, 7U);
  EXPECT_EQ(handled, (std::vector<UINT>{WM_APP, WM_USER}));
  set_thread_message_handler({});
}

TEST(Messages, OfAThreadThatIsGoneAreRefusedAndAThrowingCallIsContained) {
  DWORD gone = 0;
  on_other_thread([&] { gone = GetCurrentThreadId(); });
  EXPECT_FALSE(PostThreadMessageW(gone, WM_APP, 0, 0));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_THREAD_ID);
  std::string heard;
  SetDebugOutputHandler([&heard](std::string_view text) { heard += text; });
  post_call(GetCurrentThreadId(), [] { throw std::runtime_error("no"); });
  MSG message{};
  ASSERT_EQ(GetMessageW(&message, nullptr, 0, 0), TRUE);
  DispatchMessageW(&message);
  SetDebugOutputHandler({});
  EXPECT_EQ(heard, "no\n");
}

TEST(Thread, PriorityIsKeptForEachThread) {
  const HANDLE me = GetCurrentThread();
  for (const int priority : {-15, -2, 15, 0}) {
    EXPECT_TRUE(SetThreadPriority(me, priority));
    EXPECT_EQ(GetThreadPriority(me), priority);
    on_other_thread([] { EXPECT_EQ(GetThreadPriority(GetCurrentThread()), 0); });
  }
  EXPECT_FALSE(SetThreadPriority(me, 16));
  EXPECT_EQ(GetThreadPriority(nullptr), THREAD_PRIORITY_ERROR_RETURN);
}

TEST(Thread, OfLowPriorityDoesNotUseUpAProcessorBySpinning) {
  const Handle taken = make_mutex(TRUE);
  rusage before{};
  rusage after{};
  const auto used = [](const rusage& usage) {
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
  };
  on_other_thread([&] {
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_LOWEST);
    getrusage(RUSAGE_THREAD, &before);
    const auto end = steady_clock::now() + milliseconds(200);
    while (steady_clock::now() < end) message_wait(taken.get(), 0);
    getrusage(RUSAGE_THREAD, &after);
  });
  EXPECT_LT((used(after) - used(before)) / 0.2, 0.4);
  ReleaseMutex(taken.get());
}

}  // namespace
}  // namespace tallowbrook::platform
