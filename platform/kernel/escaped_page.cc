// Characters of two bytes go through the C library's converter for the same set with the high bits
// on, run by run; all else is converted here.
#include "platform/kernel/escaped_page.h"

#include <algorithm>
#include <array>
#include <string>

#include "platform/kernel/iconv_page.h"

namespace tallowbrook::platform {
namespace {

constexpr UINT kHz = 52936;
constexpr UINT kEucJp = 51932;
constexpr UINT kGbk = 936;
constexpr UINT kEucKr = 51949;

constexpr char kEscape = '\x1B';
constexpr char kShiftOut = '\x0E';
constexpr char kShiftIn = '\x0F';
constexpr char kSupplementMark = '\x8F';  // of EUC-JP, before characters of JIS X 0212
constexpr char kKanaMark = '\x8E';        // the same, before half-width katakana

constexpr char16_t kFirstKana = 0xFF61;
constexpr char16_t kLastKana = 0xFF9F;
constexpr char16_t kYen = 0x00A5;
constexpr char16_t kOverline = 0x203E;

enum class Set { kAscii, kRoman, kKana, kJis, kSupplement, kChinese, kKorean };

// The first of a set is the one that is written.
struct Switch {
  std::string_view text;
  Set set;
};
constexpr Switch kSwitches[] = {{"\x1B(B", Set::kAscii},   {"\x1B(J", Set::kRoman},
                                {"\x1B(I", Set::kKana},    {"\x1B$B", Set::kJis},
                                {"\x1B$@", Set::kJis},     {"\x1B$(B", Set::kJis},
                                {"\x1B$(@", Set::kJis},    {"\x1B$A", Set::kChinese},
                                {"\x1B$(C", Set::kKorean}, {"\x1B$(D", Set::kSupplement}};

bool is_graphic(char byte) { return byte > 0x20 && byte < 0x7F; }
char with_high_bit(char byte) { return static_cast<char>(byte | 0x80); }
char without_high_bit(char byte) { return static_cast<char>(byte & 0x7F); }

// Converts the pairs at the start of `bytes`, whose first bytes are not above `last_lead`, and
// takes them off; each comes with `mark` before it where that is not 0. What is no pair is one
// replacement. Tells about losses.
bool decode_pairs(UINT page, std::string_view& bytes, char last_lead, char mark, WideOutput& out) {
  std::array<char, 1536> pairs;
  std::size_t count = 0;
  while (count + 3 <= pairs.size() && bytes.size() >= 2 && is_graphic(bytes[0]) &&
         bytes[0] <= last_lead && is_graphic(bytes[1])) {
    if (mark != 0) pairs[count++] = mark;
    pairs[count++] = with_high_bit(bytes[0]);
    pairs[count++] = with_high_bit(bytes[1]);
    bytes.remove_prefix(2);
  }
  if (count > 0) return iconv_to_wide(*iconv_page(page), {pairs.data(), count}, out).loss;
  out.put(kReplacement);
  bytes.remove_prefix(1);
  return true;
}

// --- ISO-2022-JP ---------------------------------------------------------------------------------

const Switch* switch_at(std::string_view bytes) {
  for (const Switch& known : kSwitches) {
    if (bytes.starts_with(known.text)) return &known;
  }
  return nullptr;
}

// One character of a set with one byte for each.
char16_t single(Set set, char byte) {
  if (set == Set::kRoman && byte == '\\') return kYen;
  if (set == Set::kRoman && byte == '~') return kOverline;
  if (set != Set::kKana) return static_cast<char16_t>(byte);
  const auto kana = static_cast<char16_t>(kFirstKana + byte - 0x21);
  return kana <= kLastKana ? kana : kReplacement;
}

bool decode_iso2022(std::string_view bytes, WideOutput& out) {
  bool loss = false;
  Set set = Set::kAscii;
  while (!bytes.empty()) {
    const char byte = bytes[0];
    if (is_graphic(byte) && set >= Set::kJis) {
      const UINT page = set == Set::kChinese ? kGbk : set == Set::kKorean ? kEucKr : kEucJp;
      const char mark = set == Set::kSupplement ? kSupplementMark : '\0';
      loss |= decode_pairs(page, bytes, 0x7E, mark, out);
      continue;
    }
    if (const Switch* found = byte == kEscape ? switch_at(bytes) : nullptr; found != nullptr) {
      set = found->set;
      bytes.remove_prefix(found->text.size());
      continue;
    }
    bytes.remove_prefix(1);
    if (byte == kShiftOut || byte == kShiftIn) {
      set = byte == kShiftOut ? Set::kKana : Set::kAscii;
    } else if (byte == kEscape || (byte & 0x80) != 0) {
      out.put(kReplacement);
      loss = true;
    } else if (is_graphic(byte)) {
      const char16_t unit = single(set, byte);
      out.put(unit);
      loss |= unit == kReplacement;
    } else {
      if (byte == '\r' || byte == '\n') set = Set::kAscii;
      out.put(static_cast<char16_t>(byte));
    }
  }
  return loss;
}

class Iso2022Writer {
 public:
  explicit Iso2022Writer(ByteOutput& out) : out_(out) {}

  void put(Set set, char byte) {
    select(set);
    out_.put(without_high_bit(byte));
  }
  // Characters in EUC-JP.
  void put_euc(std::string_view bytes) {
    while (!bytes.empty()) {
      const bool marked = bytes[0] == kKanaMark || bytes[0] == kSupplementMark;
      const Set set = (bytes[0] & 0x80) == 0        ? Set::kAscii
                      : bytes[0] == kKanaMark       ? Set::kKana
                      : bytes[0] == kSupplementMark ? Set::kSupplement
                                                    : Set::kJis;
      if (marked) bytes.remove_prefix(1);
      const std::size_t length = set == Set::kAscii || set == Set::kKana ? 1 : 2;
      for (const char byte : bytes.substr(0, length)) put(set, byte);
      bytes.remove_prefix(std::min(length, bytes.size()));
    }
  }
  void select(Set set) {
    if (set == set_) return;
    set_ = set;
    for (const Switch& known : kSwitches) {
      if (known.set == set) return out_.put_run(known.text.data(), known.text.size());
    }
  }

 private:
  ByteOutput& out_;
  Set set_ = Set::kAscii;
};

bool is_kana(char16_t unit) { return unit >= kFirstKana && unit <= kLastKana; }
bool is_roman(char16_t unit) { return unit == kYen || unit == kOverline; }

// The units at the start of `wide` that a converter takes.
std::size_t foreign_run(std::u16string_view wide) {
  std::size_t length = 0;
  while (length < wide.size() && wide[length] >= 0x80 && !is_kana(wide[length]) &&
         !is_roman(wide[length])) {
    ++length;
  }
  return length;
}

// The run at the start of `wide` in the bytes of a page; it is taken off. The wide tilde, which
// texts have for the wave dash, goes out as that: its place in JIS X 0212 is read by few.
std::string foreign_bytes(UINT page, std::u16string_view& wide, char replacement, bool& loss) {
  std::u16string run(wide.substr(0, foreign_run(wide)));
  wide.remove_prefix(run.size());
  if (page == kEucJp) std::replace(run.begin(), run.end(), u'\uFF5E', u'\u301C');
  std::string bytes(run.size() * 3, '\0');
  ByteOutput room(bytes.data(), bytes.size());
  loss |= iconv_from_wide(*iconv_page(page), run, replacement, room).loss;
  bytes.resize(std::min(room.count(), bytes.size()));
  return bytes;
}

bool encode_iso2022(std::u16string_view wide, char replacement, ByteOutput& out) {
  bool loss = false;
  Iso2022Writer writer(out);
  while (!wide.empty()) {
    const char16_t unit = wide[0];
    if (foreign_run(wide.substr(0, 1)) != 0) {
      writer.put_euc(foreign_bytes(kEucJp, wide, replacement, loss));
      continue;
    }
    wide.remove_prefix(1);
    if (is_kana(unit)) {
      writer.put(Set::kKana, static_cast<char>(unit - kFirstKana + 0x21));
    } else if (is_roman(unit)) {
      writer.put(Set::kRoman, unit == kYen ? '\\' : '~');
    } else {
      const bool switches = unit == kEscape || unit == kShiftOut || unit == kShiftIn;
      loss |= switches;
      writer.put(Set::kAscii, switches ? replacement : static_cast<char>(unit));
    }
  }
  writer.select(Set::kAscii);
  return loss;
}

// --- HZ ------------------------------------------------------------------------------------------

bool decode_hz(std::string_view bytes, WideOutput& out) {
  bool loss = false;
  bool inside = false;
  while (!bytes.empty()) {
    const char byte = bytes[0];
    if (inside && is_graphic(byte) && byte != '~') {
      loss |= decode_pairs(kGbk, bytes, 0x7D, '\0', out);
      continue;
    }
    const char next = bytes.size() > 1 ? bytes[1] : '\0';
    const bool paired =
        byte == '~' && (next == (inside ? '}' : '{') || next == '~' || next == '\n');
    bytes.remove_prefix(paired ? 2 : 1);
    if (paired && next != '~') {
      inside = next == '{';
    } else if ((byte & 0x80) != 0) {
      out.put(kReplacement);
      loss = true;
    } else {
      if (byte == '\r' || byte == '\n') inside = false;
      out.put(static_cast<char16_t>(byte));
    }
  }
  return loss;
}

bool encode_hz(std::u16string_view wide, char replacement, ByteOutput& out) {
  bool loss = false;
  bool inside = false;
  const auto put = [&](bool pair, std::string_view bytes) {
    if (pair != inside) {
      inside = pair;
      out.put_run(pair ? "~{" : "~}", 2);
    }
    for (const char byte : bytes) out.put(without_high_bit(byte));
  };
  while (!wide.empty()) {
    if (foreign_run(wide.substr(0, 1)) == 0) {
      const char16_t unit = wide[0];
      wide.remove_prefix(1);
      const char byte = unit < 0x80 ? static_cast<char>(unit) : replacement;
      loss |= unit >= 0x80;
      put(false, byte == '~' ? std::string_view("~~") : std::string_view(&byte, 1));
      continue;
    }
    const std::string run = foreign_bytes(kGbk, wide, replacement, loss);
    for (std::string_view bytes = run; !bytes.empty();) {
      const std::size_t length =
          std::min<std::size_t>((bytes[0] & 0x80) != 0 ? 2 : 1, bytes.size());
      // The rest of the larger set that the page is has no place here.
      const auto lead = static_cast<unsigned char>(bytes[0]);
      const bool fits = length == 2 && lead >= 0xA1 && lead <= 0xF7 && (bytes[1] & 0x80) != 0 &&
                        is_graphic(without_high_bit(bytes[1]));
      loss |= length == 2 && !fits;
      put(fits, fits ? bytes.substr(0, 2) : std::string_view(&replacement, 1));
      bytes.remove_prefix(length);
    }
  }
  put(false, {});
  return loss;
}

}  // namespace

bool is_escaped_page(UINT page) { return (page >= 50220 && page <= 50222) || page == kHz; }

bool decode_escaped(UINT page, std::string_view bytes, WideOutput& out) {
  return page == kHz ? decode_hz(bytes, out) : decode_iso2022(bytes, out);
}

bool encode_escaped(UINT page, std::u16string_view wide, char replacement, ByteOutput& out) {
  return page == kHz ? encode_hz(wide, replacement, out) : encode_iso2022(wide, replacement, out);
}

}  // namespace tallowbrook::platform
