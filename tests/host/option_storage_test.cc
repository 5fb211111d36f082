// Option values that are kept in a storage.
#include "tallowbrook/options.h"
#include "tests/collections/items.h"
#include "tests/host/fake_node.h"
#include "tests/host/host_storage.h"
#include "tests/host/script_host.h"
#include "tests/model/host.h"
#include "tests/support/element_names.h"

namespace tallowbrook {
namespace {

using platform::ComPtr;
using platform::Variant;
using test::FakeNode;
using test::read_text;

class OptionStorage : public ::testing::Test {
 protected:
  OptionStorage() {
    EXPECT_EQ(CoLoadComponent(BRAMBLESCOPE_COMPONENT, &component_), S_OK);
    EXPECT_EQ(StgCreateDocfile(nullptr, kCreate, 0, storage_.out()), S_OK);
  }
  ~OptionStorage() override {
    storage_.reset();
    EXPECT_EQ(CoUnloadComponent(component_), S_OK) << "host objects leak";
  }

  // Each name with a space behind it.
  static std::string list(IStorage& storage) {
    std::string all;
    for (const std::u16string& name : test::names(storage)) all += to_ansi(name) + " ";
    return all;
  }
  [[nodiscard]] std::string list(const char16_t* name) const {
    ComPtr<IStorage> inner;
    const HRESULT status = storage_->OpenStorage(name, nullptr, STGM_READ, nullptr, 0, inner.out());
    return FAILED(status) ? "(none)" : list(*inner);
  }
  void add_stream(const char16_t* name, const char16_t* element, std::string_view bytes) {
    ComPtr<IStorage> inner;
    ComPtr<IStream> stream;
    if (FAILED(storage_->OpenStorage(name, nullptr, STGM_READWRITE, nullptr, 0, inner.out()))) {
      ASSERT_EQ(storage_->CreateStorage(name, kCreate, 0, 0, inner.out()), S_OK);
    }
    ASSERT_EQ(inner->CreateStream(element, kCreate, 0, 0, stream.out()), S_OK);
    stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
    EXPECT_EQ(stream->Commit(STGC_DEFAULT), S_OK);
    EXPECT_EQ(inner->Commit(STGC_DEFAULT), S_OK);
  }

  static constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
  ComPtr<IStorage> storage_;

 private:
  HMODULE component_ = nullptr;
};

TEST_F(OptionStorage, SavingAgainReplaces) {
  FakeNode node;
  node.options_given = {{.short_name = u"many", .listed = false},
                        {.short_name = u"none"},
                        {.short_name = u"__CHAIN_TO_DISPATCH__"}};
  node.values[u"many"] = {Variant(u"one"), Variant(LONG{2}), Variant::boolean(true)};
  add_stream(u"other", u"0000000000", "kept");
  ASSERT_EQ(node.save_options(*storage_), S_OK);
  EXPECT_EQ(list(*storage_), "many/ none/ other/ ");
  EXPECT_EQ(list(u"many"), "0000000000 0000000001 0000000002 ");
  EXPECT_EQ(list(u"none"), "");
  node.values[u"many"].pop_back();
  ASSERT_EQ(node.save_options(*storage_), S_OK);
  EXPECT_EQ(list(u"many"), "0000000000 0000000001 ");

  FakeNode other;
  EXPECT_TRUE(FAILED(other.load_options(*storage_))) << "of what is no value";
  ASSERT_EQ(other.written.size(), 2U);
  EXPECT_EQ(other.written[0].first, u"many");
  EXPECT_EQ(other.written[0].second.text(), u"one");
  EXPECT_EQ(other.written[1].second.lVal, 2);
}

TEST_F(OptionStorage, AnotherMessageTakesWhatCanBeRead) {
  const auto from =
      test::loaded("Subject: =?utf-8?q?gr=C3=BCn?=\r\n\r\n.\r\n").query<IPersistOptions>();
  const auto message = test::new_message();
  const auto to = message.query<IPersistOptions>();
  for (const HRESULT status : {S_OK, E_FAIL}) {
    ASSERT_EQ(from->SaveOptions(storage_.get()), S_OK);
    EXPECT_EQ(list(*storage_), "Subject/ ");
    EXPECT_EQ(list(u"Subject"), "0000000000 ");
    if (status == E_FAIL) {
      add_stream(u"Subject", u"0000000001", "\xFF\xFF\xFF\x7F");  // a length without so many bytes
      add_stream(u"Subject", u"readme", "no value");
    }
    test::put(message.get(), u"Subject", Variant(u"changed"));
    EXPECT_EQ(to->LoadOptions(storage_.get()), status);
    EXPECT_EQ(test::read(message.get(), u"Subject").text(), u"gr\u00FCn");
  }
  EXPECT_EQ(to->LoadOptions(nullptr), E_POINTER);
  EXPECT_EQ(to->SaveOptions(nullptr), E_POINTER);
}

// A host's value that keeps nothing.
struct Forgetful : test::ScriptObject {
  static inline CLSID kClass{};
  Forgetful() : ScriptObject([](const test::HostCall&) { return S_OK; }) {}
};

// It leaves what was saved before.
TEST_F(OptionStorage, AFailedSaveKeepsTheFormerValues) {
  const auto message = test::loaded("Subject: former\r\n\r\n.\r\n");
  const auto options = message.query<IPersistOptions>();
  ASSERT_EQ(options->SaveOptions(storage_.get()), S_OK);
  test::put(message.get(), u"Subject", Variant(u"later"));
  ASSERT_EQ(host_class(kOptionValueClass, &Forgetful::kClass), S_OK);
  {
    const test::Registered<Forgetful> instead;
    EXPECT_EQ(options->SaveOptions(storage_.get()), E_NOINTERFACE);
  }
  EXPECT_EQ(options->LoadOptions(storage_.get()), S_OK);
  EXPECT_EQ(read_text(message.get(), u"Subject"), "former");
}

// The n-th call on the host's storages, or that and all further ones, fails or answers that all is
// well and gives nothing, for every n.
TEST_F(OptionStorage, AnyCallMayGoWrong) {
  const auto message = test::loaded("Subject: kept\r\n\r\n.\r\n");
  const auto options = message.query<IPersistOptions>();
  for (int kind = 0; kind < 8; ++kind) {
    const bool saves = (kind & 1) != 0;
    const int more = (kind & 2) != 0 ? 1000000 : 0;
    int first = 0;
    for (bool struck = true; struck && first < 100; ++first) {
      ASSERT_EQ(options->SaveOptions(storage_.get()), S_OK);
      test::Trouble trouble{first, first + more, (kind & 4) != 0 ? S_OK : E_FAIL};
      const auto storage = make_object<test::HostStorage>(storage_, trouble);
      (void)(saves ? options->SaveOptions(storage.get()) : options->LoadOptions(storage.get()));
      EXPECT_EQ(read_text(message.get(), u"Subject"), "kept");
      struck = trouble.calls > first;
    }
    EXPECT_GT(first, 5) << kind;
  }
}

}  // namespace
}  // namespace tallowbrook
