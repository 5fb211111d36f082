#include "bench/automation_bench.h"

#include <cstdio>
#include <stdexcept>
#include <string>

#include "bench/inputs.h"
#include "bench/timing.h"
#include "tallowbrook/tallowbrook.h"
#include "tests/support/host_stream.h"

namespace tallowbrook::bench {
namespace {

using platform::Bstr;
using platform::ComPtr;
using platform::Variant;

void check(HRESULT status) {
  if (FAILED(status)) throw std::runtime_error("the component does not answer");
}

// Nanoseconds of one of `count` jobs.
template <class Job>
double nanoseconds(int count, Job&& job) {
  return best(15,
              [&] {
                for (int i = 0; i < count; ++i) job();
              }) /
         count * 1e9;
}

void report(const char* what, double time, double most) {
  std::printf("%-34s %8.0f ns   (at most %.0f)\n", what, time, most);
}

}  // namespace

void automation_speeds(IClassFactory* factory) {
  const double create = nanoseconds(20'000, [&] {
    ComPtr<IMimeDecoder> message;
    check(factory->CreateInstance(nullptr, IMimeDecoder::kIid, message.out_void()));
  });
  report("a message by its class object", create, 3000);
  const double by_class = nanoseconds(20'000, [&] {
    ComPtr<IMimeDecoder> message;
    check(CoCreateInstance(CLSID_MimeDecoder, nullptr, CLSCTX_INPROC_SERVER, IMimeDecoder::kIid,
                           message.out_void()));
  });
  report("a message by its class identity", by_class, 3000);

  test::HostStream stream(typical());
  ComPtr<IMimeDecoder> message;
  check(factory->CreateInstance(nullptr, IMimeDecoder::kIid, message.out_void()));
  check(message.query<IPersistStream>()->Load(&stream));
  const double direct = nanoseconds(100'000, [&] {
    Variant subject;
    check(message->get_Subject(&subject));
  });
  IDispatch* const late = message.get();
  const double bound = nanoseconds(100'000, [&] {
    DISPPARAMS none{};
    Variant subject;
    EXCEPINFO exception{};
    check(late->Invoke(17, GUID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none, &subject,
                       &exception, nullptr));
  });
  std::printf("%-34s %8.0f ns\n", "get_Subject", direct);
  report("Invoke of Subject, beyond that", bound - direct, 300);

  for (const char16_t* name : {u"Subject", u"MESSAGEHEADER", u"InterpretEmbeddedMails"}) {
    std::u16string text(name);
    OLECHAR* names[] = {text.data()};
    DISPID id = 0;
    const double resolve = nanoseconds(100'000, [&] {
      check(late->GetIDsOfNames(GUID_NULL, names, 1, LOCALE_USER_DEFAULT, &id));
    });
    report(("name " + std::string(text.begin(), text.end())).c_str(), resolve, 200);
  }
}

}  // namespace tallowbrook::bench
