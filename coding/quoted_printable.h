// CQuotedPrintable: the quoted-printable encoding of content (RFC 2045 section 6.7) and, in header
// mode, the Q encoding of encoded words (RFC 2047 section 4.2).
//
// Encode breaks lines softly where the column passes 75, writes a dot that opens a line as "=2E",
// escapes the last blank before a line end and closes what does not end in LF with CR LF. Line ends
// stay as they are, bare CRs and LFs included.
//
// Decode rejects nothing: any two bytes behind "=" make one, by the value of hex digits or, for
// other bytes, their distance from "0". Content that differs after a way there and back:
// - zero bytes are dropped ("=00" decodes to nothing);
// - a line end at the very end of the content goes;
// - ".." and a line end behind a CR or LF is taken for a doubled dot and becomes "." and the line
//   end. Encode writes "=2E" at line starts that a CR LF makes, so this meets lines behind a bare
//   CR or LF, or behind a blank and CR LF, alone.
// A dot behind a CR or LF takes the byte that follows as it is, "=" included.
#pragma once

#include <string>
#include <string_view>

#include "coding/mime_code.h"
#include "coding/quoted_printable_blocks.h"

namespace tallowbrook {

class CQuotedPrintable final : public CMIMECode {
 public:
  // For content.
  explicit CQuotedPrintable(DecodeQuotedBlocks blocks = fastest_quoted_blocks())
      : blocks_(blocks) {}
  // For header texts. Decoding skips every `continuation`, the end of one encoded word and the
  // start of the next.
  struct HeaderMode {
    std::string continuation;
  };
  explicit CQuotedPrintable(HeaderMode mode)
      : header_mode_(true), continuation_(std::move(mode.continuation)) {}

  void Decode(IStream& input, IStream& output) override;
  void Encode(IStream& input, IStream& output) override;
  // The same as Decode of a whole content.
  void decode_text(std::string_view content, ISequentialStream& output) const;

  // In header mode: the text of one encoded word, without its frame, to bytes. Zeros are kept.
  std::int32_t DecodeBuffer(const char* source, char* destination, std::int32_t length) override;

  // In header mode: bytes to "=?iso-8859-1?Q?...?=", as many words, each on a line of its own, as
  // it takes. An empty source gives an empty text.
  void EncodeToString(const char* source, std::int32_t length, std::string& text) override;

 private:
  DecodeQuotedBlocks blocks_ = portable_quoted_blocks();
  bool header_mode_ = false;
  std::string continuation_;
};

}  // namespace tallowbrook
