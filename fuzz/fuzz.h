// What the fuzzers share: a message as a host drives it, and the complaint that ends a run.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "core/creators.h"
#include "core/text.h"
#include "platform/automation/late_bound.h"
#include "platform/automation/typeinfo.h"
#include "streams/memory_stream.h"
#include "tallowbrook/mime_decoder.h"

namespace tallowbrook::fuzz {

using platform::ComPtr;
using platform::Variant;

inline void require(bool holds, const char* what, std::string_view detail = {}) {
  if (holds) return;
  std::fprintf(stderr, "%s\n%.*s\n", what, static_cast<int>(detail.size()), detail.data());
  std::abort();
}

// Takes numbers and texts from the input, front first; zeros when it is used up.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size)
      : rest_(reinterpret_cast<const char*>(data), size) {}

  [[nodiscard]] bool empty() const { return rest_.empty(); }
  [[nodiscard]] std::string_view rest() const { return rest_; }
  std::size_t number(std::size_t below) {
    if (rest_.empty()) return 0;
    const auto byte = static_cast<unsigned char>(rest_.front());
    rest_.remove_prefix(1);
    return byte % below;
  }
  // Up to a NUL, which goes.
  std::string_view text() {
    const std::string_view taken = rest_.substr(0, rest_.find('\0'));
    rest_.remove_prefix(taken.size() < rest_.size() ? taken.size() + 1 : taken.size());
    return taken;
  }

 private:
  std::string_view rest_;
};

inline ComPtr<IMimeDecoder> new_message() {
  ComPtr<IMimeDecoder> message;
  require(SUCCEEDED(create_mime_decoder(IMimeDecoder::kIid, message.out_void())), "no message");
  return message;
}

inline HRESULT load(const ComPtr<IMimeDecoder>& message, std::string_view text) {
  const auto stream = CISSHelper::create_with(text);
  return message.query<IPersistStream>()->Load(stream.get());
}

inline std::string saved(const ComPtr<IMimeDecoder>& message) {
  const auto stream = CISSHelper::create();
  require(SUCCEEDED(message.query<IPersistStream>()->Save(stream.get(), FALSE)), "no save");
  return std::string(stream->bytes());
}

// Reads every property of the object and of what those give, a few thousand at most.
inline void touch(IDispatch* object) {
  std::vector<ComPtr<IDispatch>> waiting{ComPtr<IDispatch>(object)};
  for (std::size_t reads = 0; !waiting.empty() && reads < 3000; ++reads) {
    const ComPtr<IDispatch> next = waiting.back();
    waiting.pop_back();
    const auto keep = [&](platform::Outcome&& outcome) {
      if (outcome.value.vt == VT_DISPATCH && outcome.value.pdispVal != nullptr) {
        waiting.emplace_back(outcome.value.pdispVal);
      }
      return outcome.value.vt == VT_I4 ? outcome.value.lVal : 0;
    };
    for (const char16_t* name : {u"Subject",
                                 u"SubjectRaw",
                                 u"From",
                                 u"Sender",
                                 u"ReplyTo",
                                 u"To",
                                 u"CC",
                                 u"BCC",
                                 u"Date",
                                 u"ReturnPath",
                                 u"ResentFrom",
                                 u"ResentDate",
                                 u"MessageID",
                                 u"Received",
                                 u"MessageHeader",
                                 u"Body",
                                 u"Name",
                                 u"Address",
                                 u"RouteAddress",
                                 u"NameRaw",
                                 u"By",
                                 u"Via",
                                 u"With",
                                 u"MajorContentType",
                                 u"MinorContentType",
                                 u"Encoding",
                                 u"Description",
                                 u"ContentID",
                                 u"FileName",
                                 u"Charset",
                                 u"Value",
                                 u"EmbeddedMessage",
                                 u"ContentDisposition",
                                 u"ContentType",
                                 u"Fields",
                                 u"Parameters"}) {
      keep(platform::get(next.get(), name));
    }
    const LONG count = keep(platform::get(next.get(), u"Count"));
    for (LONG i = 0; i < count && i < 20; ++i) keep(platform::get(next.get(), u"Item", i));
  }
}

}  // namespace tallowbrook::fuzz
