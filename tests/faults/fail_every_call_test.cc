// For every n, the n-th allocation, read or file call fails while a message is created, loaded,
// read and saved: nothing crashes or leaks, the status tells, and the objects go on working.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>

#include "tallowbrook/mime_body.h"
#include "tests/faults/allocation.h"
#include "tests/faults/file_calls.h"
#include "tests/model/host.h"
#include "tests/support/host_stream.h"

namespace tallowbrook::test {
namespace {

constexpr std::string_view kMessage =
    "Received: from a by b; 1 Jun 2026 10:00:00 +0200\r\nFrom: A B <a@b>\r\n"
    "To: x@y, bad <<z\r\nTo: v@w\r\nDate: 1 Jun 2026 10:00:00 +0200\r\nSubject: s\r\nX-One: 1\r\n"
    "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: text/plain;\r\n"
    " charset=utf-8; name=\"n\"\r\nContent-Disposition: attachment; "
    "filename=f\r\n\r\nbody\r\n--b\r\n"
    "\r\nend\r\n--b--\r\n";

bool expected(HRESULT status) {
  return SUCCEEDED(status) || status == E_OUTOFMEMORY || status == E_FAIL;
}

// A property get by id that allocates nothing of its own; the value is empty when it fails.
Variant get(IDispatch* object, DISPID member, LONG index = -1) {
  VARIANTARG argument = Variant(index);
  DISPPARAMS arguments{&argument, nullptr, index < 0 ? 0U : 1U, 0};
  Variant value;
  const HRESULT status = object->Invoke(member, GUID_NULL, 0, DISPATCH_PROPERTYGET, &arguments,
                                        &value, nullptr, nullptr);
  EXPECT_TRUE(expected(status) || status == E_INVALIDARG) << member << " " << std::hex << status;
  EXPECT_TRUE(SUCCEEDED(status) || value.vt == VT_EMPTY) << member;
  return value;
}

// What a host reads of a message: From, To, Date, Subject, Received, Body, MessageHeader, Name, and
// of the first item of each the members 1 to 37.
void touch(IMimeDecoder& message) {
  for (const DISPID id : {7, 14, 12, 17, 117, 25, 119, 108}) {
    const Variant value = get(&message, id);
    if (value.vt != VT_DISPATCH || value.pdispVal == nullptr) continue;
    const Variant item = get(value.pdispVal, DISPID_VALUE, 0);
    if (item.vt != VT_DISPATCH || item.pdispVal == nullptr) continue;
    for (DISPID inner = 20; inner <= 37; ++inner) {
      if (id == 25 && (inner < 26 || inner > 29) && inner != 22) (void)get(item.pdispVal, inner);
    }
    for (const DISPID inner : {1, 2, 3, 4}) {
      if (id != 25 && !(id == 117 && inner == 4)) (void)get(item.pdispVal, inner);
    }
  }
}

TEST(FailEveryCall, Allocations) {
  HostStream source{std::string(kMessage)};
  bool failed = true;
  std::size_t n = 0;
  while (failed && n < 20000) {
    ComPtr<IMimeDecoder> message;
    HostStream target;
    target.keep_writes = false;
    source.position = 0;
    {
      const FailingAllocation failing(++n);
      const HRESULT created = create_mime_decoder(IMimeDecoder::kIid, message.out_void());
      ASSERT_EQ(created, message ? S_OK : E_OUTOFMEMORY);
      if (message) {
        const auto persist = message.query<IPersistStream>();
        const HRESULT loaded = persist->Load(&source);  // E_ABORT: no room for the scanner's text
        EXPECT_TRUE(expected(loaded) || loaded == E_ABORT) << n;
        touch(*message);
        EXPECT_TRUE(expected(persist->Save(&target, FALSE))) << n;
      }
      failed = failing.happened();
    }
    if (!message) continue;
    EXPECT_EQ(load(message, kMessage), S_OK) << n;
    EXPECT_EQ(addresses(message.get(), u"To").size(), 3U) << n;
  }
  EXPECT_FALSE(failed);
  EXPECT_GT(n, 100U);
}

// A text that memory did not suffice for is not cut short: it is not given at all.
TEST(FailEveryCall, AllocationsOfTexts) {
  std::u16string text;
  for (int i = 0; i < 3000; ++i) text += u"Gr\u00FC\u00DFe ";
  const auto message = new_message();
  ASSERT_EQ(put(message.get(), u"Charset", Variant(u"utf-8")), S_OK);
  ASSERT_EQ(put(message.get(), u"Subject", Variant(text)), S_OK);
  ASSERT_EQ(put(message.get(), u"Body", Variant(text)), S_OK);
  const auto again = loaded(saved(message));
  const Variant part = read(again.get(), u"Body");
  const auto body = platform::query<IMimeBody>(part.pdispVal);
  for (const bool subject : {false, true}) {
    bool failed = true;
    std::size_t n = 0;
    while (failed && n < 1000) {
      Variant value;
      HRESULT status = S_OK;
      {
        const FailingAllocation failing(++n);
        value.vt = VT_BSTR;
        status = subject ? again->get_Subject(&value) : body->get_Value(&value.bstrVal);
        failed = failing.happened();
      }
      if (SUCCEEDED(status)) {
        EXPECT_EQ(value.text().substr(0, text.size()), text) << n;
      } else {
        EXPECT_EQ(status, E_OUTOFMEMORY) << n;
      }
    }
    EXPECT_FALSE(failed);
    EXPECT_GT(n, 3U);
  }
}

std::string file_bytes(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// A message in a file, and the file that it is saved to.
struct Files {
  Files() {
    std::ofstream(source, std::ios::binary) << kMessage << "X: " << std::string(200'000, 'x');
  }
  ~Files() { std::filesystem::remove_all(folder); }
  Files(const Files&) = delete;
  Files& operator=(const Files&) = delete;

  std::filesystem::path folder = [] {
    std::string name = (std::filesystem::temp_directory_path() / "file_calls_XXXXXX").string();
    return std::filesystem::path(mkdtemp(name.data()));
  }();
  std::filesystem::path source = folder / "source.eml";
  std::filesystem::path target = folder / "target.eml";
};

TEST(FailEveryCall, FilesLoaded) {
  const Files files;
  const std::string whole = saved(loaded(file_bytes(files.source)));
  const platform::Bstr path(files.source.u16string());
  bool failed = true;
  std::size_t n = 0;
  while (failed && ++n < 1000) {
    const auto message = new_message();
    VARIANT_BOOL done = VARIANT_TRUE;
    HRESULT status = S_OK;
    {
      const FailingFileCall failing(n, EIO);
      status = message->LoadFromFile(path.get(), &done);
      failed = failing.happened();
    }
    EXPECT_EQ(SUCCEEDED(status), !failed) << n;
    EXPECT_EQ(done, failed ? VARIANT_FALSE : VARIANT_TRUE) << n;
    EXPECT_EQ(message->LoadFromFile(path.get(), &done), S_OK) << n;
    EXPECT_EQ(saved(message), whole) << n;
  }
  EXPECT_FALSE(failed);
  EXPECT_GT(n, 3U);
}

// What fails while a file is written leaves the message whole, and says so.
TEST(FailEveryCall, FilesSaved) {
  const Files files;
  const auto message = loaded(file_bytes(files.source));
  const std::string whole = saved(message);
  EXPECT_EQ(put(message.get(), u"Subject", text("changed")), S_OK);
  const std::string changed = saved(message);
  ASSERT_NE(whole, changed);
  const platform::Bstr path(files.target.u16string());
  bool failed = true;
  std::size_t n = 0;
  while (failed && ++n < 1000) {
    VARIANT_BOOL done = VARIANT_TRUE;
    {
      const FailingFileCall failing(n, ENOSPC);
      EXPECT_EQ(message->SaveToFile(path.get(), &done), S_OK) << n;
      failed = failing.happened();
    }
    EXPECT_EQ(done, failed ? VARIANT_FALSE : VARIANT_TRUE) << n;
    EXPECT_EQ(message.query<IPersistStream>()->IsDirty(), failed ? S_OK : S_FALSE) << n;
    EXPECT_EQ(saved(message), changed) << n;
  }
  EXPECT_FALSE(failed);
  EXPECT_GT(n, 3U);
  EXPECT_EQ(file_bytes(files.target), changed);
}

TEST(FailEveryCall, Reads) {
  for (int n = 0; n < 100; ++n) {
    HostStream source{std::string(kMessage), 16};
    source.reads_before_failure = n;
    const auto message = new_message();
    const HRESULT status = message.query<IPersistStream>()->Load(&source);
    if (source.reads_before_failure >= 0) {
      EXPECT_EQ(status, S_OK);
      return;
    }
    EXPECT_EQ(status, E_ABORT) << n;
    EXPECT_EQ(read(message.get(), u"Body").vt, VT_EMPTY) << n;
    EXPECT_EQ(load(message, kMessage), S_OK) << n;
    EXPECT_EQ(source.references, 1) << n;
  }
  FAIL() << "reading never ends";
}

}  // namespace
}  // namespace tallowbrook::test
