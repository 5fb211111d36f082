// Public test messages through the message object: a save loads again and stays the same from the
// first save on, reading changes nothing that is saved, and the raw copy is the file.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "tests/model/corpus.h"
#include "tests/model/host.h"
#include "tests/support/dump.h"

namespace tallowbrook::test {
namespace {

void read_everything(const ComPtr<IMimeDecoder>& message) {
  for (const char16_t* name :
       {u"ReturnPath", u"ReplyTo", u"From", u"Sender", u"ResentFrom", u"ResentSender",
        u"ResentReplyTo", u"Date", u"ResentDate", u"To", u"CC", u"BCC", u"Subject", u"MessageID",
        u"ReturnReceiptTo", u"SubjectRaw", u"MessageHeader"}) {
    EXPECT_EQ(platform::get(message.get(), name).status, S_OK) << to_ansi(name);
  }
  const Variant received = read(message.get(), u"Received");
  const LONG traces = read(received.pdispVal, u"Count").lVal;
  for (LONG i = 0; i < traces; ++i) {
    const auto trace = platform::get(received.pdispVal, u"Item", i);
    ASSERT_EQ(trace.value.vt, VT_DISPATCH);
    (void)platform::get(trace.value.pdispVal, u"Date");
    (void)platform::get(trace.value.pdispVal, u"Value");
  }
  std::vector<Variant> pending;
  pending.push_back(read(message.get(), u"Body"));
  while (!pending.empty()) {
    const Variant part = std::move(pending.back());
    pending.pop_back();
    // A type that does not parse has no minor type to tell.
    (void)platform::get(part.pdispVal, u"MinorContentType");
    for (const char16_t* name :
         {u"MajorContentType", u"Encoding", u"Charset", u"Name", u"Description", u"ContentID"}) {
      EXPECT_EQ(platform::get(part.pdispVal, name).status, S_OK) << to_ansi(name);
    }
    const LONG children = read(part.pdispVal, u"Count").lVal;
    for (LONG i = 0; i < children; ++i) {
      auto child = platform::get(part.pdispVal, u"Item", i);
      if (child.value.vt == VT_DISPATCH) pending.push_back(std::move(child.value));
    }
  }
}

TEST(Corpus, SavesStayTheSameAndReadingChangesNothing) {
  if (corpus().empty()) GTEST_SKIP() << "no corpus beside the project";
  int loaded_messages = 0;
  for (const auto& [name, text] : corpus()) {
    const auto message = new_message();
    if (FAILED(load(message, text))) {
      EXPECT_NE(take_error_text(), "") << name;
      continue;
    }
    ++loaded_messages;
    const std::string once = saved(message);
    read_everything(message);
    EXPECT_EQ(saved(message), once) << name;
    const auto again = new_message();
    ASSERT_EQ(load(again, once), S_OK) << name << ": " << take_error_text();
    EXPECT_EQ(saved(again), once) << name;
  }
  EXPECT_EQ(loaded_messages, 230);
}

// One message has a line "." inside, which ends the data: its copy ends with the block of it.
TEST(Corpus, RawCopyIsTheFile) {
  if (corpus().empty()) GTEST_SKIP() << "no corpus beside the project";
  for (const auto& [name, text] : corpus()) {
    const auto message = new_message();
    message->put_CollectRawStream(VARIANT_TRUE);
    if (FAILED(load(message, text))) continue;
    const std::string copy = saved(message);
    const bool dot_line_inside =
        text.find("\n.\n") != std::string::npos || text.find("\n.\r\n") != std::string::npos;
    EXPECT_TRUE(copy == text || (dot_line_inside && text.starts_with(copy))) << name;
  }
  (void)take_error_text();
}

TEST(Corpus, ThirtyTwoThreads) {
  if (corpus().empty()) GTEST_SKIP() << "no corpus beside the project";
  std::atomic<int> loads{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 32; ++i) {
    threads.emplace_back([&loads] {
      for (const auto& [name, text] : corpus()) {
        const auto message = new_message();
        if (SUCCEEDED(load(message, text))) ++loads;
        (void)platform::get(message.get(), u"To");
      }
      (void)take_error_text();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(loads, 32 * 230);
}

}  // namespace
}  // namespace tallowbrook::test
