#include "streams/file_stream.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <thread>

#include "tests/support/scratch_folder.h"
#include "tests/support/seek.h"

namespace tallowbrook {
namespace {

using test::seek;

class FileStream : public testing::Test {
 protected:
  [[nodiscard]] std::u16string wide() const { return file_.u16string(); }
  [[nodiscard]] std::string content() const { return test::read_file(file_); }

  const test::ScratchFolder folder_;
  const std::filesystem::path file_ = folder_.file("\xC3\xA4");
};

// All that a reader gets in blocks of `size` bytes.
std::string read_all(IStream& stream, ULONG size) {
  std::string all;
  std::string block(size, '?');
  ULONG got = 0;
  do {
    EXPECT_EQ(stream.Read(block.data(), size, &got), S_OK);
    all.append(block, 0, got);
  } while (got > 0);
  return all;
}

TEST_F(FileStream, BuffersSmallWritesAndPassesLargeOnes) {
  auto stream = CFileSystemStream::open_for_writing(wide().c_str());
  ASSERT_TRUE(stream);
  const std::string small(2000, 's');
  const std::size_t on_disk[] = {0, 0, 4000};
  for (const std::size_t expected : on_disk) {
    ULONG written = 0;
    EXPECT_EQ(stream->Write(small.data(), 2000, &written), S_OK);
    EXPECT_EQ(written, 2000u);
    EXPECT_EQ(content().size(), expected);
  }
  const std::string large(10000, 'L');
  EXPECT_EQ(stream->Write(large.data(), 10000, nullptr), S_OK);
  EXPECT_EQ(content(), small + small + small + large);
  EXPECT_EQ(seek(*stream, 10000, STREAM_SEEK_END), 6000u);
  EXPECT_EQ(stream->Write("!", 1, nullptr), S_OK);
  stream.reset();
  EXPECT_EQ(content(), small + small + small + "!" + large.substr(1));
}

TEST_F(FileStream, ReadsTheSameAtAnyBlockSize) {
  std::string text;
  for (int i = 0; text.size() < 20000; ++i) text += std::to_string(i);
  test::write_file(file_, text);
  for (const ULONG size : {1u, 100u, 4095u, 4096u, 5000u, 50000u}) {
    const auto stream = CFileSystemStream::open_for_reading(wide().c_str());
    ASSERT_TRUE(stream);
    char first = '?';
    EXPECT_EQ(stream->Read(&first, 1, nullptr), S_OK);
    seek(*stream, 0, STREAM_SEEK_SET);
    EXPECT_EQ(read_all(*stream, size), text) << size;
    EXPECT_EQ(seek(*stream, 0, STREAM_SEEK_CUR), text.size());
    seek(*stream, 5, STREAM_SEEK_SET);
    EXPECT_EQ(read_all(*stream, size), text.substr(5));
  }
}

TEST_F(FileStream, TellsWhatCannotBeOpenedOrWritten) {
  EXPECT_FALSE(CFileSystemStream::open_for_reading(wide().c_str()));
  EXPECT_FALSE(CFileSystemStream::open_for_reading(nullptr));
  EXPECT_FALSE(CFileSystemStream::open_for_writing(u"/nowhere/at/all"));

  const auto full = CFileSystemStream::open_for_writing(u"/dev/full");
  if (!full) GTEST_SKIP() << "no /dev/full here";
  EXPECT_EQ(full->Write("x", 1, nullptr), S_OK);
  EXPECT_EQ(full->write_status(), S_OK);
  EXPECT_EQ(full->flush(), E_FAIL);
  EXPECT_EQ(full->flush(), S_OK);
  EXPECT_EQ(full->write_status(), E_FAIL);
}

TEST_F(FileStream, PassesThroughWhatCannotSeek) {
  ASSERT_EQ(::mkfifo(file_.c_str(), 0600), 0);
  const std::string text(10000, 't');
  std::string all;
  std::thread reader([&] {
    const auto in = CFileSystemStream::open_for_reading(wide().c_str());
    ASSERT_TRUE(in);
    all = read_all(*in, 1000);
  });
  auto out = CFileSystemStream::open_for_writing(wide().c_str());
  ASSERT_TRUE(out);
  EXPECT_EQ(out->Write("first ", 6, nullptr), S_OK);
  EXPECT_EQ(out->Write(text.data(), 10000, nullptr), S_OK);
  EXPECT_EQ(out->write_status(), S_OK);
  out.reset();
  reader.join();
  EXPECT_EQ(all, "first " + text);
}

}  // namespace
}  // namespace tallowbrook
