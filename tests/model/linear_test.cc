// Many parts, fields, parameters, addresses and trace headers: what a host takes away one by one,
// in whatever order, costs time in proportion.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <numeric>
#include <random>

#include "tallowbrook/mime_body.h"
#include "tests/model/host.h"

namespace tallowbrook::test {
namespace {

constexpr int kMany = 50000;
// Many times what a machine needs that is busy and checks every access; what grows with the square
// of kMany takes longer.
constexpr std::chrono::seconds kLimit{20};

enum class Order { kFront, kBack, kRandom, kByName };

struct Removal {
  const char* what;
  // Makes an object that has kMany elements, which Remove takes by position.
  std::function<Variant(std::vector<Variant>& keep)> make;
  const char* name;  // of an element, before its number; null when none has a name
};

std::string repeated(const char* before, const char* between, const char* behind) {
  std::string text = before;
  for (int i = 0; i < kMany; ++i) {
    if (i > 0) text += between;
    text.append(behind).append(std::to_string(i));
  }
  return text;
}

Variant message_property(std::vector<Variant>& keep, const std::string& source,
                         std::initializer_list<const char16_t*> path) {
  keep.emplace_back(static_cast<IDispatch*>(loaded(source).get()));
  for (const char16_t* const step : path) keep.push_back(read(keep.back().pdispVal, step));
  return keep.back();
}

TEST(Linear, RemovalOfEach) {
  const Removal kRemovals[] = {
      {"parts",
       [](auto& keep) {
         const std::string child = "\r\n--b\r\n\r\npart ";
         return message_property(
             keep,
             repeated("Content-Type: multipart/mixed; boundary=b\r\n", "", child.c_str()) +
                 "\r\n--b--\r\n",
             {u"Body"});
       },
       nullptr},
      {"fields",
       [](auto& keep) {
         return message_property(keep, repeated("", ": x\r\n", "X-Field-") + ": x\r\n\r\n",
                                 {u"Body", u"Fields"});
       },
       "x-field-"},
      {"parameters",
       [](auto& keep) {
         return message_property(
             keep, repeated("Content-Type: text/plain; ", "=v;\r\n\t", "p") + "=v\r\n\r\n",
             {u"Body", u"ContentType", u"Parameters"});
       },
       "p"},
      {"addresses",
       [](auto& keep) {
         return message_property(keep, repeated("To: ", "@b.c,\r\n ", "a") + "@b.c\r\n\r\n",
                                 {u"To"});
       },
       nullptr},
      {"trace headers",
       [](auto& keep) {
         return message_property(keep, repeated("", " by b; x\r\n", "Received: from ") + "\r\n\r\n",
                                 {u"Received"});
       },
       nullptr},
  };
  const auto start = std::chrono::steady_clock::now();
  for (const Removal& removal : kRemovals) {
    for (const Order order : {Order::kFront, Order::kBack, Order::kRandom, Order::kByName}) {
      if (order == Order::kByName && removal.name == nullptr) continue;
      std::vector<Variant> keep;
      const Variant object = removal.make(keep);
      ASSERT_EQ(read(object.pdispVal, u"Count").lVal, kMany) << removal.what;
      std::mt19937 random(4);
      std::vector<int> numbers(kMany);
      std::iota(numbers.begin(), numbers.end(), 0);
      std::shuffle(numbers.begin(), numbers.end(), random);
      for (int left = kMany; left > 0; --left) {
        const LONG position = order == Order::kFront ? 0
                              : order == Order::kBack
                                  ? left - 1
                                  : static_cast<LONG>(random() % static_cast<unsigned>(left));
        const Variant index =
            order != Order::kByName
                ? Variant(position)
                : text(removal.name + std::to_string(numbers[static_cast<std::size_t>(left - 1)]));
        ASSERT_EQ(platform::call(object.pdispVal, u"Remove", index).status, S_OK) << removal.what;
      }
      ASSERT_EQ(read(object.pdispVal, u"Count").lVal, 0) << removal.what;
      ASSERT_LT(std::chrono::steady_clock::now() - start, kLimit) << removal.what;
    }
  }
}

TEST(Linear, ExtensionFieldsByName) {
  const auto start = std::chrono::steady_clock::now();
  const auto message = new_message();
  for (const bool again : {false, true}) {
    for (int i = 0; i < kMany; ++i) {
      const auto part = platform::query<IMimeBody>(read(message.get(), u"Body").pdispVal);
      const platform::Bstr name(to_wide((again ? "x-" : "X-") + std::to_string(i)));
      ASSERT_EQ(part->put_ExtField(name.get(), text(std::to_string(i + 1))), S_OK);
    }
    ASSERT_LT(std::chrono::steady_clock::now() - start, kLimit);
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
