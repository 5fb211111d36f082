// The message, and other nodes, as a host explorer sees them.
#include "core/resources.h"
#include "tests/host/fake_node.h"
#include "tests/model/host.h"
#include "tests/support/menu_rows.h"

namespace tallowbrook {
namespace {

using platform::Bstr;
using platform::ComPtr;
using platform::Variant;
using test::FakeNode;
using test::read;
using test::read_text;

constexpr char kParts[] =
    "Subject: two parts\r\nMIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n"
    "--b\r\n\r\none\r\n--b\r\n\r\ntwo\r\n--b--\r\n.\r\n";

// A menu that goes with the test.
struct Menu {
  Menu() : handle(CreatePopupMenu()) {}
  ~Menu() { DestroyMenu(handle); }
  Menu(const Menu&) = delete;
  Menu& operator=(const Menu&) = delete;

  HMENU handle;
};

// --- properties ----------------------------------------------------------------------------------

TEST(MessageNode, HasNoChildrenHoweverManyParts) {
  const auto message = test::loaded(kParts);
  EXPECT_EQ(read(message.get(), u"Count").lVal, 0);
  EXPECT_EQ(read(message.get(), u"HasChildren").lVal, 0);
  EXPECT_EQ(read(message.get(), u"CanSeeEnd").lVal, 1);
  EXPECT_EQ(read(message.get(), u"IsSameSiblingImage").lVal, 0);
  for (const Variant& index : {Variant(LONG{0}), Variant(u"email"), Variant()}) {
    Variant child;
    EXPECT_EQ(message->get_Item(index, &child), S_OK);
    EXPECT_EQ(child.vt, VT_EMPTY);
  }
  const Variant image = read(message.get(), u"Image");
  ASSERT_EQ(image.vt, VT_DISPATCH);
  EXPECT_EQ(image.pdispVal, message.get());
  EXPECT_EQ(read_text(message.get(), u"ID"), "email");
}

TEST(MessageNode, IsNamedByItsSubject) {
  const auto message = test::new_message();
  EXPECT_EQ(read(message.get(), u"CanUpdateName").boolVal, VARIANT_TRUE);
  EXPECT_EQ(test::put(message.get(), u"UpdateName", Variant(u"gr\u00FCn \u65E5")), S_OK);
  for (const auto name : {u"Name", u"Subject"}) {
    EXPECT_EQ(read(message.get(), name).text(), u"gr\u00FCn \u65E5");
  }
}

// --- image lists ---------------------------------------------------------------------------------

TEST(MessageNode, ImageListsCanBeReadBack) {
  const auto message = test::new_message();
  for (const auto& [name, size] : {std::pair(u"SmallImageList", 16), {u"LargeImageList", 32}}) {
    const Variant first = read(message.get(), name);
    const Variant second = read(message.get(), name);
    ASSERT_EQ(first.vt, VT_UNKNOWN);
    EXPECT_NE(first.punkVal, second.punkVal) << "a new stream for each request";
    const auto stream = platform::query<IStream>(second.punkVal);
    const HIMAGELIST list = ImageList_Read(stream.get());
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(ImageList_GetImageCount(list), 1);
    const HICON icon = ImageList_GetIcon(list, 0, 0);
    const auto& picture = platform::picture_of(icon);
    EXPECT_EQ(picture.width, size);
    EXPECT_FALSE(picture.at(0, 0).opaque);
    EXPECT_TRUE(picture.at(size / 2, size / 2).opaque);
    DestroyIcon(icon);
    ImageList_Destroy(list);
  }
}

TEST(ExplorerNode, WithoutAnIconHasNoImageList) {
  FakeNode node;
  IUnknown* stream = nullptr;
  node.has_icon = false;
  EXPECT_EQ(node.image_list(ImageListKind::kSmall, &stream), E_FAIL);
  EXPECT_EQ(stream, nullptr);
  node.has_icon = true;
  EXPECT_EQ(node.image_list(ImageListKind::kSmall, &stream), S_OK);
  stream->Release();
}

// --- context menu --------------------------------------------------------------------------------

TEST(MessageNode, ContextMenuHasRename) {
  const auto message = test::new_message();
  const auto menu = message.query<IContextMenu>();
  ASSERT_TRUE(menu);
  Menu shown;
  InsertMenuA(shown.handle, 0, MF_BYPOSITION, 1, "mine");
  EXPECT_EQ(menu->QueryContextMenu(shown.handle, 0, 100, 200, 0), 1);
  EXPECT_EQ(test::menu_rows(shown.handle), "100 Rename\n1 mine\n");
  EXPECT_EQ(menu->QueryContextMenu(shown.handle, 0, 100, 99, 0), 0) << "no identifier to use";
  EXPECT_EQ(menu->QueryContextMenu(nullptr, 0, 100, 200, 0), E_INVALIDARG);

  char text[32] = "?";
  const auto told = [&](UINT command, UINT kind, UINT room) {
    return menu->GetCommandString(command, kind, nullptr, text, room);
  };
  EXPECT_EQ(told(0, GCS_HELPTEXTA, sizeof(text)), S_OK);
  EXPECT_STREQ(text, "Rename this mail");
  EXPECT_EQ(told(0, GCS_VERBA, sizeof(text)), S_OK);
  EXPECT_STREQ(text, "Rename");
  EXPECT_EQ(told(0, GCS_HELPTEXTA, 4), S_OK);
  EXPECT_STREQ(text, "Ren");
  EXPECT_EQ(told(0, GCS_VERBA, 0), E_FAIL);
  EXPECT_EQ(told(0, 4, sizeof(text)), E_FAIL) << "wide verb";
  EXPECT_EQ(told(1, GCS_VERBA, sizeof(text)), E_FAIL);
  EXPECT_EQ(menu->GetCommandString(0, GCS_VERBA, nullptr, nullptr, 9), E_FAIL);
}

TEST(MessageNode, InvokesCommandsByIndexAlone) {
  const auto message = test::loaded(kParts);
  const auto menu = message.query<IContextMenu>();
  CMINVOKECOMMANDINFO info{};
  info.cbSize = sizeof(info);
  info.lpVerb = "Rename";
  EXPECT_EQ(menu->InvokeCommand(&info), E_INVALIDARG);
  info.lpVerb = nullptr;  // the first command
  EXPECT_EQ(menu->InvokeCommand(&info), S_OK);
  EXPECT_EQ(menu->InvokeCommand(nullptr), E_POINTER);
  EXPECT_EQ(message.query<IPersistStream>()->IsDirty(), S_FALSE);
}

TEST(ExplorerNode, MenuFollowsTheTable) {
  FakeNode node;
  node.verbs = {
      {.verb = "Open",
       .menu_text = kStringSubject,
       .help_text = kStringSubjectHelp,
       .is_default = true},
      {.verb = "Hidden", .menu_text = kStringRename, .shown = false},
      {.verb = "line"},
      {.verb = "Rename",
       .menu_text = kStringRename,
       .help_text = kStringRenameHelp,
       .enabled = false},
  };
  Menu shown;
  EXPECT_EQ(node.query_context_menu(shown.handle, 5, 40, 50), 2);
  EXPECT_EQ(test::menu_rows(shown.handle), "40 Subject default\n----\n41 Rename grayed\n");
  EXPECT_EQ(node.menu_text(2), "Rename");
  char text[32];
  EXPECT_EQ(node.command_string(1, GCS_HELPTEXTA, text, sizeof(text)), S_OK);
  EXPECT_STREQ(text, "Rename this mail") << "separators take no number";
  CMINVOKECOMMANDINFO info{};
  info.lpVerb = reinterpret_cast<const char*>(std::uintptr_t{1});
  EXPECT_EQ(node.invoke_command(&info), S_OK);
  EXPECT_EQ(node.executed, std::vector<std::string>{"Rename"});
}

// --- children ------------------------------------------------------------------------------------

TEST(ExplorerNode, ChildrenAreFoundByPositionNameAndType) {
  FakeNode node;
  const auto own = test::new_message();
  const auto foreign = test::new_message();  // its "ID" is "email"
  node.children = {{own.query<IDispatch>(), false, u"In Tray", "folder"},
                   {foreign.query<IDispatch>(), true, u"", ""}};
  const auto found = [&](const Variant& index) { return node.item(index).pdispVal; };
  EXPECT_EQ(found(Variant(LONG{0})), own.get());
  EXPECT_EQ(found(Variant(LONG{1})), foreign.get());
  EXPECT_EQ(found(Variant(u"in tray")), own.get());
  EXPECT_EQ(found(Variant(u"folder")), own.get());
  EXPECT_EQ(found(Variant(u"email")), foreign.get());
  EXPECT_EQ(found(Variant(u"EMail")), foreign.get());
  Variant position(LONG{1});
  EXPECT_EQ(found(Variant::by_reference(&position)), foreign.get());
  for (const Variant& none : {Variant(LONG{2}), Variant(LONG{-1}), Variant(u"out tray")}) {
    EXPECT_EQ(node.item(none).vt, VT_EMPTY);
  }
}

}  // namespace
}  // namespace tallowbrook
