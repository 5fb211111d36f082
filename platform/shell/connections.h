// The machine's dial-up definitions. Internal to the shell room.
//
//   /etc/ppp/peers   each file is a connection, dialled with `pon NAME`
//   NetworkManager   its profiles of the types gsm, cdma, pppoe and vpn, as `nmcli` lists them,
//                    brought up with `nmcli connection up uuid UUID`
//
// The environment variables TALLOWBROOK_PPP_PEERS, TALLOWBROOK_PON and TALLOWBROOK_NMCLI name
// another folder and other programs.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tallowbrook::platform {

struct Connection {
  enum class Kind : unsigned char { kNew = 'N', kPeer = 'P', kProfile = 'M' };

  Kind kind = Kind::kNew;
  std::string key;   // a peer's file name, a profile's UUID
  std::string name;  // for people, UTF-8
};

// Peers by name, then profiles by name. What cannot be read is left out. Throws std::bad_alloc.
[[nodiscard]] std::vector<Connection> list_connections();

// Starts the program that dials; false when it cannot be started. It is not waited for.
[[nodiscard]] bool dial(const Connection& connection);

// The profiles in what `nmcli --terse --fields TYPE,UUID,NAME connection show` prints: a line each,
// in which a backslash stands before a colon or backslash of a value.
[[nodiscard]] std::vector<Connection> profiles_in(std::string_view listing);

}  // namespace tallowbrook::platform
