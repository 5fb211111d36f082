#include "model/mail_address.h"

#include "core/creators.h"
#include "core/guard.h"
#include "core/text.h"
#include "model/header_text.h"

namespace tallowbrook {
namespace {

// Runs `text`, which yields a wide string, into an out-parameter.
template <class Text>
HRESULT yield_text(BSTR* target, Text&& text) {
  if (target == nullptr) return E_POINTER;
  *target = nullptr;
  return guarded([&] {
    *target = platform::Bstr(text()).detach();
    return S_OK;
  });
}

HRESULT store_text(std::string& target, BSTR text) {
  return guarded([&] {
    target = to_ansi(platform::view_of(text));
    return S_OK;
  });
}

// The bracketed part of an address, brackets kept; what follows a "<" that is never closed.
std::u16string_view bracketed(std::u16string_view text) {
  const std::size_t open = text.find(u'<');
  if (open == std::u16string_view::npos) return text;
  const std::size_t close = text.find(u'>', open);
  if (close == std::u16string_view::npos) return text.substr(open + 1);
  return text.substr(open, close - open + 1);
}

}  // namespace

HRESULT CMailAddress::QueryInterface(REFIID iid, void** object) {
  if (object != nullptr && iid == kOwnIid) {
    AddRef();
    *object = this;
    return S_OK;
  }
  return Object::QueryInterface(iid, object);
}

HRESULT CMailAddress::get_Address(BSTR* address) {
  return yield_text(address, [&] {
    const std::string_view text = trim(address_);
    const bool encoded = text.find("=?") != std::string_view::npos;
    const std::u16string wide = encoded ? decode_header_text(text) : to_wide(text);
    return std::u16string(bracketed(wide));
  });
}

HRESULT CMailAddress::put_Address(BSTR address) { return store_text(address_, address); }

HRESULT CMailAddress::get_NameRaw(BSTR* name) {
  return yield_text(name, [&] { return to_wide(name_); });
}

HRESULT CMailAddress::put_NameRaw(BSTR name) { return store_text(name_, name); }

HRESULT CMailAddress::get_Name(BSTR* name) {
  return yield_text(name, [&] { return decode_header_text(name_); });
}

HRESULT CMailAddress::put_Name(BSTR name) {
  return guarded([&] {
    name_ = encode_header_text(platform::view_of(name), charset_);
    return S_OK;
  });
}

HRESULT CMailAddress::get_RouteAddress(BSTR* address) {
  return yield_text(address, [&] { return to_wide(route_address()); });
}

HRESULT CMailAddress::put_Charset(BSTR charset) { return store_text(charset_, charset); }

std::string CMailAddress::route_address() const {
  if (address_.empty()) return {};
  std::string route(trim(address_));
  if (!route.starts_with('<')) route.insert(0, 1, '<');
  if (!route.ends_with('>')) route += '>';
  return route;
}

HRESULT create_mail_address(REFIID iid, void** object) {
  return create_instance<CMailAddress>(iid, object);
}

}  // namespace tallowbrook
