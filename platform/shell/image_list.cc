#include "platform/shell/image_list.h"

#include <algorithm>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

using tallowbrook::platform::Colour;
using tallowbrook::platform::kLargestIcon;
using tallowbrook::platform::Picture;
using tallowbrook::platform::picture_of;
using tallowbrook::platform::Pixel;

struct ImageList {
  int width = 0;
  int height = 0;
  bool masked = false;
  int room = 0;
  int grow = 1;
  std::vector<Picture> pictures;
};

namespace {

constexpr int kAcross = 4;  // pictures side by side
constexpr int kMost = 0xFFFF;
constexpr std::size_t kLargestFile = 0xFFFFFFFF;  // what a BMP file can say of its size
constexpr unsigned kMagic = 0x4C49;
constexpr unsigned kVersion = 0x0101;
constexpr std::size_t kHeaderSize = 28;
constexpr std::size_t kFileHeaderSize = 14;
constexpr std::size_t kInfoHeaderSize = 40;
constexpr std::size_t kMaskColours = 8;  // black and white, 4 bytes each
constexpr ULONG kNoColour = 0xFFFFFFFF;

bool valid_side(int side) { return side >= 1 && side <= kLargestIcon; }

// --- bytes ---------------------------------------------------------------------------------------

void put_16(std::string& bytes, unsigned value) {
  bytes.push_back(static_cast<char>(value & 0xFF));
  bytes.push_back(static_cast<char>(value >> 8 & 0xFF));
}

void put_32(std::string& bytes, ULONG value) {
  put_16(bytes, value & 0xFFFF);
  put_16(bytes, value >> 16);
}

unsigned byte_at(std::string_view bytes, std::size_t at) {
  return static_cast<unsigned char>(bytes[at]);
}

unsigned get_16(std::string_view bytes, std::size_t at) {
  return byte_at(bytes, at) | byte_at(bytes, at + 1) << 8;
}

ULONG get_32(std::string_view bytes, std::size_t at) {
  return get_16(bytes, at) | get_16(bytes, at + 2) << 16;
}

// Appends exactly `count` bytes of the stream; false when it has fewer.
bool read_bytes(IStream& stream, std::size_t count, std::string& bytes) {
  constexpr std::size_t kBlock = 65536;
  while (count > 0) {
    const auto wanted = static_cast<ULONG>(std::min(count, kBlock));
    const std::size_t before = bytes.size();
    bytes.resize(before + wanted);
    ULONG got = 0;
    if (FAILED(stream.Read(bytes.data() + before, wanted, &got)) || got == 0 || got > wanted) {
      return false;
    }
    bytes.resize(before + got);
    count -= got;
  }
  return true;
}

// --- BMP files -----------------------------------------------------------------------------------

// The shape of one of the two files of a list.
struct Sheet {
  Sheet(const ImageList& list, unsigned bits_a_pixel)
      : width(list.width * kAcross),
        height(list.height * ((list.room + kAcross - 1) / kAcross)),
        bits(bits_a_pixel),
        stride((static_cast<std::size_t>(width) * bits + 31) / 32 * 4) {}

  [[nodiscard]] std::size_t colours() const { return bits == 1 ? kMaskColours : 0; }
  [[nodiscard]] std::size_t start() const { return kFileHeaderSize + kInfoHeaderSize + colours(); }
  [[nodiscard]] std::size_t size() const {
    return start() + stride * static_cast<std::size_t>(height);
  }
  // Where the line with this number, counted from the top, begins in the file.
  [[nodiscard]] std::size_t line(int y) const {
    return start() + stride * static_cast<std::size_t>(height - 1 - y);
  }

  int width;
  int height;
  unsigned bits;
  std::size_t stride;  // bytes of a line
};

std::string empty_sheet(const Sheet& sheet) {
  std::string bytes = "BM";
  put_32(bytes, static_cast<ULONG>(sheet.size()));
  put_32(bytes, 0);
  put_32(bytes, static_cast<ULONG>(sheet.start()));
  put_32(bytes, kInfoHeaderSize);
  put_32(bytes, static_cast<ULONG>(sheet.width));
  put_32(bytes, static_cast<ULONG>(sheet.height));
  put_16(bytes, 1);  // planes
  put_16(bytes, sheet.bits);
  put_32(bytes, 0);  // not compressed
  put_32(bytes, static_cast<ULONG>(sheet.size() - sheet.start()));
  for (int i = 0; i < 4; ++i) put_32(bytes, 0);  // resolution, colours: not said
  if (sheet.colours() != 0) {
    put_32(bytes, 0);
    put_32(bytes, 0x00FFFFFF);
  }
  bytes.resize(sheet.size(), '\0');
  return bytes;
}

bool has_shape(std::string_view header, const Sheet& sheet) {
  return header.substr(0, 2) == "BM" && get_32(header, 10) == sheet.start() &&
         get_32(header, 14) == kInfoHeaderSize &&
         get_32(header, 18) == static_cast<ULONG>(sheet.width) &&
         get_32(header, 22) == static_cast<ULONG>(sheet.height) && get_16(header, 26) == 1 &&
         get_16(header, 28) == sheet.bits && get_32(header, 30) == 0;
}

// Reads one file of that shape.
bool read_sheet(IStream& stream, const Sheet& sheet, std::string& bytes) {
  return read_bytes(stream, sheet.start(), bytes) && has_shape(bytes, sheet) &&
         read_bytes(stream, sheet.size() - sheet.start(), bytes);
}

// Calls `action(pixel, x, y)` with every pixel of every picture and its place on the sheet.
template <class List, class Action>
void for_each_pixel(List& list, Action action) {
  for (std::size_t index = 0; index < list.pictures.size(); ++index) {
    const int left = static_cast<int>(index % kAcross) * list.width;
    const int top = static_cast<int>(index / kAcross) * list.height;
    for (int y = 0; y < list.height; ++y) {
      for (int x = 0; x < list.width; ++x) action(list.pictures[index].at(x, y), left + x, top + y);
    }
  }
}

std::string colour_file(const ImageList& list) {
  const Sheet sheet(list, 24);
  std::string bytes = empty_sheet(sheet);
  for_each_pixel(list, [&](const Pixel& pixel, int x, int y) {
    char* const at = &bytes[sheet.line(y) + static_cast<std::size_t>(x) * 3];
    at[0] = static_cast<char>(pixel.colour.blue);
    at[1] = static_cast<char>(pixel.colour.green);
    at[2] = static_cast<char>(pixel.colour.red);
  });
  return bytes;
}

// The bit of column `x` in its byte: the leftmost is the highest.
unsigned mask_bit(int x) { return 0x80U >> (static_cast<unsigned>(x) % 8); }

std::string mask_file(const ImageList& list) {
  const Sheet sheet(list, 1);
  std::string bytes = empty_sheet(sheet);
  for_each_pixel(list, [&](const Pixel& pixel, int x, int y) {
    if (pixel.opaque) return;
    char& at = bytes[sheet.line(y) + static_cast<std::size_t>(x) / 8];
    at = static_cast<char>(static_cast<unsigned char>(at) | mask_bit(x));
  });
  return bytes;
}

bool read_colours(IStream& stream, ImageList& list, std::size_t count) {
  const Sheet sheet(list, 24);
  std::string bytes;
  if (!read_sheet(stream, sheet, bytes)) return false;
  list.pictures.assign(count, Picture(list.width, list.height));
  for_each_pixel(list, [&](Pixel& pixel, int x, int y) {
    const std::size_t at = sheet.line(y) + static_cast<std::size_t>(x) * 3;
    pixel.colour =
        Colour{static_cast<BYTE>(byte_at(bytes, at + 2)), static_cast<BYTE>(byte_at(bytes, at + 1)),
               static_cast<BYTE>(byte_at(bytes, at))};
    pixel.opaque = true;
  });
  return true;
}

bool read_masks(IStream& stream, ImageList& list) {
  const Sheet sheet(list, 1);
  std::string bytes;
  if (!read_sheet(stream, sheet, bytes)) return false;
  for_each_pixel(list, [&](Pixel& pixel, int x, int y) {
    const std::size_t at = sheet.line(y) + static_cast<std::size_t>(x) / 8;
    pixel.opaque = (byte_at(bytes, at) & mask_bit(x)) == 0;
  });
  return true;
}

// --- the list ------------------------------------------------------------------------------------

std::string header_of(const ImageList& list) {
  std::string bytes;
  put_16(bytes, kMagic);
  put_16(bytes, kVersion);
  put_16(bytes, static_cast<unsigned>(list.pictures.size()));
  put_16(bytes, static_cast<unsigned>(list.room));
  put_16(bytes, static_cast<unsigned>(list.grow));
  put_16(bytes, static_cast<unsigned>(list.width));
  put_16(bytes, static_cast<unsigned>(list.height));
  put_32(bytes, kNoColour);
  put_16(bytes, ILC_COLOR24 | (list.masked ? ILC_MASK : 0));
  for (int i = 0; i < 4; ++i) put_16(bytes, 0xFFFF);
  return bytes;
}

// What the header says, without pictures; `count` is how many follow.
bool read_header(IStream& stream, ImageList& list, std::size_t& count) {
  std::string bytes;
  if (!read_bytes(stream, kHeaderSize, bytes)) return false;
  count = get_16(bytes, 4);
  list.room = static_cast<int>(get_16(bytes, 6));
  list.grow = static_cast<int>(get_16(bytes, 8));
  list.width = static_cast<int>(get_16(bytes, 10));
  list.height = static_cast<int>(get_16(bytes, 12));
  const unsigned flags = get_16(bytes, 18);
  list.masked = (flags & ILC_MASK) != 0;
  return get_16(bytes, 0) == kMagic && get_16(bytes, 2) == kVersion && valid_side(list.width) &&
         valid_side(list.height) && (flags & ~ILC_MASK) == ILC_COLOR24 &&
         count <= static_cast<std::size_t>(list.room);
}

HIMAGELIST read_list(IStream& stream) {
  auto list = std::make_unique<ImageList>();
  std::size_t count = 0;
  if (!read_header(stream, *list, count)) return nullptr;
  if (!read_colours(stream, *list, count)) return nullptr;
  if (list->masked && !read_masks(stream, *list)) return nullptr;
  return list.release();
}

bool write_bytes(IStream& stream, std::string_view bytes) {
  if (bytes.size() > kLargestFile) return false;
  ULONG written = 0;
  const auto count = static_cast<ULONG>(bytes.size());
  return SUCCEEDED(stream.Write(bytes.data(), count, &written)) && written == count;
}

bool write_list(const ImageList& list, IStream& stream) {
  return write_bytes(stream, header_of(list)) && write_bytes(stream, colour_file(list)) &&
         (!list.masked || write_bytes(stream, mask_file(list)));
}

}  // namespace

HIMAGELIST ImageList_Create(int width, int height, UINT flags, int initial, int grow) {
  if (!valid_side(width) || !valid_side(height)) return nullptr;
  if ((flags & ~ILC_MASK) != ILC_COLOR24) return nullptr;
  auto* list = new (std::nothrow) ImageList;
  if (list == nullptr) return nullptr;
  list->width = width;
  list->height = height;
  list->masked = (flags & ILC_MASK) != 0;
  list->room = std::clamp(initial, 0, kMost);
  list->grow = std::clamp(grow, 1, kMost);
  return list;
}

BOOL ImageList_Destroy(HIMAGELIST list) {
  delete list;
  return list == nullptr ? FALSE : TRUE;
}

int ImageList_AddIcon(HIMAGELIST list, HICON icon) {
  if (list == nullptr || icon == nullptr || list->pictures.size() >= kMost) return -1;
  const Picture& picture = picture_of(icon);
  if (picture.width != list->width || picture.height != list->height) return -1;
  try {
    list->pictures.push_back(picture);
  } catch (const std::bad_alloc&) {
    return -1;
  }
  const int count = static_cast<int>(list->pictures.size());
  if (count > list->room) list->room = std::min(list->room + list->grow, kMost);
  return count - 1;
}

int ImageList_GetImageCount(HIMAGELIST list) {
  return list == nullptr ? 0 : static_cast<int>(list->pictures.size());
}

BOOL ImageList_GetIconSize(HIMAGELIST list, int* width, int* height) {
  if (list == nullptr || width == nullptr || height == nullptr) return FALSE;
  *width = list->width;
  *height = list->height;
  return TRUE;
}

HICON ImageList_GetIcon(HIMAGELIST list, int index, UINT) {
  if (list == nullptr || index < 0 || index >= ImageList_GetImageCount(list)) return nullptr;
  try {
    return tallowbrook::platform::make_icon(list->pictures[static_cast<std::size_t>(index)]);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

BOOL ImageList_Write(HIMAGELIST list, IStream* stream) {
  if (list == nullptr || stream == nullptr) return FALSE;
  try {
    return write_list(*list, *stream) ? TRUE : FALSE;
  } catch (const std::bad_alloc&) {
    return FALSE;
  }
}

HIMAGELIST ImageList_Read(IStream* stream) {
  if (stream == nullptr) return nullptr;
  try {
    return read_list(*stream);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
