// The optional plug-in library "TlwbkPlg.dll", which is told about every message that was loaded.
//
// It exports `SnapIn_OnLoaded`, a function that takes the message's IMimeDecoder (borrowed for the
// call) and whose result is ignored. A library or an entry that is missing is no error.
#pragma once

#include "platform/com/types.h"
#include "tallowbrook/mime_decoder.h"

namespace tallowbrook {

class PluginHook {
 public:
  PluginHook();
  ~PluginHook();
  PluginHook(const PluginHook&) = delete;
  PluginHook& operator=(const PluginHook&) = delete;

  // What the plug-in throws goes no further. Does nothing while an earlier call for this message
  // runs, nor on a thread that stands 32 calls deep: the plug-in may load the message that it is
  // told of, and others, each time.
  void on_loaded(IMimeDecoder* message);

 private:
  using OnLoaded = HRESULT (*)(IMimeDecoder*);

  HMODULE library_;
  OnLoaded on_loaded_ = nullptr;
  bool telling_ = false;
};

}  // namespace tallowbrook
