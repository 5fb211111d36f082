// Names of elements as names of files.
//
// ASCII letters, digits, "-", "_", space and "." (not at the start) stand for themselves, other
// ASCII characters as "%" and two hexadecimal digits, what is not ASCII as UTF-8, and half a
// surrogate pair as "%u" and four digits. So no name leaves its folder, hides itself or meets one
// of the storage's own files, which begin with ".". Digits are capital ones, so that each element
// has one file name.
#pragma once

#include <string>
#include <string_view>

namespace tallowbrook::platform {

[[nodiscard]] std::string file_name_of(std::u16string_view element);

// The element that a file belongs to; empty for a file that belongs to none.
[[nodiscard]] std::u16string element_name_of(std::string_view file);

}  // namespace tallowbrook::platform
