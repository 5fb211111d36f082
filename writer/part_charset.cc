#include "writer/part_charset.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "coding/charset.h"
#include "core/text.h"
#include "model/body_part.h"
#include "model/header_text.h"
#include "streams/memory_stream.h"

namespace tallowbrook {
std::string_view bytes_of(std::u16string_view text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)};
}

std::u16string units_of(std::string_view bytes) {
  std::u16string units(bytes.size() / sizeof(char16_t), u'\0');
  if (!units.empty()) std::memcpy(units.data(), bytes.data(), units.size() * sizeof(char16_t));
  return units;
}

std::string part_charset(const HeaderValue& record) {
  const HeaderValue& type = field_value(record, EntryName::ContentType);
  if (!type[kTypeMajor].is_integer(kText)) return {};
  const HeaderValue* charset = find_parameter(type[kTypeParameters], "charset");
  if (charset == nullptr) return {};
  std::string name = header_text_to_ansi(parameter_text(*charset));
  name.resize(std::min(name.find('\0'), name.size()));
  return name;
}

std::unique_ptr<CMIMECode> make_part_coder(const HeaderValue& record) {
  return make_charset_coder(part_charset(record).c_str(), 0);
}

platform::ComPtr<IStream> charset_input(const HeaderValue& record, const CMIMECode* coder) {
  const HeaderValue body = record[kPartBody];
  const ContentForm form = content_form(record);
  const bool wide = coder != nullptr && coder->ProducesWideText();
  if (form == ContentForm::AnsiText && wide) {
    return CISSHelper::create_with(bytes_of(to_wide(body.raw_text())));
  }
  if (form == ContentForm::WideText && !wide) {
    return CISSHelper::create_with(to_ansi(units_of(body.raw_text())));
  }
  return body.stream();
}

}  // namespace tallowbrook
