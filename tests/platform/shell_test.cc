#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/shell/image_list.h"
#include "platform/shell/string_table.h"
#include "tests/support/host_stream.h"
#include "tests/support/menu_rows.h"

namespace tallowbrook::platform {
namespace {

// --- menus ---------------------------------------------------------------------------------------

TEST(Menu, RowsStandWhereTheyWereInserted) {
  const HMENU menu = CreatePopupMenu();
  InsertMenuA(menu, 0, MF_BYPOSITION | MF_STRING, 7, "b");
  InsertMenuA(menu, 0, MF_BYPOSITION | MF_STRING | MF_GRAYED, 8, "a");
  InsertMenuA(menu, 99, MF_BYPOSITION | MF_SEPARATOR, 0, "no text");
  InsertMenuA(menu, 7, MF_BYCOMMAND, 9, "before 7");
  InsertMenuA(menu, 1234, MF_BYCOMMAND, 10, "last");
  EXPECT_EQ(test::menu_rows(menu), "8 a grayed\n9 before 7\n7 b\n----\n10 last\n");

  EXPECT_EQ(GetMenuDefaultItem(menu, FALSE, 0), UINT(-1));
  EXPECT_TRUE(SetMenuDefaultItem(menu, 1, TRUE));
  EXPECT_TRUE(SetMenuDefaultItem(menu, 7, FALSE)) << "there is one default";
  EXPECT_EQ(GetMenuDefaultItem(menu, TRUE, 0), 2U);
  EXPECT_FALSE(SetMenuDefaultItem(menu, 5, TRUE));
  EXPECT_TRUE(SetMenuDefaultItem(menu, UINT(-1), TRUE));
  EXPECT_EQ(GetMenuDefaultItem(menu, FALSE, 0), UINT(-1));

  char text[4] = "zzz";
  EXPECT_EQ(GetMenuStringA(menu, 1, text, sizeof(text), MF_BYPOSITION), 3);
  EXPECT_STREQ(text, "bef");
  EXPECT_EQ(GetMenuStringA(menu, 10, nullptr, 0, MF_BYCOMMAND), 4);
  EXPECT_EQ(GetMenuItemID(menu, 5), UINT(-1));
  EXPECT_EQ(GetMenuState(menu, 5, MF_BYPOSITION), UINT(-1));
  EXPECT_TRUE(DestroyMenu(menu));
  EXPECT_EQ(GetMenuItemCount(nullptr), -1);
  EXPECT_FALSE(InsertMenuA(nullptr, 0, 0, 1, "x"));
}

// --- strings -------------------------------------------------------------------------------------

TEST(StringTable, FallsBackToEnglish) {
  const StringEntry entries[] = {{1, kEnglish, "one"}, {1, kGerman, "eins"}, {2, kEnglish, "two"}};
  EXPECT_EQ(find_string(entries, 1, kGerman), "eins");
  EXPECT_EQ(find_string(entries, 2, kGerman), "two");
  EXPECT_EQ(find_string(entries, 1, 1036), "one");
  for (const char* german : {"de_AT.UTF-8", "de"}) {
    EXPECT_EQ(language_of_locale(german), kGerman) << german;
  }
  for (const char* other : {"den", "C.UTF-8", "en_GB", ""}) {
    EXPECT_EQ(language_of_locale(other), kEnglish) << other;
  }
}

// --- icons and image lists -----------------------------------------------------------------------

constexpr Ink kInks[] = {{'r', {255, 0, 0}}, {'g', {0, 255, 1}}, {'b', {0, 0, 255}}};
constexpr IconDrawing kDrawings[] = {{2, "rg.b"}, {3, "rrrggg..."}, {4, "too few"}};
constexpr IconGroup kGroup{1, kInks, kDrawings};

// The picture as letters, a line a row.
std::string print(HICON icon) {
  const Picture& picture = picture_of(icon);
  std::string lines;
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const Pixel& pixel = picture.at(x, y);
      const auto ink = std::find_if(std::begin(kInks), std::end(kInks),
                                    [&](const Ink& one) { return one.colour == pixel.colour; });
      lines += !pixel.opaque ? '.' : ink == std::end(kInks) ? '?' : ink->letter;
    }
    lines += "\n";
  }
  DestroyIcon(icon);
  return lines;
}

TEST(Icon, IsDrawnInTheSizeThatIsNearest) {
  EXPECT_EQ(print(load_icon(kGroup, 2)), "rg\n.b\n");
  EXPECT_EQ(print(load_icon(kGroup, 3)), "rrr\nggg\n...\n");
  EXPECT_EQ(print(load_icon(kGroup, 4)), "rrrr\nrrrr\ngggg\n....\n") << "from the largest";
  EXPECT_EQ(print(load_icon(kGroup, 1)), "r\n") << "from the smallest";
  for (const int size : {0, -1, 257}) EXPECT_EQ(load_icon(kGroup, size), nullptr) << size;
  EXPECT_EQ(load_icon(IconGroup{1, kInks, {}}, 2), nullptr);
}

HIMAGELIST small_list(UINT flags, int pictures) {
  const HIMAGELIST list = ImageList_Create(3, 3, flags, 0, 1);
  for (int i = 0; i < pictures; ++i) {
    const HICON icon = load_icon(kGroup, 3);
    EXPECT_EQ(ImageList_AddIcon(list, icon), i);
    DestroyIcon(icon);
  }
  return list;
}

std::string written(UINT flags, int pictures) {
  test::HostStream stream;
  const HIMAGELIST list = small_list(flags, pictures);
  EXPECT_TRUE(ImageList_Write(list, &stream));
  ImageList_Destroy(list);
  return stream.written();
}

HIMAGELIST read_back(std::string bytes) {
  test::HostStream stream(std::move(bytes), 7);  // a few bytes at a time
  return ImageList_Read(&stream);
}

TEST(ImageList, ReadsWhatItWrote) {
  for (const int pictures : {0, 1, 4, 5, 9}) {
    const HIMAGELIST list = read_back(written(ILC_COLOR24 | ILC_MASK, pictures));
    ASSERT_NE(list, nullptr) << pictures;
    EXPECT_EQ(ImageList_GetImageCount(list), pictures);
    int width = 0;
    int height = 0;
    EXPECT_TRUE(ImageList_GetIconSize(list, &width, &height));
    EXPECT_EQ(width * 100 + height, 303);
    for (int i = 0; i < pictures; ++i) {
      EXPECT_EQ(print(ImageList_GetIcon(list, i, 0)), "rrr\nggg\n...\n");
    }
    EXPECT_EQ(ImageList_GetIcon(list, pictures, 0), nullptr);
    ImageList_Destroy(list);
  }
}

TEST(ImageList, IsAHeaderAndTwoPlainFiles) {
  const std::string bytes = written(ILC_COLOR24 | ILC_MASK, 1);
  constexpr std::size_t kColours = 28;
  constexpr std::size_t kMask = kColours + 54 + 3 * 36;  // three lines of twelve pixels
  ASSERT_EQ(bytes.size(), kMask + 62 + 3 * 4);
  EXPECT_EQ(bytes.substr(0, 20),
            std::string("IL\1\1\1\0\1\0\1\0\3\0\3\0\xFF\xFF\xFF\xFF\x19\0", 20));
  EXPECT_EQ(bytes.substr(kColours, 2), "BM");
  EXPECT_EQ(bytes.substr(kMask, 2), "BM");
  // The bottom line comes first: transparent; then green, as blue, green, red.
  EXPECT_EQ(bytes.substr(kColours + 54, 3), std::string(3, '\0'));
  EXPECT_EQ(bytes.substr(kColours + 54 + 36, 3), std::string("\1\xFF\0", 3));
  EXPECT_EQ(bytes.substr(kMask + 62, 1), "\xE0");
  EXPECT_EQ(bytes.substr(kMask + 62 + 4, 1), std::string(1, '\0'));
}

TEST(ImageList, RefusesWhatIsNotWhole) {
  const std::string whole = written(ILC_COLOR24 | ILC_MASK, 2);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_EQ(read_back(whole.substr(0, size)), nullptr) << size;
  }
  // A wrong magic, version, count, side, colour depth; shapes of the files that do not fit.
  for (const std::size_t at : {0U, 2U, 4U, 10U, 12U, 18U, 28U, 46U, 56U, 190U}) {
    std::string bad = whole;
    bad[at] = '\x7F';
    EXPECT_EQ(read_back(bad), nullptr) << at;
  }
  EXPECT_EQ(ImageList_Read(nullptr), nullptr);
}

TEST(ImageList, RefusesWhatDoesNotFit) {
  EXPECT_EQ(ImageList_Create(0, 3, ILC_COLOR24, 0, 1), nullptr);
  EXPECT_EQ(ImageList_Create(3, 257, ILC_COLOR24, 0, 1), nullptr);
  EXPECT_EQ(ImageList_Create(3, 3, ILC_MASK, 0, 1), nullptr);
  const HIMAGELIST list = small_list(ILC_COLOR24, 1);
  const HICON other = load_icon(kGroup, 2);
  EXPECT_EQ(ImageList_AddIcon(list, other), -1);
  EXPECT_EQ(ImageList_AddIcon(list, nullptr), -1);
  DestroyIcon(other);
  test::HostStream full;
  full.writes_before_failure = 1;
  EXPECT_FALSE(ImageList_Write(list, &full));
  test::HostStream slow;
  slow.most_taken = 10;
  EXPECT_FALSE(ImageList_Write(list, &slow));
  ImageList_Destroy(list);
}

}  // namespace
}  // namespace tallowbrook::platform
