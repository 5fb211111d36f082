// CUTF8Coder: UTF-8 in the layout of RFC 2279, which reaches 31 bits in up to six bytes.
//
// Encode takes units of the decoded side until less than a whole one is left and writes each by
// itself, so a surrogate pair becomes two sequences of three bytes.
//
// Decode takes the lead byte's word for the length and does not check what follows. A byte that
// leads nothing (0x80 to 0xBF, 0xFE, 0xFF) is skipped; a sequence that the input cuts short ends
// the conversion. A value is written as one unit, cut to its width.
#pragma once

#include <cstdint>

#include "coding/mime_code.h"

namespace tallowbrook {

class CUTF8Coder final : public CMIMECode {
 public:
  // The unit of the decoded side, in the machine's byte order.
  enum class Mode : std::int32_t {
    kAnsi = 0,   // a byte in the ANSI code page; a value that has none there is a zero byte
    kUtf16 = 1,  // a UTF-16 code unit
    kUtf32 = 2,  // a 32-bit code point
  };

  explicit CUTF8Coder(Mode mode = Mode::kAnsi) : mode_(mode) {}

  void Decode(IStream& input, IStream& output) override;
  void Encode(IStream& input, IStream& output) override;
  [[nodiscard]] bool ProducesWideText() const override { return mode_ != Mode::kAnsi; }

 private:
  Mode mode_;
};

}  // namespace tallowbrook
