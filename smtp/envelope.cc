#include "smtp/envelope.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "core/text.h"
#include "platform/automation/late_bound.h"

namespace tallowbrook {
namespace {

using platform::Variant;

constexpr char kNoSender[] = "Message has no sender";
constexpr char kNoRecipients[] = "Message has no To list";
constexpr char kUnreadable[] = "Address could not be read";
constexpr char kUnsafe[] = "Address holds a line end or a NUL";
constexpr char kUnwritable[] = "Address cannot be written in the ANSI code page";

// A property without arguments; empty when it cannot be read.
Variant property(IDispatch* object, std::u16string_view name) {
  auto outcome = platform::invoke_by_name(object, name, DISPATCH_PROPERTYGET, nullptr, 0);
  return SUCCEEDED(outcome.status) ? std::move(outcome.value) : Variant();
}

// The object in a value; null for any other value.
IDispatch* object_in(const Variant& value) {
  return value.vt == VT_DISPATCH ? value.pdispVal : nullptr;
}

bool convert(const Variant& value, VARTYPE type, Variant& result) {
  return SUCCEEDED(VariantChangeTypeEx(&result, &value, LOCALE_USER_DEFAULT, 0, type));
}

// The default member of a list, which may go by another name.
Variant item(IDispatch* list, LONG index) {
  Variant argument(index);
  DISPPARAMS arguments{&argument, nullptr, 1, 0};
  Variant result;
  const HRESULT status = list->Invoke(DISPID_VALUE, GUID_NULL, LOCALE_USER_DEFAULT,
                                      DISPATCH_PROPERTYGET, &arguments, &result, nullptr, nullptr);
  return SUCCEEDED(status) ? std::move(result) : Variant();
}

// The place behind the quoted string or the domain literal that begins at `at`, else behind the
// character there.
std::size_t behind(std::string_view text, std::size_t at) {
  const char open = text[at];
  if (open != '"' && open != '[') return at + 1;
  const char close = open == '[' ? ']' : open;
  while (++at < text.size() && text[at] != close) at += text[at] == '\\' ? 1 : 0;
  return std::min(at + 1, text.size());
}

// Leaves the mailbox of a route address that has more than that in its brackets, and that no server
// would take so: a display name ("<A. B. <a@x.org>"), the name of a group ("<Team: a@x.org>") or
// its end ("<b@x.org;>"), what follows the mailbox. Any other address stays as it is, one with
// several mailboxes too: the server shall refuse it rather than one of them be lost.
void keep_mailbox(std::string& route) {
  if (!route.starts_with('<')) return;
  std::size_t start = 1;
  std::size_t end = route.size();
  bool domain = false;
  for (std::size_t at = 1; at < end; at = behind(route, at)) {
    const char c = route[at];
    if (c == '<' || (c == ':' && !domain)) {
      start = at + 1;
      domain = false;
    } else if (c == '>' || (c == ';' && at + 2 == route.size())) {
      end = at;
    } else if (c == '@') {
      domain = true;
    }
  }
  const bool more = start > 1 || end + 1 < route.size();
  if (!more || end == route.size() || route.find('@', end) != route.npos) return;
  const std::string mailbox(trim(std::string_view(route).substr(start, end - start)));
  route.replace(1, route.size() - 1, mailbox + ">");
}

const char* read_address(IDispatch* address, std::string& route) {
  Variant text;
  const Variant value = property(address, u"RouteAddress");
  if (value.vt == VT_EMPTY || !convert(value, VT_BSTR, text)) return kUnreadable;
  const std::u16string_view wide = text.text();
  if (wide.find_first_of(std::u16string_view(u"\r\n\0", 3)) != wide.npos) return kUnsafe;
  route = to_ansi(wide);
  // A character that the code page lacks would make it another mailbox's address.
  if (to_wide(route) != wide) return kUnwritable;
  keep_mailbox(route);
  return nullptr;
}

const char* read_sender(IDispatch* message, std::string& route) {
  const Variant sender = property(message, u"Sender");
  if (object_in(sender) != nullptr) {
    const char* const failure = read_address(sender.pdispVal, route);
    if (failure != nullptr || !route.empty()) return failure;
  }
  const Variant from = property(message, u"From");
  if (object_in(from) == nullptr) return kNoSender;
  const Variant first = item(from.pdispVal, 0);
  if (object_in(first) == nullptr) return kNoSender;
  const char* const failure = read_address(first.pdispVal, route);
  return failure == nullptr && route.empty() ? kNoSender : failure;
}

}  // namespace

const char* read_envelope(IDispatch* message, Envelope& envelope) {
  if (const char* const failure = read_sender(message, envelope.sender)) return failure;
  const Variant to = property(message, u"To");
  if (object_in(to) == nullptr) return kNoRecipients;
  const Variant size = property(to.pdispVal, u"Count");
  Variant count;
  if (size.vt == VT_EMPTY || !convert(size, VT_I4, count)) return kUnreadable;
  for (LONG i = 0; i < count.lVal; ++i) {
    const Variant recipient = item(to.pdispVal, i);
    if (object_in(recipient) == nullptr) return kUnreadable;
    std::string route;
    if (const char* const failure = read_address(recipient.pdispVal, route)) return failure;
    if (route.empty()) continue;  // a group without members is no mailbox
    envelope.recipients.push_back(std::move(route));
  }
  return nullptr;
}

}  // namespace tallowbrook
