// CBase64: the Base64 encoding (RFC 2045 section 6.8).
//
// Encode writes lines of 76 characters and closes with exactly one CR LF (an empty content is that
// CR LF alone); without line breaks it writes neither.
//
// Decode skips every byte outside the alphabet. "=" is skipped as well and neither ends the content
// nor clears the bits held, so concatenated contents decode on ("QQ==QQ==" is 41 04 10). Fewer than
// 8 bits left at the end are dropped.
#pragma once

#include <string_view>

#include "coding/base64_groups.h"
#include "coding/mime_code.h"

namespace tallowbrook {

class CBase64 final : public CMIMECode {
 public:
  explicit CBase64(bool no_line_breaks = false, const Base64Groups& groups = fastest_base64())
      : groups_(groups), no_line_breaks_(no_line_breaks) {}

  // Both convert what lies between the input's position and its end at the moment of the call.
  void Decode(IStream& input, IStream& output) override;
  void Encode(IStream& input, IStream& output) override;
  // The same as Decode of a whole content.
  void decode_text(std::string_view content, ISequentialStream& output) const;

 private:
  const Base64Groups& groups_;
  bool no_line_breaks_;
};

}  // namespace tallowbrook
