// VARIANTs in a stream. All integers are little-endian.
//
//   the type                          2 bytes
//   VT_I1, VT_UI1                     1 byte
//   VT_I2, VT_UI2, VT_BOOL            2 bytes
//   VT_I4, VT_UI4, VT_INT, VT_UINT,
//   VT_R4, VT_ERROR                   4 bytes
//   VT_I8, VT_UI8, VT_R8, VT_CY,
//   VT_DATE                           8 bytes
//   VT_UNKNOWN, VT_DISPATCH           an object
//   any other                         the value as a string: its length in bytes (4 bytes), the
//                                     closing zero counted, then the UTF-16 units
//
// An object is its class id (16 bytes) and then what its own Save wrote. A null class id stands for
// a null object, and for an object that cannot be written, so that the stream stays readable past
// it. VT_EMPTY and VT_NULL have the empty string for a value.
//
// Nothing read from a stream decides how much memory is taken before the bytes were really there,
// nor how deep objects within objects may nest.
#pragma once

#include "platform/automation/variant.h"
#include "platform/storage/stream.h"

namespace tallowbrook {

// Reads `size` bytes, asking again after short reads. E_FAIL when the stream ends before.
[[nodiscard]] HRESULT read_exactly(IStream& stream, void* target, ULONG size);
// Writes `size` bytes; E_FAIL when fewer were taken.
[[nodiscard]] HRESULT write_exactly(IStream& stream, const void* source, ULONG size);

// The type and the value. Throws std::bad_alloc.
[[nodiscard]] HRESULT WriteVariant(IStream& stream, const VARIANT& value);
// Reads what WriteVariant wrote; `value` is empty unless it succeeds. `*lost` (may be null) is set
// when the stream now stands somewhere inside of what could not be read, by whichever object in an
// object. Throws std::bad_alloc.
[[nodiscard]] HRESULT ReadVariant(IStream& stream, platform::Variant& value, bool* lost = nullptr);

// How an object of the component is an item in a stream, where its own GetClassID and Save do not
// say: what is written must end where its Load does.
struct IStoredItem : IUnknown {
  using Base = IUnknown;
  static constexpr GUID kIid{
      0x1F6B3C0E, 0x52A4, 0x4D38, {0x8E, 0x0B, 0x77, 0x1C, 0x90, 0x4A, 0xD5, 0x36}};

  // The class to create for it. A failure for an object that cannot be stored.
  virtual HRESULT item_class(CLSID* clsid) = 0;
  virtual HRESULT save_item(IStream* stream) = 0;
};

// True for an object that has a class and can be saved into a stream.
[[nodiscard]] bool can_write_object(IUnknown* object);
// An object as above, through IPersistStream, else IPersistStreamInit; `object` may be null.
[[nodiscard]] HRESULT write_object(IStream& stream, IUnknown* object);
// What becomes of an object that was created but whose own Load fails.
enum class FailedLoad {
  kDrops,  // its failure is the call's
  kKeeps,  // the object is given as far as it was loaded
};
// Creates and loads an object; S_FALSE and null for a null class id. `lost` as above: set when
// there is no object to read its data, or no object in it.
[[nodiscard]] HRESULT read_object(IStream& stream, platform::ComPtr<IUnknown>& object,
                                  FailedLoad failed_load = FailedLoad::kDrops,
                                  bool* lost = nullptr);
// True while the calling thread creates an object of this class that is loaded from a stream next:
// it need not gather what its Load throws away.
[[nodiscard]] bool created_to_load(REFCLSID clsid);
// For an object whose own Load ended inside of what it could not read and succeeds all the same:
// makes what reads it from the stream end there, too.
void lose_place(IStream& stream);

}  // namespace tallowbrook
