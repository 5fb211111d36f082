// How fast the component loads, and how its cost grows: everything as a host sees it, through the
// class object, from a stream in memory, on one thread unless it says otherwise.
//
//   tallowbrook-bench             speeds, each beside a memcpy of the same bytes in the same run
//   tallowbrook-bench --coding    the same of the coders alone
//   tallowbrook-bench --automation  making objects, resolving names, late-bound calls
//   tallowbrook-bench --memory    how much is held while a large part is read and written
//   tallowbrook-bench --collections  what an item of a collection costs, at three sizes
//   tallowbrook-bench --scaling   time at n over time at n/2: about 2 when the cost is linear
#include <malloc.h>

#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bench/automation_bench.h"
#include "bench/coding_bench.h"
#include "bench/collection_bench.h"
#include "bench/inputs.h"
#include "bench/memory_bench.h"
#include "bench/timing.h"
#include "platform/com/activation.h"
#include "tallowbrook/tallowbrook.h"
#include "tests/support/host_stream.h"

namespace tallowbrook::bench {
namespace {

using platform::ComPtr;
using test::HostStream;

class Messages {
 public:
  Messages() {
    const std::string path = std::string(TALLOWBROOK_LIBRARY);
    HMODULE module = nullptr;
    if (FAILED(CoLoadComponent(path.c_str(), &module))) throw std::runtime_error("no " + path);
    if (FAILED(CoGetClassObject(CLSID_MimeDecoder, CLSCTX_INPROC_SERVER, nullptr,
                                IClassFactory::kIid, factory_.out_void()))) {
      throw std::runtime_error("no class object");
    }
  }

  [[nodiscard]] ComPtr<IMimeDecoder> load(HostStream& stream) const {
    ComPtr<IMimeDecoder> message;
    stream.position = 0;
    if (FAILED(factory_->CreateInstance(nullptr, IMimeDecoder::kIid, message.out_void())) ||
        FAILED(message.query<IPersistStream>()->Load(&stream))) {
      throw std::runtime_error("a message does not load");
    }
    return message;
  }

  [[nodiscard]] const ComPtr<IClassFactory>& factory() const { return factory_; }

 private:
  ComPtr<IClassFactory> factory_;
};

void copy_bytes(const std::string& from, std::vector<char>& to) {
  to.assign(from.size(), '\0');
  std::memcpy(to.data(), from.data(), from.size());
}

// Two threads share a fixed number of loads, or one does all of them.
double time_on(std::size_t threads, const Messages& messages, const std::string& message) {
  constexpr std::size_t kLoads = 20'000;
  return best(10, [&] {
    std::vector<std::jthread> running(threads);
    for (std::jthread& thread : running) {
      thread = std::jthread([&] {
        HostStream stream(message);
        for (std::size_t i = 0; i < kLoads / threads; ++i) (void)messages.load(stream);
      });
    }
  });
}

void speeds(const Messages& messages) {
  HostStream body(text_body(50'000'000));
  const double body_time = best(7, [&] { (void)messages.load(body); });
  const double copy_time = best(7, [&] {
    std::vector<char> copy;
    copy_bytes(body.content, copy);
  });
  const double size = static_cast<double>(body.content.size());
  std::printf("50 MB text body:  %7.0f MB/s   (%.2f x the time of a memcpy to fresh memory)\n",
              size / body_time / 1e6, body_time / copy_time);

  constexpr int kMessages = 2000;
  HostStream small(typical());
  const double small_time = best(20, [&] {
    for (int i = 0; i < kMessages; ++i) (void)messages.load(small);
  });
  const double small_copy = best(20, [&] {
    std::vector<char> copy;
    for (int i = 0; i < kMessages; ++i) copy_bytes(small.content, copy);
  });
  std::printf("4 KB message:     %7.2f us     (%.0f x the time of a memcpy)\n",
              small_time / kMessages * 1e6, small_time / small_copy);

  const double one = time_on(1, messages, typical());
  const double two = time_on(2, messages, typical());
  std::printf("two threads:      %7.2f x the speed of one\n", one / two);

  HostStream many(extension_fields(100'000));
  const auto before = mallinfo2();
  const ComPtr<IMimeDecoder> held = messages.load(many);
  const auto after = mallinfo2();
  std::printf(
      "100,000 fields:   %7.1f MB held\n",
      static_cast<double>(after.uordblks + after.hblkhd - before.uordblks - before.hblkhd) / 1e6);
}

void read_recipients(const ComPtr<IMimeDecoder>& message) {
  platform::Variant list;
  if (FAILED(message->get_To(&list)) || list.vt != VT_DISPATCH) {
    throw std::runtime_error("no list");
  }
}

void save(const ComPtr<IMimeDecoder>& message) {
  HostStream target;
  target.keep_writes = false;
  if (FAILED(message.query<IPersistStream>()->Save(&target, FALSE))) {
    throw std::runtime_error("a message does not save");
  }
}

// The time of each doubling up to `largest`; the last ratios tell.
void scale(const Messages& messages, const char* name, std::size_t largest,
           std::string (*make)(std::size_t), void (*use)(const ComPtr<IMimeDecoder>&)) {
  double earlier = 0;
  std::printf("%-28s", name);
  for (std::size_t n = largest / 8; n <= largest; n *= 2) {
    HostStream stream(make(n));
    const double time = best(5, [&] {
      const ComPtr<IMimeDecoder> message = messages.load(stream);
      if (use != nullptr) use(message);
    });
    std::printf("  %zu: %.1f ms", n, time * 1e3);
    if (earlier > 0) std::printf(" (x %.2f)", time / earlier);
    earlier = time;
  }
  std::printf("\n");
}

void scaling(const Messages& messages) {
  scale(messages, "header fields", 100'000, extension_fields, nullptr);
  scale(messages, "header fields, save", 100'000, extension_fields, save);
  scale(messages, "recipients, read of To", 100'000, recipients, read_recipients);
  scale(messages, "trace fields, save", 100'000, trace_fields, save);
  scale(messages, "body lines", 10'000'000, body_lines, nullptr);
  scale(messages, "parts, save", 100'000, parts, save);
  scale(messages, "nesting depth, save", 10'000, nested, save);
}

}  // namespace
}  // namespace tallowbrook::bench

int main(int count, char** arguments) {
  try {
    const tallowbrook::bench::Messages messages;
    const std::string_view what = count > 1 ? arguments[1] : "";
    if (what == "--coding") {
      tallowbrook::bench::coding_speeds();
    } else if (what == "--automation") {
      tallowbrook::bench::automation_speeds(messages.factory().get());
    } else if (what == "--memory") {
      tallowbrook::bench::memory_of_a_large_part(messages.factory());
    } else if (what == "--collections") {
      tallowbrook::bench::collection_costs();
    } else if (what == "--scaling") {
      tallowbrook::bench::scaling(messages);
    } else {
      tallowbrook::bench::speeds(messages);
    }
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "tallowbrook-bench: %s\n", failure.what());
    return 1;
  }
}
