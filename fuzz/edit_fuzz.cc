// Edits of a tree of parts in an order that the input gives, with handles that are kept after their
// part was removed, its parent cleared or the message loaded anew. Whatever was edited is saved as
// a message.
#include "fuzz/fuzz.h"
#include "tallowbrook/mime_body.h"

namespace {

using namespace tallowbrook;
using Handle = platform::ComPtr<IDispatch>;

constexpr std::string_view kMessage =
    "Subject: outer\r\nContent-Type: multipart/mixed; boundary=o\r\n\r\n--o\r\n"
    "Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: base64\r\n\r\nw6k=\r\n"
    "--o\r\nContent-Type: message/rfc822\r\n\r\nSubject: inner\r\n\r\n..\r\n--o\r\n"
    "Content-Disposition: attachment; filename=f\r\n\r\nx\r\n--o--\r\n";

constexpr const char16_t* kTexts[] = {
    u"multipart",     u"text",       u"message",          u"rfc822", u"digest",
    u"utf-8",         u"base64",     u"quoted-printable", u".",      u"\u00e9\r\n.\r\n",
    u"=?utf-8?Q?x?=", u"a\"b\\c; d", u"X-Field",          u""};

struct Host {
  explicit Host(fuzz::Input& given) : input(given) {}

  platform::Variant text() { return platform::Variant(kTexts[input.number(std::size(kTexts))]); }

  void keep(const platform::Outcome& outcome) {
    if (outcome.value.vt != VT_DISPATCH || outcome.value.pdispVal == nullptr) return;
    if (handles.size() < 60) handles.emplace_back(outcome.value.pdispVal);
  }

  void step() {
    const Handle handle = handles[input.number(handles.size())];
    static constexpr const char16_t* kGets[] = {
        u"Body",   u"EmbeddedMessage", u"ContentType", u"ContentDisposition", u"Parameters",
        u"Fields", u"Value",           u"Count",       u"FileName",           u"Received"};
    static constexpr const char16_t* kPuts[] = {u"MajorContentType",
                                                u"MinorContentType",
                                                u"Encoding",
                                                u"Charset",
                                                u"Value",
                                                u"Name",
                                                u"FileName",
                                                u"Description",
                                                u"Subject",
                                                u"ContentID",
                                                u"To",
                                                u"Body",
                                                u"Major",
                                                u"Minor"};
    const LONG index = static_cast<LONG>(input.number(5)) - 1;
    switch (input.number(9)) {
      case 0:
        return keep(platform::get(handle.get(), kGets[input.number(std::size(kGets))]));
      case 1:
        return keep(platform::get(handle.get(), u"Item", index));
      case 2:
        return keep(platform::call(handle.get(), u"AddNew"));
      case 3:
        return (void)platform::call(handle.get(), u"Remove", index);
      case 4:
        if (input.number(4) == 0) (void)platform::call(handle.get(), u"Clear");
        return;
      case 5:
        return (void)platform::put(handle.get(), u"ExtField", text(), text());
      case 6:
        return (void)platform::call(handle.get(), u"Modify", text(), text());
      case 7:
        handles.erase(handles.begin() +
                      static_cast<std::ptrdiff_t>(1 + input.number(handles.size() - 1)));
        return;
      default:
        return (void)platform::put(handle.get(), kPuts[input.number(std::size(kPuts))], text());
    }
  }

  fuzz::Input& input;
  std::vector<Handle> handles;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tallowbrook::fuzz;
  Input input(data, size);
  auto message = new_message();
  require(SUCCEEDED(load(message, kMessage)), "no load");
  Host host(input);
  host.handles = {message, message};
  for (int steps = 0; steps < 200 && !input.empty(); ++steps) {
    if (input.number(64) == 63) (void)load(message, kMessage);
    if (host.handles.size() > 1) host.step();
  }
  const std::string bytes = saved(message);
  require(SUCCEEDED(load(new_message(), bytes)), "edits make a message that does not load", bytes);
  // The message goes before what was reached through it.
  message = {};
  host.handles.erase(host.handles.begin());
  while (!host.handles.empty()) {
    touch(host.handles.front().get());
    host.handles.erase(host.handles.begin());
  }
  return 0;
}
