#include "streams/memory_stream.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/module.h"
#include "tests/support/host_stream.h"
#include "tests/support/seek.h"

namespace tallowbrook {
namespace {

using test::seek;

std::string read(IStream& stream, ULONG count, HRESULT expected) {
  std::string text(count, '?');
  ULONG got = 99;
  EXPECT_EQ(stream.Read(text.data(), count, &got), expected);
  text.resize(got);
  return text;
}

TEST(MemoryStream, ReadsWhatWasWrittenWithoutASeek) {
  CISSHelper stream;
  stream.write("0123456789");
  EXPECT_EQ(read(stream, 4, S_OK), "0123");
  stream.write("ab");
  EXPECT_EQ(read(stream, 20, S_FALSE), "456789ab");
  EXPECT_EQ(read(stream, 20, S_FALSE), "");
  EXPECT_EQ(read(stream, 0, S_OK), "");
  ULONG count = 7;
  EXPECT_EQ(stream.Read(nullptr, 1, &count), STG_E_INVALIDPOINTER);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(stream.Write(nullptr, 1, nullptr), STG_E_INVALIDPOINTER);
}

TEST(MemoryStream, SeeksSetBothPositions) {
  CISSHelper stream;
  stream.write("0123456789");
  EXPECT_EQ(seek(stream, 0, STREAM_SEEK_END), 10u);
  EXPECT_EQ(seek(stream, 3, STREAM_SEEK_END), 7u);  // counts back
  EXPECT_EQ(seek(stream, 1, STREAM_SEEK_CUR), 8u);
  EXPECT_EQ(seek(stream, 5, 9), 8u);
  EXPECT_EQ(seek(stream, 0x100000002, STREAM_SEEK_SET), 2u);
  stream.write("XY");
  EXPECT_EQ(stream.bytes(), "01XY456789");
  EXPECT_EQ(read(stream, 3, S_OK), "XY4");
  seek(stream, 12, STREAM_SEEK_SET);
  EXPECT_EQ(read(stream, 1, S_FALSE), "");
  stream.write("!");  // the gap is zero, never old memory
  EXPECT_EQ(stream.bytes(), std::string_view("01XY456789\0\0!", 13));
}

TEST(MemoryStream, SetSizeExtendsCutsAndFrees) {
  CISSHelper stream;
  stream.write("abcdef");
  EXPECT_EQ(stream.SetSize({8}), S_OK);
  EXPECT_EQ(stream.bytes(), std::string_view("abcdef\0\0", 8));
  stream.write("gh");
  EXPECT_EQ(stream.bytes(), "abcdefgh");
  EXPECT_EQ(stream.SetSize({3}), S_OK);
  stream.write("D");
  EXPECT_EQ(stream.bytes(), "abcD");
  EXPECT_EQ(stream.SetSize({0x100000000}), E_FAIL);
  EXPECT_EQ(stream.SetSize({0}), S_OK);
  EXPECT_EQ(stream.capacity(), 0u);
  EXPECT_EQ(read(stream, 1, S_FALSE), "");
}

TEST(MemoryStream, CapacityFollowsStepAndFactor) {
  const struct {
    ULONG step, factor;
    std::vector<ULONG> sizes, capacities;
  } cases[] = {
      {500000, 1, {1, 500001, 1000001, 9000000}, {500000, 1000000, 2000000, 9000000}},
      {100000, 0, {40, 41, 300, 60000, 100001, 400000}, {40, 80, 300, 60000, 160000, 400000}},
      {100000, 0, {1, 60000, 60001, 100000}, {32, 60000, 100000, 100000}},
      {4096, 0, {5000, 9096, 100000, 100001}, {9096 - 4096, 9096, 100000, 150000}},
      {0, 0, {10, 11, 100}, {10, 15, 100}},
  };
  for (const auto& c : cases) {
    const auto stream = CISSHelper::create(c.step, c.factor);
    for (std::size_t i = 0; i < c.sizes.size(); ++i) {
      stream->write(std::string(c.sizes[i] - stream->size(), 'x'));
      EXPECT_EQ(stream->capacity(), c.capacities[i]) << c.step << " at " << c.sizes[i];
    }
  }
}

TEST(MemoryStream, RefusesToPassFourGigabytes) {
  CISSHelper stream;
  stream.write("abc");
  seek(stream, 0xFFFFFFFE, STREAM_SEEK_SET);
  ULONG written = 5;
  EXPECT_EQ(stream.Write("xyz", 3, &written), E_FAIL);
  EXPECT_EQ(written, 0u);
  EXPECT_THROW(stream.write("xyz"), std::bad_alloc);
  EXPECT_EQ(stream.bytes(), "abc");
}

TEST(MemoryStream, CopiesFromStreamsAndFromItself) {
  const std::string text(10000, 'q');
  for (const ULONG step : {1u, 7u, 4096u, 100000u}) {
    test::HostStream source(text + "end", step);
    CISSHelper stream;
    stream.write("old");
    stream.assign_from(source);
    EXPECT_EQ(stream.bytes(), text + "end");
  }
  test::HostStream failing(text, 1000);
  failing.reads_before_failure = 3;
  CISSHelper stream;
  stream.append_from(failing);
  EXPECT_EQ(stream.size(), 3000u);

  CISSHelper memory;
  memory.write("0123456789");
  read(memory, 4, S_OK);
  stream.assign_from(memory);
  EXPECT_EQ(stream.bytes(), "456789");
  EXPECT_EQ(memory.unread(), "");
  stream.write(stream.bytes());  // grows while it reads its own buffer
  EXPECT_EQ(stream.bytes(), "456789456789");

  CISSHelper taker;
  taker.take(stream);
  EXPECT_EQ(taker.unread(), "456789456789");
  EXPECT_EQ(stream.size(), 0u);
  stream.write("new");
  EXPECT_EQ(stream.bytes(), "new");
  // The pages of large content are given back once, and those that follow have their own.
  CISSHelper large;
  large.write(std::string(1'000'000, 'x'));
  taker.take(large);
  CISSHelper more[3];
  for (CISSHelper& one : more) one.write(std::string(300'000, 'y'));
  for (CISSHelper& one : more) EXPECT_EQ(one.bytes(), std::string(300'000, 'y'));
  EXPECT_EQ(taker.bytes(), std::string(1'000'000, 'x'));
}

// A host's stream that leaves every query to the memory stream within.
class Wrapper final : public ISequentialStream {
 public:
  explicit Wrapper(CISSHelper& inner) : inner_(inner) {}
  HRESULT QueryInterface(REFIID iid, void** object) override {
    return inner_.QueryInterface(iid, object);
  }
  ULONG AddRef() override { return inner_.AddRef(); }
  ULONG Release() override { return inner_.Release(); }
  HRESULT Read(void* pv, ULONG cb, ULONG* read) override {
    const HRESULT status = inner_.Read(pv, cb, read);
    for (ULONG at = 0; at < *read; ++at) static_cast<char*>(pv)[at] ^= 0x20;
    return status;
  }
  HRESULT Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }

 private:
  CISSHelper& inner_;
};

TEST(MemoryStream, AWrapperKeepsItsOwnRead) {
  CISSHelper inner;
  inner.write("abc");
  Wrapper wrapper(inner);
  CISSHelper stream;
  stream.append_from(wrapper);
  EXPECT_EQ(stream.bytes(), "ABC");
}

TEST(MemoryStream, ClonesAndHeapStreamsHoldAModuleLock) {
  const auto locks = Module::locks();
  {
    CISSHelper local;
    EXPECT_EQ(Module::locks(), locks);
    local.write("abc");
    read(local, 2, S_OK);
    platform::ComPtr<IStream> clone;
    ASSERT_EQ(local.Clone(clone.out()), S_OK);
    EXPECT_EQ(Module::locks(), locks + 1);
    EXPECT_EQ(read(local, 3, S_OK), "abc");
    EXPECT_EQ(read(*clone, 3, S_OK), "abc");
    ASSERT_EQ(clone->Write("d", 1, nullptr), S_OK);
    EXPECT_EQ(read(*clone, 3, S_FALSE), "d");
    EXPECT_TRUE(clone.query<CISSHelper>());
  }
  EXPECT_EQ(Module::locks(), locks);
}

}  // namespace
}  // namespace tallowbrook
