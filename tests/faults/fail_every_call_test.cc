// For every n, the n-th allocation, read or file call fails while a message is created, loaded,
// read and saved: nothing crashes or leaks, the status tells, and the objects go on working.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "tallowbrook/mime_body.h"
#include "tests/faults/failing_calls.h"
#include "tests/model/host.h"
#include "tests/support/host_stream.h"
#include "tests/support/scratch_folder.h"

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
  const auto job = [&](std::size_t n) {
    ComPtr<IMimeDecoder> message;
    HostStream target;
    target.keep_writes = false;
    source.position = 0;
    bool failed = false;
    {
      const FailingAllocation failing(n);
      const HRESULT created = create_mime_decoder(IMimeDecoder::kIid, message.out_void());
      EXPECT_EQ(created, message ? S_OK : E_OUTOFMEMORY);
      if (message) {
        const auto persist = message.query<IPersistStream>();
        const HRESULT loaded = persist->Load(&source);  // E_ABORT: no room for the scanner's text
        EXPECT_TRUE(expected(loaded) || loaded == E_ABORT) << n;
        touch(*message);
        EXPECT_TRUE(expected(persist->Save(&target, FALSE))) << n;
      }
      failed = failing.happened();
    }
    if (!message) return failed;
    EXPECT_EQ(load(message, kMessage), S_OK) << n;
    EXPECT_EQ(addresses(message.get(), u"To").size(), 3U) << n;
    return failed;
  };
  EXPECT_GT(fail_each(job), 100U);
}

// A text that memory did not suffice for is not cut short: it is not given at all.
TEST(FailEveryCall, AllocationsOfTexts) {
  std::u16string text;
  for (int i = 0; i < 3000; ++i) text += u"Gr\u00FC\u00DFe ";
  const auto message = new_message();
  for (const char16_t* member : {u"Subject", u"Body"}) {
    ASSERT_EQ(put(message.get(), u"Charset", Variant(u"utf-8")), S_OK);
    ASSERT_EQ(put(message.get(), member, Variant(text)), S_OK);
  }
  const auto again = loaded(saved(message));
  const Variant part = read(again.get(), u"Body");
  const auto body = platform::query<IMimeBody>(part.pdispVal);
  for (const bool subject : {false, true}) {
    const auto job = [&](std::size_t n) {
      Variant value;
      value.vt = VT_BSTR;
      HRESULT status = S_OK;
      bool failed = false;
      {
        const FailingAllocation failing(n);
        status = subject ? again->get_Subject(&value) : body->get_Value(&value.bstrVal);
        failed = failing.happened();
      }
      EXPECT_TRUE(SUCCEEDED(status) || status == E_OUTOFMEMORY) << n;
      EXPECT_TRUE(FAILED(status) || value.text().substr(0, text.size()) == text) << n;
      return failed;
    };
    EXPECT_GT(fail_each(job), 3U);
  }
}

// A message in a file, and the path of the file that it is saved to.
class FailEveryFileCall : public ::testing::Test {
 protected:
  FailEveryFileCall() { write_file(folder_.file("source"), text_); }

  [[nodiscard]] platform::Bstr path(const char* name) const {
    return platform::Bstr(to_wide(folder_.file(name)));
  }

  const ScratchFolder folder_;
  const std::string text_ = std::string(kMessage) + "X: " + std::string(200'000, 'x');
};

TEST_F(FailEveryFileCall, OfALoad) {
  const std::string whole = saved(loaded(text_));
  const auto job = [&, source = path("source")](std::size_t n) {
    const auto message = new_message();
    VARIANT_BOOL done = VARIANT_TRUE;
    bool failed = false;
    {
      const FailingFileCall failing(n, EIO);
      const HRESULT status = message->LoadFromFile(source.get(), &done);
      failed = failing.happened();
      EXPECT_EQ(SUCCEEDED(status), !failed) << n;
    }
    EXPECT_EQ(done, failed ? VARIANT_FALSE : VARIANT_TRUE) << n;
    EXPECT_EQ(message->LoadFromFile(source.get(), &done), S_OK) << n;
    EXPECT_EQ(saved(message), whole) << n;
    return failed;
  };
  EXPECT_GT(fail_each(job), 3U);
}

// What fails while a file is written leaves the message whole, and says so.
TEST_F(FailEveryFileCall, OfASave) {
  const auto message = loaded(text_);
  EXPECT_EQ(put(message.get(), u"Subject", text("changed")), S_OK);
  const std::string changed = saved(message);
  const auto job = [&, target = path("target")](std::size_t n) {
    VARIANT_BOOL done = VARIANT_TRUE;
    bool failed = false;
    {
      const FailingFileCall failing(n, ENOSPC);
      EXPECT_EQ(message->SaveToFile(target.get(), &done), S_OK) << n;
      failed = failing.happened();
    }
    EXPECT_EQ(done, failed ? VARIANT_FALSE : VARIANT_TRUE) << n;
    EXPECT_EQ(message.query<IPersistStream>()->IsDirty(), failed ? S_OK : S_FALSE) << n;
    EXPECT_EQ(saved(message), changed) << n;
    return failed;
  };
  EXPECT_GT(fail_each(job), 3U);
  EXPECT_EQ(read_file(folder_.file("target")), changed);
}

TEST(FailEveryCall, Reads) {
  const auto job = [&](std::size_t n) {
    HostStream source{std::string(kMessage), 16};
    source.reads_before_failure = static_cast<int>(n) - 1;
    const auto message = new_message();
    const HRESULT status = message.query<IPersistStream>()->Load(&source);
    if (source.reads_before_failure >= 0) {
      EXPECT_EQ(status, S_OK);
      return false;
    }
    EXPECT_EQ(status, E_ABORT) << n;
    EXPECT_EQ(read(message.get(), u"Body").vt, VT_EMPTY) << n;
    EXPECT_EQ(load(message, kMessage), S_OK) << n;
    EXPECT_EQ(source.references, 1) << n;
    return true;
  };
  EXPECT_GT(fail_each(job), 3U);
}

}  // namespace
}  // namespace tallowbrook::test
