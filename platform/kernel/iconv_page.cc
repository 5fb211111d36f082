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
struct NamedPage {
  UINT page;
  const char* name;
};
constexpr NamedPage kPages[] = {
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
    {950, "CP950"},
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
    {1200, "UTF-16LE"},
    {1201, "UTF-16BE"},
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
    {10008, "EUC-CN"},
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
    {20932, "EUC-JP"},
    {20936, "EUC-CN"},
    {20949, "EUC-KR"},
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
    {50220, "ISO-2022-JP"},
    {50221, "ISO-2022-JP"},
    {50222, "ISO-2022-JP"},
    {50225, "ISO-2022-KR"},
    {50227, "ISO-2022-CN"},
    {51932, "EUC-JP"},
    {51936, "EUC-CN"},
    {51949, "EUC-KR"},
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

}  // namespace

const char* iconv_name(UINT page) {
  const auto* found =
      std::lower_bound(std::begin(kPages), std::end(kPages), page,
                       [](const NamedPage& named, UINT wanted) { return named.page < wanted; });
  return found != std::end(kPages) && found->page == page ? found->name : nullptr;
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

IconvOutcome iconv_to_wide(const char* name, std::string_view bytes, WideOutput& out) {
  Descriptor converter(name, true);
  if (!converter.is_open()) return {false, false};
  bool loss = false;
  while (!bytes.empty()) {
    const int error = converter.run(bytes, out);
    if (error == 0) break;
    loss = true;
    out.put(kReplacement);
    if (error != EILSEQ || bytes.empty()) break;  // the text ends inside a sequence
    bytes.remove_prefix(1);
  }
  bytes = {};
  converter.run(bytes, out);
  return {true, loss};
}

IconvOutcome iconv_from_wide(const char* name, std::u16string_view wide, char replacement,
                             ByteOutput& out) {
  Descriptor converter(name, false);
  if (!converter.is_open()) return {false, false};
  const char16_t stand_in = static_cast<unsigned char>(replacement);
  bool loss = false;
  while (!wide.empty()) {
    if (converter.run(wide, out) == 0 || wide.empty()) break;
    loss = true;
    std::u16string_view instead(&stand_in, 1);
    converter.run(instead, out);
    wide.remove_prefix(first_utf16(wide).length);
  }
  wide = {};
  converter.run(wide, out);
  return {true, loss};
}

}  // namespace tallowbrook::platform
