// CMIMECodeRaw: the plain copy, for content whose encoding is not known, both ways the same.
#pragma once

#include "coding/mime_code.h"

namespace tallowbrook {

class CMIMECodeRaw final : public CMIMECode {
 public:
  void Decode(IStream& input, IStream& output) override;
  void Encode(IStream& input, IStream& output) override { Decode(input, output); }
};

}  // namespace tallowbrook
