// The plug-in library hears of every message that was loaded whole, and of nothing else.
#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/kernel/library.h"
#include "tests/model/host.h"

namespace tallowbrook::test {
namespace {

// The plug-in is found while this object lives, and held so that its counts can be read.
class Plugin {
 public:
  Plugin() {
    setenv("TALLOWBROOK_PLUGIN_PATH", PLUGIN_FOLDER, 1);
    library_ = LoadLibraryA("TlwbkPlg.dll");
  }
  ~Plugin() {
    if (library_ != nullptr) FreeLibrary(library_);
    unsetenv("TALLOWBROOK_PLUGIN_PATH");
  }
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;

  [[nodiscard]] bool found() const { return library_ != nullptr; }
  [[nodiscard]] int calls() const { return entry<int (*)()>("plugin_calls")(); }
  using Creator = HRESULT (*)(REFIID iid, void** object);
  void create_with(Creator creator) const {
    entry<void (*)(Creator)>("plugin_create_with")(creator);
  }
  [[nodiscard]] std::u16string subject() const {
    return entry<const char16_t* (*)()>("plugin_subject")();
  }

 private:
  template <class Function>
  Function entry(const char* name) const {
    return reinterpret_cast<Function>(GetProcAddress(library_, name));
  }

  HMODULE library_ = nullptr;
};

class PluginTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(plugin.found());
    before = plugin.calls();
  }
  const Plugin plugin;
  const ComPtr<IMimeDecoder> message = new_message();
  int before = 0;
};

TEST_F(PluginTest, HearsOfEachMessageThatWasLoaded) {
  EXPECT_EQ(load(message,
                 "Subject: first\r\nReceived: from a by b; 1 Jun 2026 10:00:00 +0200\r\n"
                 "\r\nbody\r\n"),
            S_OK);
  EXPECT_EQ(plugin.calls(), before + 1);
  EXPECT_EQ(plugin.subject(), u"first");

  // Fields that are read on demand, through whatever messages inside, are no loaded message.
  (void)read(message.get(), u"Received");
  (void)saved(message);
  EXPECT_EQ(plugin.calls(), before + 1);

  EXPECT_EQ(load(message, "no message\r\n"), E_ABORT);
  EXPECT_EQ(plugin.calls(), before + 1);
}

TEST_F(PluginTest, MayLoadTheMessageThatItIsToldOf) {
  EXPECT_EQ(load(message, "Subject: once more\r\n\r\nbody\r\n"), S_OK);
  EXPECT_EQ(plugin.calls(), before + 1);
  EXPECT_EQ(read_text(message.get(), u"Subject"), "Lunch");
  EXPECT_EQ(load(message, "Subject: next\r\n\r\nbody\r\n"), S_OK);
  EXPECT_EQ(plugin.calls(), before + 2);
}

TEST_F(PluginTest, MayLoadAnotherMessageEachTime) {
  plugin.create_with(&create_mime_decoder);
  for (int loads = 1; loads <= 2; ++loads) {
    EXPECT_EQ(load(message, "Subject: mine\r\n\r\nbody\r\n"), S_OK);
    EXPECT_EQ(plugin.calls(), before + 32 * loads) << "so many calls deep, and no deeper";
  }
  EXPECT_EQ(read_text(message.get(), u"Subject"), "mine");
  plugin.create_with(nullptr);
}

TEST_F(PluginTest, MayThrow) {
  EXPECT_EQ(load(message, "Subject: throw\r\n\r\nbody\r\n"), S_OK);
  EXPECT_EQ(read_text(message.get(), u"Subject"), "throw");
  EXPECT_EQ(load(message, "Subject: next\r\n\r\nbody\r\n"), S_OK);
  EXPECT_EQ(plugin.calls(), before + 2);
}

}  // namespace
}  // namespace tallowbrook::test
