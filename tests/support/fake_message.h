// A message as views need one: a store, a count of the changes they told of, and a link that can be
// cut as a dying message cuts it.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "model/message_owner.h"
#include "parser/load.h"
#include "streams/memory_stream.h"
#include "writer/message_writer.h"

namespace tallowbrook::test {

// What is written ahead of the first part.
inline const std::string kPreamble =
    "This message is in MIME format. Since your mail reader does not understand\r\n"
    "this format, some or all of this message may not be legible.\r\n\r\n";

class FakeMessage final : public MessageOwner {
 public:
  MessageStore data;
  int changes = 0;
  MessageRef link = std::make_shared<MessageLink>(MessageLink{this});

  ~FakeMessage() { link->owner = nullptr; }

  MessageStore& store() override { return data; }
  void NotifyChanged() override { ++changes; }
  HRESULT ParseHeaderInto(std::string_view name, std::string_view text,
                          HeaderValue& target) override {
    return parse_field(name, text, target);
  }

  [[nodiscard]] std::string saved(const WriteOptions& options = {}) {
    const auto target = CISSHelper::create();
    (void)write_message(data, link, target.get(), options);
    return std::string(target->bytes());
  }
};

}  // namespace tallowbrook::test
