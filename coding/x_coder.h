// CXCoder: text of a named character set to UTF-16 and back, whole texts at a time.
//
// The conversion is the multi-language service's with the charset's code page; where that fails,
// the system's for the page; where that fails too, the system's for the ANSI code page. Bytes and
// characters that mean nothing there are replaced, never refused.
#pragma once

#include <string>
#include <string_view>

#include "coding/mime_code.h"
#include "platform/automation/variant.h"
#include "platform/com/types.h"

namespace tallowbrook {

class CXCoder final : public CMIMECode {
 public:
  // A name nobody knows stands for the ANSI code page.
  explicit CXCoder(std::string_view charset);

  // What is left of the input to UTF-16.
  void Decode(IStream& input, IStream& output) override;
  // What is left of the input, UTF-16 (an odd last byte is ignored), to the charset.
  void Encode(IStream& input, IStream& output) override;
  [[nodiscard]] bool ProducesWideText() const override { return true; }
  // What Decode makes of a text.
  [[nodiscard]] std::u16string decode(std::string_view text) const;
  [[nodiscard]] platform::Bstr decode_to_bstr(std::string_view text) const;

  // 0 for the ANSI code page.
  [[nodiscard]] UINT code_page() const { return page_; }

 private:
  UINT page_;
};

}  // namespace tallowbrook
