#include "model/addresses.h"

#include <memory>
#include <optional>
#include <utility>

#include "collections/collection.h"
#include "core/guard.h"
#include "core/text.h"
#include "model/address_list.h"
#include "model/body_part.h"
#include "model/header_text.h"
#include "model/mail_address.h"
#include "model/variant_conversion.h"
#include "platform/automation/late_bound.h"
#include "platform/kernel/unicode.h"
#include "tallowbrook/collections.h"

namespace tallowbrook {

using platform::ComPtr;
using platform::Variant;

namespace {

constexpr std::string_view kFirstSeparator = " ";
constexpr std::string_view kLaterSeparator = "     , ";

void add(AddressList& list, std::string_view address, const HeaderValue& name) {
  if (name.is(ValueKind::Text)) {
    list.add(address, name.text_view());
  } else {
    list.add(address, name.AsText());
  }
}

// One address: of an `Address` or a `Text`, and an empty one of anything else.
void add(AddressList& list, const HeaderValue& value) {
  if (value.is(ValueKind::Text)) {
    list.add(value.text_view(), {});
  } else {
    add(list, value.address_text(), value.name());
  }
}

SharedAddresses mailboxes_of(const HeaderValue& value) {
  if (SharedAddresses list = value.mailboxes()) return list;
  const auto list = std::make_shared<AddressList>();
  switch (value.kind()) {
    case ValueKind::Empty:
      break;
    case ValueKind::Address:
      add(*list, value);
      break;
    case ValueKind::AddressMap:
      for (const auto& [address, name] : value.entries()) add(*list, address, name);
      break;
    case ValueKind::List:
      for (std::size_t i = 0; i < value.size(); ++i) add(*list, value[i]);
      break;
    default:
      list->add(value.AsText(), {});
      break;
  }
  return list;
}

// What an address object gives to a field.
struct HostAddress {
  std::string route;
  HeaderValue name;
};

bool is_utf8(std::string_view text) {
  while (!text.empty()) {
    const platform::Character character = platform::first_utf8(text);
    if (!character.valid) return false;
    text.remove_prefix(character.length);
  }
  return true;
}

// A name that the grammar does not take for one, as in "J. R. Hacker <jr@example.org>", is held
// with its address. In a field it becomes a name again, one that every reader takes; with the
// bracket that a route address begins with, the field would name no mailbox at all.
std::optional<HostAddress> split_name(std::string_view stored) {
  const std::string_view text = trim(stored);
  const std::size_t open = text.find('<');
  if (open == 0 || open == text.npos || text.find('>') + 1 != text.size() ||
      text.find('<', open + 1) != text.npos) {
    return std::nullopt;
  }
  const std::string_view name = trim(text.substr(0, open));
  if (name.find_first_of("\":;,@") != name.npos) return std::nullopt;
  // Bytes of UTF-8 stay what they are (RFC 6532).
  const bool plain = is_utf8(name) && name.find("=?") == name.npos;
  return HostAddress{std::string(text.substr(open)),
                     HeaderValue::text(plain ? in_quotes(name)
                                             : encode_header_text(decode_header_text(name), {}))};
}

HostAddress own_address(const CMailAddress& address) {
  if (address.name_raw().empty()) {
    if (auto split = split_name(address.address_raw())) return *std::move(split);
  }
  return {address.route_address(), HeaderValue::text(address.name_raw())};
}

// Nothing when the object lacks one of the two properties.
std::optional<HostAddress> read_address(IDispatch* object) {
  if (object == nullptr) return std::nullopt;
  void* own = nullptr;
  if (SUCCEEDED(object->QueryInterface(CMailAddress::kOwnIid, &own))) {
    return own_address(*ComPtr<CMailAddress>::adopt(static_cast<CMailAddress*>(own)));
  }
  const platform::Outcome name = platform::get(object, u"NameRaw");
  const platform::Outcome route = platform::get(object, u"RouteAddress");
  if (FAILED(name.status) || FAILED(route.status)) return std::nullopt;
  auto text = text_of(route.value);
  if (!text) return std::nullopt;
  return HostAddress{std::move(*text), from_variant(name.value)};
}

// The object in a variant that holds one, asked for IDispatch.
ComPtr<IDispatch> object_of(const Variant& value) {
  if (value.vt == VT_DISPATCH) return ComPtr<IDispatch>(value.pdispVal);
  if (value.vt == VT_UNKNOWN) return platform::query<IDispatch>(value.punkVal);
  return {};
}

Variant direct(const VARIANT& value) {
  Variant result;
  if (FAILED(VariantCopyInd(&result, &value))) result = Variant::missing();
  return result;
}

void add_host_address(AddressMap& entries, IDispatch* object) {
  if (auto address = read_address(object)) {
    entries.at_or_add(address->route) = std::move(address->name);
  }
}

void add_pieces(AddressMap& entries, std::string_view text) {
  while (!text.empty()) {
    const std::size_t comma = text.find(',');
    const std::string_view piece = text.substr(0, comma);
    if (!piece.empty()) entries.at_or_add(piece) = HeaderValue::text({});
    if (comma == std::string_view::npos) break;
    text.remove_prefix(comma + 1);
  }
}

void add_items(AddressMap& entries, IEnumVARIANT& items) {
  for (;;) {
    Variant item;
    ULONG fetched = 0;
    if (FAILED(items.Next(1, &item, &fetched)) || fetched == 0) return;
    const Variant value = direct(item);
    if (value.vt == VT_BSTR) {
      entries.at_or_add(to_ansi(value.text())) = HeaderValue::text({});
    } else if (const auto object = object_of(value)) {
      add_host_address(entries, object.get());
    }
  }
}

// What the object's _NewEnum yields, when it is an enumerator.
ComPtr<IEnumVARIANT> enumerator_of(IDispatch* object) {
  if (object == nullptr) return {};
  DISPPARAMS none{};
  Variant result;
  const HRESULT status =
      object->Invoke(DISPID_NEWENUM, GUID_NULL, LOCALE_USER_DEFAULT,
                     DISPATCH_PROPERTYGET | DISPATCH_METHOD, &none, &result, nullptr, nullptr);
  if (FAILED(status)) return {};
  if (result.vt == VT_UNKNOWN) return platform::query<IEnumVARIANT>(result.punkVal);
  if (result.vt == VT_DISPATCH) return platform::query<IEnumVARIANT>(result.pdispVal);
  return {};
}

bool is_nothing(const Variant& value) { return value.vt == VT_EMPTY || value.vt == VT_NULL; }

void append_line(std::string& layout, std::string_view separator, const HeaderValue& address) {
  const std::string text = folded(RenderAddress(address));
  if (!trim(text).empty()) layout.append(separator).append(text).append("\r\n");
}

void append_item(std::string& layout, const HeaderValue& address) {
  append_line(layout, layout.empty() ? kFirstSeparator : kLaterSeparator, address);
}

}  // namespace

Variant single_address(const HeaderValue& value) {
  const bool plain = value.is(ValueKind::Text);
  const std::string_view address = plain ? value.text_view() : value.address_text();
  return Variant::adopt(CMailAddress::of(address, value.name().AsText()).detach());
}

Variant address_list(const HeaderValue& value) {
  auto items = CMailAddress::all_of(mailboxes_of(value));
  ComPtr<CCollection> list;
  const HRESULT status = guarded([&] {
    list = make_object<CCollection>(std::move(items));
    return S_OK;
  });
  if (FAILED(status)) throw StatusError(E_FAIL);
  return Variant::adopt(list.detach());
}

HeaderValue put_single_address(const VARIANT& given) {
  const Variant value = direct(given);
  if (is_nothing(value)) return {};
  if (value.vt == VT_BSTR) {
    return HeaderValue::address(HeaderValue::text(to_ansi(value.text())), HeaderValue::text({}));
  }
  if (auto address = read_address(object_of(value).get())) {
    return HeaderValue::address(HeaderValue::text(address->route), std::move(address->name));
  }
  return HeaderValue::address({}, {});
}

HeaderValue put_address_list(const VARIANT& given) {
  const Variant value = direct(given);
  if (is_nothing(value)) return {};
  HeaderValue list = HeaderValue::map();
  AddressMap& entries = list.mutable_entries();
  if (value.vt == VT_BSTR) {
    add_pieces(entries, to_ansi(value.text()));
  } else if (const auto object = object_of(value)) {
    if (const auto items = enumerator_of(object.get())) {
      add_items(entries, *items);
    } else {
      add_host_address(entries, object.get());
    }
  }
  return list;
}

HeaderValue put_enumerated_or_single(const VARIANT& given) {
  const Variant value = direct(given);
  const auto items = enumerator_of(object_of(value).get());
  if (!items) return put_single_address(value);
  HeaderValue list = HeaderValue::map();
  add_items(list.mutable_entries(), *items);
  return list;
}

std::string RenderAddress(const HeaderValue& value) {
  std::string text = value.AsText();
  if (!value.is(ValueKind::Address)) return text;
  if (text.empty()) return std::string(value.address_text());
  // Without an address the name would be read as one: it is that of a group without members.
  if (value.address_text().empty()) return text.append(":;");
  return text.append(" ").append(value.address_text());
}

std::string address_layout(const HeaderValue& value) {
  std::string layout;
  if (value.is(ValueKind::AddressMap)) {
    for (const auto& [address, name] : value.entries()) {
      append_item(layout, HeaderValue::address(HeaderValue::text(address), name));
    }
  } else if (value.is(ValueKind::List)) {
    for (std::size_t i = 0; i < value.size(); ++i) append_item(layout, value[i]);
  } else {
    append_line(layout, {}, value);
  }
  return layout;
}

}  // namespace tallowbrook
