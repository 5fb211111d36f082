// A message from a stranger: loaded, read whole, saved, loaded again. From the second save on the
// bytes stay the same, and reading changes no save.
// What the quick ways take past the grammar is what the grammar makes of it.
#include "fuzz/fuzz.h"
#include "parser/load.h"
#include "tests/support/dump.h"

namespace {

std::string stored(std::string_view text, bool only_grammar) {
  using namespace tallowbrook;
  MessageStore store;
  CISSHelper input;
  input.write(text);
  ParseRun run{.store = &store, .only_grammar = only_grammar};
  const bool loads = SUCCEEDED(DispatchParse(run, &input));
  return (loads ? "" : test::take_error_text()) + test::dump(store);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tallowbrook::fuzz;
  const auto message = new_message();
  const bool loads = SUCCEEDED(load(message, Input(data, size).rest()));
  touch(message.get());
  const std::string_view text = Input(data, size).rest();
  require(stored(text, false) == stored(text, true), "the quick ways store something else");
  if (!loads) return 0;

  const auto untouched = new_message();
  require(SUCCEEDED(load(untouched, Input(data, size).rest())), "loads once only");
  const std::string first = saved(untouched);
  const auto again = new_message();
  require(SUCCEEDED(load(again, first)), "what was saved does not load", first);
  const std::string second = saved(again);
  const auto third = new_message();
  require(SUCCEEDED(load(third, second)), "what was saved twice does not load", second);
  require(saved(third) == second, "the third save differs from the second", second);
  return 0;
}
