// Writes a body part record: its header fields, then its children between boundary lines (RFC 2046
// section 5.1) or its content (RFC 2045).
//
// The walk over the tree keeps its own stack. What a malformed record stops is written up to there;
// the parts around it go on, as they do around content that cannot be read.
#pragma once

#include "model/header_value.h"
#include "model/message_owner.h"
#include "writer/message_output.h"

namespace tallowbrook {

struct WriteOutcome {
  HRESULT status = S_OK;  // what a save answers
  bool complete = true;   // every part was whole and the target took every byte
};

// Writes `record`, a `List`, which is shared by reference. Lasting effects on the model: a
// disposition with parameters but without a value becomes "attachment", and a multipart without a
// boundary gets one. With `header_only` the header fields alone are written. E_FAIL for a record,
// field entry or content of another shape.
[[nodiscard]] WriteOutcome write_part(MessageOutput& out, HeaderValue record,
                                      const MessageRef& message, bool header_only);

// The same into a stream. E_INVALIDARG, nothing written, for a null stream.
[[nodiscard]] WriteOutcome save_part(ISequentialStream* target, HeaderValue record,
                                     const MessageRef& message, bool header_only);

}  // namespace tallowbrook
