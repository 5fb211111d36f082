// Icons: small pictures with transparent places, drawn in several sizes.
//
// A group holds one picture in each size that it was drawn in, as text: one letter a pixel, row by
// row from the top, without line ends. A letter that has an ink stands for its colour, any other
// for a transparent pixel.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include "platform/com/types.h"

struct Icon;
using HICON = Icon*;

BOOL DestroyIcon(HICON icon);  // FALSE for null

namespace tallowbrook::platform {

inline constexpr int kLargestIcon = 256;

struct Colour {
  BYTE red = 0;
  BYTE green = 0;
  BYTE blue = 0;

  friend bool operator==(const Colour& a, const Colour& b) {
    return a.red == b.red && a.green == b.green && a.blue == b.blue;
  }
};

struct Pixel {
  Colour colour;  // black where the picture is transparent
  bool opaque = false;

  friend bool operator==(const Pixel& a, const Pixel& b) {
    return a.colour == b.colour && a.opaque == b.opaque;
  }
};

struct Picture {
  Picture(int w, int h)
      : width(w), height(h), pixels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h)) {}

  [[nodiscard]] Pixel& at(int x, int y) { return pixels[index(x, y)]; }
  [[nodiscard]] const Pixel& at(int x, int y) const { return pixels[index(x, y)]; }

  int width;
  int height;
  std::vector<Pixel> pixels;  // row by row from the top

 private:
  [[nodiscard]] std::size_t index(int x, int y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
           static_cast<std::size_t>(x);
  }
};

struct Ink {
  char letter;
  Colour colour;
};

struct IconDrawing {
  int size;
  std::string_view letters;  // size * size of them
};

struct IconGroup {
  UINT id;
  std::span<const Ink> inks;
  std::span<const IconDrawing> drawings;
};

// The group's picture in `size` x `size` pixels: the drawing of that size, else the next larger
// one (or the largest there is) scaled. Null for a size outside 1 to kLargestIcon, for a group
// without drawings, or when memory ran out. Given back with DestroyIcon.
[[nodiscard]] HICON load_icon(const IconGroup& group, int size);

// An icon of a picture; null when memory ran out.
[[nodiscard]] HICON make_icon(Picture picture);

// `icon` must not be null.
[[nodiscard]] const Picture& picture_of(HICON icon);

}  // namespace tallowbrook::platform
