// Addresses as mail has them, for the commands of a mail server.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tallowbrook::cli {

// The mailboxes that an address field names (RFC 5322 section 3.4), in its order, the members of
// groups among them. Each is as a command takes it (RFC 5321 section 4.1.2): in brackets, without
// comments, white space and route; "<>" is the empty one.
//
// What is no proper list is read as it is meant: ";" between addresses, commas too many or too few,
// brackets and quotes that are not closed, names that should be quoted. Words among which there is
// no mailbox come as they are, for the server to refuse. Linear.
[[nodiscard]] std::vector<std::string> routes_in(std::string_view field);

}  // namespace tallowbrook::cli
