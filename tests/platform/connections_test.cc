// Programs that the shell starts, and what is read from them.
#include "platform/shell/launch.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/com/activation.h"
#include "platform/kernel/handles.h"
#include "platform/shell/shell_folder.h"

namespace tallowbrook::platform {
namespace {

using std::chrono::milliseconds;

TEST(Launch, TakesWhatAProgramPrints) {
  constexpr milliseconds kSoon(5000);
  EXPECT_EQ(output_of({"sh", "-c", "echo one; echo error >&2; cat"}, kSoon, 1000), "one\n");
  EXPECT_EQ(output_of({"sh", "-c", "echo one; exit 3"}, kSoon, 1000), "");
  EXPECT_EQ(output_of({"/nowhere/at all"}, kSoon, 1000), "");
  EXPECT_EQ(output_of({""}, kSoon, 1000), "");
  EXPECT_EQ(output_of({"sh", "-c", "yes"}, kSoon, 10), "y\ny\ny\ny\ny\n");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(output_of({"sh", "-c", "echo late; sleep 60"}, milliseconds(50), 1000), "");
  EXPECT_LT(std::chrono::steady_clock::now() - start, milliseconds(20000));
  EXPECT_FALSE(start_detached({"/nowhere/at all"}));
  EXPECT_FALSE(start_detached({}));
  EXPECT_TRUE(start_detached({"true"}));
}

TEST(ShellFolder, OpensOnlyWhatIsAnEntry) {
  ComPtr<IShellFolder> desktop;
  ITEMIDLIST* list = nullptr;
  ASSERT_EQ(SHGetDesktopFolder(desktop.out()), S_OK);
  EXPECT_EQ(SHGetSpecialFolderLocation(nullptr, 0, &list), E_INVALIDARG);
  ASSERT_EQ(SHGetSpecialFolderLocation(nullptr, CSIDL_CONNECTIONS, &list), S_OK);
  ComPtr<IShellFolder> folder;
  const ITEMIDLIST nothing{};
  for (const ITEMIDLIST* wrong : {static_cast<const ITEMIDLIST*>(nullptr), &nothing}) {
    EXPECT_EQ(desktop->BindToObject(wrong, nullptr, IShellFolder::kIid, folder.out_void()),
              E_INVALIDARG);
  }
  ASSERT_EQ(desktop->BindToObject(list, nullptr, IShellFolder::kIid, folder.out_void()), S_OK);
  ComPtr<IEnumIDList> items;
  ASSERT_EQ(folder->EnumObjects(nullptr, SHCONTF_FOLDERS, items.out()), S_OK);
  ITEMIDLIST* item = nullptr;
  EXPECT_EQ(items->Next(1, &item, nullptr), S_FALSE);
  STRRET name{};
  EXPECT_EQ(folder->GetDisplayNameOf(list, SHGDN_NORMAL, &name), E_INVALIDARG);

  SHELLEXECUTEINFOA info{};
  EXPECT_FALSE(ShellExecuteExA(nullptr));
  EXPECT_FALSE(ShellExecuteExA(&info));
  info.cbSize = sizeof(info);
  info.fMask = SEE_MASK_INVOKEIDLIST;
  for (void* wrong : {static_cast<void*>(nullptr), static_cast<void*>(list)}) {
    info.lpIDList = wrong;
    EXPECT_FALSE(ShellExecuteExA(&info));
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
  }
  CoTaskMemFree(list);
}

}  // namespace
}  // namespace tallowbrook::platform
