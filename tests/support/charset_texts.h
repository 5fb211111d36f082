// Texts of every family of charsets, as bytes and as UTF-16.
#pragma once

#include <string>

namespace tallowbrook::test {

struct CharsetText {
  const char* name;
  std::string bytes;
  std::u16string text;
};

// The bytes come from another implementation of the charsets.
inline const CharsetText kCharsetTexts[] = {
    {"utf-8", "Gr\xC3\xBC\xC3\x9F\x65, \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80",
     u"Grüße, 日本 😀"},
    {"iso-8859-1", "Gr\xFC\xDF\x65 \x96 \x93\x80\x94", u"Grüße – “€”"},
    {"iso-8859-2", "Za\xBF\xF3\xB3\xE6 g\xEA\xB6l\xB1", u"Zażółć gęślą"},
    {"iso-8859-3", "\xC6iuj \xFE\x61n\xF8oj", u"Ĉiuj ŝanĝoj"},
    {"iso-8859-4", "\xC0\xE8i\xFE \xF3\xEFlis", u"Āčiū ķīlis"},
    {"iso-8859-5", "\xBF\xE0\xD8\xD2\xD5\xE2", u"Привет"},
    {"iso-8859-6", "\xD3\xE4\xC7\xE5", u"سلام"},
    {"iso-8859-7", "\xCA\xE1\xEB\xE7\xEC\xDD\xF1\xE1", u"Καλημέρα"},
    {"iso-8859-8", "\xF9\xEC\xE5\xED", u"שלום"},
    {"iso-8859-8-i", "\xF9\xEC\xE5\xED", u"שלום"},
    {"iso-8859-9", "\xDD\xFE\xE7i a\xF0\xFDr", u"İşçi ağır"},
    {"iso-8859-10", "\xBB\xB4\xFF", u"ŧīĸ"},
    {"iso-8859-11", "\xE4\xB7\xC2", u"ไทย"},
    {"iso-8859-13", "\xC0\xFEuolas", u"Ąžuolas"},
    {"iso-8859-14", "\xD0\xFE \xA2", u"Ŵŷ ḃ"},
    {"iso-8859-15", "\xBDuvre 5 \xA4", u"œuvre 5 €"},
    {"iso-8859-16", "\xAA\xFEiin\xFE\xE3", u"Șțiință"},
    {"windows-1250", "P\xF8\xEDli\x9A \x84\x9Elu\x9D\x93", u"Příliš „žluť“"},
    {"windows-1251", "\xCF\xF0\xE8\xE2\xE5\xF2 \xB9\x31", u"Привет №1"},
    {"windows-1252", "na\xEFve \x9C \x99", u"naïve œ ™"},
    {"windows-1253", "\xCA\xE1\xEB\xE7\xEC\xDD\xF1\xE1", u"Καλημέρα"},
    {"windows-1254", "\xDDstanbul \xFE", u"İstanbul ş"},
    {"windows-1255", "\xF9\xEC\xE5\xED \xA4", u"שלום ₪"},
    {"windows-1256", "\xD3\xE1\xC7\xE3 \x81", u"سلام پ"},
    {"windows-1257", "\xC0\xFEuolas \x80", u"Ąžuolas €"},
    {"windows-1258", "Vi\xEA\xF2t \xF0\xF4\xCCng \xFE", u"Việt đồng ₫"},
    {"windows-874", "\xE4\xB7\xC2 \x80", u"ไทย €"},
    {"koi8-r", "\xF0\xD2\xC9\xD7\xC5\xD4", u"Привет"},
    {"koi8-u", "\xB7\xD6\xC1\xCB \xBD", u"Їжак Ґ"},
    {"shift_jis", "\x93\xFA\x96{\x8C\xEA\xB6\xC5\x87@", u"日本語ｶﾅ①"},
    {"iso-2022-jp", "\x1B$BF|K\\8l\x1B(B abc", u"日本語 abc"},
    {"euc-jp", "\xC6\xFC\xCB\xDC\xB8\xEC\x8E\xB6\x8E\xC5", u"日本語ｶﾅ"},
    {"gb2312", "\xD6\xD0\xCE\xC4\xD3\xCA\xBC\xFE", u"中文邮件"},
    {"gbk", "\xE9\x46\xF3w", u"镕體"},
    {"gb18030", "\xD6\xD0\xCE\xC4 \x94\x39\xFC\x36 \xA1\xEB", u"中文 😀 ‰"},
    {"big5", "\xC1\x63\xC5\xE9\xA4\xA4\xA4\xE5", u"繁體中文"},
    {"euc-kr", "\xC7\xD1\xB1\xB9\xBE\xEE", u"한국어"},
    {"ks_c_5601-1987", "\x8C\x63\xB9\xE6 \xC7\xD1\xB1\xB9\xBE\xEE", u"똠방 한국어"},
    {"iso-2022-kr", "\x1B$)C\x0EGQ19>n\x0F", u"한국어"},
    {"hz-gb-2312", "~{VPND~} ~~ ~{SJ<~~}", u"中文 ~ 邮件"},
    {"macintosh", "\x86n\x95 \xD2\x8E\xD3", u"Ünï “é”"},
    {"ibm437", "\x9An\x8B \xB0", u"Ünï ░"},
    {"cp866", "\x8F\xE0\xA8\xA2\xA5\xE2", u"Привет"},
    {"utf-16", std::string("a\x00\xE9\x00=\xD8\x00\xDE", 8), u"aé😀"},
    {"utf-7", "Gr +APw +AN8-", u"Gr ü ß"},
};

}  // namespace tallowbrook::test
