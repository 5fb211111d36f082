// Addresses as people type them on a command line.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/words.h"

namespace tallowbrook::cli {

struct Mailbox {
  std::string name;     // UTF-8, without quotes; empty when there is none
  std::string address;  // without angle brackets
};

// Reads "Ada <ada@example.org>, bob@example.net" (RFC 5322 section 3.4, without groups). Throws
// CLI::ValidationError with a text for people for what is no address, addresses that are not ASCII
// included.
[[nodiscard]] std::vector<Mailbox> parse_mailboxes(std::string_view text);
[[nodiscard]] std::vector<Mailbox> parse_mailboxes(const std::vector<std::string>& texts);

// As a header holds it: the name as a phrase or as encoded words.
[[nodiscard]] std::u16string header_form(const Mailbox& mailbox, const Words& words);

}  // namespace tallowbrook::cli
