// One header field, put as text through each property and read back, and parsed by itself: the
// quick ways read what the grammar reads.
#include "fuzz/fuzz.h"
#include "parser/load.h"
#include "tests/support/dump.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tallowbrook;
  using namespace tallowbrook::fuzz;
  static constexpr const char16_t* kProperties[] = {
      u"From",    u"To",         u"CC",   u"Sender",     u"ReplyTo",   u"ReturnPath",
      u"Subject", u"SubjectRaw", u"Date", u"ResentDate", u"MessageID", u"ReturnReceiptTo"};
  static constexpr std::string_view kNames[] = {
      "To",   "From",     kPseudoCommaList,   "Sender",           "Return-path", kPseudoAddress,
      "Date", "Received", kPseudoContentType, kPseudoDisposition, "Subject",     "Reply-To"};
  Input input(data, size);
  const std::size_t which = input.number(std::size(kProperties));
  const std::string text(input.rest());

  HeaderValue value;
  HeaderValue slow;
  const HRESULT status = parse_field(kNames[which], text, value);
  require(parse_field_by_grammar(kNames[which], text, slow) == status, "one way refuses", text);
  require(test::dump(value) == test::dump(slow), "the quick way reads another value", text);

  const auto message = new_message();
  (void)platform::put(message.get(), kProperties[which], Variant(to_wide(text)));
  touch(message.get());
  const auto again = new_message();
  const std::string bytes = saved(message);
  require(SUCCEEDED(load(again, bytes)), "a put makes a message that does not load", bytes);
  return 0;
}
