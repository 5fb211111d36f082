#include "model/header_value.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

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

// Every place of removal, with pushes between, against a plain vector.
TEST(HeaderValue, ListsLoseElementsAnywhere) {
  for (std::size_t stride = 0; stride < 7; ++stride) {
    HeaderValue list = numbers(40);
    std::vector<std::int32_t> model = contents(list);
    for (int i = 0; i < 60; ++i) {
      if (i % 3 == 2) {
        list.push_back(HeaderValue::integer(1000 + i));
        model.push_back(1000 + i);
      }
      const std::size_t at = (stride * static_cast<std::size_t>(i)) % model.size();
      list.erase_element(at);
      model.erase(model.begin() + static_cast<std::ptrdiff_t>(at));
      ASSERT_EQ(contents(list), model) << stride << " " << i;
    }
    list.clear_elements();
    EXPECT_EQ(list.size(), 0U);
    list.push_back(HeaderValue::integer(1));
    EXPECT_EQ(list[0].number(), 1);
  }
  HeaderValue large = numbers(300'000);
  while (large.size() > 0) large.erase_element(0);
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

TEST(HeaderValue, BorrowedTextIsOwnedWhenCopiedOrWritten) {
  std::string bytes = "line";
  HeaderValue copy;
  {
    const HeaderValue line = HeaderValue::borrowed_text(bytes);
    copy = line;
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

TEST(HeaderValue, AppendJoinsByKind) {
  HeaderValue map = HeaderValue::map();
  map.Append(HeaderValue::address(HeaderValue::text("b"), HeaderValue::text("1")));
  map.Append(HeaderValue::address(HeaderValue::text("a"), {}));
  map.Append(HeaderValue::address(HeaderValue::text("b"), HeaderValue::text("2")));
  ASSERT_EQ(map.entries().size(), 2U);
  EXPECT_EQ(map.entries().at(0)->first, "a");
  EXPECT_EQ(map.entries().at(1)->second.text_view(), "1");

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
