// Many parts, fields, parameters, addresses and trace headers: what a host takes away one by one,
// in whatever order, costs time in proportion.
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <numeric>
#include <random>

#include "tallowbrook/mime_body.h"
#include "tests/model/host.h"

namespace tallowbrook::test {
namespace {

// What grows with the square takes 64 times as long for eight times as many.
constexpr int kFew = 4000;
constexpr int kMany = 32000;
constexpr double kMostTimesLonger = 40;  // misses of caches among them

// Seconds of this thread's own, however busy the machine is.
double thread_time() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

enum class Order { kFront, kBack, kRandom, kByName };

// A message whose object at the end of `path` has as many elements as `each` is repeated, with the
// number of the element behind it. Remove takes them by position.
struct Removal {
  const char* what;
  const char* before;
  const char* each;
  const char* between;
  const char* behind;
  std::vector<const char16_t*> path;
  const char* name = nullptr;  // of an element, before its number; null when none has a name
};

const Removal kRemovals[] = {
    {"parts",
     "Content-Type: multipart/mixed; boundary=b\r\n",
     "\r\n--b\r\n\r\npart ",
     "",
     "\r\n--b--\r\n",
     {u"Body"}},
    {"fields", "", "X-Field-", ": x\r\n", ": x\r\n\r\n", {u"Body", u"Fields"}, "x-field-"},
    {"parameters",
     "Content-Type: text/plain; ",
     "p",
     "=v;\r\n\t",
     "=v\r\n\r\n",
     {u"Body", u"ContentType", u"Parameters"},
     "p"},
    {"addresses", "To: ", "a", "@b.c,\r\n ", "@b.c\r\n\r\n", {u"To"}},
    {"trace headers", "", "Received: from ", " by b; x\r\n", "\r\n\r\n", {u"Received"}},
};

// How long it takes to remove each of `count` elements.
double removal_of_each(const Removal& removal, Order order, int count) {
  std::string source = removal.before;
  for (int i = 0; i < count; ++i) {
    if (i > 0) source += removal.between;
    source.append(removal.each).append(std::to_string(i));
  }
  const auto message = loaded(source + removal.behind);
  Variant object(static_cast<IDispatch*>(message.get()));
  for (const char16_t* const step : removal.path) object = read(object.pdispVal, step);
  EXPECT_EQ(read(object.pdispVal, u"Count").lVal, count);
  std::mt19937 random(4);
  std::vector<int> numbers(static_cast<std::size_t>(count));
  std::iota(numbers.begin(), numbers.end(), 0);
  std::shuffle(numbers.begin(), numbers.end(), random);
  const double start = thread_time();
  for (int left = count; left > 0; --left) {
    const LONG position = order == Order::kFront ? 0
                          : order == Order::kBack
                              ? left - 1
                              : static_cast<LONG>(random() % static_cast<unsigned>(left));
    const int number = numbers[static_cast<std::size_t>(left - 1)];
    const Variant index =
        order == Order::kByName ? text(removal.name + std::to_string(number)) : Variant(position);
    EXPECT_EQ(platform::call(object.pdispVal, u"Remove", index).status, S_OK);
  }
  const double taken = thread_time() - start;
  EXPECT_EQ(read(object.pdispVal, u"Count").lVal, 0);
  return taken;
}

TEST(Linear, RemovalOfEach) {
  for (const Removal& removal : kRemovals) {
    for (const Order order : {Order::kFront, Order::kBack, Order::kRandom, Order::kByName}) {
      if (order == Order::kByName && removal.name == nullptr) continue;
      SCOPED_TRACE(std::string(removal.what) + " in order " +
                   std::to_string(static_cast<int>(order)));
      bool in_proportion = false;
      // More than once, as a busy machine takes the caches away.
      for (int attempt = 0; attempt < 3 && !in_proportion; ++attempt) {
        const double few = removal_of_each(removal, order, kFew);
        const double many = removal_of_each(removal, order, kMany);
        in_proportion = many < few * kMostTimesLonger;
      }
      EXPECT_TRUE(in_proportion);
    }
  }
}

TEST(Linear, ExtensionFieldsByName) {
  const auto message = new_message();
  for (const bool again : {false, true}) {
    for (int i = 0; i < kMany; ++i) {
      const auto part = platform::query<IMimeBody>(read(message.get(), u"Body").pdispVal);
      const platform::Bstr name(to_wide((again ? "x-" : "X-") + std::to_string(i)));
      ASSERT_EQ(part->put_ExtField(name.get(), text(std::to_string(i + 1))), S_OK);
    }
  }
  const auto part = platform::query<IMimeBody>(read(message.get(), u"Body").pdispVal);
  EXPECT_EQ(read(read(part.get(), u"Fields").pdispVal, u"Count").lVal, kMany);
  for (int i = 0; i < kMany; ++i) {
    Variant value;
    const platform::Bstr name(to_wide("X-" + std::to_string(i)));
    ASSERT_EQ(part->get_ExtField(name.get(), &value), S_OK);
    ASSERT_EQ(value.text(), to_wide(std::to_string(i + 1)));
  }
  // Fields of the part's own are found among them, and names are taken whole.
  EXPECT_EQ(read(part.get(), u"Encoding").vt, VT_EMPTY);
  EXPECT_EQ(put(part.get(), u"Encoding", text("base64")), S_OK);
  EXPECT_EQ(read(part.get(), u"Encoding").lVal, 2);
  const Variant fields = read(part.get(), u"Fields");
  EXPECT_EQ(platform::call(fields.pdispVal, u"Remove", text("content-transfer-ENCODING")).status,
            S_OK);
  EXPECT_EQ(read(part.get(), u"Encoding").vt, VT_EMPTY);
  EXPECT_EQ(platform::call(fields.pdispVal, u"Remove", text("X-")).status, E_FAIL);
  EXPECT_EQ(platform::call(fields.pdispVal, u"Remove", text("ExtField")).status, S_OK);
  EXPECT_EQ(read(fields.pdispVal, u"Count").lVal, 0);
}

}  // namespace
}  // namespace tallowbrook::test
