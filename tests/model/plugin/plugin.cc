// A plug-in library: it counts the messages it is told of, keeps the subject of the last one, and
// loads a message once more, or throws, when its subject asks for that.
#include <string>

#include "platform/automation/late_bound.h"
#include "tallowbrook/mime_decoder.h"

namespace {

int calls = 0;
std::u16string last_subject;

}  // namespace

extern "C" {

HRESULT SnapIn_OnLoaded(tallowbrook::IMimeDecoder* message) {
  using tallowbrook::platform::Variant;
  ++calls;
  last_subject = std::u16string(tallowbrook::platform::get(message, u"Subject").value.text());
  if (last_subject == u"throw") throw 1;
  if (last_subject != u"once more") return E_FAIL;
  tallowbrook::platform::call(message, u"LoadFromFile",
                              Variant(u"" TALLOWBROOK_SOURCE_DIR "/samples/plain.eml"));
  return S_OK;
}

int plugin_calls() { return calls; }
const char16_t* plugin_subject() { return last_subject.c_str(); }
}
