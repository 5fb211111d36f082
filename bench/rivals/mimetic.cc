// mimetic: a message is made from a range of bytes. It decodes no encoded words.
#include <mimetic/mimetic.h>

#include <iterator>
#include <sstream>

#include "bench/rivals/rivals.h"

namespace tallowbrook::bench {
namespace {

template <class List>
std::uint64_t read_mailboxes(const List& list) {
  std::uint64_t count = 0;
  for (const auto& each : list) {
    (void)each.label();
    (void)(each.mailbox() + "@" + each.domain());
    ++count;
  }
  return count;
}

void read_leaf(mimetic::MimeEntity& part, Reading& reading) {
  ++reading.leaves;
  const mimetic::Body& body = part.body();
  const std::string& encoding = part.header().contentTransferEncoding().mechanism();
  if (encoding != "base64" && encoding != "quoted-printable") {
    reading.add_content(body);
    return;
  }
  std::string content;
  content.reserve(body.size());
  const auto decode = [&](auto decoder) {
    mimetic::decode(body.begin(), body.end(), decoder, std::back_inserter(content));
  };
  if (encoding == "base64") {
    decode(mimetic::Base64::Decoder());
  } else {
    decode(mimetic::QP::Decoder());
  }
  reading.add_content(content);
}

class Mimetic final : public Candidate {
 public:
  std::string name() const override { return "mimetic"; }

  void load(std::string_view message) override {
    const mimetic::MimeEntity entity(message.begin(), message.end());
  }

  void read(std::string_view bytes, Reading& reading) override {
    mimetic::MimeEntity entity(bytes.begin(), bytes.end());
    const std::string subject = entity.header().subject();
    const std::string date = entity.header().field("Date").value();
    (void)read_mailboxes(entity.header().from());
    for (const mimetic::Address& address : entity.header().to()) {
      if (!address.isGroup()) {
        (void)address.mailbox().label();
        (void)(address.mailbox().mailbox() + "@" + address.mailbox().domain());
      }
      ++reading.to;
    }
    std::vector<mimetic::MimeEntity*> waiting{&entity};
    while (!waiting.empty()) {
      mimetic::MimeEntity* const part = waiting.back();
      waiting.pop_back();
      const auto& parts = part->body().parts();
      if (parts.empty()) {
        read_leaf(*part, reading);
      } else {
        waiting.insert(waiting.end(), parts.rbegin(), parts.rend());
      }
    }
  }

  std::size_t rewrite(std::string_view bytes) override {
    mimetic::MimeEntity entity(bytes.begin(), bytes.end());
    entity.header().subject("Another subject, as plain as they come");
    std::ostringstream target;
    target << entity;
    return target.str().size();
  }
};

}  // namespace

std::unique_ptr<Candidate> make_mimetic() { return std::make_unique<Mimetic>(); }

}  // namespace tallowbrook::bench
