#include "bench/memory_bench.h"

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>

#include "platform/automation/late_bound.h"
#include "tests/support/host_stream.h"

namespace tallowbrook::bench {
namespace {

using platform::ComPtr;

constexpr std::size_t kSize = 100'000'000;

// A value of /proc/self/status in bytes, as the system counts the process's pages.
double status(std::string_view name) {
  std::ifstream file("/proc/self/status");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with(name)) return std::stod(line.substr(name.size() + 1)) * 1024;
  }
  throw std::runtime_error("the system does not tell the memory used");
}

void check(HRESULT status, VARIANT_BOOL done) {
  if (FAILED(status) || done == VARIANT_FALSE) throw std::runtime_error("a step fails");
}

// Runs one step and prints its memory above `before`.
template <class Step>
void measure(const char* name, double before, Step&& step) {
  std::ofstream("/proc/self/clear_refs") << "5";  // the peak starts anew
  step();
  const auto copies = [&](const char* value) {
    return (status(value) - before) / static_cast<double>(kSize);
  };
  std::printf("%-44s %5.2f copies held after it, %5.2f at most\n", name, copies("VmRSS"),
              copies("VmHWM"));
}

ComPtr<IMimeDecoder> create(const ComPtr<IClassFactory>& factory) {
  ComPtr<IMimeDecoder> message;
  check(factory->CreateInstance(nullptr, IMimeDecoder::kIid, message.out_void()), VARIANT_TRUE);
  return message;
}

ComPtr<IMimeBody> body(const ComPtr<IMimeDecoder>& message) {
  const auto part = platform::get(message.get(), u"Body");
  return platform::query<IMimeBody>(part.value.pdispVal);
}

}  // namespace

void memory_of_a_large_part(const ComPtr<IClassFactory>& factory) {
  VARIANT_BOOL done = VARIANT_TRUE;
  const platform::Bstr nowhere(u"/dev/null");
  std::string wire;  // the message as a save writes it
  {
    test::HostStream content(std::string(kSize, '\x55'));
    const auto message = create(factory);
    const auto part = body(message);
    platform::put(part.get(), u"MajorContentType", u"application");
    platform::put(part.get(), u"Encoding", u"base64");
    const double before = status("VmRSS:");
    measure("Import with StreamByReference", before,
            [&] { check(part->Import(&content, VARIANT_TRUE, &done), done); });
    measure("SaveToFile of it", before,
            [&] { check(message->SaveToFile(nowhere.get(), &done), done); });
    measure("Export of it into a stream that keeps nothing", before, [&] {
      test::HostStream target;
      target.keep_writes = false;
      check(part->Export(&target, &done), done);
    });
    test::HostStream target;
    check(message.query<IPersistStream>()->Save(&target, FALSE), VARIANT_TRUE);
    wire = target.written();
  }
  test::HostStream source(std::move(wire));
  const double before = status("VmRSS:");
  const auto message = create(factory);
  measure("load of the message in base64", before,
          [&] { check(message.query<IPersistStream>()->Load(&source), VARIANT_TRUE); });
  const auto part = body(message);
  ComPtr<IDispatch> blob;
  check(
      CoCreateInstance(CLSID_Blob, nullptr, CLSCTX_INPROC_SERVER, IDispatch::kIid, blob.out_void()),
      VARIANT_TRUE);
  measure("Export of the part into a memory stream", before,
          [&] { check(part->Export(blob.get(), &done), done); });
  blob.reset();
  measure("SaveToFile of the message", before,
          [&] { check(message->SaveToFile(nowhere.get(), &done), done); });
}

}  // namespace tallowbrook::bench
