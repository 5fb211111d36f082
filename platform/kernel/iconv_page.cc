#include "platform/kernel/iconv_page.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <utility>

namespace tallowbrook::platform {
namespace {

// By number.
constexpr IconvPage kPages[] = {
    {37, "IBM037"},
    {437, "IBM437"},
    {500, "IBM500"},
    {708, "ASMO-708"},
    {737, "CP737"},
    {775, "CP775"},
    {850, "IBM850"},
    {852, "IBM852"},
    {855, "IBM855"},
    {857, "IBM857"},
    {858, "CP858"},
    {860, "IBM860"},
    {861, "IBM861"},
    {862, "IBM862"},
    {863, "IBM863"},
    {864, "IBM864"},
    {865, "IBM865"},
    {866, "IBM866"},
    {869, "IBM869"},
    {870, "IBM870"},
    {874, "WINDOWS-874"},
    {875, "CP875"},
    {932, "CP932"},
    {936, "CP936"},
    {949, "UHC"},
    {950, "CP950", "BIG5-HKSCS"},
    {1026, "IBM1026"},
    {1047, "IBM1047"},
    {1140, "IBM1140"},
    {1141, "IBM1141"},
    {1142, "IBM1142"},
    {1143, "IBM1143"},
    {1144, "IBM1144"},
    {1145, "IBM1145"},
    {1146, "IBM1146"},
    {1147, "IBM1147"},
    {1148, "IBM1148"},
    {1149, "IBM1149"},
    {1250, "CP1250"},
    {1251, "CP1251"},
    {1253, "CP1253"},
    {1254, "CP1254"},
    {1255, "CP1255"},
    {1256, "CP1256"},
    {1257, "CP1257"},
    {1258, "CP1258"},
    {1361, "JOHAB"},
    {10000, "MACINTOSH"},
    {10001, "CP932"},  // the Macintosh sets of 10001 to 10008 hold these and a few signs more
    {10002, "CP950"},
    {10003, "UHC"},
    {10007, "MAC-CYRILLIC"},
    {10008, "EUC-CN", "CP936"},
    {10017, "MAC-UK"},
    {10029, "MAC-CENTRALEUROPE"},
    {10079, "MAC-IS"},
    {12000, "UTF-32LE"},
    {12001, "UTF-32BE"},
    {20106, "DIN_66003"},
    {20107, "SEN_850200_B"},
    {20108, "NS_4551-1"},
    {20261, "T.61-8BIT"},
    {20269, "ISO_6937"},
    {20273, "IBM273"},
    {20277, "IBM277"},
    {20278, "IBM278"},
    {20280, "IBM280"},
    {20284, "IBM284"},
    {20285, "IBM285"},
    {20290, "IBM290"},
    {20297, "IBM297"},
    {20420, "IBM420"},
    {20423, "IBM423"},
    {20424, "IBM424"},
    {20866, "KOI8-R"},
    {20871, "IBM871"},
    {20880, "IBM880"},
    {20905, "IBM905"},
    {20932, "EUC-JP", "EUC-JP-MS"},
    {20936, "EUC-CN", "CP936"},
    {20949, "UHC"},
    {21025, "IBM1025"},
    {21866, "KOI8-U"},
    {28592, "ISO-8859-2"},
    {28593, "ISO-8859-3"},
    {28594, "ISO-8859-4"},
    {28595, "ISO-8859-5"},
    {28596, "ISO-8859-6"},
    {28597, "ISO-8859-7"},
    {28598, "ISO-8859-8"},
    {28599, "ISO-8859-9"},
    {28600, "ISO-8859-10"},
    {28601, "ISO-8859-11"},
    {28603, "ISO-8859-13"},
    {28604, "ISO-8859-14"},
    {28605, "ISO-8859-15"},
    {28606, "ISO-8859-16"},
    {38598, "ISO-8859-8"},
    {50225, "ISO-2022-KR"},
    {50227, "ISO-2022-CN"},
    {51932, "EUC-JP", "EUC-JP-MS"},
    {51936, "EUC-CN", "CP936"},
    {51949, "UHC"},
    {54936, "GB18030"},
    {65000, "UTF-7"},
    {65005, "UTF-32LE"},
    {65006, "UTF-32BE"},
};
static_assert(std::is_sorted(std::begin(kPages), std::end(kPages),
                             [](const auto& a, const auto& b) { return a.page < b.page; }));

constexpr const char* kWide = std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

const iconv_t kNone = reinterpret_cast<iconv_t>(std::intptr_t{-1});

// Idle descriptors, so that a conversion need not open one: opening costs microseconds, the first
// time much more.
struct Idle {
  iconv_t descriptor = nullptr;  // null: a free place
  const char* name = nullptr;    // from kPages
  bool to_wide = false;
};
constinit std::mutex idle_lock;
constinit std::array<Idle, 16> idle_descriptors{};

// A descriptor that nobody else uses, in its initial state.
class Descriptor {
 public:
  Descriptor(const char* name, bool to_wide) : name_(name), to_wide_(to_wide) {
    {
      const std::lock_guard hold(idle_lock);
      for (Idle& idle : idle_descriptors) {
        if (idle.descriptor == nullptr || idle.name != name || idle.to_wide != to_wide) continue;
        descriptor_ = std::exchange(idle.descriptor, nullptr);
        return;
      }
    }
    descriptor_ = to_wide ? iconv_open(kWide, name) : iconv_open(name, kWide);
  }
  ~Descriptor() {
    if (descriptor_ == kNone) return;
    iconv(descriptor_, nullptr, nullptr, nullptr, nullptr);  // back to the initial state
    {
      const std::lock_guard hold(idle_lock);
      for (Idle& idle : idle_descriptors) {
        if (idle.descriptor != nullptr) continue;
        idle = {descriptor_, name_, to_wide_};
        return;
      }
      std::swap(idle_descriptors[0].descriptor, descriptor_);
      idle_descriptors[0].name = name_;
      idle_descriptors[0].to_wide = to_wide_;
    }
    iconv_close(descriptor_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  [[nodiscard]] bool is_open() const { return descriptor_ != kNone; }

  // Converts as far as it goes, moving `input` on, and puts the result out. Returns 0 when all is
  // converted, else EILSEQ or EINVAL with `input` at what cannot be. An empty input ends the text.
  template <class Source, class Unit>
  int run(std::basic_string_view<Source>& input, Output<Unit>& out) {
    auto* from = const_cast<char*>(reinterpret_cast<const char*>(input.data()));
    std::size_t left = input.size() * sizeof(Source);
    const bool end = input.empty();
    std::array<Unit, 2048> block;
    int error = 0;
    do {
      auto* to = reinterpret_cast<char*>(block.data());
      std::size_t room = sizeof block;
      const std::size_t result = iconv(descriptor_, end ? nullptr : &from, &left, &to, &room);
      error = result == static_cast<std::size_t>(-1) ? errno : 0;
      out.put_run(block.data(), (sizeof block - room) / sizeof(Unit));
      if (error == E2BIG && room == sizeof block) error = EILSEQ;  // cannot be: no progress
    } while (error == E2BIG);
    input.remove_prefix(input.size() - left / sizeof(Source));
    return error;
  }

 private:
  iconv_t descriptor_ = kNone;
  const char* name_;
  bool to_wide_;
};

// --- sequences that mean nothing -----------------------------------------------------------------

// True for the first byte of a character of two bytes or more, in the pages that have such.
bool is_lead(UINT page, unsigned char byte) {
  switch (page) {
    case 932:
    case 10001:
      return byte > 0x80 && byte != 0xA0 && byte < 0xFD;
    case 20932:
    case 51932:
      return byte == 0x8E || byte == 0x8F || (byte > 0xA0 && byte < 0xFF);
    case 936:
    case 949:
    case 950:
    case 1361:
    case 10002:
    case 10003:
    case 10008:
    case 20936:
    case 20949:
    case 51936:
    case 51949:
    case 54936:
      return byte > 0x80 && byte < 0xFF;
    default:
      return false;
  }
}

// The bytes that the character at the start of `bytes` has, as far as they are there.
std::size_t sequence_length(UINT page, std::string_view bytes) {
  const auto byte_at = [bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  std::size_t length = 1;
  if (page == 12000 || page == 12001 || page == 65005 || page == 65006) {
    length = 4;
  } else if (is_lead(page, byte_at(0))) {
    const bool three = (page == 20932 || page == 51932) && byte_at(0) == 0x8F;
    const bool four = page == 54936 && bytes.size() > 1 && byte_at(1) >= '0' && byte_at(1) <= '9';
    length = three ? 3 : four ? 4 : 2;
  }
  return std::min(length, bytes.size());
}

// How much of `bytes`, whose first sequence means nothing, one replacement stands for. ASCII behind
// a lead byte stays text: it may be a line end, or the quote that ends a text.
std::size_t meaningless_length(UINT page, std::string_view bytes) {
  const std::size_t length = sequence_length(page, bytes);
  if (length != 2) return length;
  return static_cast<unsigned char>(bytes[1]) < 0x80 ? 1 : 2;
}

}  // namespace

const IconvPage* iconv_page(UINT page) {
  const auto* found =
      std::lower_bound(std::begin(kPages), std::end(kPages), page,
                       [](const IconvPage& known, UINT wanted) { return known.page < wanted; });
  return found != std::end(kPages) && found->page == page ? found : nullptr;
}

std::optional<char16_t> iconv_unit(const char* name, char byte) {
  Descriptor converter(name, true);
  if (!converter.is_open()) return {};
  char16_t units[4];
  WideOutput out(units, 4);
  std::string_view text(&byte, 1);
  const int error = converter.run(text, out);
  if (error == EILSEQ) return kReplacement;
  text = {};
  if (error != 0 || converter.run(text, out) != 0 || out.count() != 1) return {};
  return units[0];
}

IconvOutcome iconv_to_wide(const IconvPage& page, std::string_view bytes, WideOutput& out) {
  Descriptor converter(page.name, true);
  if (!converter.is_open()) return {false, false};
  std::optional<Descriptor> wider;
  bool loss = false;
  while (!bytes.empty()) {
    const int error = converter.run(bytes, out);
    if (error == 0) break;
    if (page.wider != nullptr && error == EILSEQ) {
      if (!wider) wider.emplace(page.wider, true);
      std::string_view sequence = bytes.substr(0, sequence_length(page.page, bytes));
      const std::size_t length = sequence.size();
      if (wider->is_open() && wider->run(sequence, out) == 0) {
        wider->run(sequence, out);  // empty now: what is held back comes out
        bytes.remove_prefix(length);
        continue;
      }
    }
    loss = true;
    out.put(kReplacement);
    if (error != EILSEQ || bytes.empty()) break;  // the text ends inside a sequence
    bytes.remove_prefix(meaningless_length(page.page, bytes));
  }
  bytes = {};
  converter.run(bytes, out);
  return {true, loss};
}

IconvOutcome iconv_from_wide(const IconvPage& page, std::u16string_view wide, char replacement,
                             ByteOutput& out) {
  Descriptor converter(page.name, false);
  if (!converter.is_open()) return {false, false};
  std::optional<Descriptor> wider;
  const char16_t stand_in = static_cast<unsigned char>(replacement);
  bool loss = false;
  while (!wide.empty()) {
    if (converter.run(wide, out) == 0 || wide.empty()) break;
    const std::size_t length = first_utf16(wide).length;
    std::u16string_view character = wide.substr(0, length);
    wide.remove_prefix(length);
    if (page.wider != nullptr) {
      if (!wider) wider.emplace(page.wider, false);
      if (wider->is_open() && wider->run(character, out) == 0) {
        wider->run(character, out);  // empty now: what is held back comes out
        continue;
      }
    }
    loss = true;
    std::u16string_view instead(&stand_in, 1);
    converter.run(instead, out);
  }
  wide = {};
  converter.run(wide, out);
  return {true, loss};
}

}  // namespace tallowbrook::platform
