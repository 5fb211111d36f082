#include "platform/automation/variant.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "platform/automation/dates.h"

using namespace tallowbrook::platform;

namespace {

Variant make(VARTYPE type, double number) {
  Variant value;
  value.vt = VT_R8;
  value.dblVal = number;
  EXPECT_EQ(VariantChangeType(&value, &value, 0, type), S_OK);
  return value;
}

std::u16string as_text(const VARIANT& value) {
  Variant text;
  if (FAILED(VariantChangeType(&text, &value, 0, VT_BSTR))) return u"<fails>";
  return std::u16string(text.text());
}

TEST(Bstr, KeepsLengthAndZeros) {
  EXPECT_EQ(SysStringLen(nullptr), 0U);
  SysFreeString(nullptr);
  EXPECT_EQ(SysAllocString(nullptr), nullptr);
  const Bstr text(std::u16string_view(u"a\0b", 3));
  EXPECT_EQ(SysStringByteLen(text.get()), 6U);
  EXPECT_EQ(text.get()[3], 0);
  const Bstr odd = Bstr::adopt(SysAllocStringByteLen("abc", 3));
  EXPECT_EQ(SysStringByteLen(odd.get()), 3U);
  EXPECT_EQ(SysStringLen(odd.get()), 1U);
  EXPECT_EQ(SysAllocStringLen(nullptr, 0xFFFFFFFF), nullptr);
}

// Blocks that were given back are handed out again: none twice, few are kept, in whatever thread
// they were made, and none beyond the thread's end.
TEST(Bstr, BlocksServeAgain) {
  constexpr std::size_t kMostKept = 96 << 10;
  constexpr UINT kLongest = 80;
  std::vector<BSTR> from_elsewhere;
  const auto text_of = [](std::size_t i) {
    return std::u16string(i * 7 % (kLongest + 1), static_cast<char16_t>(i));
  };
  const auto take_and_give = [&] {
    const std::size_t before = mallinfo2().uordblks;
    for (BSTR text : from_elsewhere) SysFreeString(text);
    from_elsewhere.clear();
    std::vector<Bstr> held(3000);
    for (std::size_t i = 0; i < 30'000; ++i) {
      held[i * 11 % held.size()] = Bstr(text_of(i));
      const std::size_t other = i * 31 % held.size();
      if (i % 3 == 0) held[other] = Bstr();
    }
    for (std::size_t i = 27'000; i < 30'000; ++i) {
      const Bstr& text = held[i * 11 % held.size()];
      EXPECT_TRUE(text.get() == nullptr || text.view() == text_of(i)) << i;
    }
    held.clear();
    EXPECT_LT(mallinfo2().uordblks, before + kMostKept);
    for (std::size_t i = 0; i < 3000; ++i) from_elsewhere.push_back(Bstr(text_of(i)).detach());
  };
  take_and_give();
  std::thread(take_and_give).join();
  const std::size_t before = mallinfo2().uordblks;
  std::thread([&] {
    for (BSTR text : from_elsewhere) SysFreeString(text);
  }).join();
  EXPECT_TRUE(before == 0 || mallinfo2().uordblks < before);  // 0 under a sanitizer
}

TEST(Variant, CopyRemovesIndirection) {
  Variant text(u"inner");
  Variant through = Variant::by_reference(&text);
  Variant copy;
  ASSERT_EQ(VariantCopyInd(&copy, &through), S_OK);
  EXPECT_EQ(copy.text(), u"inner");
  EXPECT_NE(copy.bstrVal, text.bstrVal);
  ASSERT_EQ(VariantCopyInd(&through, &through), S_OK);
  EXPECT_EQ(through.text(), u"inner");

  Variant twice = Variant::by_reference(&twice);
  EXPECT_EQ(VariantCopyInd(&copy, &twice), E_INVALIDARG);
  LONG number = 7;
  Variant reference;
  reference.vt = VT_BYREF | VT_I4;
  reference.plVal = &number;
  ASSERT_EQ(VariantCopyInd(&copy, &reference), S_OK);
  EXPECT_EQ(copy.lVal, 7);

  VARIANT bad;
  VariantInit(&bad);
  bad.vt = VT_VARIANT;
  EXPECT_EQ(VariantClear(&bad), DISP_E_BADVARTYPE);
}

// What a text becomes, as a number; a failed conversion leaves its target alone.
TEST(Variant, ConvertsText) {
  const struct {
    const char16_t* text;
    VARTYPE type;
    HRESULT status;
    double value = 99;
  } cases[] = {
      {u" 12 ", VT_I4, S_OK, 12},
      {u"+2.5", VT_I4, S_OK, 2},
      {u"3.5", VT_I4, S_OK, 4},
      {u"-2.5", VT_I2, S_OK, -2},
      {u"1e3", VT_I4, S_OK, 1000},
      {u"1e-999", VT_R8, S_OK, 0},
      {u"1e999", VT_R8, DISP_E_OVERFLOW},
      {u"9223372036854775807", VT_I4, DISP_E_OVERFLOW},
      {u"18446744073709551616", VT_UI8, DISP_E_OVERFLOW},
      {u"-1", VT_UI4, DISP_E_OVERFLOW},
      {u"32768", VT_I2, DISP_E_OVERFLOW},
      {u"", VT_I4, DISP_E_TYPEMISMATCH},
      {u"12x", VT_I4, DISP_E_TYPEMISMATCH},
      {u"+-1", VT_I4, DISP_E_TYPEMISMATCH},
      {u"inf", VT_R8, DISP_E_TYPEMISMATCH},
      {u"0x10", VT_I4, DISP_E_TYPEMISMATCH},
      {u"TRUE", VT_BOOL, S_OK, -1},
      {u"false", VT_BOOL, S_OK, 0},
      {u"5", VT_BOOL, S_OK, -1},
      {u"True", VT_I4, DISP_E_TYPEMISMATCH},
      {u"1.23455", VT_CY, S_OK, 1.2346},
  };
  for (const auto& c : cases) {
    const Variant source{std::u16string_view(c.text)};
    Variant target(LONG{99});
    ASSERT_EQ(VariantChangeType(&target, &source, 0, c.type), c.status) << c.value;
    EXPECT_EQ(target.vt, FAILED(c.status) ? VARTYPE{VT_I4} : c.type);
    ASSERT_EQ(VariantChangeType(&target, &target, 0, VT_R8), S_OK);
    EXPECT_DOUBLE_EQ(target.dblVal, c.value);
  }
}

TEST(Variant, ConvertsToText) {
  const std::pair<Variant, const char16_t*> cases[] = {
      {Variant(LONG{-5}), u"-5"},
      {make(VT_R8, 0.1), u"0.1"},
      {make(VT_R8, 1e300), u"1E+300"},
      {make(VT_CY, -12.5), u"-12.5"},
      {Variant::boolean(true), u"-1"},
      {Variant(), u""},
      {Variant::missing(), u"<fails>"},
      {make(VT_DATE, 36526.75), u"2000-01-01 18:00:00"},
      {make(VT_UI8, 18446744073709549568.0), u"18446744073709549568"},
  };
  for (const auto& [value, text] : cases) EXPECT_EQ(as_text(value), text);
  Variant truth = Variant::boolean(true);
  ASSERT_EQ(VariantChangeType(&truth, &truth, VARIANT_ALPHABOOL, VT_BSTR), S_OK);
  EXPECT_EQ(truth.text(), u"True");
  Variant none = make(VT_R8, std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(VariantChangeType(&none, &none, 0, VT_I4), DISP_E_OVERFLOW);
  EXPECT_EQ(VariantChangeType(&none, &none, 0, VT_DATE), DISP_E_OVERFLOW);
  none = Variant();
  none.vt = VT_NULL;
  EXPECT_EQ(VariantChangeType(&none, &none, 0, VT_I4), DISP_E_TYPEMISMATCH);
}

TEST(Variant, Compares) {
  const auto compare = [](const VARIANT& a, const VARIANT& b) { return VarCmp(&a, &b, 0, 0); };
  Variant null;
  null.vt = VT_NULL;
  Variant huge;
  huge.vt = VT_UI8;
  huge.ullVal = ~0ULL;
  EXPECT_EQ(compare(Variant(LONG{2}), Variant(u"10")), VARCMP_LT);
  EXPECT_EQ(compare(Variant(u"2"), Variant(u"10")), VARCMP_GT);
  EXPECT_EQ(compare(Variant(LONG{2}), Variant(u"x")), VARCMP_LT);
  EXPECT_EQ(compare(Variant(), Variant(u"")), VARCMP_EQ);
  EXPECT_EQ(compare(Variant(), Variant(LONG{0})), VARCMP_EQ);
  EXPECT_EQ(compare(null, Variant(LONG{0})), VARCMP_NULL);
  EXPECT_EQ(compare(huge, Variant(LONG{-1})), VARCMP_GT);
  EXPECT_EQ(compare(Variant::date_value(-1.25), Variant::date_value(-1.75)), VARCMP_LT);
  EXPECT_EQ(compare(Variant::missing(), Variant(LONG{0})), DISP_E_TYPEMISMATCH);
  const Variant upper(u"ABC");
  const Variant lower(u"abc");
  EXPECT_EQ(VarCmp(&upper, &lower, 0, 1), VARCMP_EQ);
}

TEST(Date, RoundTripsEveryDay) {
  for (LONGLONG day = -657434; day <= 2958465; day += 13) {
    SYSTEMTIME time{};
    const DATE date = day < 0 ? static_cast<double>(day) - 0.25 : static_cast<double>(day) + 0.25;
    ASSERT_EQ(VariantTimeToSystemTime(date, &time), TRUE) << day;
    ASSERT_EQ(time.wHour, 6);
    DATE back = 0;
    ASSERT_EQ(SystemTimeToVariantTime(&time, &back), TRUE);
    ASSERT_EQ(back, date);
    ASSERT_EQ(date_from_text(date_to_text(date)), date) << day;
  }
}

TEST(Date, RoundsAndRefuses) {
  SYSTEMTIME time{};
  ASSERT_EQ(VariantTimeToSystemTime(-1.9999999, &time), TRUE);
  EXPECT_EQ(time.wDay, 30);
  EXPECT_EQ(time.wHour, 0);
  ASSERT_EQ(VariantTimeToSystemTime(36526.5 + 0.6 / 86400, &time), TRUE);
  EXPECT_EQ(time.wSecond, 1);
  EXPECT_EQ(time.wDayOfWeek, 6);  // 1 January 2000 was a Saturday
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const double bad : {2958466.0, 2958465.9999999, -657435.0, nan, 1e300}) {
    EXPECT_EQ(VariantTimeToSystemTime(bad, &time), FALSE) << bad;
  }
  DATE date = 0;
  for (const SYSTEMTIME& bad :
       {SYSTEMTIME{1900, 2, 0, 29, 0, 0, 0, 0}, SYSTEMTIME{99, 1, 0, 1, 0, 0, 0, 0},
        SYSTEMTIME{2000, 13, 0, 1, 0, 0, 0, 0}, SYSTEMTIME{2000, 1, 0, 1, 24, 0, 0, 0}}) {
    EXPECT_EQ(SystemTimeToVariantTime(&bad, &date), FALSE);
  }
}

TEST(Date, ReadsTexts) {
  const std::pair<const char16_t*, double> cases[] = {
      {u"2000-01-01", 36526},
      {u" 2000-01-01T12:00:00Z ", 36526.5},
      {u"2000-01-01 12:00:00.25+01:00", 36526.5},
      {u"1/1/2000 6:00:00 PM", 36526.75},
      {u"1/1/00", 36526},
      {u"12:00 am", 0},
      {u"6:00", 0.25},
      {u"2/29/2000", 36585},
  };
  for (const auto& [text, value] : cases) {
    EXPECT_EQ(date_from_text(text), value) << value;
  }
  for (const char16_t* bad : {u"", u"2000-02-30", u"13/1/2000", u"1-1-2000", u"25:00", u"13:00 pm",
                              u"2000-01-01 x", u"2000-01-01T", u"12", u"2000-01-01 12:00 Z1"}) {
    EXPECT_FALSE(date_from_text(bad)) << std::string(bad, bad + std::u16string_view(bad).size());
  }
}

}  // namespace
