// Numbers between the types of a VARIANT: one exact intermediate form, and its text.
#pragma once

#include <string>
#include <string_view>

#include "platform/automation/variant.h"

namespace tallowbrook::platform {

// A number on its way from one type to another. Whole numbers stay exact over 64 bits.
struct Number {
  enum class Kind { kSigned, kUnsigned, kReal } kind = Kind::kSigned;
  LONGLONG whole = 0;
  ULONGLONG natural = 0;  // for kUnsigned: above the range of `whole`
  double real = 0;
};

// The number that `value` (no reference, no object) stands for; DISP_E_TYPEMISMATCH when none.
// VT_EMPTY is 0, true is -1, a date its count of days, a text a decimal number between blanks.
[[nodiscard]] HRESULT number_from(const VARIANT& value, Number* number);

// Reads "[sign] digits [. digits] [e [sign] digits]" with blanks around it.
[[nodiscard]] HRESULT number_from_text(std::u16string_view text, Number* number);

// Makes `value`, which must own nothing, a number of `type`. Halves round to the even neighbour;
// DISP_E_OVERFLOW outside the type's range.
[[nodiscard]] HRESULT number_to(const Number& number, VARTYPE type, VARIANT* value);

// The decimal text of a numeric value: 15 significant digits for a double, 7 for a float, a
// currency without closing zeros.
[[nodiscard]] std::u16string text_of_number(const VARIANT& value);

// Below 0, 0 or above 0; a NaN compares as equal to nothing and above everything.
[[nodiscard]] int compare_numbers(const Number& left, const Number& right);

}  // namespace tallowbrook::platform
