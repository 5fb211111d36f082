#include "core/error_text.h"

#include "platform/automation/dispatch.h"

namespace tallowbrook {

using platform::ComPtr;

void set_error_text(const std::u16string& text, const std::u16string& source) {
  ComPtr<ICreateErrorInfo> info;
  if (FAILED(CreateErrorInfo(info.out()))) return;
  info->SetDescription(text.c_str());
  if (!source.empty()) info->SetSource(source.c_str());
  SetErrorInfo(0, info.query<IErrorInfo>().get());
}

void set_file_error(std::u16string_view what, BSTR path) {
  std::u16string text(what);
  text.append(u": \"").append(platform::view_of(path)).append(u"\"");
  set_error_text(text);
}

}  // namespace tallowbrook
