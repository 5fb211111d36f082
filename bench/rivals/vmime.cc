// VMime: contents stay views of the string that was parsed.
#include <vmime/platforms/posix/posixHandler.hpp>
#include <vmime/vmime.hpp>

#include "bench/rivals/rivals.h"

namespace tallowbrook::bench {
namespace {

using Part = vmime::shared_ptr<const vmime::bodyPart>;

vmime::shared_ptr<vmime::message> loaded(std::string_view bytes) {
  auto message = vmime::make_shared<vmime::message>();
  message->parse(std::string(bytes));
  return message;
}

class ReadingOutput final : public vmime::utility::outputStream {
 public:
  explicit ReadingOutput(Reading& reading) : reading_(reading) {}
  void flush() override {}

 protected:
  void writeImpl(const vmime::byte_t* const data, const std::size_t count) override {
    reading_.add_content({reinterpret_cast<const char*>(data), count});
  }

 private:
  Reading& reading_;
};

void read_mailbox(const vmime::mailbox& mailbox) {
  (void)mailbox.getName().getConvertedText(vmime::charsets::UTF_8);
  (void)mailbox.getEmail().toString();
}

// The value of a field; null when the field is absent.
template <class Value>
auto value_of(const vmime::header& header, const char* field) {
  const auto found = header.findField(field);
  return found ? found->getValue<Value>() : nullptr;
}

void read_header(const vmime::header& header, Reading& reading) {
  if (const auto subject = value_of<vmime::text>(header, vmime::fields::SUBJECT)) {
    (void)subject->getConvertedText(vmime::charsets::UTF_8);
  }
  (void)value_of<vmime::datetime>(header, vmime::fields::DATE);
  if (const auto from = value_of<vmime::mailbox>(header, vmime::fields::FROM)) read_mailbox(*from);
  if (const auto to = value_of<vmime::addressList>(header, vmime::fields::TO)) {
    for (const auto& address : to->getAddressList()) {
      if (!address->isGroup()) read_mailbox(*vmime::dynamicCast<const vmime::mailbox>(address));
      ++reading.to;
    }
  }
}

class Vmime final : public Candidate {
 public:
  Vmime() { vmime::platform::setHandler<vmime::platforms::posix::posixHandler>(); }

  std::string name() const override { return "VMime"; }

  void load(std::string_view message) override { (void)loaded(message); }

  void read(std::string_view bytes, Reading& reading) override {
    const auto message = loaded(bytes);
    read_header(*message->getHeader(), reading);
    std::vector<Part> waiting{message};
    while (!waiting.empty()) {
      const Part part = waiting.back();
      waiting.pop_back();
      const auto body = part->getBody();
      const auto parts = body->getPartList();
      if (!parts.empty()) {
        waiting.insert(waiting.end(), parts.rbegin(), parts.rend());
      } else if (body->getContentType() ==
                 vmime::mediaType(vmime::mediaTypes::MESSAGE, vmime::mediaTypes::MESSAGE_RFC822)) {
        std::string inner;
        vmime::utility::outputStreamStringAdapter target(inner);
        body->getContents()->extract(target);
        waiting.push_back(loaded(inner));
      } else {
        ++reading.leaves;
        ReadingOutput target(reading);
        body->getContents()->extract(target);
      }
    }
  }

  std::size_t rewrite(std::string_view bytes) override {
    const auto message = loaded(bytes);
    message->getHeader()->Subject()->setValue(
        vmime::text("Another subject, as plain as they come"));
    std::string text;
    vmime::utility::outputStreamStringAdapter target(text);
    message->generate(target);
    return text.size();
  }
};

}  // namespace

std::unique_ptr<Candidate> make_vmime() { return std::make_unique<Vmime>(); }

}  // namespace tallowbrook::bench
