#include "cli/content.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "cli/file_stream.h"
#include "cli/terminal.h"
#include "platform/kernel/code_page.h"

namespace tallowbrook::cli {
namespace {

using namespace std::string_view_literals;
using platform::ComPtr;
using platform::Variant;

bool has_known_encoding(const Part& part) {
  constexpr std::array kKnown = {"7bit"sv, "quoted-printable"sv, "base64"sv, "8bit"sv, "binary"sv};
  return std::find(kKnown.begin(), kKnown.end(), part.encoding) != kKnown.end();
}

// What the component writes when it exports a part.
enum class Form {
  kBytes,
  kWide,     // UTF-16 text
  kUnknown,  // text in UTF-8 or the ANSI code page
};

bool is_text(const Part& part) { return part.type.starts_with("text/"); }

Form form_of(const Part& part) {
  if (!is_text(part)) return Form::kBytes;
  // These two names alone give bytes of the ANSI code page (RFC 2044's draft names of UTF-8).
  const bool narrow = same_name(part.charset, "utf-2") || same_name(part.charset, "utf-fss");
  if (!part.charset.empty() && !narrow) return Form::kWide;
  return part.encoding == "base64" && !narrow ? Form::kBytes : Form::kUnknown;
}

// Between the component's export and the target.
class Converter final : public StreamBase {
 public:
  // `drop_last`: a line end at the very end is left out.
  Converter(IStream& target, Form form, bool line_ends, bool drop_last)
      : target_(target), form_(form), line_ends_(line_ends), drop_last_(drop_last) {}

  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override {
    if (written != nullptr) *written = 0;
    const std::string_view bytes(static_cast<const char*>(pv), cb);
    if (form_ == Form::kBytes) {
      pass(bytes);
    } else {
      held_.append(bytes);
      if (form_ == Form::kWide && held_.size() >= kBlock) convert_wide(false);
    }
    if (FAILED(status_)) return status_;
    if (written != nullptr) *written = cb;
    return S_OK;
  }

  // What was held back; the first failure of all writes.
  HRESULT finish() {
    if (form_ == Form::kWide) convert_wide(true);
    if (form_ == Form::kUnknown) {
      pass(is_utf8(held_) ? held_ : to_utf8(platform::widen(CP_ACP, held_)));
    }
    if (cr_) put("\r");
    if (tail_.ends_with('\n')) tail_.pop_back();
    if (tail_.ends_with('\r')) tail_.pop_back();
    write(tail_);
    return status_;
  }

 private:
  static constexpr std::size_t kBlock = 65536;
  static constexpr std::size_t kLargestWrite = std::size_t{1} << 30;

  // All whole units but a first half of a pair, which waits for its second one.
  void convert_wide(bool end) {
    std::u16string units(held_.size() / sizeof(char16_t), u'\0');
    if (units.empty()) return;
    std::memcpy(units.data(), held_.data(), units.size() * sizeof(char16_t));
    if (!end && (units.back() & 0xFC00) == 0xD800) units.pop_back();
    held_.erase(0, units.size() * sizeof(char16_t));
    pass(to_utf8(units));
  }

  // CR LF becomes LF, also where a block ends between the two.
  void pass(std::string_view bytes) {
    if (!line_ends_) return put(bytes);
    std::string text;
    text.reserve(bytes.size() + 1);
    for (const char c : bytes) {
      if (cr_ && c != '\n') text.push_back('\r');
      cr_ = c == '\r';
      if (!cr_) text.push_back(c);
    }
    put(text);
  }

  // Holds the last line end back.
  void put(std::string_view bytes) {
    if (!drop_last_) return write(bytes);
    const std::string_view kept =
        bytes.substr(bytes.size() - std::min<std::size_t>(bytes.size(), 2));
    const std::size_t ready =
        tail_.size() + kept.size() - std::min<std::size_t>(tail_.size() + kept.size(), 2);
    write(std::string_view(tail_).substr(0, ready));
    tail_.erase(0, ready);
    write(bytes.substr(0, bytes.size() - kept.size()));
    tail_.append(kept);
  }

  void write(std::string_view bytes) {
    while (!bytes.empty() && SUCCEEDED(status_)) {
      const std::string_view block = bytes.substr(0, kLargestWrite);
      status_ = target_.Write(block.data(), static_cast<ULONG>(block.size()), nullptr);
      bytes.remove_prefix(block.size());
    }
  }

  IStream& target_;
  Form form_;
  bool line_ends_;
  bool drop_last_;
  std::string held_;
  std::string tail_;  // at most two bytes
  bool cr_ = false;
  HRESULT status_ = S_OK;
};

}  // namespace

bool export_content(const Object& body, const Part& part, bool line_end_follows, IStream& target) {
  const bool line_ends = is_text(part) && part.encoding != "base64";
  // The component takes it off itself with every encoding that it knows.
  const bool drop_last = line_end_follows && !has_known_encoding(part);
  const auto converter =
      ComPtr<Converter>::adopt(new Converter(target, form_of(part), line_ends, drop_last));
  const platform::Outcome outcome = platform::call(
      body.dispatch().get(), u"Export", Variant(static_cast<IUnknown*>(converter.get())));
  if (FAILED(outcome.status) || FAILED(converter->finish())) return false;
  // A part whose header ends the message has no content that could be exported.
  const bool done = outcome.value.vt == VT_BOOL && outcome.value.boolVal != VARIANT_FALSE;
  return done || part.size.value_or(0) == 0;
}

std::string content_text(const Object& body, const Part& part) {
  const auto collector = ComPtr<Collector>::adopt(new Collector);
  if (!export_content(body, part, false, *collector)) return {};
  std::string text = collector->take();
  text.resize(text.find_last_not_of("\r\n") + 1);
  return text;
}

}  // namespace tallowbrook::cli
