// Real messages, edited as a host edits them: what the edit does not say is the same after a save
// and a load, untouched parts byte for byte.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <sstream>
#include <utility>
#include <vector>

#include "model/body_part.h"
#include "model/mime_decoder.h"
#include "tallowbrook/mime_body.h"
#include "tests/model/corpus.h"
#include "tests/model/host.h"
#include "tests/support/dump.h"

namespace tallowbrook::test {
namespace {

using Object = ComPtr<IDispatch>;
using Lines = std::vector<std::string>;

ComPtr<CMimeDecoder> load_message(std::string_view text) {
  auto message = make_object<CMimeDecoder>();
  const HRESULT status = message->Load(CISSHelper::create_with(text).get());
  return SUCCEEDED(status) ? message : nullptr;
}

std::string save(CMimeDecoder& message) {
  const auto target = CISSHelper::create();
  EXPECT_EQ(message.Save(target.get(), FALSE), S_OK);
  return std::string(target->bytes());
}

Object body_of(CMimeDecoder& message) {
  return object(read(static_cast<IMimeDecoder*>(&message), u"Body"));
}

// All that the message holds, one line for each field and body.
Lines lines_of(CMimeDecoder& message) {
  std::istringstream text(dump(message.store()));
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

// The first part that `wanted` takes, in the order in which they are written.
Object find_part(const Object& root, const std::function<bool(const Object&)>& wanted) {
  std::vector<Object> pending{root};
  while (!pending.empty()) {
    const Object part = std::move(pending.back());
    pending.pop_back();
    if (wanted(part)) return part;
    const Variant major = platform::get(part.get(), u"MajorContentType").value;
    if (major.vt != VT_I4 || major.lVal != 0) continue;
    for (LONG i = read(part.get(), u"Count").lVal; i-- > 0;) {
      pending.push_back(item(part, i));
    }
  }
  return {};
}

bool has_text(const Object& part) {
  const Variant major = platform::get(part.get(), u"MajorContentType").value;
  return major.vt == VT_I4 && major.lVal == 1 && platform::get(part.get(), u"Value").status == S_OK;
}

struct Edit {
  const char* name;
  std::function<bool(CMimeDecoder&)> make;  // false when the message lacks what is edited
  // What the lines that differ may begin with, behind the sign and blanks.
  std::vector<std::string> touched;
  std::size_t most_lines;  // that differ, both ways together
};

const Edit kEdits[] = {
    {"subject",
     [](CMimeDecoder& message) { return message.put_SubjectRaw(Variant(u"edited")) == S_OK; },
     {"Subject: "},
     2},
    {"recipient",
     [](CMimeDecoder& message) {
       const Object list = object(read(static_cast<IMimeDecoder*>(&message), u"To"));
       if (!list) return false;
       EXPECT_EQ(platform::call(list.get(), u"Add", text("added@example.org")).status, S_OK);
       return message.put_To(Variant(list.get())) == S_OK;
     },
     {"To: "},
     2},
    {"content of the first text",
     [](CMimeDecoder& message) {
       const Object part = find_part(body_of(message), has_text);
       return part && put(part.get(), u"Value", text("edited\r\n")) == S_OK;
     },
     {"body "},
     2},
    {"attachment",
     [](CMimeDecoder& message) {
       const Object root = body_of(message);
       const auto added = platform::call(root.get(), u"AddNew");
       if (added.status != S_OK) return false;
       const auto part = platform::query<IMimeBody>(added.value.pdispVal);
       put(part.get(), u"MajorContentType", text("application"));
       put(part.get(), u"MinorContentType", text("octet-stream"));
       put(part.get(), u"Encoding", text("base64"));
       EXPECT_EQ(part->put_FileName(platform::Bstr(u"added.bin").get()), S_OK);
       return done(*part, &IMimeBody::Import, CISSHelper::create_with("added").get(),
                   VARIANT_FALSE);
     },
     {"part", "Content-", "body raw \"YWRkZWQ=\\r\\n\""},
     5},
    {"subject of an enclosed message",
     [](CMimeDecoder& message) {
       Object inner;
       (void)find_part(body_of(message), [&inner](const Object& part) {
         inner = object(part, u"EmbeddedMessage");
         return static_cast<bool>(inner);
       });
       return inner && put(inner.get(), u"SubjectRaw", text("edited")) == S_OK;
     },
     {"body "},
     2},
};

bool begins_with_one_of(std::string line, const std::vector<std::string>& beginnings) {
  line.erase(0, line.find_first_not_of(' ', 1));
  return std::any_of(beginnings.begin(), beginnings.end(),
                     [&line](const std::string& beginning) { return line.starts_with(beginning); });
}

TEST(CorpusEdit, ChangesWhatTheEditSaysAndNothingElse) {
  if (corpus().empty()) GTEST_SKIP() << "no corpus beside the project";
  for (const Edit& edit : kEdits) {
    int edited = 0;
    for (const auto& [name, bytes] : corpus()) {
      const auto message = load_message(bytes);
      if (!message) continue;
      (void)save(*message);  // which gives it a Date
      const auto unedited = load_message(save(*message));
      ASSERT_TRUE(unedited) << name;
      if (!edit.make(*message)) continue;
      ++edited;
      const auto again = load_message(save(*message));
      ASSERT_TRUE(again) << name << ", " << edit.name << ": " << take_error_text();
      const Lines differing = differences(lines_of(*unedited), lines_of(*again));
      EXPECT_GT(differing.size(), 0U) << name << ", " << edit.name;
      EXPECT_LE(differing.size(), edit.most_lines) << name << ", " << edit.name;
      for (const std::string& line : differing) {
        EXPECT_TRUE(begins_with_one_of(line, edit.touched)) << name << ", " << edit.name << line;
      }
    }
    std::printf("%s: %d messages\n", edit.name, edited);
    EXPECT_GT(edited, 0) << edit.name;
  }
  (void)take_error_text();
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

// "name route" of each recipient.
std::vector<std::string> recipients(CMimeDecoder& message) {
  std::vector<std::string> all;
  const Object list = object(read(static_cast<IMimeDecoder*>(&message), u"To"));
  for (LONG i = 0; list && i < read(list.get(), u"Count").lVal; ++i) {
    const Object one = item(list, i);
    all.push_back(read_text(one.get(), u"NameRaw") + " " + read_text(one.get(), u"RouteAddress"));
  }
  return all;
}

TEST(CorpusEdit, AddingARecipientKeepsTheOthers) {
  if (corpus().empty()) GTEST_SKIP() << "no corpus beside the project";
  int kept = 0;
  for (const auto& [name, bytes] : corpus()) {
    const auto message = load_message(bytes);
    if (!message) continue;
    std::vector<std::string> before = recipients(*message);
    if (!kEdits[1].make(*message)) continue;
    const auto again = load_message(save(*message));
    const std::vector<std::string> after = recipients(*again);
    before.emplace_back(" <added@example.org>");
    for (const std::string& one : before) {
      if (one.find(',') != one.npos) continue;  // two malformed ones that could not be told apart
      ++kept;
      EXPECT_NE(std::find(after.begin(), after.end(), one), after.end()) << name << ": " << one;
    }
  }
  std::printf("%d recipients\n", kept);
  (void)take_error_text();
}

// A save and a load alone: every part's content as it was sent.
TEST(CorpusEdit, ASaveKeepsEveryContent) {
  if (corpus().empty()) GTEST_SKIP() << "no corpus beside the project";
  int leaves = 0;
  for (const auto& [name, bytes] : corpus()) {
    const auto message = load_message(as_sent(bytes));
    if (!message) continue;
    const auto again = load_message(save(*message));
    ASSERT_TRUE(again) << name;
    std::vector<std::pair<const HeaderValue*, const HeaderValue*>> pending{
        {&message->store().root, &again->store().root}};
    while (!pending.empty()) {
      const bool decoded = is_decoded(*pending.back().first);  // a uuencoded file
      const HeaderValue& before = (*pending.back().first)[kPartBody];
      const HeaderValue& after = (*pending.back().second)[kPartBody];
      pending.pop_back();
      ASSERT_EQ(before.kind(), after.kind()) << name;
      ASSERT_EQ(before.size(), after.size()) << name;
      for (std::size_t i = 0; i < before.size(); ++i) pending.emplace_back(&before[i], &after[i]);
      if (decoded) continue;
      EXPECT_EQ(before.raw_text(), after.raw_text()) << name;
      if (before.is(ValueKind::Raw)) ++leaves;
    }
  }
  std::printf("%d leaves\n", leaves);
  (void)take_error_text();
}

}  // namespace
}  // namespace tallowbrook::test
