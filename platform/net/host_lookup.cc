// Looking up hosts. Addresses written in numbers are read without asking the resolver.
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "platform/net/sockets.h"
#include "platform/net/started.h"

namespace tallowbrook::platform::net {
namespace {

int error_of_lookup(int failure) {
  switch (failure) {
    case EAI_AGAIN:
      return WSATRY_AGAIN;
    case EAI_FAIL:
      return WSANO_RECOVERY;
#ifdef EAI_NODATA
    case EAI_NODATA:
      return WSANO_DATA;
#endif
    case EAI_MEMORY:
      return WSAENOBUFS;
    case EAI_SYSTEM:
      return socket_error_of(errno);
    default:
      return WSAHOST_NOT_FOUND;
  }
}

}  // namespace

const HostEntry* gethostbyname(const char* name) {
  if (!started()) return nullptr;
  static thread_local HostEntry entry;
  char own_name[256];
  if (name == nullptr || *name == '\0') {
    if (gethostname(own_name, sizeof own_name) == SOCKET_ERROR) return nullptr;
    name = own_name;
  }
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int failure = ::getaddrinfo(name, nullptr, &hints, &found);
  if (failure != 0) {
    WSASetLastError(error_of_lookup(failure));
    return nullptr;
  }
  const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owned(found, ::freeaddrinfo);
  entry.name = name;
  entry.addresses.clear();
  for (const addrinfo* info = found; info != nullptr; info = info->ai_next) {
    entry.addresses.push_back(reinterpret_cast<const sockaddr_in*>(info->ai_addr)->sin_addr.s_addr);
  }
  if (!entry.addresses.empty()) return &entry;
  WSASetLastError(WSANO_DATA);
  return nullptr;
}

int gethostname(char* name, int length) {
  if (!started()) return SOCKET_ERROR;
  if (name != nullptr && length > 0 && ::gethostname(name, static_cast<std::size_t>(length)) == 0) {
    return 0;
  }
  WSASetLastError(WSAEFAULT);
  return SOCKET_ERROR;
}

}  // namespace tallowbrook::platform::net
