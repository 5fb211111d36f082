#include "platform/shell/icon.h"

#include <new>
#include <utility>

struct Icon {
  tallowbrook::platform::Picture picture;
};

BOOL DestroyIcon(HICON icon) {
  delete icon;
  return icon == nullptr ? FALSE : TRUE;
}

namespace tallowbrook::platform {
namespace {

bool is_whole(const IconDrawing& drawing) {
  const auto size = static_cast<std::size_t>(drawing.size);
  return drawing.size > 0 && drawing.letters.size() == size * size;
}

// True when a drawing of size `a` suits the wanted size better than one of size `b`: the smallest
// that is large enough, else the largest.
bool suits_better(int a, int b, int wanted) {
  if (b < wanted) return a > b;
  return a >= wanted && a < b;
}

const IconDrawing* best_drawing(const IconGroup& group, int size) {
  const IconDrawing* best = nullptr;
  for (const IconDrawing& drawing : group.drawings) {
    if (!is_whole(drawing)) continue;
    if (best == nullptr || suits_better(drawing.size, best->size, size)) best = &drawing;
  }
  return best;
}

Pixel pixel_of(const IconGroup& group, char letter) {
  for (const Ink& ink : group.inks) {
    if (ink.letter == letter) return {ink.colour, true};
  }
  return {};
}

Picture draw(const IconGroup& group, const IconDrawing& drawing, int size) {
  Picture picture(size, size);
  for (int y = 0; y < size; ++y) {
    for (int x = 0; x < size; ++x) {
      const auto from_x = static_cast<std::size_t>(x * drawing.size / size);
      const auto from_y = static_cast<std::size_t>(y * drawing.size / size);
      const std::size_t index = from_y * static_cast<std::size_t>(drawing.size) + from_x;
      picture.at(x, y) = pixel_of(group, drawing.letters[index]);
    }
  }
  return picture;
}

}  // namespace

HICON make_icon(Picture picture) { return new (std::nothrow) Icon{std::move(picture)}; }

HICON load_icon(const IconGroup& group, int size) {
  if (size < 1 || size > kLargestIcon) return nullptr;
  const IconDrawing* drawing = best_drawing(group, size);
  if (drawing == nullptr) return nullptr;
  try {
    return make_icon(draw(group, *drawing, size));
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

const Picture& picture_of(HICON icon) { return icon->picture; }

}  // namespace tallowbrook::platform
