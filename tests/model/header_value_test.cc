#include "model/header_value.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "model/header_block.h"

namespace tallowbrook {
namespace {

HeaderValue numbers(int count) {
  HeaderValue list = HeaderValue::list();
  for (int i = 0; i < count; ++i) list.push_back(HeaderValue::integer(i));
  return list;
}

std::vector<std::int32_t> contents(const HeaderValue& list) {
  std::vector<std::int32_t> result;
  for (std::size_t i = 0; i < list.size(); ++i) result.push_back(list[i].number());
  return result;
}

// Few of them, so that they meet.
std::size_t number_hash(const HeaderValue& element) {
  return static_cast<std::size_t>(element.number() % 500);
}

// Elements that come, go from every place and are looked up by hash, against a plain vector: of a
// short list, and of one so long that it keeps an order of its slots.
TEST(HeaderValue, ListsLoseElementsAnywhere) {
  std::mt19937 random(2);
  for (const int size : {40, 4000}) {
    HeaderValue list = numbers(size);
    std::vector<std::int32_t> model = contents(list);
    for (int round = 0; round < 7000; ++round) {
      const auto number = static_cast<std::int32_t>(random() % 6000);
      const auto found = std::find(model.begin(), model.end(), number);
      if (round > 500) {
        const HeaderValue wanted = HeaderValue::integer(number);
        const std::size_t at = list.find_hashed(
            number_hash(wanted), number_hash,
            [number](const HeaderValue& element) { return element.is_integer(number); });
        ASSERT_EQ(at, static_cast<std::size_t>(found - model.begin()));
      }
      const bool grows = size > 1000 ? round % 5 == 0 : model.size() < 40 || round % 3 == 0;
      if (grows) {
        list.push_back(HeaderValue::integer(number));
        model.push_back(number);
      } else if (!model.empty()) {
        const std::size_t at = found != model.end()
                                   ? static_cast<std::size_t>(found - model.begin())
                                   : random() % model.size();
        list.erase_element(at);
        model.erase(model.begin() + static_cast<std::ptrdiff_t>(at));
      }
      if (size > 1000 && round % 100 != 0) continue;
      ASSERT_EQ(contents(list), model) << round;
      HeaderValue copy = list;
      copy.push_back(HeaderValue::integer(0));
      ASSERT_EQ(copy.size(), list.size() + 1);
      if (round == 2000) list = copy;
      if (round == 2000) model.push_back(0);
      if (round == 2500) list.clear_elements();
      if (round == 2500) model.clear();
    }
  }
}

TEST(HeaderValue, MapsAreInOrderByNameAndPosition) {
  std::mt19937 random(3);
  HeaderValue value = HeaderValue::map();
  AddressMap& map = value.mutable_entries();
  std::map<std::string, std::int32_t> model;
  for (int round = 0; round < 6000; ++round) {
    const auto number = static_cast<std::int32_t>(random() % 2000);
    const std::string name = std::to_string(number);
    const bool grows = round < 2500 || random() % 4 == 0;
    const std::size_t position = model.empty() ? 0 : random() % model.size();
    if (grows && round % 2 == 0) {
      map.insert(name, HeaderValue::integer(round));
      model.emplace(name, round);
    } else if (grows) {
      map.at_or_add(name) = HeaderValue::integer(round);
      model[name] = round;
    } else if (round % 2 == 0) {
      EXPECT_EQ(map.erase(name), model.erase(name) == 1);
    } else if (!model.empty()) {
      map.erase_at(position);
      model.erase(std::next(model.begin(), static_cast<std::ptrdiff_t>(position)));
    }
    ASSERT_EQ(map.size(), model.size());
    EXPECT_EQ(map.find(name) != nullptr, model.count(name) == 1);
    if (position < model.size()) {
      const auto wanted = std::next(model.begin(), static_cast<std::ptrdiff_t>(position));
      ASSERT_EQ(map.at(position)->name, wanted->first);
      EXPECT_EQ(map.at(position)->value.number(), wanted->second);
    }
    EXPECT_EQ(map.at(model.size()), nullptr);
    if (round % 200 != 0) continue;
    auto wanted = model.begin();
    for (const auto& [key, number_value] : value.entries()) {
      ASSERT_EQ(key, wanted->first);
      EXPECT_EQ(number_value.number(), (wanted++)->second);
    }
    EXPECT_EQ(wanted, model.end());
  }
  HeaderValue copy = value;
  copy.mutable_entries().clear();
  EXPECT_EQ(map.size(), model.size());
}

TEST(HeaderValue, WritingUnsharesUnlessPinned) {
  HeaderValue list = numbers(2);
  HeaderValue copy = list;
  copy.push_back(HeaderValue::integer(9));
  EXPECT_EQ(list.size(), 2U);
  EXPECT_EQ(copy.size(), 3U);

  list.pin();
  HeaderValue shared = list;
  shared.erase_element(0);
  EXPECT_EQ(contents(list), contents(shared));

  HeaderValue text = HeaderValue::text("a");
  HeaderValue longer = text;
  longer.AppendText("b");
  EXPECT_EQ(text.text_view(), "a");
  EXPECT_EQ(longer.text_view(), "ab");

  const HeaderValue raw = HeaderValue::raw("content");
  HeaderValue same = raw;
  same.AppendText("!");
  EXPECT_EQ(raw.raw_text(), "content!");
}

TEST(HeaderValue, BorrowedTextIsOwnedWhenAskedOrWritten) {
  std::string bytes = "line";
  HeaderValue copy;
  {
    const HeaderValue line = HeaderValue::borrowed_text(bytes);
    copy = HeaderValue::owned(line);
  }
  HeaderValue written = HeaderValue::borrowed_text(bytes);
  written.AppendChar('!');
  bytes = "else";
  EXPECT_EQ(copy.text_view(), "line");
  EXPECT_EQ(written.text_view(), "line!");
}

TEST(HeaderValue, DeepListsDieWithoutRecursion) {
  HeaderValue deep = HeaderValue::text("x");
  for (int i = 0; i < 1'000'000; ++i) deep = HeaderValue::list(std::move(deep));
  deep.Reset();
  EXPECT_FALSE(deep.is_set());
}

// Values of a block are values like others, singly and after the block's maker is gone.
TEST(HeaderValue, ValuesOfABlock) {
  HeaderValue text;
  HeaderValue raw;
  HeaderValue list;
  {
    HeaderBlock block(HeaderBlock::room_for_text(3) + HeaderBlock::room_for_raw(1) +
                      HeaderBlock::room_for_raw(0) + HeaderBlock::room_for_list(2));
    text = block.text("abc");
    raw = block.raw("r");
    list = block.list(HeaderValue(text), block.raw({}));
  }
  list.element(0).AppendText("d");
  list.push_back(HeaderValue(raw));
  raw.AppendText("s");
  HeaderValue copy = list;
  copy.push_back(std::move(text));
  text = HeaderValue::text("gone");
  EXPECT_EQ(list[0].text_view(), "abcd");
  EXPECT_EQ(list[1].raw_text(), "");
  EXPECT_EQ(list[2].raw_text(), "rs");
  list.Reset();
  raw.stream()->Write("R", 1, nullptr);
  EXPECT_EQ(copy[2].raw_text(), "Rs");
  EXPECT_EQ(copy[3].text_view(), "abc");
}

TEST(HeaderValue, AppendJoinsByKind) {
  HeaderValue map = HeaderValue::map();
  map.Append(HeaderValue::address(HeaderValue::text("b"), HeaderValue::text("1")));
  map.Append(HeaderValue::address(HeaderValue::text("a"), {}));
  map.Append(HeaderValue::address(HeaderValue::text("b"), HeaderValue::text("2")));
  ASSERT_EQ(map.entries().size(), 2U);
  EXPECT_EQ(map.entries().at(0)->name, "a");
  EXPECT_EQ(map.entries().at(1)->value.text_view(), "1");

  HeaderValue raw = HeaderValue::raw();
  raw.Append(HeaderValue::raw("x"));
  raw.Append(HeaderValue::text("y"));
  raw.Append(raw);
  EXPECT_EQ(raw.AsText(), "xy");
  HeaderValue number = HeaderValue::integer(2);
  number.Append(HeaderValue::character(3));
  number.Append(HeaderValue::text("4"));
  EXPECT_EQ(number.AsText(), "5");
}

}  // namespace
}  // namespace tallowbrook
