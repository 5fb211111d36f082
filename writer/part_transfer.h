// A part's content on its way to a host's stream and back.
#pragma once

#include "model/header_value.h"
#include "platform/storage/stream.h"

namespace tallowbrook {

// Writes the part's content, decoded from its transfer encoding, to `target`. False, nothing
// written, for a part without content of its own.
[[nodiscard]] bool export_content(const HeaderValue& record, IStream& target);

// Makes the stream's bytes, from its current position, the part's decoded content. By reference
// the part keeps the stream itself, later changes included; otherwise a copy. False, nothing
// changed, for a multipart.
[[nodiscard]] bool import_content(HeaderValue& record, platform::ComPtr<IStream> source,
                                  bool by_reference);

}  // namespace tallowbrook
