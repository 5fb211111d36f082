// Embedded messages: a part of type message/rfc822 shown as a message object of its own.
//
//   record of the part --- content ...> companion: the message object
//            ^               ^                      |
//            '--- EmbeddedPlace of the object ------'--- link ---> enclosing message
//
// The object is made when it is first asked for, from the content as it stands: no transfer coding,
// no charset, no dot undone. The content knows the object without holding it, so that all handles
// on the part show the same one; a handle that looked at it and every view into it keep it alive,
// and it keeps the embedded message that encloses it. The outermost message is kept by nobody: an
// object that outlives it edits a part that no message writes.
//
// Content that takes the place of this one detaches the object: it stays usable, and what is put
// on it reaches nothing.
#pragma once

#include "model/header_value.h"
#include "model/message_owner.h"
#include "platform/com/unknown.h"
#include "streams/memory_stream.h"

namespace tallowbrook {

class CMimeDecoder;

// Where an embedded message lies: a part's record and the content that the message was read from.
class EmbeddedPlace {
 public:
  EmbeddedPlace() = default;
  // `record` is a pinned `List` whose body is `Raw`.
  explicit EmbeddedPlace(HeaderValue record);

  // False for a message that lies in no part.
  [[nodiscard]] bool exists() const { return content_.is_set(); }
  // True while the part has this content, it is to be read as a message, and shows `message`.
  [[nodiscard]] bool holds(const CMimeDecoder& message) const;
  // The bytes become the part's wire content; `message` is left without them. The content's stream
  // stays the same object, unless it is a host's that does not take the bytes: then one of our own
  // replaces it.
  void rewrite(CISSHelper& message);

  // The content shows this message, until it is told that the message is gone.
  void show(CMimeDecoder& message) { content_.set_companion(&message); }
  void forget(const CMimeDecoder& message);

 private:
  HeaderValue record_;
  HeaderValue content_;
};

// The message in a part; null when the part holds none, or one that does not parse. `in_digest`:
// the part is a child of a multipart/digest, whose parts are messages unless they say otherwise
// (RFC 2046 section 5.1.5). Loading leaves the thread's error object as it is. Throws
// std::bad_alloc.
[[nodiscard]] platform::ComPtr<CMimeDecoder> embedded_message(HeaderValue& record, bool in_digest,
                                                              const MessageRef& enclosing);

// What is put on the part's embedded message from now on does not reach the part. For whoever
// changes the bytes of a content stream in place; new content detaches by itself.
void detach_embedded_message(HeaderValue& record);

}  // namespace tallowbrook
