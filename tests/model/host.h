// What a host does with a message, by late binding, in short words.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "core/creators.h"
#include "core/text.h"
#include "model/mime_decoder.h"
#include "platform/automation/late_bound.h"
#include "streams/memory_stream.h"
#include "tallowbrook/collections.h"
#include "tallowbrook/mime_decoder.h"

namespace tallowbrook::test {

using platform::ComPtr;
using platform::Variant;

inline ComPtr<IMimeDecoder> new_message() {
  ComPtr<IMimeDecoder> message;
  EXPECT_EQ(create_mime_decoder(IMimeDecoder::kIid, message.out_void()), S_OK);
  return message;
}

inline HRESULT load(const ComPtr<IMimeDecoder>& message, std::string_view text) {
  const auto stream = CISSHelper::create_with(text);
  return message.query<IPersistStream>()->Load(stream.get());
}

inline ComPtr<IMimeDecoder> loaded(std::string_view text) {
  auto message = new_message();
  EXPECT_EQ(load(message, text), S_OK);
  return message;
}

inline std::string saved(const ComPtr<IMimeDecoder>& message) {
  const auto stream = CISSHelper::create();
  EXPECT_EQ(message.query<IPersistStream>()->Save(stream.get(), FALSE), S_OK);
  return std::string(stream->bytes());
}

inline MessageStore& store_of(const ComPtr<IMimeDecoder>& message) {
  return static_cast<CMimeDecoder&>(*message).store();
}

// Whether each of `pieces` stands somewhere in `text`.
template <class... Pieces>
::testing::AssertionResult holds(std::string_view text, const Pieces&... pieces) {
  for (const std::string_view piece : {std::string_view(pieces)...}) {
    if (text.find(piece) != text.npos) continue;
    return ::testing::AssertionFailure() << piece << "\nis not in\n" << text;
  }
  return ::testing::AssertionSuccess();
}

inline Variant read(IDispatch* object, std::u16string_view name) {
  auto outcome = platform::get(object, name);
  EXPECT_EQ(outcome.status, S_OK) << to_ansi(name);
  return std::move(outcome.value);
}

// A property as text: 12, "text", - for an empty one, "object".
inline std::string shown(IDispatch* object, std::u16string_view name) {
  const Variant value = read(object, name);
  if (value.vt == VT_BSTR) return '"' + to_ansi(value.text()) + '"';
  if (value.vt == VT_I4) return std::to_string(value.lVal);
  return value.vt == VT_EMPTY ? "-" : value.vt == VT_DISPATCH ? "object" : "?";
}

inline std::u16string read_wide(IDispatch* object, std::u16string_view name) {
  const Variant value = read(object, name);
  EXPECT_EQ(value.vt, VT_BSTR) << to_ansi(name);
  return std::u16string(value.text());
}
inline std::string read_text(IDispatch* object, std::u16string_view name) {
  return to_ansi(read_wide(object, name));
}

// The object that a value, a property or an item is; none when it is something else.
inline ComPtr<IDispatch> object(const Variant& value) {
  return ComPtr<IDispatch>(value.vt == VT_DISPATCH ? value.pdispVal : nullptr);
}
inline ComPtr<IDispatch> object(const ComPtr<IDispatch>& of, std::u16string_view property) {
  return object(platform::get(of.get(), property).value);
}
inline ComPtr<IDispatch> item(const ComPtr<IDispatch>& list, LONG index) {
  return object(platform::get(list.get(), u"Item", index).value);
}

// What a method tells through its last argument; its status is S_OK in any case.
template <class I, class... Taken, class... Given>
bool done(I& target, HRESULT (I::*method)(Taken...), const Given&... arguments) {
  VARIANT_BOOL result = 99;
  EXPECT_EQ((target.*method)(arguments..., &result), S_OK);
  EXPECT_TRUE(result == VARIANT_TRUE || result == VARIANT_FALSE);
  return result == VARIANT_TRUE;
}

inline bool is_dirty(const ComPtr<IDispatch>& message) {
  return message.query<IPersistStream>()->IsDirty() == S_OK;
}

inline HRESULT put(IDispatch* object, std::u16string_view name, const Variant& value) {
  return platform::put(object, name, value).status;
}

inline Variant text(std::string_view ansi) { return Variant(to_wide(ansi)); }

// "Address|RouteAddress|NameRaw" of an address object.
inline std::string address_line(IDispatch* address) {
  return read_text(address, u"Address") + "|" + read_text(address, u"RouteAddress") + "|" +
         read_text(address, u"NameRaw");
}

// The same for each object of a list property; "(empty)" when it is absent.
inline std::vector<std::string> addresses(IDispatch* message, std::u16string_view property) {
  const Variant list = read(message, property);
  if (list.vt == VT_EMPTY) return {"(empty)"};
  std::vector<std::string> lines;
  const LONG count = read(list.pdispVal, u"Count").lVal;
  for (LONG i = 0; i < count; ++i) {
    const auto item = platform::get(list.pdispVal, u"Item", i);
    lines.push_back(address_line(item.value.pdispVal));
  }
  return lines;
}

// Puts the machine into a time zone for the life of this object.
class Zone {
 public:
  explicit Zone(const char* name) {
    setenv("TZ", name, 1);
    tzset();
  }
  ~Zone() {
    unsetenv("TZ");
    tzset();
  }
  Zone(const Zone&) = delete;
  Zone& operator=(const Zone&) = delete;
};

}  // namespace tallowbrook::test
