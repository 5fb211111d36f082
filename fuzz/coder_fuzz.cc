// Every transfer coder, both ways: the same whatever the blocks, and base64 gives back what it got.
#include "coding/base64.h"
#include "coding/coder_factory.h"
#include "coding/uuencode.h"
#include "fuzz/fuzz.h"
#include "tests/support/host_stream.h"

namespace {

using namespace tallowbrook;

std::string converted(CMIMECode& coder, bool encodes, std::string_view text, ULONG step) {
  test::HostStream input(std::string(text), step);
  CISSHelper output;
  encodes ? coder.Encode(input, output) : coder.Decode(input, output);
  return std::string(output.bytes());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tallowbrook::fuzz;
  Input input(data, size);
  const std::size_t which = input.number(6);
  const std::unique_ptr<CMIMECode> coder =
      which == 5 ? std::make_unique<CUUCoder>() : make_coder(static_cast<std::int32_t>(which));
  const auto step = static_cast<ULONG>(input.number(200) + 1);
  const std::string text(input.rest());
  for (const bool encodes : {false, true}) {
    const std::string whole = converted(*coder, encodes, text, 1u << 20);
    require(converted(*coder, encodes, text, step) == whole, "blocks change the result", text);
  }
  CBase64 base64;
  const std::string encoded = converted(base64, true, text, 1u << 20);
  require(converted(base64, false, encoded, step) == text, "base64 loses bytes", text);
  return 0;
}
