// What the objects that look into a message need of it, and the link that outlives it.
//
// A view (body part, trace header, parameter map, ...) shares the data it shows and reaches the
// message through a link that the message empties when it dies: a view that outlives its message
// stays usable and harmless, it edits data that no message writes.
#pragma once

#include <memory>
#include <string_view>

#include "model/message_store.h"
#include "platform/com/types.h"

namespace tallowbrook {

class MessageOwner {
 public:
  [[nodiscard]] virtual MessageStore& store() = 0;
  // After every change of the model: marks the message dirty, drops its raw copy, and writes a
  // bound message and those that enclose it through to their streams.
  virtual void NotifyChanged() = 0;
  // The message's loaded bytes no longer say what the model says, though nobody is to be told.
  virtual void drop_raw_copy() {}
  // Parses one header line "<name>: <text>" through the grammar under the message's mutex. On
  // failure (negative status) `target` is left as it was.
  [[nodiscard]] virtual HRESULT ParseHeaderInto(std::string_view name, std::string_view text,
                                                HeaderValue& target) = 0;

 protected:
  ~MessageOwner() = default;
};

struct MessageLink {
  MessageOwner* owner = nullptr;  // null once the message is gone
};
using MessageRef = std::shared_ptr<MessageLink>;

inline void notify_changed(const MessageRef& message) {
  if (message != nullptr && message->owner != nullptr) message->owner->NotifyChanged();
}

// True while the pinned list `records` is the message's list of trace headers: a load makes
// another.
inline bool has_trace(const MessageRef& message, const HeaderValue& records) {
  return message != nullptr && message->owner != nullptr &&
         message->owner->store().received.same_content(records);
}

}  // namespace tallowbrook
