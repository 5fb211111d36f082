// Writes a message: its header fields in their fixed order, the root body part, and the line "."
// that ends the data phase of SMTP (RFC 5321 section 4.1.1.4).
//
//   Received..., Return-path, Date, Resent-Date, the address fields, MIME-Version, Message-ID,
//   Subject, Return-Receipt-To, the root part's fields, an empty line, its content, "."
//
// A field whose source text is kept is written as that text. Nothing is folded or encoded here,
// but no text can break out of its field. Line ends go out as CR LF.
#pragma once

#include "model/message_owner.h"
#include "platform/storage/stream.h"
#include "writer/part_writer.h"

namespace tallowbrook {

struct WriteOptions {
  bool header_only = false;  // the fields and the dot line alone; no raw copy is used
  bool enclosed = false;     // an embedded message: no dot line
  // The bytes that the message was loaded from, when nothing changed since: written from its start,
  // unchanged and alone.
  IStream* raw_copy = nullptr;
};

// Writes `store` to `target`. A message without a Date gets the present moment and keeps it; see
// write_part for what else may last. E_INVALIDARG for a null target, otherwise S_OK: whether every
// part was whole and the target took every byte is what `complete` tells.
[[nodiscard]] WriteOutcome write_message(MessageStore& store, const MessageRef& message,
                                         IStream* target, const WriteOptions& options);

}  // namespace tallowbrook
