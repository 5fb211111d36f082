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
// it. What cannot become a string is written as the empty one for the same reason.
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
// Reads what WriteVariant wrote; `value` is empty unless it succeeds. Throws std::bad_alloc.
[[nodiscard]] HRESULT ReadVariant(IStream& stream, platform::Variant& value);

// An object as above, through IPersistStream, else IPersistStreamInit; `object` may be null.
[[nodiscard]] HRESULT write_object(IStream& stream, IUnknown* object);
// What becomes of an object that was created but whose own Load fails.
enum class FailedLoad {
  kDrops,  // its failure is the call's
  kKeeps,  // the object is given as far as it was loaded
};
// Creates and loads an object; S_FALSE and null for a null class id.
[[nodiscard]] HRESULT read_object(IStream& stream, platform::ComPtr<IUnknown>& object,
                                  FailedLoad failed_load = FailedLoad::kDrops);

}  // namespace tallowbrook
