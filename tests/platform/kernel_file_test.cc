#include "platform/kernel/file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "platform/kernel/code_page.h"
#include "tests/support/scratch_folder.h"

namespace tallowbrook::platform {
namespace {

namespace fs = std::filesystem;

class FileTest : public testing::Test {
 protected:
  [[nodiscard]] std::string path(const char* name) const { return scratch_.file(name); }

  std::string make(const char* name, std::string_view content) {
    std::ofstream(path(name)) << content;
    return path(name);
  }
  static std::string content(const std::string& path) { return test::read_file(path); }
  // What a call that failed left as its error; 0 for one that did not fail.
  static DWORD error_of(BOOL result) { return result ? 0 : GetLastError(); }
  // Opens, and tells the last error.
  static std::pair<Handle, DWORD> open(const std::string& path, DWORD access, DWORD share,
                                       DWORD disposition) {
    SetLastError(0);
    Handle handle(CreateFileA(path.c_str(), access, share, nullptr, disposition,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
    return {std::move(handle), GetLastError()};
  }

  const test::ScratchFolder scratch_;
  const std::string& folder_ = scratch_.path();
};

TEST_F(FileTest, DispositionsCreateEmptyAndRefuse) {
  const struct {
    DWORD disposition;
    bool exists;
    bool opens;
    DWORD error;
    const char* left;  // the content afterwards
  } rows[] = {
      {CREATE_NEW, false, true, 0, ""},
      {CREATE_NEW, true, false, ERROR_FILE_EXISTS, "old"},
      {CREATE_ALWAYS, false, true, 0, ""},
      {CREATE_ALWAYS, true, true, ERROR_ALREADY_EXISTS, ""},
      {OPEN_EXISTING, false, false, ERROR_FILE_NOT_FOUND, ""},
      {OPEN_EXISTING, true, true, 0, "old"},
      {OPEN_ALWAYS, false, true, 0, ""},
      {OPEN_ALWAYS, true, true, ERROR_ALREADY_EXISTS, "old"},
      {TRUNCATE_EXISTING, false, false, ERROR_FILE_NOT_FOUND, ""},
      {TRUNCATE_EXISTING, true, true, 0, ""},
      {6, true, false, ERROR_INVALID_PARAMETER, "old"},
  };
  for (const auto& row : rows) {
    const std::string file = path("f");
    fs::remove(file);
    if (row.exists) make("f", "old");
    const auto [handle, error] = open(file, GENERIC_WRITE, 0, row.disposition);
    EXPECT_EQ(static_cast<bool>(handle), row.opens) << row.disposition << row.exists;
    EXPECT_EQ(error, row.error) << row.disposition << row.exists;
    EXPECT_EQ(content(file), row.left) << row.disposition << row.exists;
  }
}

TEST_F(FileTest, RefusesDirectoriesAndWrongPaths) {
  make("f", "x");
  EXPECT_EQ(open(folder_, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING).second,
            ERROR_ACCESS_DENIED);
  EXPECT_EQ(open(folder_, GENERIC_WRITE, 0, CREATE_ALWAYS).second, ERROR_ACCESS_DENIED);
  EXPECT_EQ(open(path("f/g"), GENERIC_READ, 0, OPEN_EXISTING).second, ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(open(path("d/g"), GENERIC_WRITE, 0, CREATE_ALWAYS).second, ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(CreateFileA(nullptr, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr),
            INVALID_HANDLE_VALUE);
  if (geteuid() != 0) {
    chmod(path("f").c_str(), 0);
    EXPECT_EQ(open(path("f"), GENERIC_READ, 0, OPEN_EXISTING).second, ERROR_ACCESS_DENIED);
  }
  EXPECT_EQ(error_of(DeleteFileA(folder_.c_str())), ERROR_ACCESS_DENIED);
}

TEST_F(FileTest, SharingHoldsByInodeUntilTheHandleCloses) {
  const std::string file = make("f", "content");
  const std::string link = path("link");
  fs::create_hard_link(file, link);
  constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const struct {
    DWORD access, share, then_access, then_share;
    bool allowed;
  } rows[] = {
      {GENERIC_READ, FILE_SHARE_READ, GENERIC_READ, FILE_SHARE_READ, true},
      {GENERIC_READ, FILE_SHARE_READ, GENERIC_READ, 0, false},
      {GENERIC_READ, FILE_SHARE_READ, GENERIC_WRITE, kShareAll, false},
      {GENERIC_WRITE, 0, GENERIC_READ, kShareAll, false},
      {GENERIC_WRITE, kShareAll, GENERIC_READ, FILE_SHARE_READ, false},
      {kReadWrite, kShareAll, kReadWrite, kShareAll, true},
  };
  for (const auto& row : rows) {
    const auto first = open(file, row.access, row.share, OPEN_EXISTING);
    ASSERT_TRUE(first.first);
    const auto second = open(link, row.then_access, row.then_share, OPEN_EXISTING);
    EXPECT_EQ(second.second, row.allowed ? 0 : ERROR_SHARING_VIOLATION);
  }
  {
    const auto reader = open(file, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
    EXPECT_FALSE(open(file, GENERIC_WRITE, 0, CREATE_ALWAYS).first);
    EXPECT_EQ(content(file), "content");
    EXPECT_FALSE(DeleteFileA(link.c_str()));
    EXPECT_EQ(error_of(MoveFileExA(file.c_str(), path("g").c_str(), 0)), ERROR_SHARING_VIOLATION);
  }
  EXPECT_TRUE(open(file, GENERIC_WRITE, 0, CREATE_ALWAYS).first);
  EXPECT_TRUE(open("/dev/null", GENERIC_READ, 0, OPEN_EXISTING).first);
}

TEST_F(FileTest, ReadsWritesAndSeeks) {
  const auto [file, error] = open(path("f"), GENERIC_READ | GENERIC_WRITE, 0, CREATE_NEW);
  DWORD moved = 9;
  char buffer[16] = {};
  LARGE_INTEGER where{};
  EXPECT_TRUE(WriteFile(file.get(), "0123456789", 10, &moved, nullptr));
  EXPECT_EQ(moved, 10U);
  EXPECT_TRUE(ReadFile(file.get(), buffer, 4, &moved, nullptr));
  EXPECT_EQ(moved, 0U);
  EXPECT_EQ(SetFilePointer(file.get(), -4, nullptr, FILE_END), 6U);
  EXPECT_TRUE(ReadFile(file.get(), buffer, 16, &moved, nullptr));
  EXPECT_EQ(std::string(buffer, moved), "6789");
  EXPECT_EQ(SetFilePointer(file.get(), -11, nullptr, FILE_CURRENT), INVALID_SET_FILE_POINTER);
  EXPECT_EQ(GetLastError(), ERROR_NEGATIVE_SEEK);
  LONG high = 1;
  EXPECT_EQ(SetFilePointer(file.get(), 2, &high, FILE_BEGIN), 2U);
  EXPECT_EQ(high, 1);
  EXPECT_EQ(SetFilePointer(file.get(), 0, nullptr, FILE_CURRENT), INVALID_SET_FILE_POINTER);
  EXPECT_TRUE(SetFilePointerEx(file.get(), {-2 - (LONGLONG{1} << 32) + 5}, &where, FILE_CURRENT));
  EXPECT_EQ(where.QuadPart, 5);
  EXPECT_TRUE(SetEndOfFile(file.get()));
  EXPECT_TRUE(FlushFileBuffers(file.get()));
  EXPECT_TRUE(GetFileSizeEx(file.get(), &where));
  EXPECT_EQ(where.QuadPart, 5);
  EXPECT_EQ(content(path("f")), "01234");
  EXPECT_EQ(error_of(ReadFile(nullptr, buffer, 1, &moved, nullptr)), ERROR_INVALID_HANDLE);

  const auto full = open("/dev/full", GENERIC_WRITE, 0, OPEN_EXISTING);
  EXPECT_EQ(error_of(WriteFile(full.first.get(), "x", 1, &moved, nullptr)), ERROR_DISK_FULL);
}

TEST_F(FileTest, MovesAndReplaces) {
  const std::string from = make("from", "new");
  const std::string to = make("to", "old");
  EXPECT_EQ(error_of(MoveFileExA(from.c_str(), to.c_str(), 0)), ERROR_ALREADY_EXISTS);
  EXPECT_TRUE(
      MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH));
  EXPECT_EQ(content(to), "new");
  EXPECT_FALSE(fs::exists(from));
  EXPECT_TRUE(DeleteFileA(to.c_str()));
  EXPECT_EQ(error_of(DeleteFileA(to.c_str())), ERROR_FILE_NOT_FOUND);
}

TEST_F(FileTest, NamesReachTheFileSystemAsUtf8) {
  {
    const auto ansi = open(path("gr\xFC\xDF"), GENERIC_WRITE, 0, CREATE_NEW);
    EXPECT_TRUE(fs::exists(path("gr\xC3\xBC\xC3\x9F")));
  }
  for (const char* name : {"\xE6\x97\xA5\xF0\x9F\x98\x80", "raw\xFF"}) {
    const std::u16string wide = wide_from_path(path(name));
    const Handle file(CreateFileW(wide.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    EXPECT_TRUE(file);
    EXPECT_TRUE(fs::exists(path(name)));
  }
}

}  // namespace
}  // namespace tallowbrook::platform
