// AddressList: mailboxes in one block that never changes once it is shared.
//
// An address field that was read is kept as such a list; its AddressMap is made of it only when
// somebody asks for entries. The address objects that a host gets look into it. They and the field
// may live on different threads, which is why it is held by a shared pointer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tallowbrook {

class AddressList {
 public:
  // What is known about a display name.
  enum class NameForm : std::uint8_t {
    kAny,
    kPlain,   // ASCII without quotes and encoded words: it is shown as it stands
    kQuoted,  // one quoted string of ASCII without backslashes and encoded words
  };
  // Where the texts of a mailbox stand.
  struct Mailbox {
    std::uint32_t address = 0;
    std::uint32_t name = 0;
    std::uint32_t address_size = 0;
    std::uint32_t name_size : 30 = 0;
    std::uint32_t name_form : 2 = 0;  // a NameForm
  };
  // What all texts of a list together, and each of them, are smaller than.
  static constexpr std::size_t kMostText = std::size_t{1} << 30;

  AddressList() = default;
  // `mailboxes` look into `text`. Their addresses are dot-atoms around an "@", perhaps in brackets.
  AddressList(std::string text, std::vector<Mailbox> mailboxes)
      : text_(std::move(text)), mailboxes_(std::move(mailboxes)), usual_(true) {}

  // Throws std::bad_alloc, also when the texts would be kMostText.
  void add(std::string_view address, std::string_view name);
  // Brings the mailboxes into the order of their addresses, byte by byte, none of which is NUL. Of
  // several with one address, the first stays.
  void sort();

  [[nodiscard]] std::size_t size() const { return mailboxes_.size(); }
  [[nodiscard]] std::string_view address(std::size_t index) const {
    return {text_.data() + mailboxes_[index].address, mailboxes_[index].address_size};
  }
  [[nodiscard]] std::string_view name(std::size_t index) const {
    return {text_.data() + mailboxes_[index].name, mailboxes_[index].name_size};
  }
  [[nodiscard]] NameForm name_form(std::size_t index) const {
    return static_cast<NameForm>(mailboxes_[index].name_form);
  }
  // True when each address is ASCII without blanks and encoded words, and stands in brackets as a
  // whole or not at all.
  [[nodiscard]] bool usual_addresses() const { return usual_; }

 private:
  std::string text_;
  std::vector<Mailbox> mailboxes_;
  bool usual_ = false;
};

using SharedAddresses = std::shared_ptr<const AddressList>;

}  // namespace tallowbrook
