// Content that cannot be read to its end and targets that do not take it, for every n-th call.
#include "writer/part_transfer.h"

#include <gtest/gtest.h>

#include "model/body_part.h"
#include "streams/memory_stream.h"
#include "tests/support/host_stream.h"

namespace tallowbrook {
namespace {

using platform::ComPtr;
using test::HostStream;

// A text part whose content is `stream`'s.
HeaderValue part(IStream& stream, std::int32_t encoding, const char* charset, ContentForm form) {
  HeaderValue parameters = HeaderValue::map();
  if (charset != nullptr) {
    parameters.mutable_entries().insert("charset", HeaderValue::text(charset));
  }
  HeaderValue record = HeaderValue::list(HeaderValue());
  HeaderValue type = find_or_add_entry(record, EntryName::ContentType);
  type.element(kEntryValue) =
      HeaderValue::list(HeaderValue::integer(kText), HeaderValue::integer(0), parameters);
  HeaderValue coding = find_or_add_entry(record, EntryName::ContentTransferEncoding);
  coding.element(kEntryValue) = HeaderValue::integer(encoding);
  set_content(record, ComPtr<IStream>(&stream), form);
  return record;
}

const std::string kContent(20000, 'c');
constexpr ULONG kStep = 9000;  // three reads give the content, a fourth its end

TEST(PartTransfer, TellsWhenContentCannotBeRead) {
  for (const std::int32_t encoding : {kSevenBit, kQuotedPrintable, kBase64, kNoEncoding}) {
    for (const char* charset : {static_cast<const char*>(nullptr), "utf-8", "utf-2"}) {
      for (const auto form : {ContentForm::Wire, ContentForm::Decoded, ContentForm::Charset}) {
        HostStream held(kContent, kStep);
        HeaderValue record = part(held, encoding, charset, form);
        for (int n = -1; n < 3; ++n) {
          const auto target = CISSHelper::create();
          held.reads_before_failure = n;
          EXPECT_EQ(export_content(record, *target), n < 0) << encoding << ' ' << n;
          held.reads_before_failure = n;
          EXPECT_EQ(content_text(record).has_value(), n < 0) << encoding << ' ' << n;
        }
        // What cannot be rewound is read from where it stands, and nobody knows what it lacks.
        held.can_seek = false;
        held.reads_before_failure = -1;
        held.position = 2;
        const auto target = CISSHelper::create();
        EXPECT_FALSE(export_content(record, *target));
        if (form == ContentForm::Decoded) {
          EXPECT_EQ(target->bytes(), kContent.substr(2));
        }
      }
    }
  }
}

TEST(PartTransfer, TellsWhenTheTargetRefusesBytes) {
  for (const std::int32_t encoding : {kSevenBit, kQuotedPrintable, kBase64, kNoEncoding}) {
    for (const char* charset : {static_cast<const char*>(nullptr), "utf-8"}) {
      HostStream held(kContent, kStep);
      const HeaderValue record = part(held, encoding, charset, ContentForm::Wire);
      HostStream whole;
      EXPECT_TRUE(export_content(record, whole));
      for (int n = 0; n < static_cast<int>(whole.writes.size()); ++n) {
        HostStream target;
        target.writes_before_failure = n;
        EXPECT_FALSE(export_content(record, target));
        EXPECT_EQ(target.writes.size(), static_cast<std::size_t>(n)) << "nothing behind a gap";
      }
      HostStream slow;
      slow.most_taken = 10;
      EXPECT_TRUE(export_content(record, slow));
      EXPECT_EQ(slow.written(), whole.written());
      HostStream full;
      full.most_taken = 0;
      EXPECT_FALSE(export_content(record, full));
    }
  }
}

TEST(PartTransfer, KeepsWhatItHoldsWhenASourceFails) {
  HostStream held(kContent, kStep);
  HeaderValue record = part(held, kBase64, nullptr, ContentForm::Wire);
  for (int n = 0; n < 3; ++n) {
    HostStream source("other", 2);
    source.reads_before_failure = n;
    EXPECT_FALSE(import_content(record, ComPtr<IStream>(&source), false));
    held.reads_before_failure = n;
    EXPECT_FALSE(recode_content(record, kSevenBit));
    EXPECT_EQ(content_form(record), ContentForm::Wire);
  }
  held.reads_before_failure = -1;
  EXPECT_TRUE(recode_content(record, kSevenBit));
  EXPECT_EQ(content_form(record), ContentForm::Charset);
  HostStream source("other", 2);
  source.position = 1;
  EXPECT_TRUE(import_content(record, ComPtr<IStream>(&source), false));
  EXPECT_EQ(content_text(record)->view(), u"ther");
}

}  // namespace
}  // namespace tallowbrook
