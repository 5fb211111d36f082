#include "platform/automation/multi_language.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/com/activation.h"

namespace tallowbrook::platform {
namespace {

// tests/coding/charset_test.cc tries names and conversions through their users.
TEST(MultiLanguage, TellsOfCharsetsAndRefuses) {
  ComPtr<IMultiLanguage> service;
  ASSERT_EQ(CoCreateInstance(CLSID_CMultiLanguage, nullptr, CLSCTX_INPROC_SERVER,
                             IMultiLanguage::kIid, service.out_void()),
            S_OK);
  MIMECSETINFO info{};
  EXPECT_EQ(service->GetCharsetInfo(u"Latin-1", &info), S_OK);
  EXPECT_EQ(info.uiCodePage, 1252U);
  EXPECT_EQ(info.uiInternetEncoding, 28591U);
  EXPECT_EQ(std::u16string(info.wszCharset), u"iso-8859-1");
  EXPECT_EQ(service->GetCharsetInfo(u"x-nobody", &info), E_FAIL);
  EXPECT_EQ(info.uiInternetEncoding, 0U);
  EXPECT_EQ(info.wszCharset[0], 0);
  EXPECT_EQ(service->GetCharsetInfo(nullptr, &info), E_INVALIDARG);
  EXPECT_EQ(service->GetCharsetInfo(u"ascii", nullptr), E_POINTER);

  UINT taken = 3;
  UINT units = 0;
  OLECHAR wide[4];
  char bytes[4];
  const char* const text = "a\xC3\xA9";
  EXPECT_EQ(service->ConvertStringToUnicode(nullptr, 65001, text, &taken, nullptr, &units), S_OK);
  EXPECT_EQ(units, 2U);
  EXPECT_EQ(taken, 3U);
  units = 1;
  EXPECT_EQ(service->ConvertStringToUnicode(nullptr, 65001, text, &taken, wide, &units), E_FAIL);
  EXPECT_EQ(taken, 0U);
  units = 4;
  EXPECT_EQ(service->ConvertStringToUnicode(nullptr, 65001, text, nullptr, wide, &units), S_OK);
  EXPECT_EQ(std::u16string(wide, units), u"aé");
  EXPECT_EQ(service->ConvertStringFromUnicode(nullptr, 4711, u"é", &taken, bytes, &units), S_FALSE);
  EXPECT_EQ(units, 0U);
  EXPECT_EQ(service->ConvertStringToUnicode(nullptr, 1252, nullptr, &taken, wide, &units), S_OK);
  EXPECT_EQ(service->ConvertStringToUnicode(nullptr, 1252, nullptr, nullptr, wide, &units),
            E_INVALIDARG);
}

}  // namespace
}  // namespace tallowbrook::platform
