// CDefaultCoder: 7bit, 8bit and binary content (RFC 2045 sections 2.7 to 2.9).
//
// Encode copies the content with a dot doubled where a line starts with one (the start of the
// content, and behind CR LF), drops zero bytes, and closes what does not end in LF with CR LF.
// Wrapping, when it is switched on, breaks a line where the column passes 75.
//
// Decode copies it back line by line. A line ends behind LF, after 4096 bytes or at the end of the
// input. A line "..\r\n" becomes ".\r\n"; what follows a zero byte in a line is dropped with it;
// the last line loses its line end (one LF, then one CR).
//
// Content that differs after a way there and back:
// - zero bytes are dropped;
// - a line end at the very end of the content goes;
// - a dot that opens a line comes back doubled, unless it stands alone in it.
#pragma once

#include <optional>
#include <string_view>

#include "coding/mime_code.h"

namespace tallowbrook {

class CDefaultCoder final : public CMIMECode {
 public:
  explicit CDefaultCoder(bool wrap = false) : wrap_(wrap) {}

  void Decode(IStream& input, IStream& output) override;
  void Encode(IStream& input, IStream& output) override;

  // What Decode makes of a whole content of which every line stays as it is: the content without
  // the line end at its end. Nothing when a line may have to change.
  [[nodiscard]] static std::optional<std::string_view> decoded_in_place(std::string_view content);

 private:
  bool wrap_;
};

}  // namespace tallowbrook
