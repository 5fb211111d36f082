// Names and texts both go through tables: a name is reduced to its letters and digits in lower
// case and looked up in an index that the first look-up makes; texts are converted by the kernel
// room.
#include "platform/automation/multi_language.h"

#include <algorithm>
#include <climits>
#include <new>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/com/activation.h"
#include "platform/com/counted.h"
#include "platform/kernel/code_page.h"
#include "platform/kernel/handles.h"

namespace tallowbrook::platform {
namespace {

// Aliases that differ from another name in punctuation alone are left out.
struct Charset {
  UINT encoding;
  UINT page;
  std::string_view name;
  std::string_view aliases;  // separated by spaces
};

// By encoding.
constexpr Charset kCharsets[] = {
    {37, 1252, "ibm037", "cp037 ebcdic-cp-us ebcdic-cp-ca ebcdic-cp-nl ebcdic-cp-wt"},
    {437, 1252, "ibm437", "cp437 437 cspc8codepage437"},
    {500, 1252, "ibm500", "ebcdic-cp-be ebcdic-cp-ch cp500"},
    {708, 1256, "asmo-708", "cp708 449"},
    {720, 1256, "dos-720", "cp720 ibm720"},
    {737, 1253, "ibm737", "cp737"},
    {775, 1257, "ibm775", "cp775 cspc775baltic"},
    {850, 1252, "ibm850", "cp850 850 cspc850multilingual"},
    {852, 1250, "ibm852", "cp852 852 cspcp852"},
    {855, 1251, "ibm855", "cp855 855"},
    {857, 1254, "ibm857", "cp857 857"},
    {858, 1252, "ibm00858", "cp858 ccsid00858 pc-multilingual-850+euro ibm858"},
    {860, 1252, "ibm860", "cp860 860"},
    {861, 1252, "ibm861", "cp861 861 cp-is"},
    {862, 1255, "dos-862", "cp862 862 ibm862 cspc862latinhebrew"},
    {863, 1252, "ibm863", "cp863 863"},
    {864, 1256, "ibm864", "cp864"},
    {865, 1252, "ibm865", "cp865 865"},
    {866, 1251, "cp866", "ibm866 866 dos-866 csibm866"},
    {869, 1253, "ibm869", "cp869 869 cp-gr"},
    {870, 1250, "ibm870", "ebcdic-cp-roece ebcdic-cp-yu cp870"},
    {874, 874, "windows-874", "dos-874 cp874 ibm874 tis-620 tis620-0 tis620.2533-1 iso-ir-166"},
    {875, 1253, "cp875", ""},
    {932, 932, "shift_jis",
     "sjis x-sjis ms_kanji csshiftjis windows-31j cswindows31j cp932 ms932 ibm943 x-ms-cp932 "
     "sjis-win"},
    {936, 936, "gb2312",
     "gbk cp936 ms936 windows-936 gb_2312-80 csgb2312 csgb231280 csiso58gb231280 chinese cn-gb "
     "iso-ir-58 gb x-gbk"},
    {949, 949, "ks_c_5601-1987",
     "ks_c_5601 ks_c_5601-1989 korean uhc cp949 ms949 windows-949 x-windows-949 csksc56011987 "
     "iso-ir-149"},
    {950, 950, "big5",
     "cn-big5 big5-hkscs csbig5 cp950 ms950 windows-950 x-x-big5 big-five x-big5 big5-eten "
     "big5-2003"},
    {1026, 1254, "ibm1026", "cp1026"},
    {1047, 1252, "ibm01047", "ibm1047 cp1047"},
    {1140, 1252, "ibm01140", "ccsid01140 cp01140 ibm1140 cp1140"},
    {1141, 1252, "ibm01141", "ccsid01141 cp01141 ibm1141 cp1141"},
    {1142, 1252, "ibm01142", "ccsid01142 cp01142 ibm1142 cp1142"},
    {1143, 1252, "ibm01143", "ccsid01143 cp01143 ibm1143 cp1143"},
    {1144, 1252, "ibm01144", "ccsid01144 cp01144 ibm1144 cp1144"},
    {1145, 1252, "ibm01145", "ccsid01145 cp01145 ibm1145 cp1145"},
    {1146, 1252, "ibm01146", "ccsid01146 cp01146 ibm1146 cp1146"},
    {1147, 1252, "ibm01147", "ccsid01147 cp01147 ibm1147 cp1147"},
    {1148, 1252, "ibm01148", "ccsid01148 cp01148 ibm1148 cp1148"},
    {1149, 1252, "ibm01149", "ccsid01149 cp01149 ibm1149 cp1149"},
    {1200, 1200, "utf-16",
     "utf-16le ucs-2 ucs-2le iso-10646-ucs-2 unicode csunicode csutf16le cp1200"},
    {1201, 1200, "unicodefffe", "utf-16be ucs-2be csutf16be cp1201"},
    {1250, 1250, "windows-1250", "cp1250 x-cp1250 win-1250 ms-1250 ms-ee"},
    {1251, 1251, "windows-1251", "cp1251 x-cp1251 win-1251 ms-1251 ms-cyrl"},
    {1252, 1252, "windows-1252", "cp1252 x-cp1252 win-1252 ms-1252 ms-ansi x-ansi"},
    {1253, 1253, "windows-1253", "cp1253 x-cp1253 win-1253 ms-1253 ms-greek"},
    {1254, 1254, "windows-1254", "cp1254 x-cp1254 win-1254 ms-1254 ms-turk"},
    {1255, 1255, "windows-1255", "cp1255 x-cp1255 win-1255 ms-1255 ms-hebr"},
    {1256, 1256, "windows-1256", "cp1256 x-cp1256 win-1256 ms-1256 ms-arab"},
    {1257, 1257, "windows-1257", "cp1257 x-cp1257 win-1257 ms-1257 winbaltrim"},
    {1258, 1258, "windows-1258", "cp1258 x-cp1258 win-1258 ms-1258"},
    {1361, 1361, "johab", "cp1361"},
    {10000, 1252, "macintosh", "mac csmacintosh x-mac-roman macroman"},
    {10001, 932, "x-mac-japanese", ""},
    {10002, 950, "x-mac-chinesetrad", ""},
    {10003, 949, "x-mac-korean", ""},
    {10007, 1251, "x-mac-cyrillic", "maccyrillic"},
    {10008, 936, "x-mac-chinesesimp", ""},
    {10017, 1251, "x-mac-ukrainian", ""},
    {10029, 1250, "x-mac-ce", "x-mac-centraleurroman"},
    {10079, 1252, "x-mac-icelandic", ""},
    {12000, 1200, "utf-32", "utf-32le ucs-4 ucs-4le iso-10646-ucs-4 csutf32le"},
    {12001, 1200, "utf-32be", "ucs-4be csutf32be"},
    {20105, 1252, "x-ia5", "irv"},
    {20106, 1252, "x-ia5-german", "din_66003 de"},
    {20107, 1252, "x-ia5-swedish", "sen_850200_b"},
    {20108, 1252, "x-ia5-norwegian", "ns_4551-1"},
    {20127, 1252, "us-ascii",
     "ascii ansi_x3.4-1968 ansi_x3.4-1986 iso_646.irv:1991 iso646-us iso-ir-6 us ibm367 cp367 "
     "csascii 646"},
    {20273, 1252, "ibm273", "cp273"},
    {20277, 1252, "ibm277", "cp277"},
    {20278, 1252, "ibm278", "cp278"},
    {20280, 1252, "ibm280", "cp280"},
    {20284, 1252, "ibm284", "cp284"},
    {20285, 1252, "ibm285", "cp285"},
    {20290, 932, "ibm290", "cp290"},
    {20297, 1252, "ibm297", "cp297"},
    {20420, 1256, "ibm420", "cp420"},
    {20423, 1253, "ibm423", "cp423"},
    {20424, 1255, "ibm424", "cp424"},
    {20866, 1251, "koi8-r", "koi koi8 cp878 cskoi8r"},
    {20871, 1252, "ibm871", "cp871"},
    {20880, 1251, "ibm880", "cp880"},
    {20905, 1254, "ibm905", "cp905"},
    {21025, 1251, "cp1025", "ibm1025"},
    {21866, 1251, "koi8-u", "koi8-ru cp1168"},
    {28591, 1252, "iso-8859-1",
     "8859-1 cp28591 latin1 l1 iso-ir-100 ibm819 cp819 iso_8859-1:1987 csisolatin1"},
    {28592, 1250, "iso-8859-2", "8859-2 cp28592 latin2 l2 iso-ir-101 iso_8859-2:1987 csisolatin2"},
    {28593, 1254, "iso-8859-3", "8859-3 cp28593 latin3 l3 iso-ir-109 iso_8859-3:1988 csisolatin3"},
    {28594, 1257, "iso-8859-4", "8859-4 cp28594 latin4 l4 iso-ir-110 iso_8859-4:1988 csisolatin4"},
    {28595, 1251, "iso-8859-5",
     "8859-5 cp28595 cyrillic iso-ir-144 iso_8859-5:1988 csisolatincyrillic"},
    {28596, 1256, "iso-8859-6",
     "8859-6 cp28596 arabic iso-ir-127 iso_8859-6:1987 ecma-114 csisolatinarabic"},
    {28597, 1253, "iso-8859-7",
     "8859-7 cp28597 greek greek8 iso-ir-126 iso_8859-7:1987 ecma-118 elot_928 csisolatingreek"},
    {28598, 1255, "iso-8859-8",
     "8859-8 cp28598 hebrew visual iso-ir-138 iso_8859-8:1988 iso88598visual iso-8859-8-e "
     "csisolatinhebrew"},
    {28599, 1254, "iso-8859-9", "8859-9 cp28599 latin5 l5 iso-ir-148 iso_8859-9:1989 csisolatin5"},
    {28600, 1257, "iso-8859-10",
     "8859-10 cp28600 latin6 l6 iso-ir-157 iso_8859-10:1992 csisolatin6"},
    {28601, 874, "iso-8859-11", "8859-11 cp28601"},
    {28603, 1257, "iso-8859-13", "8859-13 cp28603 latin7 l7"},
    {28604, 1252, "iso-8859-14", "8859-14 cp28604 latin8 l8 iso-ir-199 iso-celtic"},
    {28605, 1252, "iso-8859-15", "8859-15 cp28605 latin9 l9 latin0 csiso885915"},
    {28606, 1250, "iso-8859-16", "8859-16 cp28606 latin10 l10 iso-ir-226"},
    {38598, 1255, "iso-8859-8-i", "logical csiso88598i"},
    {50220, 932, "iso-2022-jp", "jis x-jis cp50220"},
    {50221, 932, "csiso2022jp", "iso-2022-jp-ms cp50221"},
    {50222, 932, "_iso-2022-jp$sio", "iso-2022-jp-1 iso-2022-jp-2 iso-2022-jp-3 csiso2022jp2"},
    {50225, 949, "iso-2022-kr", "csiso2022kr"},
    {50227, 936, "x-cp50227", "iso-2022-cn csiso2022cn iso-2022-cn-ext"},
    {51932, 932, "euc-jp",
     "x-euc x-euc-jp ujis eucjp-ms eucjp-win cp51932 cseucpkdfmtjapanese iso-2022-jpeuc "
     "extended_unix_code_packed_format_for_japanese"},
    {51936, 936, "euc-cn", "x-euc-cn"},
    {51949, 949, "euc-kr", "cseuckr x-euc-kr"},
    {52936, 936, "hz-gb-2312", "hz hzgb"},
    {54936, 936, "gb18030", "csgb18030 gb18030-2000 gb18030-2005"},
    {65000, 1200, "utf-7", "unicode-1-1-utf-7 unicode-2-0-utf-7 csunicode11utf7 cp65000"},
    {65001, 1200, "utf-8",
     "unicode-1-1-utf-8 unicode-2-0-utf-8 x-unicode-2-0-utf-8 cp65001 utf-8n utf8mb4 csutf8"},
};

// --- names ---------------------------------------------------------------------------------------

// A name's letters and digits, in lower case; empty when it has something that no name has.
template <class Unit>
std::string reduced(std::basic_string_view<Unit> name) {
  constexpr std::size_t kLongest = 64;
  std::string result;
  for (const Unit unit : name) {
    if (unit >= 0x7F || unit < 0x20 || result.size() == kLongest) return {};
    const char character = static_cast<char>(unit);
    if (character >= 'A' && character <= 'Z') {
      result += static_cast<char>(character + 0x20);
    } else if ((character >= 'a' && character <= 'z') || (character >= '0' && character <= '9')) {
      result += character;
    }
  }
  return result;
}

using Index = std::unordered_map<std::string, const Charset*>;

Index make_index() {
  Index index;
  for (const Charset& charset : kCharsets) {
    index.emplace(reduced(charset.name), &charset);
    for (std::string_view rest = charset.aliases; !rest.empty();) {
      const std::size_t end = std::min(rest.find(' '), rest.size());
      index.emplace(reduced(rest.substr(0, end)), &charset);
      rest.remove_prefix(std::min(end + 1, rest.size()));
    }
  }
  return index;
}

const Charset* find_charset(std::u16string_view name) {
  static const Index& index = *new Index(make_index());  // wanted until the process ends
  const auto found = index.find(reduced(name));
  return found == index.end() ? nullptr : found->second;
}

// --- texts ---------------------------------------------------------------------------------------

template <class Unit>
bool take_text(const Unit* source, const UINT* size, std::basic_string_view<Unit>& text) {
  if (source == nullptr) return size != nullptr && *size == 0;
  text = size == nullptr ? std::basic_string_view<Unit>(source)
                         : std::basic_string_view<Unit>(source, *size);
  return text.size() <= INT_MAX;
}

// `convert` is one of the C-shaped conversions, from a text into `room` units (0: it measures).
template <class Unit, class Result, class Convert>
HRESULT convert_text(const Unit* source, UINT* source_size, Result* destination, UINT* size,
                     UINT page, Convert convert) {
  std::basic_string_view<Unit> text;
  if (size == nullptr || !take_text(source, source_size, text)) return E_INVALIDARG;
  const UINT room = destination == nullptr ? 0 : std::min<UINT>(*size, INT_MAX);
  *size = 0;
  if (source_size != nullptr) *source_size = 0;
  if (IsValidCodePage(page) == FALSE) return S_FALSE;
  if (!text.empty()) {
    if (destination != nullptr && room == 0) return E_FAIL;
    const int units = convert(text, destination, static_cast<int>(room));
    if (units == 0 && GetLastError() == ERROR_INVALID_PARAMETER) return S_FALSE;
    if (units == 0 && GetLastError() == ERROR_INSUFFICIENT_BUFFER) return E_FAIL;
    *size = static_cast<UINT>(units);
  }
  if (source_size != nullptr) *source_size = static_cast<UINT>(text.size());
  return S_OK;
}

class CMultiLanguage final : public Counted<IMultiLanguage> {
 public:
  HRESULT GetCharsetInfo(const OLECHAR* name, MIMECSETINFO* info) override {
    if (info == nullptr) return E_POINTER;
    *info = {};
    if (name == nullptr) return E_INVALIDARG;
    try {
      const Charset* charset = find_charset(name);
      if (charset == nullptr) return E_FAIL;
      info->uiCodePage = charset->page;
      info->uiInternetEncoding = charset->encoding;
      std::copy(charset->name.begin(), charset->name.end(), info->wszCharset);
      return S_OK;
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
  }

  HRESULT ConvertStringToUnicode(DWORD*, DWORD encoding, const char* source, UINT* source_size,
                                 OLECHAR* destination, UINT* size) override {
    return convert_text(source, source_size, destination, size, encoding,
                        [&](std::string_view text, OLECHAR* to, int room) {
                          SetLastError(ERROR_SUCCESS);
                          return MultiByteToWideChar(encoding, 0, text.data(),
                                                     static_cast<int>(text.size()), to, room);
                        });
  }

  HRESULT ConvertStringFromUnicode(DWORD*, DWORD encoding, const OLECHAR* source, UINT* source_size,
                                   char* destination, UINT* size) override {
    return convert_text(source, source_size, destination, size, encoding,
                        [&](std::u16string_view text, char* to, int room) {
                          SetLastError(ERROR_SUCCESS);
                          return WideCharToMultiByte(encoding, 0, text.data(),
                                                     static_cast<int>(text.size()), to, room,
                                                     nullptr, nullptr);
                        });
  }
};

// --- the class -----------------------------------------------------------------------------------

class Factory final : public Counted<IClassFactory> {
 public:
  HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    const auto created = ComPtr<CMultiLanguage>::adopt(new (std::nothrow) CMultiLanguage);
    return created ? created->QueryInterface(iid, object) : E_OUTOFMEMORY;
  }
  HRESULT LockServer(BOOL) override { return S_OK; }
};

HRESULT get_class_object(REFCLSID clsid, REFIID iid, void** object) {
  *object = nullptr;
  if (!(clsid == CLSID_CMultiLanguage)) return CLASS_E_CLASSNOTAVAILABLE;
  const auto factory = ComPtr<Factory>::adopt(new (std::nothrow) Factory);
  return factory ? factory->QueryInterface(iid, object) : E_OUTOFMEMORY;
}

HRESULT describe_classes(const ComponentClass** classes, ULONG* count) {
  static constexpr ComponentClass kClass{CLSID_CMultiLanguage, nullptr, nullptr, nullptr};
  *classes = &kClass;
  *count = 1;
  return S_OK;
}

// This library stays in memory, so its class is never taken back.
[[maybe_unused]] const HRESULT known =
    CoUseComponent({&get_class_object, nullptr, &describe_classes});

}  // namespace
}  // namespace tallowbrook::platform
