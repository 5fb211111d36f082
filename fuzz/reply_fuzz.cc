// What a mail server says, in pieces, and the end of a message on its way out: both are the same
// however the bytes are cut.
#include "fuzz/fuzz.h"
#include "smtp/data_end.h"
#include "smtp/reply.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tallowbrook;
  using namespace tallowbrook::fuzz;
  Input input(data, size);
  const std::size_t step = input.number(16) + 1;
  const std::string_view text = input.rest();
  (void)reply_code(text);
  ReplyLines whole;
  ReplyLines pieces;
  whole.take(text);
  for (std::size_t i = 0; i < text.size(); i += step) pieces.take(text.substr(i, step));
  require(whole.complete() == pieces.complete(), "pieces change a reply", text);

  DataEnd end;
  const DataEnd::Result all = end.take(text);
  DataEnd cut;
  DataEnd::Result last{DataEnd::Verdict::kGoesOn, 0};
  std::size_t length = 0;
  for (std::size_t i = 0; i < text.size() && last.verdict == DataEnd::Verdict::kGoesOn; i += step) {
    last = cut.take(text.substr(i, step));
    length += last.length;
  }
  require(text.empty() || (last.verdict == all.verdict && length == all.length),
          "pieces change the end of a message", text);
  return 0;
}
