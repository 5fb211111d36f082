#include "platform/kernel/debug_output.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "platform/kernel/code_page.h"

namespace tallowbrook::platform {
namespace {

std::mutex handler_lock;

std::shared_ptr<const DebugOutputHandler>& handler_slot() {
  static auto& slot = *new std::shared_ptr<const DebugOutputHandler>;  // outlives static objects
  return slot;
}

std::shared_ptr<const DebugOutputHandler> present_handler() {
  const std::lock_guard hold(handler_lock);
  return handler_slot();
}

bool wanted_on_standard_error() {
  const char* setting = std::getenv("TALLOWBROOK_DEBUG");
  return setting != nullptr && *setting != '\0';
}

// `text` makes the UTF-8 text, and is asked only when somebody listens.
template <class Text>
void put_out(Text text) noexcept {
  try {
    if (const auto handler = present_handler()) {
      (*handler)(text());
    } else if (wanted_on_standard_error()) {
      const std::string utf8 = text();
      std::fwrite(utf8.data(), 1, utf8.size(), stderr);
    }
  } catch (...) {  // a text that cannot be shown is dropped
  }
}

}  // namespace

void SetDebugOutputHandler(DebugOutputHandler handler) {
  auto slot = handler ? std::make_shared<const DebugOutputHandler>(std::move(handler)) : nullptr;
  const std::lock_guard hold(handler_lock);
  handler_slot().swap(slot);
}

bool debug_output_wanted() { return present_handler() != nullptr || wanted_on_standard_error(); }

}  // namespace tallowbrook::platform

using tallowbrook::platform::narrow;
using tallowbrook::platform::put_out;
using tallowbrook::platform::widen;

void OutputDebugStringA(const char* text) {
  if (text == nullptr) return;
  put_out([text] { return narrow(CP_UTF8, widen(CP_ACP, text)); });
}

void OutputDebugStringW(const OLECHAR* text) {
  if (text == nullptr) return;
  put_out([text] { return narrow(CP_UTF8, text); });
}
