// Registry scripts: any text parses or says at which of its lines it does not.
#include <algorithm>

#include "fuzz/fuzz.h"
#include "platform/com/registrar.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tallowbrook::fuzz;
  namespace platform = tallowbrook::platform;
  const std::string_view text = Input(data, size).rest();
  static constexpr platform::ScriptReplacement kReplacements[] = {{"MODULE", "/lib/it's.so"},
                                                                  {"EMPTY", ""}};
  platform::RegistryScript script;
  platform::ScriptError error;
  if (!script.parse(text, kReplacements, &error)) {
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
    require(error.line >= 1 && error.line <= lines, "an error on no line", text);
    require(!error.text.empty(), "an error without a text", text);
  }
  return 0;
}
