// Identities as text, new identities, task memory, and the thread's initialisation count.
#include <sys/random.h>

#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/com/activation.h"
#include "platform/com/identity.h"

namespace {

constexpr std::size_t kTextLength = 38;  // with the braces, without the closing zero

// The hyphens stand before these digits; the octets are in the order of the text.
constexpr std::u16string_view kPattern = u"{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}";

thread_local ULONG initialised = 0;

void octets_of(const GUID& guid, std::uint8_t (&octets)[16]) {
  for (int at = 0; at < 4; ++at)
    octets[at] = static_cast<std::uint8_t>(guid.Data1 >> (24 - 8 * at));
  octets[4] = static_cast<std::uint8_t>(guid.Data2 >> 8);
  octets[5] = static_cast<std::uint8_t>(guid.Data2);
  octets[6] = static_cast<std::uint8_t>(guid.Data3 >> 8);
  octets[7] = static_cast<std::uint8_t>(guid.Data3);
  std::memcpy(octets + 8, guid.Data4, 8);
}

GUID guid_of(const std::uint8_t (&octets)[16]) {
  GUID guid{};
  for (int at = 0; at < 4; ++at) guid.Data1 = guid.Data1 << 8 | octets[at];
  guid.Data2 = static_cast<std::uint16_t>(octets[4] << 8 | octets[5]);
  guid.Data3 = static_cast<std::uint16_t>(octets[6] << 8 | octets[7]);
  std::memcpy(guid.Data4, octets + 8, 8);
  return guid;
}

int digit_of(char16_t unit) {
  if (unit >= u'0' && unit <= u'9') return unit - u'0';
  const int letter = (unit | 0x20) - u'a';
  return letter >= 0 && letter < 6 ? letter + 10 : -1;
}

bool parse(std::u16string_view text, GUID* guid) {
  if (text.size() != kPattern.size()) return false;
  std::uint8_t octets[16] = {};
  std::size_t digits = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (kPattern[at] != u'x') {
      if (text[at] != kPattern[at]) return false;
      continue;
    }
    const int digit = digit_of(text[at]);
    if (digit < 0) return false;
    octets[digits / 2] = static_cast<std::uint8_t>(octets[digits / 2] << 4 | digit);
    ++digits;
  }
  *guid = guid_of(octets);
  return true;
}

}  // namespace

HRESULT CoInitialize(void* reserved) { return CoInitializeEx(reserved, COINIT_APARTMENTTHREADED); }
HRESULT CoInitializeEx(void*, DWORD) { return initialised++ == 0 ? S_OK : S_FALSE; }
void CoUninitialize() {
  if (initialised != 0) --initialised;
}

void* CoTaskMemAlloc(std::size_t size) { return std::malloc(size == 0 ? 1 : size); }
void* CoTaskMemRealloc(void* memory, std::size_t size) {
  if (size != 0) return std::realloc(memory, size);
  std::free(memory);
  return nullptr;
}
void CoTaskMemFree(void* memory) { std::free(memory); }

HRESULT CoCreateGuid(GUID* guid) {
  if (guid == nullptr) return E_INVALIDARG;
  std::uint8_t octets[16];
  if (getentropy(octets, sizeof octets) != 0) return E_FAIL;
  octets[6] = static_cast<std::uint8_t>((octets[6] & 0x0F) | 0x40);  // RFC 9562 section 5.4
  octets[8] = static_cast<std::uint8_t>((octets[8] & 0x3F) | 0x80);
  *guid = guid_of(octets);
  return S_OK;
}

INT StringFromGUID2(REFGUID guid, OLECHAR* text, INT room) {
  if (text == nullptr || room < static_cast<INT>(kTextLength + 1)) return 0;
  std::uint8_t octets[16];
  octets_of(guid, octets);
  std::size_t digits = 0;
  for (std::size_t at = 0; at < kPattern.size(); ++at) {
    text[at] = kPattern[at];
    if (kPattern[at] != u'x') continue;
    const int digit = digits % 2 == 0 ? octets[digits / 2] >> 4 : octets[digits / 2] & 0x0F;
    text[at] = u"0123456789ABCDEF"[digit];
    ++digits;
  }
  text[kTextLength] = 0;
  return static_cast<INT>(kTextLength + 1);
}

HRESULT StringFromCLSID(REFCLSID clsid, OLECHAR** text) {
  if (text == nullptr) return E_INVALIDARG;
  *text = static_cast<OLECHAR*>(CoTaskMemAlloc((kTextLength + 1) * sizeof(OLECHAR)));
  if (*text == nullptr) return E_OUTOFMEMORY;
  StringFromGUID2(clsid, *text, static_cast<INT>(kTextLength + 1));
  return S_OK;
}

HRESULT CLSIDFromString(const OLECHAR* text, CLSID* clsid) {
  if (clsid == nullptr) return E_INVALIDARG;
  *clsid = GUID_NULL;
  if (text == nullptr) return S_OK;
  if (text[0] == u'{') return parse(text, clsid) ? S_OK : CO_E_CLASSSTRING;
  return CLSIDFromProgID(text, clsid);
}

namespace tallowbrook::platform {

std::string text_of(REFGUID guid) {
  OLECHAR wide[kTextLength + 1];
  StringFromGUID2(guid, wide, kTextLength + 1);
  std::string text;
  for (const OLECHAR unit : std::u16string_view(wide, kTextLength)) {
    text += static_cast<char>(unit);
  }
  return text;
}

bool guid_of(std::string_view text, GUID* guid) {
  *guid = GUID_NULL;
  return parse(std::u16string(text.begin(), text.end()), guid);
}

}  // namespace tallowbrook::platform
