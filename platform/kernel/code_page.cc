#include "platform/kernel/code_page.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <new>

#include "platform/kernel/byte_page.h"
#include "platform/kernel/escaped_page.h"
#include "platform/kernel/handles.h"
#include "platform/kernel/iconv_page.h"
#include "platform/kernel/unicode.h"

namespace tallowbrook::platform {
namespace {

constexpr UINT kDefaultAnsi = 1252;
constexpr char16_t kByteOrderMark = 0xFEFF;

constinit std::atomic<UINT> ansi_page{0};  // 0: not yet known

// The table of a page with one byte for a character; null for any other page.
const BytePage* byte_page(UINT page) {
  switch (page) {
    case 1252:
    case 28591:  // what says ISO-8859-1 means windows-1252, as mail programs take it
      return &kWesternPage;
    case 20105:
    case 20127:
      return &kAsciiPage;
    default:
      break;
  }
  const IconvPage* known = iconv_page(page);
  return known == nullptr || joins_marks(page) ? nullptr : iconv_byte_page(known->name);
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

// One character in room that is known to suffice; true when it was replaced.
bool decode_one(std::string_view& bytes, char16_t*& to) {
  const auto lead = static_cast<unsigned char>(bytes[0]);
  if (lead < 0x80) {
    *to++ = lead;
    bytes.remove_prefix(1);
    return false;
  }
  const Character next = first_utf8(bytes);
  WideOutput out(to, 2);
  put_utf16(next.point, out);
  to += out.count();
  bytes.remove_prefix(next.length);
  return !next.valid;
}

// A text of n bytes has at most n units, so room for as many needs no checks: blocks of ASCII go
// through whole, any other block one character at a time.
bool decode_utf8_in_room(std::string_view bytes, WideOutput& out) {
  bool loss = false;
  char16_t* const start = out.next_room();
  char16_t* to = start;
  while (bytes.size() >= kBlock) {
    if (is_ascii_block(bytes.data())) {
      copy_block(bytes.data(), to);
      to += kBlock;
      bytes.remove_prefix(kBlock);
      continue;
    }
    const char* const stop = bytes.data() + kBlock;
    while (bytes.data() < stop) loss |= decode_one(bytes, to);
  }
  while (!bytes.empty()) loss |= decode_one(bytes, to);
  auto units = static_cast<std::size_t>(to - start);
  static_cast<void>(out.take_room(units));
  return loss;
}

bool decode_utf8(std::string_view bytes, WideOutput& out) {
  if (out.room_left() >= bytes.size()) return decode_utf8_in_room(bytes, out);
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

// ---- UTF-16 --------------------------------------------------------------------------

constexpr UINT kUtf16Little = 1200;
constexpr UINT kUtf16Big = 1201;

bool is_utf16(UINT page) { return page == kUtf16Little || page == kUtf16Big; }

char16_t unit_at(std::string_view bytes, bool big) {
  const auto first = static_cast<unsigned char>(bytes[big ? 0 : 1]);
  const auto second = static_cast<unsigned char>(bytes[big ? 1 : 0]);
  return static_cast<char16_t>(first << 8 | second);
}

// A byte order mark at the start decides, whatever the page says, and is no text (RFC 2781 section
// 3.2).
bool decode_utf16(UINT page, std::string_view bytes, WideOutput& out) {
  bool loss = false;
  bool big = page == kUtf16Big;
  const bool other = bytes.size() >= 2 && unit_at(bytes, !big) == kByteOrderMark;
  if (other) big = !big;
  if (bytes.size() >= 2 && unit_at(bytes, big) == kByteOrderMark) bytes.remove_prefix(2);
  for (; bytes.size() >= 2; bytes.remove_prefix(2)) {
    const char16_t units[2] = {unit_at(bytes, big),
                               bytes.size() >= 4 ? unit_at(bytes.substr(2), big) : u'\0'};
    const Character next = first_utf16({units, 2});
    put_utf16(next.valid ? next.point : kReplacement, out);
    loss |= !next.valid;
    if (next.length == 2) bytes.remove_prefix(2);
  }
  if (!bytes.empty()) out.put(kReplacement);
  return loss || !bytes.empty();
}

bool encode_utf16(UINT page, std::u16string_view wide, char replacement, ByteOutput& out) {
  bool loss = false;
  while (!wide.empty()) {
    const Character next = first_utf16(wide);
    loss |= !next.valid;
    for (const char16_t unit : wide.substr(0, next.length)) {
      const char16_t put = next.valid ? unit : static_cast<unsigned char>(replacement);
      const auto high = static_cast<char>(put >> 8);
      const auto low = static_cast<char>(put & 0xFF);
      out.put(page == kUtf16Big ? high : low);
      out.put(page == kUtf16Big ? low : high);
    }
    wide.remove_prefix(next.length);
  }
  return loss;
}

// A mark joins the letter before it, so a letter with its marks goes through the converter, and all
// else by the table of what the bytes mean alone.
IconvOutcome decode_with_marks(const IconvPage& known, std::string_view bytes, WideOutput& out) {
  const BytePage* table = iconv_byte_page(known.name);
  if (table == nullptr) return iconv_to_wide(known, bytes, out);
  IconvOutcome all{true, false};
  while (!bytes.empty() && all.converter) {
    const auto mark = [&known](char byte) { return is_mark(known.page, byte); };
    const auto first = std::find_if(bytes.begin(), bytes.end(), mark);
    auto plain = static_cast<std::size_t>(first - bytes.begin());
    if (plain > 0 && first != bytes.end()) --plain;
    all.loss |= decode_with(table->wide(), bytes.substr(0, plain), out);
    bytes.remove_prefix(plain);
    const auto behind = std::find_if_not(std::min(first, bytes.end()), bytes.end(), mark);
    const auto joined = static_cast<std::size_t>(behind - bytes.begin());
    const IconvOutcome outcome = iconv_to_wide(known, bytes.substr(0, joined), out);
    all = {outcome.converter, all.loss || outcome.loss};
    bytes.remove_prefix(joined);
  }
  return all;
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

// A replacement is put out as the page has it.
bool encode_with(const BytePage& page, std::u16string_view wide, char replacement,
                 ByteOutput& out) {
  const int instead = page.byte_of(static_cast<unsigned char>(replacement));
  const char stand_in = instead < 0 ? replacement : static_cast<char>(instead);
  const auto put = [&](const Character& next) {
    const int byte = page.byte_of(next.point);
    out.put(byte < 0 ? stand_in : static_cast<char>(byte));
    return byte < 0;
  };
  if (page.contains_ascii()) return encode_each(wide, out, put);
  bool loss = false;
  while (!wide.empty()) {
    const Character next = first_utf16(wide);
    loss |= put(next);
    wide.remove_prefix(next.length);
  }
  return loss;
}

Outcome decode(UINT page, std::string_view bytes, WideOutput& out) {
  page = resolve(page);
  if (page == CP_UTF8) return {true, decode_utf8(bytes, out)};
  if (const BytePage* table = byte_page(page)) {
    return {true, decode_with(table->wide(), bytes, out)};
  }
  if (is_utf16(page)) return {true, decode_utf16(page, bytes, out)};
  if (is_escaped_page(page)) return {true, decode_escaped(page, bytes, out)};
  const IconvPage* known = iconv_page(page);
  if (known == nullptr) return {false, false};
  const IconvOutcome outcome =
      joins_marks(page) ? decode_with_marks(*known, bytes, out) : iconv_to_wide(*known, bytes, out);
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
  if (const BytePage* table = byte_page(page))
    return {true, encode_with(*table, wide, replacement, out)};
  if (is_utf16(page)) return {true, encode_utf16(page, wide, replacement, out)};
  if (is_escaped_page(page)) return {true, encode_escaped(page, wide, replacement, out)};
  const IconvPage* known = iconv_page(page);
  if (known == nullptr) return {false, false};
  const IconvOutcome outcome = iconv_from_wide(*known, wide, replacement, out);
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
  if (page <= CP_THREAD_ACP || is_escaped_page(page) || (page >= 50000 && page < 51000))
    return false;
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

bool parts_before_ascii(UINT page) {
  page = resolve(page);
  return page == CP_UTF8 || joins_marks(page) || byte_page(page) != nullptr;
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
  switch (page) {
    case 1252:
    case 20105:
    case 20127:
    case 28591:
    case CP_UTF8:
      return TRUE;
    default:
      break;
  }
  const bool known = platform::is_utf16(page) || platform::is_escaped_page(page) ||
                     platform::iconv_page(page) != nullptr;
  return known ? TRUE : FALSE;
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
