// libetpan: contents stay views of the message's bytes.
#include <libetpan/libetpan.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "bench/rivals/rivals.h"

namespace tallowbrook::bench {
namespace {

struct FreeMime {
  void operator()(mailmime* mime) const { mailmime_free(mime); }
};
using Mime = std::unique_ptr<mailmime, FreeMime>;

Mime loaded(std::string_view bytes) {
  std::size_t index = 0;
  mailmime* mime = nullptr;
  if (mailmime_parse(bytes.data(), bytes.size(), &index, &mime) != MAILIMF_NO_ERROR) {
    throw std::runtime_error("libetpan: a message does not load");
  }
  return Mime(mime);
}

void decode_words(const char* text) {
  if (text == nullptr) return;
  std::size_t index = 0;
  char* decoded = nullptr;
  if (mailmime_encoded_phrase_parse("us-ascii", text, std::string_view(text).size(), &index,
                                    "utf-8", &decoded) == MAILIMF_NO_ERROR) {
    std::free(decoded);
  }
}

void read_mailbox(const mailimf_mailbox* mailbox) { decode_words(mailbox->mb_display_name); }

void read_fields(mailimf_fields* fields, Reading& reading) {
  mailimf_single_fields single;
  mailimf_single_fields_init(&single, fields);
  if (single.fld_subject != nullptr) decode_words(single.fld_subject->sbj_value);
  if (single.fld_from != nullptr) {
    for (clistiter* at = clist_begin(single.fld_from->frm_mb_list->mb_list); at != nullptr;
         at = clist_next(at)) {
      read_mailbox(static_cast<mailimf_mailbox*>(clist_content(at)));
    }
  }
  if (single.fld_to != nullptr) {
    for (clistiter* at = clist_begin(single.fld_to->to_addr_list->ad_list); at != nullptr;
         at = clist_next(at)) {
      const auto* address = static_cast<mailimf_address*>(clist_content(at));
      if (address->ad_type == MAILIMF_ADDRESS_MAILBOX) read_mailbox(address->ad_data.ad_mailbox);
      ++reading.to;
    }
  }
}

void read_leaf(mailmime* part, Reading& reading) {
  ++reading.leaves;
  const mailmime_data* data = part->mm_data.mm_single;
  if (data == nullptr || data->dt_type != MAILMIME_DATA_TEXT) return;
  std::size_t index = 0;
  char* decoded = nullptr;
  std::size_t size = 0;
  if (mailmime_part_parse(data->dt_data.dt_text.dt_data, data->dt_data.dt_text.dt_length, &index,
                          data->dt_encoding, &decoded, &size) != MAILIMF_NO_ERROR) {
    return;
  }
  reading.add_content({decoded, size});
  mmap_string_unref(decoded);
}

class Etpan final : public Candidate {
 public:
  std::string name() const override { return "libetpan"; }

  void load(std::string_view message) override { (void)loaded(message); }

  void read(std::string_view bytes, Reading& reading) override {
    const Mime message = loaded(bytes);
    read_fields(message->mm_data.mm_message.mm_fields, reading);
    std::vector<mailmime*> waiting{message.get()};
    while (!waiting.empty()) {
      mailmime* const part = waiting.back();
      waiting.pop_back();
      if (part->mm_type == MAILMIME_SINGLE) {
        read_leaf(part, reading);
      } else if (part->mm_type == MAILMIME_MESSAGE) {
        waiting.push_back(part->mm_data.mm_message.mm_msg_mime);
      } else {
        for (clistiter* at = clist_begin(part->mm_data.mm_multipart.mm_mp_list); at != nullptr;
             at = clist_next(at)) {
          waiting.push_back(static_cast<mailmime*>(clist_content(at)));
        }
      }
    }
  }

  std::size_t rewrite(std::string_view bytes) override {
    const Mime message = loaded(bytes);
    mailimf_single_fields single;
    mailimf_single_fields_init(&single, message->mm_data.mm_message.mm_fields);
    if (single.fld_subject != nullptr) {
      std::free(single.fld_subject->sbj_value);
      single.fld_subject->sbj_value = strdup("Another subject, as plain as they come");
    }
    MMAPString* const target = mmap_string_new("");
    int column = 0;
    mailmime_write_mem(target, &column, message.get());
    const std::size_t size = target->len;
    mmap_string_free(target);
    return size;
  }
};

}  // namespace

std::unique_ptr<Candidate> make_etpan() { return std::make_unique<Etpan>(); }

}  // namespace tallowbrook::bench
