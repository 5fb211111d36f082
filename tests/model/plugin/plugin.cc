// A plug-in library: it counts the messages it is told of, keeps the subject of the last one, and
// loads a message once more, or throws, when its subject asks for that. Given a way to make
// messages, it loads another one each time.
#include <string>

#include "platform/automation/late_bound.h"
#include "tallowbrook/mime_decoder.h"

namespace {

int calls = 0;
std::u16string last_subject;
HRESULT (*create)(REFIID iid, void** object) = nullptr;

HRESULT load_sample(IDispatch* message) {
  using tallowbrook::platform::Variant;
  return tallowbrook::platform::call(message, u"LoadFromFile",
                                     Variant(u"" TALLOWBROOK_SOURCE_DIR "/samples/plain.eml"))
      .status;
}

}  // namespace

extern "C" {

HRESULT SnapIn_OnLoaded(tallowbrook::IMimeDecoder* message) {
  ++calls;
  last_subject = std::u16string(tallowbrook::platform::get(message, u"Subject").value.text());
  if (create != nullptr) {
    tallowbrook::platform::ComPtr<IDispatch> another;
    create(IDispatch::kIid, another.out_void());
    return load_sample(another.get());
  }
  if (last_subject == u"throw") throw 1;
  return last_subject == u"once more" ? load_sample(message) : E_FAIL;
}

void plugin_create_with(HRESULT (*creator)(REFIID iid, void** object)) { create = creator; }
int plugin_calls() { return calls; }
const char16_t* plugin_subject() { return last_subject.c_str(); }
}
