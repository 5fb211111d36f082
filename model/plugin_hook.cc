#include "model/plugin_hook.h"

#include "platform/kernel/debug_output.h"
#include "platform/kernel/library.h"

namespace tallowbrook {
namespace {

constexpr int kDeepest = 32;
thread_local int depth = 0;  // of the calls in which this thread stands

}  // namespace

PluginHook::PluginHook() : library_(LoadLibraryA("TlwbkPlg.dll")) {
  if (library_ == nullptr) return;
  on_loaded_ = reinterpret_cast<OnLoaded>(GetProcAddress(library_, "SnapIn_OnLoaded"));
}

PluginHook::~PluginHook() {
  if (library_ != nullptr) FreeLibrary(library_);
}

void PluginHook::on_loaded(IMimeDecoder* message) {
  if (on_loaded_ == nullptr || telling_ || depth == kDeepest) return;
  telling_ = true;
  ++depth;
  try {
    on_loaded_(message);
  } catch (...) {  // the message is loaded, whatever became of the plug-in's own work
    OutputDebugStringA("TlwbkPlg.dll: SnapIn_OnLoaded threw an exception\n");
  }
  --depth;
  telling_ = false;
}

}  // namespace tallowbrook
