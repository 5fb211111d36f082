// Prints the senders and the names of the attachments of every message in a folder.
//
//   g++ -std=c++20 attachments.cc $(pkg-config --cflags --libs tallowbrook) -o attachments
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <set>
#include <string>
#include <vector>

#include "platform/automation/late_bound.h"
#include "platform/kernel/code_page.h"
#include "tallowbrook/tallowbrook.h"

using tallowbrook::IMimeDecoder;
using namespace tallowbrook::platform;

std::string utf8(std::u16string_view text) {
  std::string bytes(3 * text.size(), '\0');
  const int size =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                          static_cast<int>(bytes.size()), nullptr, nullptr);
  bytes.resize(static_cast<std::size_t>(size));
  return bytes;
}

// The error text of the last call; it is taken away.
std::string error_text() {
  ComPtr<IErrorInfo> error;
  Bstr text;
  if (GetErrorInfo(0, error.out()) == S_OK) error->GetDescription(text.out());
  return utf8(text.view());
}

std::string senders(const ComPtr<IMimeDecoder>& message) {
  Variant authors;
  std::string result;
  if (FAILED(message->get_From(&authors)) || authors.vt != VT_DISPATCH) return result;
  const LONG count = get(authors.pdispVal, u"Count").value.lVal;
  for (LONG at = 0; at < count; ++at) {
    const Variant author = get(authors.pdispVal, u"Item", at).value;
    if (author.vt != VT_DISPATCH) continue;
    result += (at > 0 ? ", " : "") + utf8(get(author.pdispVal, u"Address").value.text());
  }
  return result;
}

void print_attachments(const ComPtr<IMimeDecoder>& message) {
  std::vector<Variant> waiting(1);
  if (FAILED(message->get_Body(&waiting.back()))) return;
  while (!waiting.empty()) {
    const Variant part = std::move(waiting.back());
    waiting.pop_back();
    if (part.vt != VT_DISPATCH) continue;
    const Variant name = get(part.pdispVal, u"FileName").value;
    if (!name.text().empty()) std::cout << "    " << utf8(name.text()) << '\n';
    for (LONG at = get(part.pdispVal, u"Count").value.lVal; at > 0; --at) {
      waiting.push_back(get(part.pdispVal, u"Item", at - 1).value);
    }
  }
}

int main(int count, char** arguments) {
  if (count != 2 || !std::filesystem::is_directory(arguments[1])) {
    std::cerr << "usage: attachments FOLDER\n";
    return 2;
  }
  const char* library = std::getenv("TALLOWBROOK_LIBRARY");
  HMODULE component = nullptr;
  CLSID clsid{};
  ComPtr<IMimeDecoder> message;
  if (FAILED(CoLoadComponent(library != nullptr ? library : "libtallowbrook.so", &component)) ||
      FAILED(CLSIDFromProgID(u"Tallowbrook.Decoder", &clsid)) ||
      FAILED(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IMimeDecoder::kIid,
                              message.out_void()))) {
    std::cerr << "no Tallowbrook here: " << CoComponentError() << '\n';
    return 1;
  }
  std::set<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(arguments[1])) {
    if (entry.path().extension() == ".eml") files.insert(entry.path());
  }
  for (const auto& file : files) {
    VARIANT_BOOL done = VARIANT_FALSE;
    const HRESULT status = message->LoadFromFile(Bstr(file.u16string()).get(), &done);
    std::cout << file.filename().string() << ": ";
    std::cout << (FAILED(status) ? error_text() : senders(message)) << '\n';
    if (SUCCEEDED(status)) print_attachments(message);
  }
}
