// Writes the content of a leaf part.
//
// Wire content goes out as it is held. Content that is held decoded goes through the part's charset
// coder and the coder of its transfer encoding; without a known one it is written line by line. No
// line of it can end the message. The content of a message/rfc822 part goes out as the message it
// is, but for its own closing dot line.
#pragma once

#include "model/header_value.h"
#include "writer/message_output.h"
#include "writer/part_fields.h"

namespace tallowbrook {

// `record` is a leaf whose body is `Raw`; `fields` is what its header said. Content that cannot be
// read to its end is missed in `out`.
void write_content(MessageOutput& out, const HeaderValue& record, const PartFields& fields);

}  // namespace tallowbrook
