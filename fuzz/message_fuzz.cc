// A message from a stranger: loaded, read whole, saved, loaded again. From the second save on the
// bytes stay the same, and reading changes no save.
#include "fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tallowbrook::fuzz;
  const auto message = new_message();
  const bool loads = SUCCEEDED(load(message, Input(data, size).rest()));
  touch(message.get());
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
