// The quick reading of address lists gives what the grammar gives, or leaves the text to it.
#include "parser/usual_addresses.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "core/text.h"
#include "model/address_list.h"
#include "model/header_text.h"
#include "parser/address_marks.h"
#include "parser/load.h"
#include "tests/support/dump.h"

namespace tallowbrook::test {
namespace {

// A name that is shown without being decoded must be one that decoding leaves as it is.
void expect_form(const AddressList& list, std::size_t index) {
  const std::string name(list.name(index));
  const auto form = list.name_form(index);
  if (form == AddressList::NameForm::kAny) return;
  const bool quoted = form == AddressList::NameForm::kQuoted;
  EXPECT_EQ(to_wide(quoted ? name.substr(1, name.size() - 2) : name), decode_header_text(name));
}

// Whether the quick way took the text; it must then have read what the grammar reads.
bool quick(const std::string& text) {
  HeaderValue value;
  if (!read_usual_addresses(text, value)) return false;
  const auto list = value.mailboxes();  // before somebody asks for entries
  HeaderValue reference;
  EXPECT_EQ(parse_field_by_grammar("To", text, reference), S_OK) << text;
  EXPECT_EQ(dump(value), dump(reference)) << text;
  for (std::size_t i = 0; i < list->size(); ++i) expect_form(*list, i);
  return true;
}

TEST(UsualAddresses, TakesTheUsualForms) {
  for (const char* text :
       {"a@b", "a.b-c+d@e.example.org", "<a@b>", "A <a@b>",
        "A B  C <a@b>, \"D, E\" <d@e>,<f@g>,h@i", "\"A\"B\"\" <a@b>",
        "=?utf-8?Q?=41=2C_b?= C =?x?b?QQ==?= <a@b>", "=?utf-8?Q?a b?=<a@b>",
        "A\t <a@b>\t,\r\n\tB\r\n <c@d>,\n e@f", "A <a@b>, B <a@b>, a@b, a@b", " a@b "}) {
    EXPECT_TRUE(quick(text)) << text;
  }
}

TEST(UsualAddresses, LeavesTheRestToTheGrammar) {
  const std::vector<const char*> groups[] = {
      {"", ",", "a@b,", ", a@b", "a"},                                 // something is missing
      {"a b@c", "a@b c", "a . b@c", "a @ b", "a..b@c", "a@b."},        // blanks and dots
      {"a@[1.2.3.4]", "\"a b\"@c", "a@b <c@d>", "A <a@b> c", "<>"},    // other forms
      {"A < a@b>", "A <@x:a@b>", "G: a@b;", "a@b (c)", "\xe4 <a@b>"},  // and their marks
      {"A \"b\\\"\" <a@b>", "A \"b <a@b>", "A <a@b"},                  // quotes, open ends
      {"=?a?b <c@d>", "=?a?b?c <c@d>", "x.=?a?b?c@d"},                 // no encoded words
      {"a@b,\r\nc@d", "a@b,\r\n \r\n c@d", "a@b\r\n ", "a@b,\r c@d"},  // no folds
  };
  for (const auto& group : groups) {
    for (const char* text : group) EXPECT_FALSE(quick(text)) << text;
  }
  // Nothing but atom text from some byte on: no byte behind the text is looked at.
  for (const char* start : {"a ", "\"a ", "<a", "a b ", ""}) {
    for (std::size_t size = 60; size < 70; ++size) {
      std::string text(start);
      text.resize(size, 'x');
      text.shrink_to_fit();
      EXPECT_FALSE(quick(text)) << text;
    }
  }
}

TEST(AddressMarks, AreThoseOfTheTable) {
  constexpr std::string_view kOther = "\"(),:;<=>[\\] ";
  std::mt19937 random(3);
  for (int round = 0; round < 4000; ++round) {
    char bytes[AddressMarks::kSize];
    AddressMarks wanted;
    for (std::size_t at = 0; at < sizeof bytes; ++at) {
      bytes[at] = static_cast<char>(random() % (round % 2 == 0 ? 256 : 128));
      const std::uint64_t bit = std::uint64_t{1} << at;
      const bool control = bytes[at] < ' ';  // or above 0x7F
      if (control || kOther.find(bytes[at]) != kOther.npos) wanted.other |= bit;
      if (bytes[at] == ' ') wanted.blanks |= bit;
      if (bytes[at] == '.' || bytes[at] == '@') wanted.dots |= bit;
      if (bytes[at] == '@') wanted.ats |= bit;
    }
    for (const MarkAddresses mark : all_address_marks()) EXPECT_EQ(mark(bytes), wanted);
  }
}

// Texts put together at random from what lists are made of. Half of them are followed by so much
// that mailboxes are looked at in windows of 64 bytes, and the first piece may lie across the end
// of one.
TEST(UsualAddresses, AgreesWithTheGrammar) {
  static constexpr const char* kPieces[] = {"a@b", "<c@d.e>", "Ann", "\"B, c\"", "=?utf-8?Q?d_e?=",
                                            ",",   ", ",      " ",   "\r\n ",    "\t",
                                            ".",   "@",       "<",   ">",        "=?",
                                            "?=",  "\"",      ":",   ";",        "(x)",
                                            "\\",  "[1]"};
  constexpr std::size_t kUsual = 10;  // the first ones alone make many lists that are taken
  const std::string behind = ", Z <" + std::string(80, 'z') + "@example.org>";
  std::mt19937 random(5);
  int taken = 0;
  for (int round = 0; round < 20000; ++round) {
    const std::size_t among = round % 4 == 0 ? std::size(kPieces) : kUsual;
    std::string text;
    if (round % 8 == 1) text.assign(random() % 70, 'a');
    if (round % 8 == 3) text = "\"" + std::string(random() % 70, 'b') + ", \" ";
    if (round % 8 == 5) text = "=?utf-8?Q?" + std::string(random() % 70, 'c') + "?= ";
    for (std::size_t i = 1 + random() % 8; i > 0; --i) text += kPieces[random() % among];
    if (round % 2 == 1) text += behind;
    text.shrink_to_fit();
    taken += quick(text) ? 1 : 0;
  }
  EXPECT_GT(taken, 600);
}

}  // namespace
}  // namespace tallowbrook::test
