#include "coding/charset.h"

#include <iterator>
#include <string>

#include "coding/multi_language_service.h"
#include "coding/utf8_coder.h"
#include "coding/x_coder.h"
#include "core/text.h"
#include "platform/com/activation.h"

namespace tallowbrook {

namespace {

struct TableEntry {
  UINT page;
  std::string_view name;
};

// The first entry that matches without regard to case counts: of "iso-2022-jp" and "euc-jp" the
// one with the smaller page.
constexpr TableEntry kTable[] = {
    {37, "IBM037"},
    {437, "IBM437"},
    {500, "IBM500"},
    {708, "ASMO-708"},
    {720, "DOS-720"},
    {737, "ibm737"},
    {775, "ibm775"},
    {850, "ibm850"},
    {852, "ibm852"},
    {855, "IBM855"},
    {857, "ibm857"},
    {858, "IBM00858"},
    {860, "IBM860"},
    {861, "ibm861"},
    {862, "DOS-862"},
    {863, "IBM863"},
    {864, "IBM864"},
    {865, "IBM865"},
    {866, "cp866"},
    {869, "ibm869"},
    {870, "IBM870"},
    {874, "windows-874"},
    {875, "cp875"},
    {932, "shift-jis"},
    {936, "gb2312"},
    {949, "ks_c_5601-1987"},
    {950, "big5"},
    {1026, "IBM1026"},
    {1047, "IBM01047"},
    {1140, "IBM01140"},
    {1141, "IBM01141"},
    {1142, "IBM01142"},
    {1143, "IBM01143"},
    {1144, "IBM01144"},
    {1145, "IBM01145"},
    {1146, "IBM01146"},
    {1147, "IBM01147"},
    {1148, "IBM01148"},
    {1149, "IBM01149"},
    {1200, "utf-16"},
    {1201, "unicodeFFFE"},
    {1250, "windows-1250"},
    {1251, "windows-1251"},
    {1252, "windows-1252"},
    {1253, "windows-1253"},
    {1254, "windows-1254"},
    {1255, "windows-1255"},
    {1256, "windows-1256"},
    {1257, "windows-1257"},
    {1258, "windows-1258"},
    {1361, "Johab"},
    {10000, "macintosh"},
    {10001, "x-mac-japanese"},
    {10002, "x-mac-chinesetrad"},
    {10003, "x-mac-korean"},
    {10004, "x-mac-arabic"},
    {10005, "x-mac-hebrew"},
    {10006, "x-mac-greek"},
    {10007, "x-mac-cyrillic"},
    {10008, "x-mac-chinesesimp"},
    {10010, "x-mac-romanian"},
    {10017, "x-mac-ukrainian"},
    {10021, "x-mac-thai"},
    {10029, "x-mac-ce"},
    {10079, "x-mac-icelandic"},
    {10081, "x-mac-turkish"},
    {10082, "x-mac-croatian"},
    {20000, "x-Chinese-CNS"},
    {20001, "x-cp20001"},
    {20002, "x-Chinese-Eten"},
    {20003, "x-cp20003"},
    {20004, "x-cp20004"},
    {20005, "x-cp20005"},
    {20105, "x-IA5"},
    {20106, "x-IA5-German"},
    {20107, "x-IA5-Swedish"},
    {20108, "x-IA5-Norwegian"},
    {20127, "us-ascii"},
    {20261, "x-cp20261"},
    {20269, "x-cp20269"},
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
    {20833, "x-EBCDIC-KoreanExtended"},
    {20838, "IBM-Thai"},
    {20866, "koi8-r"},
    {20871, "IBM871"},
    {20880, "IBM880"},
    {20905, "IBM905"},
    {20924, "IBM00924"},
    {20932, "EUC-JP"},
    {20936, "x-cp20936"},
    {20949, "x-cp20949"},
    {21025, "cp1025"},
    {21866, "koi8-u"},
    {28591, "iso-8859-1"},
    {28592, "iso-8859-2"},
    {28593, "iso-8859-3"},
    {28594, "iso-8859-4"},
    {28595, "iso-8859-5"},
    {28596, "iso-8859-6"},
    {28597, "iso-8859-7"},
    {28598, "iso-8859-8"},
    {28599, "iso-8859-9"},
    {28603, "iso-8859-13"},
    {28605, "iso-8859-15"},
    {29001, "x-Europa"},
    {38598, "iso-8859-8-i"},
    {50220, "iso-2022-jp"},
    {50221, "csISO2022JP"},
    {50222, "iso-2022-jp"},
    {50225, "iso-2022-kr"},
    {50227, "x-cp50227"},
    {51932, "euc-jp"},
    {51936, "EUC-CN"},
    {51949, "euc-kr"},
    {52936, "hz-gb-2312"},
    {54936, "GB18030"},
    {57002, "x-iscii-de"},
    {57003, "x-iscii-be"},
    {57004, "x-iscii-ta"},
    {57005, "x-iscii-te"},
    {57006, "x-iscii-as"},
    {57007, "x-iscii-or"},
    {57008, "x-iscii-ka"},
    {57009, "x-iscii-ma"},
    {57010, "x-iscii-gu"},
    {57011, "x-iscii-pa"},
    {65000, "utf-7"},
    {65001, "utf-8"},
    {65005, "utf-32"},
    {65006, "utf-32BE"},
};

// None when the service does not know the name.
UINT service_code_page(std::string_view name) {
  IMultiLanguage* service = multi_language_service();
  if (service == nullptr) return 0;
  MIMECSETINFO info{};
  if (FAILED(service->GetCharsetInfo(to_wide(name).c_str(), &info))) return 0;
  return info.uiInternetEncoding != 0 ? info.uiInternetEncoding : info.uiCodePage;
}

UINT find_code_page(std::string_view name) {
  const UINT page = service_code_page(name);
  return page != 0 ? page : charset_table_code_page(name);
}

}  // namespace

IMultiLanguage* multi_language_service() {
  static const platform::ComPtr<IMultiLanguage> service = [] {
    platform::ComPtr<IMultiLanguage> created;
    if (FAILED(CoCreateInstance(CLSID_CMultiLanguage, nullptr, CLSCTX_INPROC_SERVER,
                                IMultiLanguage::kIid, created.out_void()))) {
      return platform::ComPtr<IMultiLanguage>();
    }
    return created;
  }();
  return service.get();
}

UINT charset_table_code_page(std::string_view name) {
  for (const TableEntry& entry : kTable) {
    if (equals_ignoring_case(entry.name, name)) return entry.page;
  }
  return 0;
}

UINT charset_code_page(std::string_view name) {
  // A message names the same few charsets over and over.
  struct Known {
    char name[24] = {};
    std::size_t size = 0;
    UINT page = 0;
  };
  static constinit thread_local Known known[4];
  static constinit thread_local std::size_t oldest = 0;
  if (name.empty() || name.size() > sizeof Known::name) return find_code_page(name);
  for (const Known& each : known) {
    if (name == std::string_view(each.name, each.size)) return each.page;
  }
  Known& replaced = known[oldest];
  replaced.size = 0;
  replaced.page = find_code_page(name);
  replaced.size = name.copy(replaced.name, sizeof replaced.name);
  oldest = (oldest + 1) % std::size(known);
  return replaced.page;
}

bool has_utf8_coder(std::string_view name) {
  return equals_ignoring_case(name, "utf-2") || equals_ignoring_case(name, "utf-fss");
}

std::unique_ptr<CMIMECode> make_charset_coder(const char* name, int mode_flag) {
  if (name == nullptr || *name == '\0') return nullptr;
  if (has_utf8_coder(name)) {
    return std::make_unique<CUTF8Coder>(mode_flag != 0 ? CUTF8Coder::Mode::kUtf16
                                                       : CUTF8Coder::Mode::kAnsi);
  }
  return std::make_unique<CXCoder>(name);
}

}  // namespace tallowbrook
