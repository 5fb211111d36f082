// Collections in collections, and messages in them, through the component's own classes.
#include <gtest/gtest.h>

#include <string>

#include "collections/variant_stream.h"
#include "tallowbrook/class_ids.h"
#include "tests/collections/items.h"
#include "tests/model/host.h"
#include "tests/support/host_stream.h"

extern "C" HRESULT DllGetClassObject(REFCLSID clsid, REFIID iid, void** object);
extern "C" HRESULT DllCanUnloadNow();
extern "C" HRESULT DllDescribeClasses(const ComponentClass** classes, ULONG* count);

namespace tallowbrook::test {
namespace {

class NestedCollections : public ::testing::Test {
 protected:
  NestedCollections() { EXPECT_EQ(CoUseComponent(entries_), S_OK); }
  ~NestedCollections() override { CoForgetComponent(entries_); }

  static ComPtr<ICollection> read_back(std::string bytes, ULONG step = 4096) {
    auto list = new_collection();
    HostStream stream(std::move(bytes), step);
    EXPECT_EQ(list.query<IPersistStream>()->Load(&stream), S_OK);
    return list;
  }
  template <class T>
  static ComPtr<T> object_at(ICollection& list, LONG index) {
    const Variant value = item(list, index);
    EXPECT_EQ(value.vt, VT_DISPATCH);
    return platform::query<T>(value.pdispVal);
  }
  static void add_object(ICollection& list, IDispatch* object) {
    EXPECT_EQ(list.Add(Variant(object)), S_OK);
  }

 private:
  ComponentEntries entries_{&DllGetClassObject, &DllCanUnloadNow, &DllDescribeClasses};
};

TEST_F(NestedCollections, AreSavedUnderTheirOwnClass) {
  const auto inner = new_collection();
  inner->Add(Variant(7));
  const auto outer = new_collection();
  add_object(*outer, inner.get());
  outer->Add(Variant(static_cast<IUnknown*>(inner.get())));
  outer->Add(Variant(8));
  const std::string bytes = saved(*outer);
  CLSID written{};
  std::memcpy(&written, bytes.data() + 6, sizeof(written));
  EXPECT_TRUE(written == CLSID_Collection);

  const auto copy = read_back(bytes, 3);
  ASSERT_EQ(count_of(*copy), 3);
  EXPECT_EQ(item(*object_at<ICollection>(*copy, 0), 0).lVal, 7);
  EXPECT_EQ(item(*platform::query<ICollection>(item(*copy, 1).punkVal), 0).lVal, 7);
  EXPECT_EQ(item(*copy, 2).lVal, 8);
}

// As deep as a script likes: saving ends at a limit, and letting go does not use up the stack.
TEST_F(NestedCollections, MayBeNestedWithoutEnd) {
  const auto locks = Module::locks();
  {
    auto list = new_collection();
    for (int i = 0; i < 300000; ++i) {
      const auto outer = new_collection();
      add_object(*outer, list.get());
      list = outer;
    }
    EXPECT_LT(saved(*list).size(), 10000u);
    const auto twins = new_collection();  // both go with the last one
    add_object(*twins, list.get());
    add_object(*twins, list.get());
    list.reset();
    EXPECT_EQ(twins->Clear(), S_OK);
  }
  EXPECT_EQ(Module::locks(), locks);
}

TEST_F(NestedCollections, AnUnknownClassEndsTheLoad) {
  const CLSID nobody{0x12345678, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};
  for (const VARTYPE type : {VT_DISPATCH, VT_UNKNOWN}) {
    std::string bytes("\3\0\0\0\3\0\3\0\1\0\0\0", 12);
    for (VARTYPE word : {type, type}) {
      bytes.append(reinterpret_cast<const char*>(&word), sizeof(word));
      if (type == VT_DISPATCH) break;
    }
    bytes.append(reinterpret_cast<const char*>(&nobody), sizeof(nobody));
    bytes.append("\3\0\3\0\2\0\0\0", 8);  // the object's own data, which look like an item
    // The same in a collection in a collection, whose Loads end there as well.
    std::string nested("\2\0\0\0\11\0", 6);
    nested.append(reinterpret_cast<const char*>(&CLSID_Collection), sizeof(CLSID));
    for (const std::string& stream : {bytes, nested + bytes, nested + nested + bytes}) {
      auto list = read_back(stream);
      for (; item(*list, 0).vt == VT_DISPATCH; list = object_at<ICollection>(*list, 0)) {
        ASSERT_EQ(count_of(*list), 1);
      }
      ASSERT_EQ(count_of(*list), 1);
      EXPECT_EQ(item(*list, 0).lVal, 1);
    }
  }
}

TEST_F(NestedCollections, MessagesLeaveTheStreamBehindTheirEndLine) {
  const auto list = new_collection();
  for (const char* subject : {"one", "two"}) {
    add_object(*list, loaded(std::string("Subject: ") + subject + "\r\n\r\nbody\r\n.\r\n").get());
    list->Add(Variant(std::u16string_view(u"between")));
  }
  const std::string bytes = saved(*list);
  for (const ULONG step : {1u, 7u, 8192u}) {
    const auto copy = read_back(bytes, step);
    ASSERT_EQ(count_of(*copy), 4) << step;
    EXPECT_EQ(read_text(object_at<IMimeDecoder>(*copy, 0).get(), u"Subject"), "one");
    EXPECT_EQ(item(*copy, 1).text(), u"between");
    EXPECT_EQ(read_text(object_at<IMimeDecoder>(*copy, 2).get(), u"Subject"), "two");
    EXPECT_EQ(item(*copy, 3).text(), u"between");
  }
}

// Messages that have no end line of their own, or more behind it, get one in a collection; a part
// cannot be loaded and is left out. What follows is found in any case.
TEST_F(NestedCollections, WhatFollowsAnItemIsFoundAgain) {
  const auto raw = [](const std::string& text) {
    const auto message = new_message();
    put(message.get(), u"CollectRawStream", Variant::boolean(true));
    HostStream stream(text);
    static_cast<void>(message.query<IPersistStream>()->Load(&stream));
    return message;
  };
  const std::string plain = "Subject: s\r\n\r\nbody";
  const auto outer = loaded("Content-Type: message/rfc822\r\n\r\n" + plain + "\r\n.\r\n");
  const auto body = platform::get(outer.get(), u"Body").value;
  const auto embedded = platform::get(body.pdispVal, u"EmbeddedMessage").value;
  const struct {
    Variant item;
    std::string saved;  // "" for what is not compared
  } cases[] = {
      {Variant(static_cast<IDispatch*>(raw(plain).get())), plain + "\r\n.\r\n"},
      {Variant(static_cast<IDispatch*>(raw(plain + "\r").get())), plain + "\n\r\n.\r\n"},
      {Variant(static_cast<IDispatch*>(raw(plain + "\n.  \nbehind").get())), plain + "\n.  \n"},
      {Variant(static_cast<IDispatch*>(raw(plain + "\n" + std::string(20000, '\0')).get())), ""},
      {Variant(static_cast<IDispatch*>(raw("Subject: s\nnot a field\n\n").get())), ""},
      {embedded, ""},
      {body, std::string(sizeof(CLSID), '\0')},
  };
  constexpr std::size_t kHead = 4 + 2 + sizeof(CLSID);
  for (const auto& one : cases) {
    const auto list = new_collection();
    list->Add(one.item);
    list->Add(Variant(7));
    const std::string bytes = saved(*list);
    const bool stored = one.item.pdispVal != body.pdispVal;
    if (!one.saved.empty()) {
      EXPECT_EQ(bytes.substr(stored ? kHead : kHead - sizeof(CLSID), one.saved.size()), one.saved);
    }
    const auto copy = read_back(bytes);
    ASSERT_EQ(count_of(*copy), stored ? 2 : 1);
    EXPECT_EQ(item(*copy, stored ? 1 : 0).lVal, 7);
    if (stored) {
      EXPECT_EQ(read_text(object_at<IMimeDecoder>(*copy, 0).get(), u"Subject"), "s");
    }
  }
}

// Where the end line lies, and what reading takes out of the bytes on the way, must not matter.
TEST_F(NestedCollections, TheEndLineIsFoundAgainInTheBytesAsTheyCame) {
  const std::string pieces[] = {"\r\n.\r\n",
                                "\n.\n",
                                "\r.\r",
                                std::string("\0\r\n\0.\0\r\n", 8),
                                "\r\r.  \n",
                                "\n\r\r.\t\r\n",
                                std::string("\n\r\0\r\n.\n", 7)};
  for (const std::string& end : pieces) {
    // The end line walks over the border of the first block; what follows has CRs and NULs too.
    for (std::size_t body = 8192 - 30; body < 8192 + 8; ++body) {
      const std::string head = "Subject: s\n\n" + std::string("\0\r\n", 3);
      const std::string message = head + std::string(body - head.size(), 'x') + end;
      // A CR that ends a full block might belong to an LF, so it stays what it is.
      if ((message + ' ')[8191] == '\r' && (message + "  ")[8192] != '\n') continue;
      const std::string rest = std::string("next\r\0\n\r\rend\n.\n", 15) + std::string(300, '\r');
      HostStream stream(message + rest);
      ASSERT_EQ(new_message().query<IPersistStream>()->Load(&stream), S_OK);
      ASSERT_EQ(stream.position, message.size()) << body << " " << end.size();
      if (body % 8 != 0) continue;
      const auto memory = CISSHelper::create_with(message + rest);
      ASSERT_EQ(new_message().query<IPersistStream>()->Load(memory.get()), S_OK);
      ASSERT_EQ(memory->unread(), rest) << body << " " << end.size();
    }
  }
  HostStream no_seek("Subject: s\n\n.\nrest");
  no_seek.can_seek = false;
  EXPECT_EQ(new_message().query<IPersistStream>()->Load(&no_seek), S_OK);
  // A raw copy keeps what was read ahead, so nothing is given back.
  const auto keeper = new_message();
  put(keeper.get(), u"CollectRawStream", Variant::boolean(true));
  HostStream taken("Subject: s\n\n.\nrest");
  EXPECT_EQ(keeper.query<IPersistStream>()->Load(&taken), S_OK);
  EXPECT_EQ(taken.position, taken.content.size());
}

}  // namespace
}  // namespace tallowbrook::test
