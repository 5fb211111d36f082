// The instance creators: one for each class that a host can create. The room that holds a class
// defines its creator; the class table of the server calls it, and so does any room that needs a
// new object of another one.
//
// Each makes an object and asks it for `iid`; when it has no such interface, the object is
// destroyed and the failure returned. `*object` is null whenever the status is negative. `object`
// must not be null. E_OUTOFMEMORY when memory runs out.
#pragma once

#include "core/guard.h"
#include "core/object.h"

namespace tallowbrook {

HRESULT create_mime_decoder(REFIID iid, void** object);
HRESULT create_mail_address(REFIID iid, void** object);
HRESULT create_collection(REFIID iid, void** object);
HRESULT create_client_socket(REFIID iid, void** object);
HRESULT create_mime_body(REFIID iid, void** object);
HRESULT create_content_disposition(REFIID iid, void** object);
HRESULT create_parameter_map(REFIID iid, void** object);
HRESULT create_field_collection(REFIID iid, void** object);
HRESULT create_received_collection(REFIID iid, void** object);
HRESULT create_received(REFIID iid, void** object);
HRESULT create_content_type(REFIID iid, void** object);
HRESULT create_blob(REFIID iid, void** object);
HRESULT create_dialup_collection(REFIID iid, void** object);
HRESULT create_dialup_connection(REFIID iid, void** object);

// The body of a creator: a new T that is asked for `iid`.
template <class T>
[[nodiscard]] HRESULT create_instance(REFIID iid, void** object) {
  *object = nullptr;
  return guarded([&] { return make_object<T>()->QueryInterface(iid, object); });
}

}  // namespace tallowbrook
