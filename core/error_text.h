// The text of the thread's error object: what a host reads behind a failing status, or behind a
// method that answered false.
#pragma once

#include <string>
#include <string_view>

#include "platform/automation/variant.h"

namespace tallowbrook {

inline constexpr std::u16string_view kFileNotFound = u"File not found";
inline constexpr std::u16string_view kFileNotWritten = u"File not written";

// Memory that cannot be had leaves the old object.
void set_error_text(const std::u16string& text, const std::u16string& source = {});

// The same with `what: "path"`.
void set_file_error(std::u16string_view what, BSTR path);

}  // namespace tallowbrook
