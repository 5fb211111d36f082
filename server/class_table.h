// The class table: one entry for each class that a host can create. Nothing else in the server
// knows what the classes do.
#pragma once

#include <cstddef>
#include <span>

#include "platform/com/activation.h"

namespace tallowbrook {

struct ClassEntry {
  CLSID clsid;
  const char16_t* coclass;      // "MimeDecoder"
  const char16_t* prog_id;      // "Tallowbrook.Decoder", independent of the version
  const char16_t* prog_id_one;  // "Tallowbrook.Decoder.1"
  const char16_t* description;  // "MimeDecoder Class"
  UINT script;                  // number of its registration script
  // Makes an object (core/creators.h). It never sees an outer object: the class object refuses.
  HRESULT (*create)(REFIID iid, void** object);
  // Called with true when the library is loaded and with false when it is unloaded.
  void (*start_stop)(bool start);
};

inline constexpr std::size_t kClassCount = 14;

// All classes, in the order in which they are registered and listed.
[[nodiscard]] std::span<const ClassEntry, kClassCount> class_table();

// The same classes as the runtime layer's activation wants them.
[[nodiscard]] std::span<const ComponentClass, kClassCount> component_classes();

}  // namespace tallowbrook
