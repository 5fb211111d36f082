// Writes the header fields of one body part.
#pragma once

#include <string>

#include "model/body_part.h"
#include "model/message_owner.h"
#include "writer/message_output.h"

namespace tallowbrook {

// What the fields say about the content that follows them.
struct PartFields {
  bool multipart = false;
  std::string boundary;  // of a multipart, as it stands in delimiter lines
  bool digest = false;   // a multipart whose parts are messages unless they say otherwise
  bool message = false;  // the content is a message as it stands
  std::int32_t encoding = kNoEncoding;  // of content that is not
};

// Writes the fields of a record, a `List` shared by reference, in their stored order. A field whose
// source text is kept is written as that text. E_FAIL for a malformed entry, a type or encoding
// number outside the tables; what stands before it is written.
[[nodiscard]] HRESULT write_part_fields(MessageOutput& out, HeaderValue& record,
                                        const MessageRef& message, PartFields& result);

}  // namespace tallowbrook
