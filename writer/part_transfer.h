// A part's content on its way to a host and back. The part's type is parsed before (resolve_field).
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "model/header_value.h"
#include "platform/automation/variant.h"
#include "platform/storage/stream.h"

namespace tallowbrook {

// Writes the part's content, decoded from its transfer encoding, to `target`; a text with a charset
// goes out as UTF-16. False for a part without content of its own, with nothing written, and when
// the content could not be read to its end or the target did not take all of it.
[[nodiscard]] bool export_content(const HeaderValue& record, IStream& target);

// Makes the stream's bytes the part's decoded content. By reference the part keeps the stream
// itself, all of it and later changes included; otherwise a copy of what follows the stream's
// position. False, nothing changed, for a multipart and for a stream that cannot be read to its
// end.
[[nodiscard]] bool import_content(HeaderValue& record, platform::ComPtr<IStream> source,
                                  bool by_reference);

// The content as text; nothing for a part without content of its own, or that cannot be read.
[[nodiscard]] std::optional<platform::Bstr> content_text(const HeaderValue& record);

// Makes `text` the part's decoded content. False, nothing changed, for a multipart.
[[nodiscard]] bool put_content_text(HeaderValue& record, std::u16string_view text);

// Prepares the content for another transfer encoding: wire content that another coder reads is
// decoded, so that a save encodes it anew. Called while the record still names the old one. False,
// nothing changed, when the content cannot be read.
[[nodiscard]] bool recode_content(HeaderValue& record, std::int32_t encoding);

}  // namespace tallowbrook
