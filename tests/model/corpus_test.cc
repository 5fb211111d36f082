// Public test messages through the message object: a save loads again and stays the same from the
// first save on, reading changes nothing that is saved, the raw copy is the file, and an edit
// changes what it says and nothing else.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "model/body_part.h"
#include "tallowbrook/mime_body.h"
#include "tests/model/corpus.h"
#include "tests/model/host.h"
#include "tests/support/dump.h"

namespace tallowbrook::test {
namespace {

using Object = ComPtr<IDispatch>;
using Message = ComPtr<IMimeDecoder>;
using Lines = std::vector<std::string>;

class Corpus : public ::testing::Test {
 protected:
  void SetUp() override {
    if (corpus().empty()) GTEST_SKIP() << "no corpus beside the project";
  }
  void TearDown() override { (void)take_error_text(); }
};

Message load_message(std::string_view text) {
  auto message = new_message();
  return SUCCEEDED(load(message, text)) ? message : nullptr;
}

// The first part that `wanted` takes, in the order in which they are written.
Object find_part(const Message& message, const std::function<bool(const Object&)>& wanted) {
  std::vector<Object> pending{object(message, u"Body")};
  while (!pending.empty()) {
    const Object part = std::move(pending.back());
    pending.pop_back();
    if (wanted(part)) return part;
    for (LONG i = read(part.get(), u"Count").lVal; i-- > 0;) {
      if (const Object child = item(part, i)) pending.push_back(child);
    }
  }
  return {};
}

void read_everything(const Message& message) {
  for (const char16_t* name :
       {u"ReturnPath", u"ReplyTo", u"From", u"Sender", u"ResentFrom", u"ResentSender",
        u"ResentReplyTo", u"Date", u"ResentDate", u"To", u"CC", u"BCC", u"Subject", u"MessageID",
        u"ReturnReceiptTo", u"SubjectRaw", u"MessageHeader"}) {
    (void)read(message.get(), name);
  }
  const Object received = object(message, u"Received");
  for (LONG i = read(received.get(), u"Count").lVal; i-- > 0;) {
    const Object trace = item(received, i);
    ASSERT_TRUE(trace);
    (void)platform::get(trace.get(), u"Date");
    (void)platform::get(trace.get(), u"Value");
  }
  (void)find_part(message, [](const Object& part) {
    // A type that does not parse has no minor type to tell.
    (void)platform::get(part.get(), u"MinorContentType");
    for (const char16_t* name :
         {u"MajorContentType", u"Encoding", u"Charset", u"Name", u"Description", u"ContentID"}) {
      (void)read(part.get(), name);
    }
    return false;
  });
}

TEST_F(Corpus, SavesStayTheSameAndReadingChangesNothing) {
  int loaded_messages = 0;
  for (const auto& [name, text] : corpus()) {
    SCOPED_TRACE(name);
    const auto message = load_message(text);
    if (!message) {
      EXPECT_NE(take_error_text(), "");
      continue;
    }
    ++loaded_messages;
    const std::string once = saved(message);
    read_everything(message);
    EXPECT_EQ(saved(message), once);
    EXPECT_EQ(saved(loaded(once)), once);
  }
  EXPECT_EQ(loaded_messages, 230);
}

// One message has a line "." inside, which ends the data: its copy ends with the block of it.
TEST_F(Corpus, RawCopyIsTheFile) {
  for (const auto& [name, text] : corpus()) {
    const auto message = new_message();
    message->put_CollectRawStream(VARIANT_TRUE);
    if (FAILED(load(message, text))) continue;
    const std::string copy = saved(message);
    const bool dot_line_inside =
        text.find("\n.\n") != std::string::npos || text.find("\n.\r\n") != std::string::npos;
    EXPECT_TRUE(copy == text || (dot_line_inside && text.starts_with(copy))) << name;
  }
}

TEST_F(Corpus, ThirtyTwoThreads) {
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

// The file as a message travels: lines, which LF or CR may end, with CR LF.
std::string as_sent(std::string_view bytes) {
  std::string result;
  char before = '\0';
  for (const char byte : bytes) {
    if (byte == '\r' || (byte == '\n' && before != '\r')) result += "\r\n";
    if (byte != '\r' && byte != '\n') result += byte;
    before = byte;
  }
  return result;
}

// A save and a load alone: every part's content as it was sent.
TEST_F(Corpus, ASaveKeepsEveryContent) {
  for (const auto& [name, bytes] : corpus()) {
    SCOPED_TRACE(name);
    const auto message = load_message(as_sent(bytes));
    if (!message) continue;
    const auto again = loaded(saved(message));
    std::vector<std::pair<const HeaderValue*, const HeaderValue*>> pending{
        {&store_of(message).root, &store_of(again).root}};
    while (!pending.empty()) {
      const bool decoded = is_decoded(*pending.back().first);  // a uuencoded file
      const HeaderValue& before = (*pending.back().first)[kPartBody];
      const HeaderValue& after = (*pending.back().second)[kPartBody];
      pending.pop_back();
      ASSERT_EQ(before.kind(), after.kind());
      ASSERT_EQ(before.size(), after.size());
      for (std::size_t i = 0; i < before.size(); ++i) pending.emplace_back(&before[i], &after[i]);
      EXPECT_TRUE(decoded || before.raw_text() == after.raw_text());
    }
  }
}

// All that the message holds, one line for each field and body.
Lines lines_of(const Message& message) {
  std::istringstream text(dump(store_of(message)));
  Lines lines;
  for (std::string line; std::getline(text, line);) lines.push_back(std::move(line));
  return lines;
}

// The lines between those that both have at their beginning and at their end, as "-line" and
// "+line".
Lines differences(const Lines& before, const Lines& after) {
  const auto [first, first_after] =
      std::mismatch(before.begin(), before.end(), after.begin(), after.end());
  const auto [last, last_after] =
      std::mismatch(before.rbegin(), std::make_reverse_iterator(first), after.rbegin(),
                    std::make_reverse_iterator(first_after));
  Lines differing;
  for (auto line = first; line != last.base(); ++line) differing.push_back("-" + *line);
  for (auto line = first_after; line != last_after.base(); ++line) differing.push_back("+" + *line);
  return differing;
}

// "name route" of each recipient.
Lines recipients(const Message& message) {
  Lines all;
  const Object list = object(message, u"To");
  for (LONG i = 0; list && i < read(list.get(), u"Count").lVal; ++i) {
    const Object one = item(list, i);
    all.push_back(read_text(one.get(), u"NameRaw") + " " + read_text(one.get(), u"RouteAddress"));
  }
  return all;
}

bool has_text(const Object& part) {
  const Variant major = platform::get(part.get(), u"MajorContentType").value;
  return major.vt == VT_I4 && major.lVal == 1 && platform::get(part.get(), u"Value").status == S_OK;
}

struct Edit {
  const char* name;
  std::function<bool(const Message&)> make;  // false when the message lacks what is edited
  // What the lines that differ may begin with, behind the sign and blanks.
  Lines touched;
  std::size_t most_lines;  // that differ, both ways together
  const char* new_recipient = nullptr;
};

const Edit kEdits[] = {
    {"subject",
     [](const Message& message) { return message->put_SubjectRaw(Variant(u"edited")) == S_OK; },
     {"Subject: "},
     2},
    {"recipient",
     [](const Message& message) {
       const Object list = object(message, u"To");
       if (!list) return false;
       EXPECT_EQ(platform::call(list.get(), u"Add", text("added@example.org")).status, S_OK);
       return message->put_To(Variant(list.get())) == S_OK;
     },
     {"To: "},
     2,
     " <added@example.org>"},
    {"content of the first text",
     [](const Message& message) {
       const Object part = find_part(message, has_text);
       return part && put(part.get(), u"Value", text("edited\r\n")) == S_OK;
     },
     {"body "},
     2},
    {"attachment",
     [](const Message& message) {
       const auto added = platform::call(object(message, u"Body").get(), u"AddNew");
       if (added.status != S_OK) return false;
       const auto part = object(added.value).query<IMimeBody>();
       put(part.get(), u"MajorContentType", text("application"));
       put(part.get(), u"MinorContentType", text("octet-stream"));
       put(part.get(), u"Encoding", text("base64"));
       put(part.get(), u"FileName", text("added.bin"));
       return done(*part, &IMimeBody::Import, CISSHelper::create_with("added").get(),
                   VARIANT_FALSE);
     },
     {"part", "Content-", "body raw \"YWRkZWQ=\\r\\n\""},
     5},
    {"subject of an enclosed message",
     [](const Message& message) {
       Object inner;
       (void)find_part(message, [&inner](const Object& part) {
         inner = object(part, u"EmbeddedMessage");
         return static_cast<bool>(inner);
       });
       return inner && put(inner.get(), u"SubjectRaw", text("edited")) == S_OK;
     },
     {"body "},
     2},
};

bool begins_with_one_of(std::string line, const Lines& beginnings) {
  line.erase(0, line.find_first_not_of(' ', 1));
  return std::any_of(beginnings.begin(), beginnings.end(),
                     [&line](const std::string& beginning) { return line.starts_with(beginning); });
}

TEST_F(Corpus, AnEditChangesWhatItSaysAndNothingElse) {
  for (const Edit& edit : kEdits) {
    int edited = 0;
    for (const auto& [name, bytes] : corpus()) {
      SCOPED_TRACE(name + ", " + edit.name);
      const auto message = load_message(bytes);
      if (!message) continue;
      Lines kept = recipients(load_message(bytes));
      (void)saved(message);  // which gives it a Date
      const auto unedited = loaded(saved(message));
      if (!edit.make(message)) continue;
      ++edited;
      const auto again = loaded(saved(message));
      const Lines differing = differences(lines_of(unedited), lines_of(again));
      EXPECT_GT(differing.size(), 0U);
      EXPECT_LE(differing.size(), edit.most_lines);
      for (const std::string& line : differing) {
        EXPECT_TRUE(begins_with_one_of(line, edit.touched)) << line;
      }
      if (edit.new_recipient != nullptr) kept.emplace_back(edit.new_recipient);
      const Lines after = recipients(again);
      for (const std::string& one : kept) {
        if (one.find(',') != one.npos) continue;  // two malformed ones that look like one
        EXPECT_NE(std::find(after.begin(), after.end(), one), after.end()) << one;
      }
    }
    EXPECT_GT(edited, 0) << edit.name;
  }
}

}  // namespace
}  // namespace tallowbrook::test
