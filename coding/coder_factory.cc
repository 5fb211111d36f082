#include "coding/coder_factory.h"

#include "coding/base64.h"
#include "coding/default_coder.h"
#include "coding/quoted_printable.h"
#include "coding/raw_coder.h"
#include "tallowbrook/enumerations.h"

namespace tallowbrook {

std::unique_ptr<CMIMECode> make_coder(std::int32_t encoding) {
  switch (static_cast<EncoderTypes>(encoding)) {
    case EncoderTypes::SevenBit:
    case EncoderTypes::EightBit:
    case EncoderTypes::Binary:
      return std::make_unique<CDefaultCoder>();
    case EncoderTypes::QuotedPrintable:
      return std::make_unique<CQuotedPrintable>();
    case EncoderTypes::Base64:
      return std::make_unique<CBase64>();
    default:
      return std::make_unique<CMIMECodeRaw>();
  }
}

}  // namespace tallowbrook
