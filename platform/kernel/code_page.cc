#include "platform/kernel/code_page.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <new>

#include "platform/kernel/handles.h"
#include "platform/kernel/iconv_page.h"
#include "platform/kernel/unicode.h"

namespace tallowbrook::platform {
namespace {

constexpr UINT kDefaultAnsi = 1252;

constinit std::atomic<UINT> ansi_page{0};  // 0: not yet known

// ---- pages of a byte for a character ------------------------------------------------

using HighHalf = std::array<char16_t, 128>;  // the characters of bytes 0x80 to 0xFF

constexpr HighHalf latin1_half() {
  HighHalf half{};
  for (std::size_t i = 0; i < half.size(); ++i) half[i] = static_cast<char16_t>(0x80 + i);
  return half;
}

constexpr HighHalf western_half() {
  HighHalf half = latin1_half();
  constexpr char16_t kWestern[32] = {
      0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
      0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
      0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};
  for (std::size_t i = 0; i < 32; ++i) half[i] = kWestern[i];
  return half;
}

constexpr HighHalf undefined_half() {
  HighHalf half{};
  for (char16_t& character : half) character = kReplacement;
  return half;
}

constexpr HighHalf kLatin1 = latin1_half();
constexpr HighHalf kWestern = western_half();
constexpr HighHalf kUndefined = undefined_half();

const HighHalf* high_half(UINT page) {
  switch (page) {
    case 1252:
      return &kWestern;
    case 28591:
      return &kLatin1;
    case 20105:
    case 20127:
      return &kUndefined;
    default:
      return nullptr;
  }
}

// The byte of a character above 0x7F; 0 when the page lacks it.
unsigned char byte_of(const HighHalf& half, char32_t point) {
  if (point < 0x100 && half[point - 0x80] == point) return static_cast<unsigned char>(point);
  if (point == kReplacement) return 0;
  const auto* end = half.begin() + 32;  // beyond, bytes and characters are the same
  const auto* found = std::find(half.begin(), end, point);
  return found == end ? 0 : static_cast<unsigned char>(0x80 + (found - half.begin()));
}

// ---- whole texts ------------------------------------------------------------------

struct Outcome {
  bool known;  // false: no such page, and nothing was put out
  bool loss;   // something had to be replaced
};

UINT resolve(UINT page) {
  switch (page) {
    case CP_ACP:
    case CP_THREAD_ACP:
      return GetACP();
    case CP_OEMCP:
      return 437;
    case CP_MACCP:
      return 10000;
    default:
      return page;
  }
}

bool decode_utf8(std::string_view bytes, WideOutput& out) {
  bool loss = false;
  while (!bytes.empty()) {
    const std::size_t run = ascii_run(bytes);
    out.put_run(bytes.data(), run);
    bytes.remove_prefix(run);
    while (!bytes.empty() && static_cast<unsigned char>(bytes[0]) >= 0x80) {
      const Character next = first_utf8(bytes);
      loss = loss || !next.valid;
      put_utf16(next.point, out);
      bytes.remove_prefix(next.length);
    }
  }
  return loss;
}

bool decode_single(const HighHalf& half, std::string_view bytes, WideOutput& out) {
  bool loss = false;
  while (!bytes.empty()) {
    const std::size_t run = ascii_run(bytes);
    out.put_run(bytes.data(), run);
    bytes.remove_prefix(run);
    while (!bytes.empty() && static_cast<unsigned char>(bytes[0]) >= 0x80) {
      const char16_t character = half[static_cast<unsigned char>(bytes[0]) - 0x80U];
      loss = loss || character == kReplacement;
      out.put(character);
      bytes.remove_prefix(1);
    }
  }
  return loss;
}

// `put` puts one character out and tells whether it was replaced.
template <class Put>
bool encode_each(std::u16string_view wide, ByteOutput& out, Put put) {
  bool loss = false;
  while (!wide.empty()) {
    const std::size_t run = ascii_run(wide);
    out.put_run(wide.data(), run);
    wide.remove_prefix(run);
    while (!wide.empty() && wide[0] >= 0x80) {
      const Character next = first_utf16(wide);
      if (put(next)) loss = true;
      wide.remove_prefix(next.length);
    }
  }
  return loss;
}

Outcome decode(UINT page, std::string_view bytes, WideOutput& out) {
  page = resolve(page);
  if (page == CP_UTF8) return {true, decode_utf8(bytes, out)};
  if (const HighHalf* half = high_half(page)) return {true, decode_single(*half, bytes, out)};
  const char* name = iconv_name(page);
  if (name == nullptr) return {false, false};
  const IconvOutcome outcome = iconv_to_wide(name, bytes, out);
  return {outcome.converter, outcome.loss};
}

Outcome encode(UINT page, std::u16string_view wide, char replacement, ByteOutput& out) {
  page = resolve(page);
  if (page == CP_UTF8) {
    return {true, encode_each(wide, out, [&out](const Character& next) {
              put_utf8(next.valid ? next.point : kReplacement, out);
              return !next.valid;
            })};
  }
  if (const HighHalf* half = high_half(page)) {
    return {true, encode_each(wide, out, [&](const Character& next) {
              const unsigned char byte = byte_of(*half, next.point);
              out.put(byte != 0 ? static_cast<char>(byte) : replacement);
              return byte == 0;
            })};
  }
  const char* name = iconv_name(page);
  if (name == nullptr) return {false, false};
  const IconvOutcome outcome = iconv_from_wide(name, wide, replacement, out);
  return {outcome.converter, outcome.loss};
}

// Runs `convert` into a text that starts at the size `guess`, and again when that was too small.
template <class Text, class Convert>
Text collect(std::size_t guess, Convert convert) {
  Text text(guess, 0);
  for (;;) {
    Output<typename Text::value_type> out(text.data(), text.size());
    convert(out);
    const bool done = out.fits();
    text.resize(out.count());
    if (done) return text;
  }
}

// ---- the ANSI page ------------------------------------------------------------------

// Shift sequences would tear 8-bit texts apart, so pages with states are out.
bool is_usable_as_ansi(UINT page) {
  if (page <= CP_THREAD_ACP || (page >= 50000 && page < 51000)) return false;
  std::string ascii;
  for (char byte = 1; byte < 0x7F; ++byte) ascii += byte;
  WideOutput measure(nullptr, 0);
  if (!decode(page, ascii, measure).known) return false;
  const std::u16string wide = widen(page, ascii);
  return std::equal(wide.begin(), wide.end(), ascii.begin(), ascii.end(),
                    [](char16_t unit, char byte) { return unit == static_cast<char16_t>(byte); });
}

UINT ansi_page_of_environment() {
  const char* setting = std::getenv("TALLOWBROOK_CODE_PAGE");
  if (setting == nullptr) return kDefaultAnsi;
  const std::string_view text = setting;
  UINT page = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), page);
  const bool number = error == std::errc() && end == text.data() + text.size();
  return number && is_usable_as_ansi(page) ? page : kDefaultAnsi;
}

// The result of a C-shaped conversion.
template <class Unit>
int finish(const Output<Unit>& out, bool measuring) {
  if (out.count() > INT_MAX) return fail(ERROR_INVALID_PARAMETER);
  if (!measuring && !out.fits()) return fail(ERROR_INSUFFICIENT_BUFFER);
  return static_cast<int>(out.count());
}

// The text that a pointer and a count name; false when they name none.
template <class Unit>
bool text_of(const Unit* start, int count, std::basic_string_view<Unit>& text) {
  if (start == nullptr || count == 0 || count < -1) return false;
  if (count > 0) {
    text = {start, static_cast<std::size_t>(count)};
  } else {
    text = {start, std::char_traits<Unit>::length(start) + 1};
  }
  return true;
}

}  // namespace

std::u16string widen(UINT page, std::string_view bytes) {
  return collect<std::u16string>(bytes.size(), [&](WideOutput& out) {
    if (!decode(page, bytes, out).known) decode(CP_ACP, bytes, out);
  });
}

std::string narrow(UINT page, std::u16string_view wide) {
  return collect<std::string>(wide.size(), [&](ByteOutput& out) {
    if (!encode(page, wide, '?', out).known) encode(CP_ACP, wide, '?', out);
  });
}

std::string path_from_wide(std::u16string_view wide) {
  return collect<std::string>(wide.size(), [&](ByteOutput& out) {
    encode_each(wide, out, [&out](const Character& next) {
      const bool escaped_byte = next.point >= 0xDC80 && next.point <= 0xDCFF;
      if (escaped_byte) {
        out.put(static_cast<char>(next.point & 0xFF));
      } else {
        put_utf8(next.point, out);
      }
      return false;
    });
  });
}

std::u16string wide_from_path(std::string_view path) {
  return collect<std::u16string>(path.size(), [path](WideOutput& out) {
    std::string_view rest = path;
    while (!rest.empty()) {
      const Character next = first_utf8(rest);
      if (next.valid) {
        put_utf16(next.point, out);
      } else {
        for (const char byte : rest.substr(0, next.length)) {
          out.put(static_cast<char16_t>(0xDC00 + static_cast<unsigned char>(byte)));
        }
      }
      rest.remove_prefix(next.length);
    }
  });
}

std::string path_from_ansi(std::string_view ansi) {
  if (GetACP() == CP_UTF8 || ascii_run(ansi) == ansi.size()) return std::string(ansi);
  return path_from_wide(widen(CP_ACP, ansi));
}

std::string ansi_from_path(std::string_view path) {
  if (GetACP() == CP_UTF8 || ascii_run(path) == path.size()) return std::string(path);
  return narrow(CP_ACP, wide_from_path(path));
}

bool set_ansi_code_page(UINT page) {
  if (page == 0) {
    page = ansi_page_of_environment();
  } else if (!is_usable_as_ansi(page)) {
    return false;
  }
  ansi_page.store(page, std::memory_order_relaxed);
  return true;
}

}  // namespace tallowbrook::platform

namespace platform = tallowbrook::platform;

UINT GetACP() {
  const UINT known = platform::ansi_page.load(std::memory_order_relaxed);
  if (known != 0) return known;
  UINT page = platform::kDefaultAnsi;
  try {
    page = platform::ansi_page_of_environment();
  } catch (const std::bad_alloc&) {
    return page;
  }
  platform::ansi_page.store(page, std::memory_order_relaxed);
  return page;
}

BOOL IsValidCodePage(UINT page) {
  page = platform::resolve(page);
  return page == CP_UTF8 || platform::high_half(page) != nullptr ||
                 platform::iconv_name(page) != nullptr
             ? TRUE
             : FALSE;
}

int MultiByteToWideChar(UINT page, DWORD flags, const char* bytes, int count, OLECHAR* wide,
                        int capacity) {
  std::string_view text;
  if (!platform::text_of(bytes, count, text) || capacity < 0 || (capacity > 0 && wide == nullptr)) {
    return platform::fail(ERROR_INVALID_PARAMETER);
  }
  platform::WideOutput out(wide, static_cast<std::size_t>(capacity));
  const auto outcome = platform::decode(page, text, out);
  if (!outcome.known) return platform::fail(ERROR_INVALID_PARAMETER);
  if (outcome.loss && (flags & MB_ERR_INVALID_CHARS) != 0) {
    return platform::fail(ERROR_NO_UNICODE_TRANSLATION);
  }
  return platform::finish(out, capacity == 0);
}

int WideCharToMultiByte(UINT page, DWORD /*flags*/, const OLECHAR* wide, int count, char* bytes,
                        int capacity, const char* default_character, BOOL* used_default) {
  if (used_default != nullptr) *used_default = FALSE;
  std::u16string_view text;
  if (!platform::text_of(wide, count, text) || capacity < 0 || (capacity > 0 && bytes == nullptr)) {
    return platform::fail(ERROR_INVALID_PARAMETER);
  }
  const char replacement = default_character != nullptr ? *default_character : '?';
  platform::ByteOutput out(bytes, static_cast<std::size_t>(capacity));
  const auto outcome = platform::encode(page, text, replacement, out);
  if (!outcome.known) return platform::fail(ERROR_INVALID_PARAMETER);
  if (used_default != nullptr && outcome.loss) *used_default = TRUE;
  return platform::finish(out, capacity == 0);
}
