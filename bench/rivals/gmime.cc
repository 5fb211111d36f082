// GMime 3: a parser over a memory stream without a copy; contents stay views of that stream.
#include <gmime/gmime.h>

#include <stdexcept>

#include "bench/rivals/rivals.h"

namespace tallowbrook::bench {
namespace {

struct Unref {
  void operator()(gpointer object) const { g_object_unref(object); }
};
template <class Object>
using Held = std::unique_ptr<Object, Unref>;

std::uint64_t read_addresses(InternetAddressList* list) {
  const int count = list == nullptr ? 0 : internet_address_list_length(list);
  for (int i = 0; i < count; ++i) {
    InternetAddress* address = internet_address_list_get_address(list, i);
    (void)internet_address_get_name(address);
    if (INTERNET_ADDRESS_IS_MAILBOX(address)) {
      (void)internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(address));
    }
  }
  return static_cast<std::uint64_t>(count);
}

void read_leaf(GMimePart* part, Reading& reading) {
  ++reading.leaves;
  GMimeDataWrapper* content = g_mime_part_get_content(part);
  if (content == nullptr) return;
  const Held<GMimeStream> target(g_mime_stream_mem_new());
  g_mime_data_wrapper_write_to_stream(content, target.get());
  const GByteArray* bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(target.get()));
  reading.add_content({reinterpret_cast<const char*>(bytes->data), bytes->len});
}

class Gmime final : public Candidate {
 public:
  Gmime() { g_mime_init(); }

  std::string name() const override { return "GMime"; }

  void load(std::string_view message) override { (void)Loaded(message); }

  void read(std::string_view bytes, Reading& reading) override {
    const Loaded message(bytes);
    GMimeMessage* const root = message.message.get();
    (void)g_mime_message_get_subject(root);
    (void)g_mime_message_get_date(root);
    (void)read_addresses(g_mime_message_get_from(root));
    reading.to += read_addresses(g_mime_message_get_to(root));
    std::vector<GMimeObject*> waiting{g_mime_message_get_mime_part(root)};
    while (!waiting.empty()) {
      GMimeObject* const part = waiting.back();
      waiting.pop_back();
      if (GMIME_IS_MULTIPART(part)) {
        for (int i = g_mime_multipart_get_count(GMIME_MULTIPART(part)); i-- > 0;) {
          waiting.push_back(g_mime_multipart_get_part(GMIME_MULTIPART(part), i));
        }
      } else if (GMIME_IS_MESSAGE_PART(part)) {
        GMimeMessage* inner = g_mime_message_part_get_message(GMIME_MESSAGE_PART(part));
        if (inner != nullptr) waiting.push_back(g_mime_message_get_mime_part(inner));
      } else if (GMIME_IS_PART(part)) {
        read_leaf(GMIME_PART(part), reading);
      }
    }
  }

  std::size_t rewrite(std::string_view bytes) override {
    const Loaded message(bytes);
    g_mime_message_set_subject(message.message.get(), "Another subject, as plain as they come",
                               nullptr);
    const Held<GMimeStream> target(g_mime_stream_mem_new());
    g_mime_object_write_to_stream(GMIME_OBJECT(message.message.get()), nullptr, target.get());
    return g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(target.get()))->len;
  }

 private:
  struct Loaded {
    explicit Loaded(std::string_view text)
        : bytes{reinterpret_cast<guint8*>(const_cast<char*>(text.data())),
                static_cast<guint>(text.size())},
          stream(g_mime_stream_mem_new()) {
      g_mime_stream_mem_set_owner(GMIME_STREAM_MEM(stream.get()), FALSE);
      g_mime_stream_mem_set_byte_array(GMIME_STREAM_MEM(stream.get()), &bytes);
      const Held<GMimeParser> parser(g_mime_parser_new_with_stream(stream.get()));
      message.reset(g_mime_parser_construct_message(parser.get(), nullptr));
      if (!message) throw std::runtime_error("GMime: a message does not load");
    }
    GByteArray bytes;
    Held<GMimeStream> stream;
    Held<GMimeMessage> message;
  };
};

}  // namespace

std::unique_ptr<Candidate> make_gmime() { return std::make_unique<Gmime>(); }

}  // namespace tallowbrook::bench
