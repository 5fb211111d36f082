// Files that stand uuencoded in a plain text, as old mail programs send them, become attachments.
//
// A record text/plain (or without a type) in an identity encoding whose content has at least one
// whole block - a begin line, lines that give at least one byte, an end line - becomes
//
//   multipart/mixed
//     the text outside the blocks: type, charset and encoding of the record, as wire content
//     application/octet-stream for each block: its bytes, its name, base64
//
// Lines of any other block, and end lines outside of blocks, are text. A record that has no whole
// block is left as it is.
#pragma once

#include <string_view>

#include "model/header_value.h"
#include "model/message_owner.h"

namespace tallowbrook {

// True when the record was rebuilt. Notifies nobody. Names of files are encoded in `charset`
// (empty: the system's). Throws std::bad_alloc.
bool extract_uuencoded_parts(HeaderValue& record, std::string_view charset,
                             const MessageRef& message);

}  // namespace tallowbrook
