// Image lists: pictures of one size, kept and passed on together.
//
// The stream form, all integers little-endian:
//
//   header, 28 bytes
//     2  0x4C49 ("IL")          2  version 0x0101
//     2  pictures in the list   2  pictures that there is room for   2  growth
//     2  width                  2  height                            4  background 0xFFFFFFFF
//     (none) 2  flags                  8  four overlays of 2 bytes, -1 (none)
//   the pictures, one BMP file: 24 bits a pixel, bottom row first, four pictures side by side and
//     as many such rows as there is room for; black where a picture is transparent
//   with ILC_MASK: the masks, one BMP file of the same shape with 1 bit a pixel, 1 for transparent
//
// So what follows the header can be read by anything that reads BMP files. A list belongs to one
// thread at a time.
#pragma once

#include "platform/shell/icon.h"
#include "platform/storage/stream.h"

struct ImageList;
using HIMAGELIST = ImageList*;

inline constexpr UINT ILC_MASK = 0x0001;
inline constexpr UINT ILC_COLOR24 = 0x0018;

// An empty list with room for `initial` pictures, to grow by `grow` at a time. Null for a side
// outside 1 to 256, for colours other than ILC_COLOR24, or when memory ran out.
[[nodiscard]] HIMAGELIST ImageList_Create(int width, int height, UINT flags, int initial, int grow);
BOOL ImageList_Destroy(HIMAGELIST list);

// Appends a copy of the icon, which must have the list's size, and returns its index; -1 on
// failure.
int ImageList_AddIcon(HIMAGELIST list, HICON icon);
// The number of pictures; 0 for null.
[[nodiscard]] int ImageList_GetImageCount(HIMAGELIST list);
BOOL ImageList_GetIconSize(HIMAGELIST list, int* width, int* height);
// A new icon of a picture, given back with DestroyIcon; null on failure. `flags` is ignored.
[[nodiscard]] HICON ImageList_GetIcon(HIMAGELIST list, int index, UINT flags);

BOOL ImageList_Write(HIMAGELIST list, IStream* stream);
// The list that was written at the stream's position; null when there is no whole one. Memory grows
// with the bytes that the stream really has.
[[nodiscard]] HIMAGELIST ImageList_Read(IStream* stream);
