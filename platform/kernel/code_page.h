// Conversions between UTF-16 and 8-bit code pages named by number.
//
// The ANSI code page of the process is 1252 unless the environment variable TALLOWBROOK_CODE_PAGE
// names another one that contains ASCII (65001 is UTF-8). UTF-8, UTF-16, the pages with one byte
// for a character (with ASCII in blocks) and those that switch between sets are converted here; the
// other known pages by the C library's iconv. What the charset of a name lacks is read and written
// as the larger set has it that mail sends under that name (UHC as EUC-KR, vendors' characters in
// EUC-JP and ISO-2022-JP, GBK as GB2312). Page 1252 maps the five bytes that it leaves undefined to
// the C1 controls of the same number, both ways. Page 28591 (ISO-8859-1) is taken for 1252, both
// ways: what mail sends under the first name is the second.
//
// Nothing here fails on bad input: bytes that mean nothing become U+FFFD (for UTF-8 one for each
// maximal ill-formed part, as the Unicode Standard recommends) and what follows is read from its
// own start; characters that the page lacks become '?'. Time is linear in the input.
#pragma once

#include <string>
#include <string_view>

#include "platform/com/types.h"

inline constexpr UINT CP_ACP = 0;         // the ANSI code page
inline constexpr UINT CP_OEMCP = 1;       // 437
inline constexpr UINT CP_MACCP = 2;       // 10000
inline constexpr UINT CP_THREAD_ACP = 3;  // the same as CP_ACP here
inline constexpr UINT CP_UTF7 = 65000;
inline constexpr UINT CP_UTF8 = 65001;

inline constexpr DWORD MB_PRECOMPOSED = 1;
inline constexpr DWORD MB_ERR_INVALID_CHARS = 8;
inline constexpr DWORD WC_NO_BEST_FIT_CHARS = 0x400;

// The ANSI code page of the process.
[[nodiscard]] UINT GetACP();

// TRUE when the conversions know the page (CP_ACP and its kin included).
[[nodiscard]] BOOL IsValidCodePage(UINT page);

// Converts `count` bytes (-1: up to and with the terminating zero) to UTF-16. With `capacity` 0
// returns the units needed; otherwise writes at most `capacity` units and returns how many. Returns
// 0 with ERROR_INVALID_PARAMETER (a null text, a count of 0, an unknown page), with
// ERROR_INSUFFICIENT_BUFFER, or, if `flags` has MB_ERR_INVALID_CHARS, with
// ERROR_NO_UNICODE_TRANSLATION for bytes that mean nothing. Other flags are ignored.
int MultiByteToWideChar(UINT page, DWORD flags, const char* bytes, int count, OLECHAR* wide,
                        int capacity);

// The way back, in bytes. `default_character` (its first byte; null: '?') stands for characters
// that the page lacks, and `used_default` (may be null) tells whether it was needed. Flags are
// ignored. Fails as MultiByteToWideChar does.
int WideCharToMultiByte(UINT page, DWORD flags, const OLECHAR* wide, int count, char* bytes,
                        int capacity, const char* default_character, BOOL* used_default);

namespace tallowbrook::platform {

// The same for whole texts of any size, zeros included. An unknown page counts as CP_ACP. Throws
// std::bad_alloc.
[[nodiscard]] std::u16string widen(UINT page, std::string_view bytes);
[[nodiscard]] std::string narrow(UINT page, std::u16string_view wide);

// True when a text of the page may be cut before any byte below 0x80 and converted in pieces:
// UTF-8 and the pages with one byte for a character.
[[nodiscard]] bool parts_before_ascii(UINT page);

// Names of files as the file system has them (UTF-8) and as UTF-16, without loss both ways: a byte
// that is no UTF-8 is the lone unit U+DC80 to U+DCFF, as scripts know it; any other lone surrogate
// is its three-byte form.
[[nodiscard]] std::string path_from_wide(std::u16string_view wide);
[[nodiscard]] std::u16string wide_from_path(std::string_view path);
// From and to the ANSI code page. Where that is UTF-8 the bytes pass through unchanged.
[[nodiscard]] std::string path_from_ansi(std::string_view ansi);
[[nodiscard]] std::string ansi_from_path(std::string_view path);

// Makes `page` the ANSI code page, for a host before it creates anything; 0 asks the environment
// again. False, changing nothing, for a page that is unknown or does not contain ASCII.
bool set_ansi_code_page(UINT page);

}  // namespace tallowbrook::platform
