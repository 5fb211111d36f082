// CUUCoder: the lines of a uuencoded file, without the "begin" and "end" around them.
//
// A line is a count (its code less 32), then groups of four characters that stand for three bytes,
// each character for the low six bits of its code less 32; the space and the backquote are both 0.
// A line counts only when all the bytes it declares are there, and when nothing follows its last
// group but CRs, backquotes, "A" or "B" (what some encoders add). The characters that fill the last
// group up are data, whatever they are, and may be missing. Everything else is dropped: blank and
// stray lines, the closing backquote, lines that the way has cut.
#pragma once

#include "coding/mime_code.h"

namespace tallowbrook {

class CUUCoder final : public CMIMECode {
 public:
  // Converts what lies between the input's position and its end at the moment of the call.
  void Decode(IStream& input, IStream& output) override;

  // Nothing is ever sent in this form: writes nothing.
  void Encode(IStream&, IStream&) override {}
};

}  // namespace tallowbrook
