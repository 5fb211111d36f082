// Header texts and their encoded words, "=?charset?Q?text?=" or with "B" (RFC 2047).
//
// Reading: quoted strings lose their quotes and escapes, encoded words become what they stand for,
// inside quoted strings as well. What a word stands for is final: quotes and "=?" in it are text.
// White space between two adjacent words goes, and where both are of one charset their bytes are
// read together, so that a character that a careless sender cut in two is whole. A word begins at
// the last "=?" before its "?q?" or
// "?b?" and ends at the next "?="; one that does not end is copied as it is.
//
// Both directions take linear time, quotes inside quotes apart, of which each level costs one pass
// more and doubles the length of its escapes.
#pragma once

#include <string>
#include <string_view>

namespace tallowbrook {

// Writes `text` as encoded words; returns 1. With the charset "utf-8" or "utf8", in any case, it is
// one word in base64, however long. With any other (null: none) the words are in the Q encoding and
// say iso-8859-1; a text that would not read back from those, because the ANSI code page lacks its
// characters or differs there, takes the form for UTF-8 all the same, and so does every text where
// the ANSI code page is UTF-8. An empty text stays empty unless `charset` names UTF-8.
int EncodeHeaderText(std::u16string_view text, const char* charset, std::string& encoded);

// Reads a header text in the ANSI code page.
void DecodeHeaderText(std::string_view text, std::string& decoded, std::u16string* wide = nullptr);
[[nodiscard]] std::u16string decode_words(std::string_view text);
// The same, but quotes and backslashes are text.
[[nodiscard]] std::u16string decode_words_keeping_quotes(std::string_view text);
// The same in the ANSI code page, for values that are no text for readers, such as boundaries:
// quotes and words go. Costs no more than `remove_quotes` where there is no word.
[[nodiscard]] std::string remove_quotes_and_words(std::string_view text);

// What one encoded word stands for, with the text around it. Words of one charset in the Q encoding
// that follow each other without a gap decode as one.
struct DecodedWord {
  bool is_wide = false;  // which of the two holds the result; bytes are in the ANSI code page
  std::u16string wide;
  std::string bytes;
};

// Returns 1, or 0 and an empty result when `text` holds no encoded word.
int DecodeEncodedWord(std::string_view text, DecodedWord& result);

}  // namespace tallowbrook
