// Encoded words: any bytes decode, and any text reads back as it was put, in any charset.
#include "fuzz/fuzz.h"
#include "model/header_text.h"

namespace {

// UTF-16 without lone surrogates and NULs, which no charset has.
std::u16string text_of(std::string_view bytes) {
  std::u16string text;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto unit = static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                            static_cast<unsigned char>(bytes[i + 1]) << 8);
    if (unit == 0) continue;
    if (unit >= 0xD800 && unit < 0xE000) {
      text += static_cast<char16_t>(0xD800 | (unit & 0x3FF));
      text += static_cast<char16_t>(0xDC00 | (unit >> 3 & 0x3FF));
    } else {
      text += unit;
    }
  }
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tallowbrook;
  using namespace tallowbrook::fuzz;
  static constexpr std::string_view kCharsets[] = {"utf-8",  "iso-8859-1",  "",
                                                   "koi8-r", "iso-2022-jp", "no-such-charset"};
  Input input(data, size);
  const std::string_view charset = kCharsets[input.number(std::size(kCharsets))];
  (void)decode_header_text(input.rest());
  const std::u16string text = text_of(input.rest());
  const std::string encoded = encode_header_text(text, charset);
  require(decode_header_text(encoded) == text, "a text does not read back", encoded);
  return 0;
}
