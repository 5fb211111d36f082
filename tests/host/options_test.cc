// Options, values and accessor events, with the reference explorer's objects.
#include "tallowbrook/options.h"
#include "platform/com/security.h"
#include "platform/kernel/message_queue.h"
#include "platform/storage/storage.h"
#include "tests/collections/items.h"
#include "tests/host/fake_node.h"
#include "tests/host/script_host.h"
#include "tests/model/host.h"

#include <atomic>
#include <thread>

#include "collections/variant_stream.h"

namespace tallowbrook {
namespace {

using platform::ComPtr;
using platform::Variant;
using test::FakeNode;
using test::item;
using test::object;
using test::read;
using test::read_text;
using test::ScriptHost;
using test::ScriptObject;

constexpr char kMessage[] = "Subject: first\r\n\r\n.\r\n";

// The component of the reference explorer is loaded, and has given everything back at the end.
class Options : public ::testing::Test {
 protected:
  Options() { EXPECT_EQ(CoLoadComponent(BRAMBLESCOPE_COMPONENT, &component_), S_OK); }
  ~Options() override { EXPECT_EQ(CoUnloadComponent(component_), S_OK) << "host objects leak"; }

 private:
  HMODULE component_ = nullptr;
};

// --- what a host does ----------------------------------------------------------------------------

LONG count(const ComPtr<IDispatch>& list) { return read(list.get(), u"Count").lVal; }

ComPtr<IDispatch> values_of(const ComPtr<IMimeDecoder>& message, std::u16string_view option) {
  const auto outcome = platform::get(message.get(), u"CurrentValues", option);
  EXPECT_EQ(outcome.status, S_OK);
  return object(outcome.value);
}

// The value in an option value's stream, which is left at its end.
Variant stored(const ComPtr<IDispatch>& value) {
  const Variant holder = read(value.get(), u"XValue");
  EXPECT_EQ(holder.vt, VT_UNKNOWN);
  const auto stream = platform::query<IStream>(holder.punkVal);
  stream->Seek(LARGE_INTEGER{0}, STREAM_SEEK_SET, nullptr);
  Variant read_value;
  EXPECT_EQ(ReadVariant(*stream, read_value), S_OK);
  return read_value;
}

// A stream that holds a value and stands at its end.
ComPtr<IUnknown> holder_of(const Variant& value) {
  const auto stream = CISSHelper::create();
  EXPECT_EQ(WriteVariant(*stream, value), S_OK);
  LARGE_INTEGER end{0};
  stream->Seek(end, STREAM_SEEK_END, nullptr);
  return stream.query<IUnknown>();
}

HRESULT edit(const ComPtr<IDispatch>& value, const Variant& to) {
  return test::put(value.get(), u"XValue", Variant(holder_of(to).get()));
}

// The connections that a list of values has.
std::vector<ComPtr<IDispatch>> sinks_of(const ComPtr<IDispatch>& list) {
  ComPtr<IConnectionPoint> point;
  ComPtr<IEnumConnections> all;
  const auto container = list.query<IConnectionPointContainer>();
  EXPECT_EQ(container->FindConnectionPoint(_IAccessorEvents::kIid, point.out()), S_OK);
  EXPECT_EQ(point->EnumConnections(all.out()), S_OK);
  std::vector<ComPtr<IDispatch>> sinks;
  for (CONNECTDATA one{}; all->Next(1, &one, nullptr) == S_OK;) {
    sinks.push_back(ComPtr<IUnknown>::adopt(one.pUnk).query<IDispatch>());
  }
  return sinks;
}

// A message, the values of its subject, and the sink that it connected to them.
class OptionEvents : public Options {
 protected:
  ComPtr<IMimeDecoder> message = test::loaded(kMessage);
  ComPtr<IDispatch> values = values_of(message, u"Subject");
  ComPtr<IDispatch> sink = sinks_of(values).at(0);
};

Variant boxed(const ComPtr<IDispatch>& object) { return Variant(object.get()); }

// Fires an event; the arguments stand in the order of the event.
HRESULT fire(const ComPtr<IDispatch>& sink, DISPID event, std::vector<Variant> arguments) {
  std::reverse(arguments.begin(), arguments.end());
  DISPPARAMS parameters{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
  return sink->Invoke(event, GUID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, nullptr,
                      nullptr, nullptr);
}

void pump() {
  MSG message{};
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
}

// --- definitions ---------------------------------------------------------------------------------

TEST_F(Options, FollowTheTable) {
  ComPtr<IDispatch> further;
  ASSERT_EQ(create_host_object(kOptionCollectionClass, further), S_OK);
  ComPtr<IDispatch> definition;
  ASSERT_EQ(create_host_object(u"{42929D32-598A-4E40-90BD-056B3C10C67B}", definition), S_OK)
      << "a class identity instead of a name";
  test::put(definition.get(), u"ID", Variant(u"of the further object"));
  platform::call(further.get(), u"Add", Variant(definition.get()));
  FakeNode node;
  node.chained = further;
  node.options_given = {
      {.short_name = u"a",
       .name = kNoString,
       .description = 99,
       .type = 7,
       .enabled = false,
       .data_format = u"%d"},
      {.short_name = u"unlisted", .listed = false},
      {.short_name = u"__CHAIN_TO_DISPATCH__", .chain_index = 3},
  };
  ComPtr<IDispatch> options;
  ComPtr<IDispatch> again;
  ASSERT_EQ(node.options(options.out()), S_OK);
  ASSERT_EQ(node.options(again.out()), S_OK);
  EXPECT_EQ(options.get(), again.get());
  ASSERT_EQ(count(options), 2) << "filled once";
  const auto first = item(options, 0);
  EXPECT_EQ(read_text(first.get(), u"Name"), "") << "no string";
  EXPECT_EQ(read_text(first.get(), u"Description"), "") << "no such string";
  EXPECT_EQ(read(first.get(), u"Type").lVal, 7);
  EXPECT_EQ(read(first.get(), u"Enabled").boolVal, VARIANT_FALSE);
  EXPECT_EQ(read_text(first.get(), u"DataFormat"), "%d");
  EXPECT_EQ(read_text(item(options, 1).get(), u"ID"), "of the further object");
}

TEST(OptionsWithoutAHost, Fail) {
  const auto message = test::loaded(kMessage);
  const auto stored_options = message.query<IPersistOptions>();
  ComPtr<IStorage> storage;
  ASSERT_EQ(StgCreateDocfile(nullptr, STGM_CREATE | STGM_READWRITE, 0, storage.out()), S_OK);
  EXPECT_EQ(stored_options->SaveOptions(storage.get()), CO_E_CLASSSTRING);
  EXPECT_EQ(stored_options->LoadOptions(storage.get()), CO_E_CLASSSTRING);
  IDispatch* out = message.get();
  EXPECT_EQ(message->get_Options(&out), E_POINTER);
  EXPECT_EQ(out, nullptr);
  const platform::Bstr id(u"Subject");
  EXPECT_EQ(message->get_CurrentValues(id.get(), VARIANT_FALSE, &out), CO_E_CLASSSTRING);
  EXPECT_EQ(message->get_ChoiceValues(id.get(), VARIANT_FALSE, &out), CO_E_CLASSSTRING);
}

// --- values --------------------------------------------------------------------------------------

TEST_F(Options, CurrentValuesCarryTheSubject) {
  const auto message = test::loaded("Subject: =?utf-8?q?gr=C3=BCn?=\r\n\r\n.\r\n");
  const auto values = values_of(message, u"Subject");
  ASSERT_EQ(count(values), 1);
  const auto value = item(values, 0);
  EXPECT_EQ(read_text(value.get(), u"ID"), "Subject");
  EXPECT_EQ(read_text(value.get(), u"IsValueOfOption"), "Subject");
  EXPECT_EQ(stored(value).text(), u"gr\u00FCn");
  for (const char16_t* other : {u"subject", u"Body", u""}) {
    EXPECT_EQ(count(values_of(message, other)), 0) << to_ansi(other);
  }
  EXPECT_EQ(count(object(platform::get(message.get(), u"ChoiceValues", u"Subject").value)), 0);
  const auto put_too = platform::get(message.get(), u"CurrentValues", u"Subject", LONG{1});
  EXPECT_EQ(put_too.status, S_OK) << "bPut may be given or left out";
}

TEST_F(Options, ChoicesFollowTheTable) {
  FakeNode node;
  node.choices = {{u"colour", u"r", u"red"}, {u"size", u"s", u"small"}, {u"colour", u"b", u"blue"}};
  ComPtr<IDispatch> choices;
  ASSERT_EQ(node.choice_values(u"colour", choices.out()), S_OK);
  ASSERT_EQ(count(choices), 2);
  EXPECT_EQ(read_text(item(choices, 1).get(), u"ID"), "b");
  EXPECT_EQ(stored(item(choices, 1)).text(), u"blue");
  EXPECT_EQ(sinks_of(choices).size(), 0U);
}

// --- changes -------------------------------------------------------------------------------------

TEST_F(OptionEvents, AnEditIsWrittenBack) {
  EXPECT_EQ(edit(item(values, 0), Variant(u"second")), S_OK);
  EXPECT_EQ(read_text(message.get(), u"Subject"), "second") << "from a stream at its end";
  EXPECT_EQ(message.query<IPersistStream>()->IsDirty(), S_OK);
  const auto other = values_of(message, u"other");
  for (const auto& list : {other, values}) {
    platform::call(list.get(), u"Add", Variant(item(values, 0).get()));
  }
  platform::call(other.get(), u"Remove", LONG{0});
  platform::call(values.get(), u"Remove", LONG{1});
  EXPECT_EQ(edit(item(values, 0), Variant(LONG{12})), S_OK);
  EXPECT_EQ(read_text(message.get(), u"Subject"), "12") << "it is still in this list";
  test::put(item(values, 0).get(), u"IsValueOfOption", Variant(u"other"));
  EXPECT_EQ(edit(item(values, 0), Variant(u"third")), S_OK);
  EXPECT_EQ(read_text(message.get(), u"Subject"), "12") << "a value of another option";
}

TEST_F(OptionEvents, EventsAreHeardByTheirNumbers) {
  const auto subject_after = [&](DISPID event, std::vector<Variant> arguments) {
    test::put(message.get(), u"Subject", Variant(u"before"));
    EXPECT_EQ(fire(sink, event, std::move(arguments)), S_OK) << event;
    return read_text(message.get(), u"Subject");
  };
  const Variant accessor(values.get());
  Variant outer(values.get());
  const Variant by_reference = Variant::by_reference(&outer);
  for (DISPID event = 1; event <= 4; ++event) {
    EXPECT_EQ(subject_after(event, {accessor, Variant()}), "first") << event;
    EXPECT_EQ(subject_after(event, {by_reference, Variant()}), "first") << event;
    EXPECT_EQ(subject_after(event, {accessor}), "before") << "too few arguments";
    EXPECT_EQ(subject_after(event, {Variant(u"text"), Variant()}), "before") << "no object";
    EXPECT_EQ(subject_after(event, {Variant(), accessor}), "before") << "the wrong way round";
  }
  EXPECT_EQ(subject_after(5, {accessor, Variant(), Variant(LONG{1})}), "before");
  EXPECT_EQ(subject_after(5, {accessor, Variant()}), "before");
  for (const DISPID event : {0, 6, -1}) {
    EXPECT_EQ(fire(sink, event, {accessor, Variant()}), DISP_E_MEMBERNOTFOUND) << event;
  }
}

// What is put while the message's own event is delivered raises no further one.
TEST_F(OptionEvents, APutFromInsideTheMessagesEventRaisesNone) {
  int calls = 0;
  const auto heard = make_object<test::EventSink>([&](DISPID, DISPPARAMS&) {
    if (++calls == 3) throw calls;
    if (calls < 5) test::put(message.get(), u"Subject", Variant(u"nested"));
  });
  const test::Connected connected(message, heard.get());
  EXPECT_EQ(edit(item(values, 0), Variant(u"edited")), S_OK);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(read_text(message.get(), u"Subject"), "nested");
  for (int put = 2; put <= 4; ++put) {
    EXPECT_EQ(test::put(message.get(), u"Subject", Variant(u"again")), S_OK) << "even if it throws";
    EXPECT_EQ(calls, put);
  }
}

// --- sinks ---------------------------------------------------------------------------------------

TEST_F(Options, SinksGoWithTheirCollections) {
  FakeNode node;
  const auto new_values = [&node] {
    ComPtr<IDispatch> values;
    EXPECT_EQ(node.current_values(u"a", values.out()), S_OK);
    return values;
  };
  {
    const auto first = new_values();
    const auto second = new_values();
    EXPECT_EQ(node.sink_count(), 2U);
    for (int i = 0; i < 20; ++i) (void)new_values();
    EXPECT_LE(node.sink_count(), 3U) << "the collections that the host let go are gone";
    EXPECT_EQ(sinks_of(first).size(), 1U) << "and the others are not";
  }
  ComPtr<IDispatch> choices;
  ASSERT_EQ(node.choice_values(u"a", choices.out()), S_OK);
  EXPECT_EQ(node.sink_count(), 0U);
}

TEST_F(OptionEvents, AMessageReleasedByAnEventEndsBehindIt) {
  const auto accessor = make_object<ScriptObject>([&](const test::HostCall& call) {
    message.reset();
    if (call.name != u"Count") return E_FAIL;
    Variant(LONG{2}).detach_to(call.result);
    return S_OK;
  });
  EXPECT_EQ(fire(sink, 3, {boxed(accessor), Variant()}), S_OK);
  EXPECT_FALSE(message);
  EXPECT_EQ(sinks_of(values).size(), 0U);
  EXPECT_EQ(fire(sink, 3, {Variant(values.get()), Variant()}), DISP_E_MEMBERNOTFOUND);
  EXPECT_EQ(edit(item(values, 0), Variant(u"unheard")), S_OK);
}

TEST_F(Options, ASinkThatForwardsHandsOnWholeCalls) {
  struct Callback final : CAccessorEventsCallback {
    void on_added(CAccessorEvents&, IDispatch&, const VARIANT&) override { FAIL(); }
    void on_removed(CAccessorEvents&, IDispatch&, const VARIANT&) override { FAIL(); }
    void on_changed(CAccessorEvents&, IDispatch&, const VARIANT&) override { FAIL(); }
    void on_reloaded(CAccessorEvents&, IDispatch&, const VARIANT&) override { FAIL(); }
    void on_state_changed(CAccessorEvents&, IDispatch&, const VARIANT& value,
                          SHORT given) override {
      EXPECT_EQ(value.vt, VT_EMPTY);
      state = given;
    }
    HRESULT forward(CAccessorEvents&, DISPID event, DISPPARAMS* arguments) override {
      return event == 3 ? static_cast<HRESULT>(arguments->cArgs) : E_FAIL;
    }
    ComPtr<IUnknown> keeper() override { return nullptr; }
    SHORT state = 0;
  } callback;
  const auto forwarding =
      make_object<CAccessorEvents>(callback, CAccessorEvents::Delivery::kForward);
  const ComPtr<IDispatch> sink = forwarding;
  EXPECT_EQ(fire(sink, 3, {Variant()}), 1) << "even with too few arguments";
  EXPECT_EQ(fire(sink, 4, {}), E_FAIL);
  EXPECT_EQ(fire(sink, 6, {}), DISP_E_MEMBERNOTFOUND);
  forwarding->detach();
  EXPECT_EQ(fire(sink, 3, {}), DISP_E_MEMBERNOTFOUND);

  const ComPtr<IDispatch> calling = make_object<CAccessorEvents>(callback);
  const Variant accessor(sink.get());
  EXPECT_EQ(fire(calling, 5, {accessor, Variant(), Variant(LONG{-7})}), S_OK);
  EXPECT_EQ(callback.state, -7);
  EXPECT_EQ(fire(calling, 5, {accessor, Variant(), Variant(u"no number")}), S_OK);
  EXPECT_EQ(callback.state, -7);
}

// --- other threads -------------------------------------------------------------------------------

TEST_F(OptionEvents, AnEventOnAnotherThreadWaitsForTheOwner) {
  const auto accessor = make_object<ScriptObject>([&](const test::HostCall& call) {
    if (call.name == u"Count") {
      Variant(LONG{1}).detach_to(call.result);
    } else if (call.name == u"Item") {
      Variant(&call.object).detach_to(call.result);
    } else if (call.name == u"IsValueOfOption") {
      Variant(u"Subject").detach_to(call.result);
    } else {
      Variant(holder_of(Variant(u"from afar")).get()).detach_to(call.result);
    }
    return S_OK;
  });
  Variant argument = boxed(accessor);
  std::thread([&] {
    EXPECT_EQ(fire(sink, 3, {Variant::by_reference(&argument), Variant()}), S_OK);
    argument.clear();  // what was passed by reference is gone before the event is delivered
    EXPECT_EQ(fire(sink, 6, {Variant(), Variant()}), DISP_E_MEMBERNOTFOUND);
  }).join();
  EXPECT_EQ(read_text(message.get(), u"Subject"), "first");
  pump();
  EXPECT_EQ(read_text(message.get(), u"Subject"), "from afar");
}

TEST_F(OptionEvents, AnEventOnAnotherThreadMayComeTooLate) {
  const auto late = [&] { return fire(sink, 3, {Variant(values.get()), Variant()}); };
  std::thread([&] { EXPECT_EQ(late(), S_OK); }).join();
  message.reset();
  pump();
  std::thread([&] { EXPECT_EQ(late(), DISP_E_MEMBERNOTFOUND); }).join();
}

TEST_F(OptionEvents, EventsFromManyThreadsOutliveTheMessage) {
  constexpr int kEvents = 200;
  std::atomic<int> fired{0};
  const auto fire_all = [&] {
    for (int i = 0; i < kEvents; ++i, ++fired) {
      const HRESULT status = fire(sink, 1 + i % 4, {Variant(values.get()), Variant()});
      EXPECT_TRUE(status == S_OK || status == DISP_E_MEMBERNOTFOUND) << status;
    }
  };
  std::thread one(fire_all);
  std::thread two(fire_all);
  while (fired < kEvents) pump();
  EXPECT_EQ(read_text(message.get(), u"Subject"), "first");
  message.reset();
  one.join();
  two.join();
  pump();
}

TEST_F(Options, EventsOnThreadsWhoseOwnerEndedFail) {
  ComPtr<IMimeDecoder> message;
  ComPtr<IDispatch> values;
  std::thread([&] {
    message = test::loaded(kMessage);
    values = values_of(message, u"Subject");
    const auto sink = sinks_of(values).at(0);
    const auto accessor = values_of(message, u"Subject");
    std::thread([&] {
      EXPECT_EQ(fire(sink, 3, {Variant(accessor.get()), Variant()}), S_OK) << "never heard";
    }).join();
  }).join();
  const auto sink = sinks_of(values).at(0);
  EXPECT_EQ(fire(sink, 3, {Variant(values.get()), Variant()}), E_FAIL);
}

// --- hosts that are not as they should be --------------------------------------------------------

void use_all(const ComPtr<IMimeDecoder>& message) {
  const platform::Bstr id(u"Subject");
  ComPtr<IDispatch> out;
  message->get_Options(out.out());
  message->get_CurrentValues(id.get(), VARIANT_TRUE, out.out());
  message->get_ChoiceValues(id.get(), VARIANT_TRUE, out.out());
}

TEST(OptionsOfAPoorHost, EveryCallFails) {
  const ScriptHost host([](const test::HostCall&) { return E_FAIL; });
  const auto message = test::loaded(kMessage);
  use_all(message);
  const auto options = object(read(message.get(), u"Options"));
  EXPECT_EQ(object(read(message.get(), u"Options")).get(), options.get());
}

// The n-th call on any host object fails, for every n.
TEST(OptionsOfAPoorHost, AnyCallFails) {
  int calls = 0;
  for (int failing = 0; failing == 0 || calls > failing; ++failing) {
    calls = 0;
    const ScriptHost host([&](const test::HostCall& call) {
      if (calls++ == failing) return E_ACCESSDENIED;
      if (call.name == u"Count") Variant(LONG{0}).detach_to(call.result);
      return S_OK;
    });
    const auto message = test::loaded(kMessage);
    use_all(message);
    EXPECT_EQ(object(read(message.get(), u"Options")).get(),
              object(read(message.get(), u"Options")).get());
    ASSERT_LT(failing, 100);
  }
  EXPECT_GT(calls, 8);
}

TEST(OptionsOfAPoorHost, ClassesMakeNothing) {
  for (std::size_t broken = 0; broken < 4; ++broken) {
    for (const HRESULT status : {S_OK, E_OUTOFMEMORY}) {
      const ScriptHost host([&](std::size_t index, IDispatch** made) {
        if (index == broken) return status;
        *made = make_object<ScriptObject>([](const test::HostCall&) { return S_OK; }).detach();
        return S_OK;
      });
      const auto message = test::loaded(kMessage);
      use_all(message);
      ComPtr<IDispatch> out;
      EXPECT_EQ(message->get_Options(out.out()),
                broken == ScriptHost::kCollection ? E_POINTER : S_OK);
      const platform::Bstr id(u"Subject");
      const HRESULT values = message->get_CurrentValues(id.get(), VARIANT_FALSE, out.out());
      EXPECT_EQ(FAILED(values),
                broken == ScriptHost::kValueCollection || broken == ScriptHost::kValue);
      EXPECT_EQ(out.get() == nullptr, FAILED(values));
    }
  }
}

TEST_F(OptionEvents, AccessorsMayBeAnything) {
  const auto text_stream = CISSHelper::create_with("no value");
  const Variant answers[] = {Variant(),
                             Variant(LONG{0x7FFFFFFF}),
                             Variant(LONG{-1}),
                             Variant(u"Subject"),
                             Variant(static_cast<IDispatch*>(nullptr)),
                             Variant(static_cast<IUnknown*>(text_stream.get())),
                             Variant(message.get())};
  int calls = 0;
  for (const Variant& counted : answers) {
    for (const Variant& answer : answers) {
      const auto accessor = make_object<ScriptObject>([&](const test::HostCall& call) {
        ++calls;
        Variant(call.name == u"Count" ? counted : answer).detach_to(call.result);
        return S_OK;
      });
      EXPECT_EQ(fire(sink, 3, {boxed(accessor), Variant()}), S_OK);
    }
  }
  EXPECT_LT(calls, 100000) << "a count that is not true is not believed";
  EXPECT_EQ(read_text(message.get(), u"Subject"), "first");
}

TEST(OptionsOfAPoorHost, AnObjectIsPutByReferenceWhereItMust) {
  std::vector<std::u16string> by_reference;
  const ScriptHost host([&](const test::HostCall& call) {
    if (call.name != u"XValue") return S_OK;
    if (call.flags == DISPATCH_PROPERTYPUT) return DISP_E_MEMBERNOTFOUND;
    EXPECT_EQ(call.flags, DISPATCH_PROPERTYPUTREF);
    EXPECT_EQ(call.arguments.rgvarg[0].vt, VT_UNKNOWN);
    by_reference.push_back(call.name);
    return S_OK;
  });
  use_all(test::loaded(kMessage));
  EXPECT_EQ(by_reference.size(), 1U);
}

// An accessor with a proxy is told whom its calls come from.
TEST_F(OptionEvents, AProxyGetsItsSecurity) {
  struct Proxy final : test::PropertyBag<IClientSecurity> {
    HRESULT QueryBlanket(IUnknown*, DWORD*, DWORD*, OLECHAR**, DWORD*, DWORD*, void**,
                         DWORD*) override {
      return E_NOTIMPL;
    }
    HRESULT SetBlanket(IUnknown*, DWORD authentication, DWORD authorisation, OLECHAR* principal,
                       DWORD level, DWORD impersonation, void*, DWORD capabilities) override {
      EXPECT_EQ(principal, nullptr);
      given = {authentication, authorisation, level, impersonation, capabilities};
      return S_OK;
    }
    HRESULT CopyProxy(IUnknown*, IUnknown**) override { return E_NOTIMPL; }
    std::vector<DWORD> given;
  };
  const auto proxy = make_object<Proxy>();
  EXPECT_EQ(fire(sink, 3, {boxed(proxy), Variant()}), S_OK);
  EXPECT_EQ(proxy->given, (std::vector<DWORD>{10, 0, 2, 2, 0}));
  EXPECT_EQ(CoSetProxyBlanket(values.get(), 10, 0, nullptr, 2, 2, nullptr, 0), E_NOINTERFACE);
}

}  // namespace
}  // namespace tallowbrook
