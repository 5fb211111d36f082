// What `new` and `edit` put into a message, and how it is saved.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/mailbox.h"
#include "cli/media_types.h"
#include "cli/words.h"

namespace tallowbrook::cli {

// The bytes of a file ("-": standard input). Throws std::runtime_error with a text for people.
[[nodiscard]] std::string read_whole(const std::string& file);

// The same of a text file, which is UTF-8; a byte order mark is taken off.
[[nodiscard]] std::string read_text(const std::string& file);

// Makes a part a multipart of this kind, with a boundary that no text has by chance.
void make_multipart(const Object& part, std::u16string_view kind);

// Saves the message without the line "." at its end. 0 or an errno.
[[nodiscard]] int save_message(const Object& message, IStream& target);

class Composer {
 public:
  Composer() = default;

  [[nodiscard]] const Words& words() const { return words_; }

  void set_subject(const Object& message, std::string_view subject) const;

  // Appends to an address property, whose header field is `field`; what the field holds stays as it
  // is, byte for byte.
  void add_addresses(const Object& message, const char16_t* property, std::string_view field,
                     const std::vector<Mailbox>& mailboxes) const;

  // Sets a property that holds one address. Nothing happens with none.
  void set_address(const Object& message, const char16_t* property,
                   const std::vector<Mailbox>& mailboxes) const;

  // Makes a part a text of this kind ("plain", "html"), UTF-8. `alone`: it is the body of the whole
  // message, and gets a line end where it has none.
  void put_text(const Object& part, std::u16string_view kind, std::string_view text,
                bool alone) const;

  // Makes a part an attachment with the content of a file, which is read when the message is saved.
  // Throws std::runtime_error when the file cannot be opened or read.
  void attach(const Object& part, const std::string& file);

  // Throws std::runtime_error when an attached file could not be read during a save.
  void check_attachments() const;

 private:
  [[nodiscard]] platform::ComPtr<IStream> open(const std::string& file);
  void put_name(const Object& part, const std::string& name, bool typed) const;

  Words words_;
  MediaTypes types_;
  std::vector<std::pair<std::string, platform::ComPtr<FileStream>>> attached_;
};

}  // namespace tallowbrook::cli
