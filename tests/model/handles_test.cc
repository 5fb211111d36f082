// Whatever a host holds of a message stays usable and harmless when what it shows is gone: every
// kind of object, after every way of losing it, used or not and released in many orders. (Memory
// checkers see the rest.)
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <numeric>
#include <random>

#include "tallowbrook/content.h"
#include "tallowbrook/mime_body.h"
#include "tests/model/host.h"
#include "tests/support/dump.h"

namespace tallowbrook::test {
namespace {

using Object = ComPtr<IDispatch>;
using platform::Bstr;

constexpr std::string_view kOuter =
    "Received: from a by b; Mon, 1 Jan 2024 00:00:00 +0000\r\n"
    "Received: from c by d; Mon, 1 Jan 2024 00:00:00 +0000\r\n"
    "Date: Mon, 1 Jan 2024 00:00:00 +0000\r\n"
    "To: \"A\" <a@b>, c@d\r\n"
    "Subject: outer\r\n"
    "X-Outer: x\r\n"
    "Content-Type: multipart/mixed; boundary=o\r\n\r\n"
    "--o\r\n"
    "Content-Type: text/plain; name=n; charset=utf-8\r\n"
    "Content-Disposition: attachment; filename=f\r\n"
    "X-Part: p\r\n\r\ntext\r\n"
    "--o\r\n"
    "Content-Type: message/rfc822\r\n\r\n"
    "Received: from e by f; Mon, 1 Jan 2024 00:00:00 +0000\r\n"
    "Date: Mon, 1 Jan 2024 00:00:00 +0000\r\n"
    "To: e@f\r\nSubject: inner\r\nX-Inner: x\r\n\r\ninner text\r\n"
    "--o--\r\n";

// Reads and edits whatever the object has; each kind knows some of the names.
void use(const Object& held) {
  IDispatch* const target = held.get();
  for (const char16_t* const name : {u"Count",
                                     u"MajorContentType",
                                     u"MinorContentType",
                                     u"Major",
                                     u"Minor",
                                     u"Value",
                                     u"Name",
                                     u"FileName",
                                     u"Charset",
                                     u"Encoding",
                                     u"Description",
                                     u"Fields",
                                     u"Parameters",
                                     u"Date",
                                     u"To",
                                     u"Received",
                                     u"Body",
                                     u"MessageHeader",
                                     u"ContentType",
                                     u"ContentDisposition",
                                     u"EmbeddedMessage",
                                     u"_NewEnum"}) {
    (void)platform::get(target, name);
  }
  for (const LONG index : {0, 1}) {
    const Variant found = platform::get(target, u"Item", index).value;
    if (found.vt == VT_DISPATCH) (void)platform::get(found.pdispVal, u"Count");
    (void)platform::get(target, u"ParameterName", index);
  }
  for (const char16_t* const name : {u"Name", u"Description", u"Value", u"Charset", u"Encoding",
                                     u"FileName", u"Minor", u"SubjectRaw", u"Date", u"To"}) {
    (void)platform::put(target, name, text("used"));
  }
  (void)platform::call(target, u"Modify", text("name"), text("used"), Variant::boolean(true));
  (void)platform::call(target, u"AddNew");
  (void)platform::call(target, u"Remove", LONG{0});
  if (const auto persist = held.query<IPersistStream>()) {
    (void)persist->Save(CISSHelper::create().get(), FALSE);
  }
}

void use(IEnumVARIANT& items) {
  Variant next;
  ULONG fetched = 0;
  (void)items.Next(1, &next, &fetched);
  ComPtr<IEnumVARIANT> clone;
  (void)items.Clone(clone.out());
  (void)items.Skip(1);
  (void)items.Reset();
}

// All that a host can hold. Views into the first part, the second part (a message) and the
// message itself.
struct Held {
  ComPtr<IMimeDecoder> message = loaded(kOuter);
  std::vector<Object> objects;
  std::vector<ComPtr<IEnumVARIANT>> enumerators;

  Held() {
    const Object outer = message;
    const Object root = object(outer, u"Body");
    const Object part = item(root, 0);
    const Object enclosed = item(root, 1);
    const Object inner = object(enclosed, u"EmbeddedMessage");
    EXPECT_TRUE(root && part && inner);
    objects = {root, part, enclosed, inner};
    for (const Object& of : {root, part, enclosed, object(inner, u"Body"), item(enclosed, 0)}) {
      objects.push_back(of);
      objects.push_back(object(of, u"Fields"));
      for (const char16_t* const name : {u"ContentType", u"ContentDisposition"}) {
        objects.push_back(object(of, name));
        objects.push_back(object(objects.back(), u"Parameters"));
      }
    }
    for (const Object& of : {outer, inner}) {
      objects.push_back(object(of, u"Received"));
      objects.push_back(item(objects.back(), 0));
      objects.push_back(object(objects.back(), u"Parameters"));
      objects.push_back(object(of, u"To"));
      ComPtr<IUnknown> enumerator;
      EXPECT_EQ(objects.back().query<ICollection>()->get__NewEnum(enumerator.out()), S_OK);
      enumerators.push_back(enumerator.query<IEnumVARIANT>());
    }
    for (const Object& each : objects) EXPECT_TRUE(each);
  }
};

struct Loss {
  const char* name;
  std::function<void(Held&)> lose;
  bool cuts_off = false;  // nothing that is held shows what the message holds now
};

const Loss kLosses[] = {
    {"the parts are removed",
     [](Held& held) {
       for (int i = 0; i < 2; ++i) {
         EXPECT_EQ(platform::call(held.objects[0].get(), u"Remove", LONG{0}).status, S_OK);
       }
     }},
    {"their parent is cleared",
     [](Held& held) { EXPECT_EQ(platform::call(held.objects[0].get(), u"Clear").status, S_OK); }},
    {"the root's fields are cleared",
     [](Held& held) {
       EXPECT_EQ(platform::call(object(held.objects[0], u"Fields").get(), u"Clear").status, S_OK);
     }},
    {"the root becomes text",
     [](Held& held) { (void)put(held.message.get(), u"Body", text("t")); }},
    {"another message is loaded",
     [](Held& held) { (void)load(held.message, "Subject: s\r\n\r\n"); }, true},
    {"the same message is loaded", [](Held& held) { (void)load(held.message, kOuter); }},
    {"a load fails",
     [](Held& held) {
       EXPECT_NE(load(held.message, "Content-Type: multipart/mixed; =x\r\n\r\n"), S_OK);
       (void)take_error_text();
     },
     true},
    {"the message is made new",
     [](Held& held) { EXPECT_EQ(held.message.query<IPersistStreamInit>()->InitNew(), S_OK); }},
    {"the message is released", [](Held& held) { held.message.reset(); }},
    {"the enclosed message is replaced",
     [](Held& held) { (void)put(held.objects[2].get(), u"Value", text("Subject: v\r\n\r\n")); }},
    {"the enclosed message is loaded anew",
     [](Held& held) { (void)load(held.objects[3].query<IMimeDecoder>(), kOuter); }},
    {"nothing", [](Held&) {}},
};

TEST(Handles, StayUsableWhateverIsGone) {
  std::mt19937 random(5);
  for (const Loss& loss : kLosses) {
    SCOPED_TRACE(loss.name);
    for (int order = 0; order < 30; ++order) {
      Held held;
      loss.lose(held);
      const std::string before = loss.cuts_off ? saved(held.message) : "";
      std::shuffle(held.objects.begin(), held.objects.end(), random);
      // The message goes among the others, unless it is looked at behind them.
      const std::size_t last_with_message = loss.cuts_off ? 0 : random() % held.objects.size();
      while (!held.objects.empty()) {
        if (held.objects.size() == last_with_message) held.message.reset();
        if (order % 3 != 0) use(held.objects.back());
        if (order % 2 == 0 && held.objects.size() > 1) use(held.objects.front());
        held.objects.pop_back();
      }
      if (loss.cuts_off) {
        EXPECT_EQ(saved(held.message), before) << "edits of what is gone reach no message";
      }
      for (const auto& items : held.enumerators) use(*items);
    }
  }
}

TEST(Handles, EditsOfARemovedPartReachNoMessage) {
  for (const bool all : {false, true}) {
    const auto message = loaded(kOuter);
    const Object root = object(message, u"Body");
    const Object part = item(root, 0);
    std::vector<Object> views{part, object(part, u"Fields")};
    for (const char16_t* const name : {u"ContentType", u"ContentDisposition"}) {
      views.push_back(object(part, name));
      views.push_back(object(views.back(), u"Parameters"));
    }
    const auto outcome =
        all ? platform::call(root.get(), u"Clear") : platform::call(root.get(), u"Remove", LONG{0});
    EXPECT_EQ(outcome.status, S_OK);
    const std::string before = saved(message);
    for (; !views.empty(); views.pop_back()) use(views.back());
    EXPECT_EQ(saved(message), before);
  }
}

}  // namespace
}  // namespace tallowbrook::test
