#include "coding/utf8_coder.h"

#include <cstring>

#include "coding/block_io.h"
#include "coding/rest_of_input.h"
#include "platform/kernel/code_page.h"

namespace tallowbrook {

namespace {

// How many bytes follow a lead byte; -1 for a byte that leads nothing.
int further_bytes(unsigned char lead) {
  if (lead < 0x80) return 0;
  if (lead < 0xC0 || lead >= 0xFE) return -1;
  int count = 1;
  while (lead & (0x40 >> count)) ++count;
  return count;
}

void put_sequence(std::uint32_t value, BlockWriter& out) {
  if (value < 0x80) {
    out.put(static_cast<char>(value));
    return;
  }
  constexpr std::uint32_t kLimits[] = {0x800, 0x10000, 0x200000, 0x4000000};
  unsigned further = 1;
  while (further < 5 && value >= kLimits[further - 1]) ++further;
  const unsigned marks = 0xFFU & ~(0x7FU >> further);
  out.put(static_cast<char>(marks | (value >> (6 * further))));
  while (further-- > 0) out.put(static_cast<char>(0x80 | ((value >> (6 * further)) & 0x3F)));
}

// --- the ANSI code page, a byte at a time --------------------------------------------------------

std::uint32_t ansi_unit(char byte) {
  if ((byte & 0x80) == 0) return static_cast<unsigned char>(byte);
  const std::u16string wide = platform::widen(CP_ACP, {&byte, 1});
  return wide.empty() ? 0 : wide[0];
}

char ansi_byte(std::uint32_t value) {
  if (value < 0x80) return static_cast<char>(value);
  if (value > 0x10FFFF) return '\0';
  OLECHAR units[2] = {static_cast<OLECHAR>(value), 0};
  if (value > 0xFFFF) {
    units[0] = static_cast<OLECHAR>(0xD7C0 + (value >> 10));
    units[1] = static_cast<OLECHAR>(0xDC00 + (value & 0x3FF));
  }
  char bytes[8] = {};
  BOOL missing = FALSE;
  WideCharToMultiByte(CP_ACP, 0, units, value > 0xFFFF ? 2 : 1, bytes, sizeof bytes, nullptr,
                      &missing);
  return missing ? '\0' : bytes[0];
}

// --- units ---------------------------------------------------------------------------------------

template <class Unit>
void encode_units(std::string_view text, BlockWriter& out) {
  for (; text.size() >= sizeof(Unit); text.remove_prefix(sizeof(Unit))) {
    Unit unit;
    std::memcpy(&unit, text.data(), sizeof unit);
    if constexpr (sizeof(Unit) == 1) {
      put_sequence(ansi_unit(static_cast<char>(unit)), out);
    } else {
      put_sequence(unit, out);
    }
  }
}

template <class Unit>
void put_unit(std::uint32_t value, BlockWriter& out) {
  if constexpr (sizeof(Unit) == 1) {
    out.put(ansi_byte(value));
  } else {
    const auto unit = static_cast<Unit>(value);
    std::memcpy(out.room(sizeof unit), &unit, sizeof unit);
    out.filled(sizeof unit);
  }
}

template <class Unit>
void decode_units(std::string_view text, BlockWriter& out) {
  while (!text.empty()) {
    const auto lead = static_cast<unsigned char>(text[0]);
    text.remove_prefix(1);
    const int further = further_bytes(lead);
    if (further < 0) continue;
    if (text.size() < static_cast<std::size_t>(further)) return;
    std::uint32_t value = further == 0 ? lead : lead & (0x3FU >> further);
    for (int at = 0; at < further; ++at) {
      value =
          (value << 6) | (static_cast<unsigned char>(text[static_cast<std::size_t>(at)]) & 0x3FU);
    }
    text.remove_prefix(static_cast<std::size_t>(further));
    put_unit<Unit>(value, out);
  }
}

}  // namespace

void CUTF8Coder::Decode(IStream& input, IStream& output) {
  const RestOfInput rest(input);
  BlockWriter out(output);
  switch (mode_) {
    case Mode::kAnsi:
      decode_units<unsigned char>(rest.text(), out);
      break;
    case Mode::kUtf16:
      decode_units<char16_t>(rest.text(), out);
      break;
    case Mode::kUtf32:
      decode_units<std::uint32_t>(rest.text(), out);
      break;
  }
  out.flush();
}

void CUTF8Coder::Encode(IStream& input, IStream& output) {
  const RestOfInput rest(input);
  BlockWriter out(output);
  switch (mode_) {
    case Mode::kAnsi:
      encode_units<unsigned char>(rest.text(), out);
      break;
    case Mode::kUtf16:
      encode_units<char16_t>(rest.text(), out);
      break;
    case Mode::kUtf32:
      encode_units<std::uint32_t>(rest.text(), out);
      break;
  }
  out.flush();
}

}  // namespace tallowbrook
