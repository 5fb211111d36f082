// Lists what the component makes of messages, for compare_leaves.py:
//
//   corpus_leaves MESSAGE...
//
// prints for each message that loads and for each of its leaves in base64 or quoted-printable
//
//   file TAB path TAB encoding TAB decoded bytes in hex
//
// where the path counts children from 0 and "m" steps into an enclosed message. Everything is read
// by name, as a script does it.
#include <cstdio>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/automation/late_bound.h"
#include "platform/com/activation.h"
#include "platform/kernel/code_page.h"
#include "tallowbrook/tallowbrook.h"
#include "tests/support/host_stream.h"

namespace {

using namespace tallowbrook;
using platform::ComPtr;
using platform::Variant;

constexpr LONG kQuotedPrintable = 1;
constexpr LONG kBase64 = 2;

Variant read(IDispatch* object, std::u16string_view name) {
  auto outcome = platform::get(object, name);
  if (FAILED(outcome.status)) throw std::runtime_error("a property cannot be read");
  return std::move(outcome.value);
}

// The leaf's bytes without their transfer encoding. As text of a charset they would go out as
// UTF-16, so the charset goes first.
std::string decoded(IDispatch* part) {
  const Variant type = read(part, u"ContentType");
  const Variant parameters = read(type.pdispVal, u"Parameters");
  for (LONG i = read(parameters.pdispVal, u"Count").lVal; i-- > 0;) {
    const auto name = platform::get(parameters.pdispVal, u"ParameterName", i);
    std::string plain = platform::narrow(CP_UTF8, name.value.text());
    for (char& letter : plain) letter |= 0x20;
    if (plain == "charset") platform::call(parameters.pdispVal, u"Remove", i);
  }
  test::HostStream target;
  VARIANT_BOOL done = VARIANT_FALSE;
  const auto body = platform::query<IMimeBody>(part);
  if (FAILED(body->Export(&target, &done)) || done == VARIANT_FALSE) {
    throw std::runtime_error("a part cannot be exported");
  }
  return target.written();
}

void print_leaf(const std::string& file, const std::string& path, IDispatch* part) {
  const Variant encoding = read(part, u"Encoding");
  if (encoding.vt != VT_I4) return;
  if (encoding.lVal != kQuotedPrintable && encoding.lVal != kBase64) return;
  std::printf("%s\t%s\t%s\t", file.c_str(), path.c_str(),
              encoding.lVal == kBase64 ? "base64" : "quoted-printable");
  for (const char byte : decoded(part)) std::printf("%02x", static_cast<unsigned char>(byte));
  std::printf("\n");
}

void print_leaves(const std::string& file, const ComPtr<IMimeDecoder>& message) {
  std::vector<std::pair<std::string, Variant>> open;
  open.emplace_back("", read(message.get(), u"Body"));
  while (!open.empty()) {
    const auto [path, part] = std::move(open.back());
    open.pop_back();
    const auto body = platform::query<IMimeBody>(part.pdispVal);
    ComPtr<IDispatch> enclosed;
    if (SUCCEEDED(body->get_EmbeddedMessage(enclosed.out())) && enclosed) {
      open.emplace_back(path + "m", read(enclosed.get(), u"Body"));
      continue;
    }
    LONG children = 0;
    body->get_Count(&children);
    for (LONG i = 0; i < children; ++i) {
      auto child = platform::get(part.pdispVal, u"Item", i);
      open.emplace_back(path + "." + std::to_string(i), std::move(child.value));
    }
    Variant major;
    const bool multipart =
        SUCCEEDED(body->get_MajorContentType(&major)) && major.vt == VT_I4 && major.lVal == 0;
    if (!multipart) print_leaf(file, path, part.pdispVal);
  }
}

}  // namespace

int main(int count, char** files) {
  try {
    HMODULE module = nullptr;
    if (FAILED(CoLoadComponent(TALLOWBROOK_LIBRARY, &module))) {
      throw std::runtime_error("the component does not load");
    }
    for (int i = 1; i < count; ++i) {
      ComPtr<IMimeDecoder> message;
      if (FAILED(CoCreateInstance(CLSID_MimeDecoder, nullptr, CLSCTX_INPROC_SERVER,
                                  IMimeDecoder::kIid, message.out_void()))) {
        throw std::runtime_error("no message object");
      }
      const std::u16string path = platform::wide_from_path(files[i]);
      const auto loaded = platform::call(message.get(), u"LoadFromFile", path);
      if (SUCCEEDED(loaded.status)) print_leaves(files[i], message);
    }
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "corpus_leaves: %s\n", failure.what());
    return 1;
  }
}
