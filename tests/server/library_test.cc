// The shared library as a host sees it: what it exports, and that it really goes when it is closed.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <string>
#include <thread>

#include "platform/automation/typeinfo.h"
#include "platform/com/activation.h"
#include "server/class_table.h"
#include "tallowbrook/class_ids.h"
#include "tests/support/host_stream.h"

namespace tallowbrook {
namespace {

using platform::ComPtr;

const char* const kLibrary = TALLOWBROOK_COMPONENT;

class Library {
 public:
  Library() : handle_(dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL)) {
    EXPECT_NE(handle_, nullptr) << dlerror();
  }
  ~Library() { close(); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  void close() {
    if (handle_ != nullptr) dlclose(std::exchange(handle_, nullptr));
  }
  template <class Function>
  [[nodiscard]] Function* entry(const char* name) const {
    return handle_ == nullptr ? nullptr : reinterpret_cast<Function*>(dlsym(handle_, name));
  }

 private:
  void* handle_;
};

[[nodiscard]] bool is_loaded() {
  void* handle = dlopen(kLibrary, RTLD_NOW | RTLD_NOLOAD);
  if (handle != nullptr) dlclose(handle);
  return handle != nullptr;
}

using GetClassObject = HRESULT(REFCLSID, REFIID, void**);
using Status = HRESULT();

TEST(Library, GoesAwayWhenItIsClosedAndComesBack) {
  for (int cycle = 0; cycle < 5; ++cycle) {
    ASSERT_FALSE(is_loaded());
    Library library;
    auto* const get_class = library.entry<GetClassObject>("DllGetClassObject");
    auto* const can_unload = library.entry<Status>("DllCanUnloadNow");
    ASSERT_TRUE(get_class != nullptr && can_unload != nullptr);
    for (const ClassEntry& entry : class_table()) {
      ComPtr<IClassFactory> factory;
      ASSERT_EQ(get_class(entry.clsid, IClassFactory::kIid, factory.out_void()), S_OK);
      ComPtr<IDispatch> object;
      const HRESULT status = factory->CreateInstance(nullptr, IDispatch::kIid, object.out_void());
      ASSERT_EQ(status, S_OK);
      EXPECT_EQ(can_unload(), S_FALSE);
      ComPtr<ITypeInfo> info;
      EXPECT_EQ(object->GetTypeInfo(0, 0, info.out()), S_OK);
    }
    EXPECT_EQ(can_unload(), S_OK);
    library.close();
    EXPECT_FALSE(is_loaded()) << "cycle " << cycle;
  }
}

void load_use_and_unload() {
  HMODULE module = nullptr;
  ASSERT_EQ(CoLoadComponent(kLibrary, &module), S_OK) << CoComponentError();
  for (const ClassEntry& entry : class_table()) {
    for (const char16_t* name : {entry.prog_id, entry.prog_id_one}) {
      CLSID clsid{};
      ASSERT_EQ(CLSIDFromProgID(name, &clsid), S_OK);
      ASSERT_EQ(clsid, entry.clsid);
    }
    ComPtr<IDispatch> object;
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(CoCreateInstance(entry.clsid, nullptr, CLSCTX_INPROC_SERVER, IDispatch::kIid,
                               object.out_void()),
              S_OK);
    ASSERT_EQ(object->GetTypeInfo(0, 0, info.out()), S_OK);
  }
  ASSERT_EQ(CoUnloadComponent(module), S_OK);
  ASSERT_FALSE(is_loaded());
}

// The allocator keeps some freed blocks of each size for its thread and counts them as in use; they
// fill up over a few hundred cycles. What is lost in each cycle grows in every run of cycles, so
// the run that grew least tells the one from the other.
TEST(Library, LeavesNothingBehindWhenItIsLoadedAgainAndAgain) {
  constexpr int kRuns = 6;
  constexpr int kCycles = 100;
  long least = std::numeric_limits<long>::max();
  for (int run = 0; run < kRuns; ++run) {
    const std::size_t before = mallinfo2().uordblks;
    for (int cycle = 0; cycle < kCycles; ++cycle) load_use_and_unload();
    const std::size_t after = mallinfo2().uordblks;
    least = std::min(least, static_cast<long>(after) - static_cast<long>(before));
  }
  EXPECT_LT(least, kCycles) << "bytes in each run of " << kCycles << " cycles";
}

// Inside of a load, whose stream waits, the library counts as used: also when the host has given
// its last reference back from within.
TEST(Library, StaysWhileAThreadIsInside) {
  Library library;
  auto* const get_class = library.entry<GetClassObject>("DllGetClassObject");
  auto* const can_unload = library.entry<Status>("DllCanUnloadNow");
  ASSERT_TRUE(get_class != nullptr && can_unload != nullptr);
  std::atomic<bool> inside{false};
  std::atomic<bool> go_on{false};
  std::thread thread([&] {
    ComPtr<IPersistStream> message;
    {
      ComPtr<IClassFactory> factory;
      ASSERT_EQ(get_class(CLSID_MimeDecoder, IClassFactory::kIid, factory.out_void()), S_OK);
      ASSERT_EQ(factory->CreateInstance(nullptr, IPersistStream::kIid, message.out_void()), S_OK);
    }
    test::HostStream stream("X: y\r\n\r\nz\r\n");
    stream.on_call = [&] {
      message.reset();
      inside = true;
      while (!go_on) std::this_thread::yield();
    };
    EXPECT_EQ(message->Load(&stream), S_OK);
  });
  while (!inside) std::this_thread::yield();
  EXPECT_EQ(can_unload(), S_FALSE);
  go_on = true;
  thread.join();
  EXPECT_EQ(can_unload(), S_OK);
}

TEST(Library, ShowsItsEntryPointsAlone) {
  Library library;
  for (const char* name : {"DllGetClassObject", "DllCanUnloadNow", "DllRegisterServer",
                           "DllUnregisterServer", "DllDescribeClasses", "DllDescribeTypeLibrary"}) {
    EXPECT_NE(library.entry<void>(name), nullptr) << name;
  }
  FILE* symbols = popen("nm -D --defined-only " TALLOWBROOK_COMPONENT, "r");
  ASSERT_NE(symbols, nullptr);
  char line[512];
  while (fgets(line, sizeof line, symbols) != nullptr) {
    EXPECT_NE(std::string(line).find(" T Dll"), std::string::npos) << line;
  }
  pclose(symbols);
}

}  // namespace
}  // namespace tallowbrook
