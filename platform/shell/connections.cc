#include "platform/shell/connections.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>

#include "platform/shell/launch.h"

namespace tallowbrook::platform {
namespace {

std::string setting(const char* variable, const char* otherwise) {
  const char* const value = ::secure_getenv(variable);
  return value != nullptr ? value : otherwise;
}

// A name that `pon` takes: no option, no hidden file, and none that an editor or the package
// manager left.
bool is_peer_name(std::string_view name) {
  return name[0] != '.' && name[0] != '-' && !name.ends_with('~') &&
         name.find(".dpkg-") == std::string_view::npos;
}

void sort_by_name(std::vector<Connection>& connections) {
  std::sort(connections.begin(), connections.end(),
            [](const Connection& a, const Connection& b) { return a.name < b.name; });
}

struct DirectoryCloser {
  void operator()(DIR* directory) const { ::closedir(directory); }
};

std::vector<Connection> list_peers() {
  const std::string folder = setting("TALLOWBROOK_PPP_PEERS", "/etc/ppp/peers");
  std::vector<Connection> peers;
  const std::unique_ptr<DIR, DirectoryCloser> directory(::opendir(folder.c_str()));
  if (!directory) return peers;
  while (const dirent* entry = ::readdir(directory.get())) {
    struct stat status {};
    if (is_peer_name(entry->d_name) &&
        ::fstatat(::dirfd(directory.get()), entry->d_name, &status, 0) == 0 &&
        S_ISREG(status.st_mode)) {
      peers.push_back({Connection::Kind::kPeer, entry->d_name, entry->d_name});
    }
  }
  sort_by_name(peers);
  return peers;
}

// Takes a value and the colon behind it off the line.
std::string take_value(std::string_view& line) {
  std::string value;
  while (!line.empty()) {
    char next = line[0];
    line.remove_prefix(1);
    if (next == ':') break;
    if (next == '\\' && !line.empty()) {
      next = line[0];
      line.remove_prefix(1);
    }
    value += next;
  }
  return value;
}

}  // namespace

std::vector<Connection> profiles_in(std::string_view listing) {
  constexpr std::array<std::string_view, 4> kDialled = {"gsm", "cdma", "pppoe", "vpn"};
  std::vector<Connection> profiles;
  while (!listing.empty()) {
    const std::size_t end = std::min(listing.find('\n'), listing.size());
    std::string_view line = listing.substr(0, end);
    listing.remove_prefix(std::min(end + 1, listing.size()));
    const std::string type = take_value(line);
    std::string uuid = take_value(line);
    std::string name = take_value(line);
    if (std::find(kDialled.begin(), kDialled.end(), type) == kDialled.end()) continue;
    if (!uuid.empty() && !name.empty()) {
      profiles.push_back({Connection::Kind::kProfile, std::move(uuid), std::move(name)});
    }
  }
  return profiles;
}

std::vector<Connection> list_connections() {
  constexpr std::chrono::seconds kLongest(5);
  constexpr std::size_t kMostText = std::size_t{1} << 20;
  std::vector<Connection> all = list_peers();
  std::vector<Connection> profiles =
      profiles_in(output_of({setting("TALLOWBROOK_NMCLI", "nmcli"), "--terse", "--fields",
                             "TYPE,UUID,NAME", "connection", "show"},
                            kLongest, kMostText));
  sort_by_name(profiles);
  std::move(profiles.begin(), profiles.end(), std::back_inserter(all));
  return all;
}

bool dial(const Connection& connection) {
  if (connection.kind == Connection::Kind::kPeer) {
    return start_detached({setting("TALLOWBROOK_PON", "pon"), connection.key});
  }
  if (connection.kind == Connection::Kind::kProfile) {
    return start_detached(
        {setting("TALLOWBROOK_NMCLI", "nmcli"), "connection", "up", "uuid", connection.key});
  }
  return false;
}

}  // namespace tallowbrook::platform
