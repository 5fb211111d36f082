// Keeping the values of an object's options.
#pragma once

#include "platform/storage/storage.h"

namespace tallowbrook {

// A message answers to this beside IMimeDecoder. In the storage, each option is a storage of its
// name, in which each value is an element 0000000000, 0000000001 ...: an object of the host's class
// "Bramblescope.OptionValue", as it saves itself.
struct IPersistOptions : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{
      0xC0B8A34B, 0x8534, 0x4428, {0xBE, 0xF9, 0x58, 0x8D, 0xFB, 0xB4, 0x26, 0x44}};

  // Takes every value that the storage holds, as if the user had entered it. What cannot be read is
  // passed over, and the first such failure is the status.
  virtual HRESULT LoadOptions(IStorage* storage) = 0;
  // Replaces the storages of this object's options. One whose values cannot be written all gives
  // its failure, after the others were tried.
  virtual HRESULT SaveOptions(IStorage* storage) = 0;
};

}  // namespace tallowbrook
