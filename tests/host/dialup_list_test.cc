// The machine's connections, with a folder and programs of the test's own in their places.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "core/creators.h"
#include "core/object.h"
#include "core/text.h"
#include "platform/automation/late_bound.h"
#include "platform/com/activation.h"
#include "streams/memory_stream.h"
#include "tallowbrook/class_ids.h"
#include "tallowbrook/collections.h"
#include "tallowbrook/dialup.h"
#include "tests/support/scratch_folder.h"

namespace tallowbrook {
namespace {

using platform::ComPtr;
using platform::Variant;

class DialupList : public ::testing::Test {
 protected:
  DialupList() {
    std::filesystem::create_directory(folder_ / "peers");
    program("pon", "");
    program(
        "nmcli",
        R"(if [ "$5" = show ]; then printf 'vpn:11-aa:W\303\266rk\\: 1\nwifi:22:Home\ngsm:33-cc:\n)"
        R"(pppoe:44-dd:A\\\\B\ngsm\n\nvpn:\ncdma:55-ee:Stick'; fi)");
    ::setenv("TALLOWBROOK_PPP_PEERS", (folder_ / "peers").c_str(), 1);
    ::setenv("TALLOWBROOK_PON", (folder_ / "pon").c_str(), 1);
    ::setenv("TALLOWBROOK_NMCLI", (folder_ / "nmcli").c_str(), 1);
  }
  ~DialupList() override {
    for (const char* name : {"TALLOWBROOK_PPP_PEERS", "TALLOWBROOK_PON", "TALLOWBROOK_NMCLI"}) {
      ::unsetenv(name);
    }
  }

  // A program that leaves its arguments in a file, "name.called".
  void program(const std::string& name, const std::string& body) {
    const std::string file = scratch_.file(name);
    const std::string call = file + ".called";
    test::write_file(file, "#!/bin/sh\n" + body + "\necho \"$@\" > " + call + ".new && mv " + call +
                               ".new " + call + "\n");
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
  }
  void peer(const std::string& name) {
    test::write_file(scratch_.file("peers/" + name), "connect\n");
  }
  // What a program was called with, when it was.
  std::string call_of(const char* program) {
    const auto file = folder_ / (std::string(program) + ".called");
    for (int i = 0; i < 500 && !std::filesystem::exists(file); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    const std::string line = test::read_file(file);
    std::filesystem::remove(file);
    return line.substr(0, line.find('\n'));
  }

  static ComPtr<IDialupCollection> list() {
    ComPtr<IDialupCollection> made;
    EXPECT_EQ(create_dialup_collection(IDialupCollection::kIid, made.out_void()), S_OK);
    return made;
  }
  static std::string names(IDialupCollection& list) {
    std::string all;
    LONG count = 0;
    EXPECT_EQ(list.get_Count(&count), S_OK);
    for (LONG i = 0; i < count; ++i) {
      Variant item;
      EXPECT_EQ(list.get_Item(Variant(i), &item), S_OK);
      const auto name = platform::get(item.pdispVal, u"Name").value;
      EXPECT_EQ(platform::get(item.pdispVal, u"ID").value.text(), name.text());
      all += to_ansi(name.text()) + ",";
    }
    return all;
  }

  // Peers, then profiles of the types that are dialled and have a name.
  static constexpr char kNames[] = "home,office,A\\B,Stick,W\xF6rk: 1,";
  test::ScratchFolder scratch_;
  const std::filesystem::path folder_ = scratch_.file("");
};

TEST_F(DialupList, ListsTheMachinesConnectionsAndDialsThem) {
  for (const char* name : {"office", "home", ".hidden", "-x", "old~", "home.dpkg-old"}) peer(name);
  std::filesystem::create_directory(folder_ / "peers" / "folder");
  const auto connections = list();
  EXPECT_EQ(names(*connections), kNames);
  call_of("nmcli");

  Variant item;
  ASSERT_EQ(connections->get_Item(Variant(std::u16string_view(u"office")), &item), S_OK);
  EXPECT_EQ(platform::call(item.pdispVal, u"Execute").status, S_OK);
  EXPECT_EQ(call_of("pon"), "office");
  item.clear();
  ASSERT_EQ(connections->get_Item(Variant(4), &item), S_OK);
  EXPECT_EQ(platform::call(item.pdispVal, u"Execute").status, S_OK);
  EXPECT_EQ(call_of("nmcli"), "connection up uuid 11-aa");
  item.clear();
  EXPECT_EQ(connections->get_Item(Variant(std::u16string_view(u"New Connection")), &item), E_FAIL);

  std::signal(SIGCHLD, SIG_IGN);  // as some hosts do
  EXPECT_EQ(names(*list()), kNames);
  std::signal(SIGCHLD, SIG_DFL);
  call_of("nmcli");

  // A snapshot: what is there later is in a later list.
  std::filesystem::remove_all(folder_ / "peers");
  std::filesystem::remove(folder_ / "nmcli");
  EXPECT_EQ(names(*connections), kNames);
  EXPECT_EQ(names(*list()), "");
  std::filesystem::remove(folder_ / "pon");
  ASSERT_EQ(connections->get_Item(Variant(0), &item), S_OK);
  EXPECT_EQ(platform::call(item.pdispVal, u"Execute").status, S_OK);  // tells of no failure
}

// A stream may hold thousands of lists, each of which would start a program.
TEST_F(DialupList, AListThatIsLoadedFromAStreamIsNotFilledBefore) {
  struct Lists final : Object<Shared, IClassFactory> {
    HRESULT CreateInstance(IUnknown*, REFIID iid, void** object) override {
      return create_dialup_collection(iid, object);
    }
    HRESULT LockServer(BOOL) override { return S_OK; }
  };
  peer("office");
  const auto connections = list();
  EXPECT_EQ(connections->Add(Variant(static_cast<IDispatch*>(list().get()))), S_OK);
  CISSHelper stream;
  EXPECT_EQ(connections.query<IPersistStream>()->Save(&stream, FALSE), S_OK);
  std::filesystem::remove(folder_ / "nmcli.called");
  DWORD cookie = 0;
  CoRegisterClassObject(CLSID_DialupCollection, make_object<Lists>().get(), CLSCTX_INPROC_SERVER,
                        REGCLS_MULTIPLEUSE, &cookie);
  EXPECT_EQ(connections.query<IPersistStream>()->Load(&stream), S_OK);
  CoRevokeClassObject(cookie);
  LONG count = 0;
  EXPECT_EQ(connections->get_Count(&count), S_OK);
  EXPECT_EQ(count, 1);  // the list in it; connections are not stored
  EXPECT_FALSE(std::filesystem::exists(folder_ / "nmcli.called"));
}

TEST_F(DialupList, AConnectionOfItsOwnIsEmpty) {
  ComPtr<IDialupConnection> connection;
  ASSERT_EQ(create_dialup_connection(IDialupConnection::kIid, connection.out_void()), S_OK);
  for (const auto name : {u"ID", u"Name"}) {
    const Variant value = platform::get(connection.get(), name).value;
    EXPECT_EQ(value.vt, VT_BSTR);
    EXPECT_EQ(value.text(), u"");
  }
  EXPECT_EQ(connection->Execute(), S_OK);
  EXPECT_EQ(connection->get_ID(nullptr), E_POINTER);
  EXPECT_EQ(connection->get_Name(nullptr), E_POINTER);
}

}  // namespace
}  // namespace tallowbrook
