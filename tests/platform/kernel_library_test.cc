#include "platform/kernel/library.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "platform/kernel/handles.h"
#include "tests/support/scratch_folder.h"

namespace tallowbrook::platform {
namespace {

namespace fs = std::filesystem;

constexpr const char* kPlugin = "TlwbkPlg.dll";

// A directory that stands in TALLOWBROOK_PLUGIN_PATH.
class LibraryTest : public testing::Test {
 protected:
  LibraryTest() { setenv("TALLOWBROOK_PLUGIN_PATH", (":/nowhere:" + folder_).c_str(), 1); }
  ~LibraryTest() override { unsetenv("TALLOWBROOK_PLUGIN_PATH"); }
  // A copy of the C library's mathematics serves as plug-in.
  void install(const char* name) const {
    fs::copy_file(module_path(reinterpret_cast<const void*>(static_cast<double (*)(double)>(cbrt))),
                  folder_ + "/" + name);
  }
  void check_plugin(const std::string& expected) const {
    const HMODULE module = LoadLibraryA(kPlugin);
    ASSERT_NE(module, nullptr);
    const auto cube_root = reinterpret_cast<double (*)(double)>(GetProcAddress(module, "cbrt"));
    ASSERT_NE(cube_root, nullptr);
    EXPECT_DOUBLE_EQ(cube_root(27), 3);
    char name[4096];
    EXPECT_EQ(GetModuleFileNameA(module, name, sizeof name), expected.size());
    EXPECT_EQ(name, expected);
    EXPECT_EQ(GetProcAddress(module, "malloc"), nullptr);  // of a library that it needs
    EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);
    EXPECT_TRUE(FreeLibrary(module));
  }

  const test::ScratchFolder scratch_;
  const std::string& folder_ = scratch_.path();
};

TEST_F(LibraryTest, IsFoundUnderBothNames) {
  install("TlwbkPlg.dll");
  check_plugin(folder_ + "/TlwbkPlg.dll");
  install("libTlwbkPlg.so");
  setenv("TALLOWBROOK_PLUGIN_PATH", folder_.c_str(), 1);  // another value: looked up again
  check_plugin(folder_ + "/libTlwbkPlg.so");
  unsetenv("TALLOWBROOK_PLUGIN_PATH");
  EXPECT_EQ(LoadLibraryW(u"TlwbkPlg.dll"), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
  const HMODULE by_path = LoadLibraryA((folder_ + "/TlwbkPlg").append(".dll").c_str());
  EXPECT_NE(by_path, nullptr);
  FreeLibrary(by_path);
}

TEST_F(LibraryTest, MissingIsRememberedForASecondAndCheap) {
  EXPECT_EQ(LoadLibraryA(kPlugin), nullptr);
  const auto start = std::chrono::steady_clock::now();
  constexpr int kLookUps = 10000;
  for (int i = 0; i < kLookUps; ++i) {
    ASSERT_EQ(load_library(kPlugin, reinterpret_cast<const void*>(&LoadLibraryA)), nullptr);
  }
  const std::chrono::duration<double, std::micro> taken = std::chrono::steady_clock::now() - start;
  EXPECT_LT(taken.count() / kLookUps, 10);
  install("libTlwbkPlg.so");
  std::this_thread::sleep_for(std::chrono::milliseconds(1050));
  check_plugin(folder_ + "/libTlwbkPlg.so");
}

TEST_F(LibraryTest, FileThatIsNoLibrary) {
  test::write_file(folder_ + "/libTlwbkPlg.so", "text");
  EXPECT_EQ(LoadLibraryA(kPlugin), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_BAD_EXE_FORMAT);
  install("TlwbkPlg.dll");
  setenv("TALLOWBROOK_PLUGIN_PATH", folder_.c_str(), 1);
  check_plugin(folder_ + "/TlwbkPlg.dll");
  EXPECT_FALSE(FreeLibrary(nullptr));
  EXPECT_EQ(LoadLibraryA(""), nullptr);
}

TEST_F(LibraryTest, ModulePaths) {
  const std::string self = fs::read_symlink("/proc/self/exe").string();
  char name[4096];
  for (const std::size_t room : {sizeof name, std::size_t{5}}) {
    const std::string fits = self.substr(0, room - 1);
    EXPECT_EQ(GetModuleFileNameA(nullptr, name, static_cast<DWORD>(room)), fits.size());
    EXPECT_EQ(name, fits);
  }
  EXPECT_EQ(module_path(nullptr), "");
}

}  // namespace
}  // namespace tallowbrook::platform
