#include "platform/net/errors.h"

#include <cerrno>

namespace tallowbrook::platform::net {
namespace {

struct Pair {
  int system;
  int socket;
};

// Of pairs that share a side, the first holds for that side.
constexpr Pair kPairs[] = {
    {0, 0},
    {EINTR, WSAEINTR},
    {ENOTSOCK, WSAENOTSOCK},
    {EBADF, WSAENOTSOCK},
    {EBADF, WSAEBADF},
    {EACCES, WSAEACCES},
    {EPERM, WSAEACCES},
    {EFAULT, WSAEFAULT},
    {EINVAL, WSAEINVAL},
    {EMFILE, WSAEMFILE},
    {ENFILE, WSAEMFILE},
    {EWOULDBLOCK, WSAEWOULDBLOCK},
    {EINPROGRESS, WSAEWOULDBLOCK},
    {EINPROGRESS, WSAEINPROGRESS},
    {EALREADY, WSAEALREADY},
    {EDESTADDRREQ, WSAEDESTADDRREQ},
    {EMSGSIZE, WSAEMSGSIZE},
    {EPROTOTYPE, WSAEPROTOTYPE},
    {ENOPROTOOPT, WSAENOPROTOOPT},
    {EPROTONOSUPPORT, WSAEPROTONOSUPPORT},
    {ESOCKTNOSUPPORT, WSAESOCKTNOSUPPORT},
    {EOPNOTSUPP, WSAEOPNOTSUPP},
    {EPFNOSUPPORT, WSAEPFNOSUPPORT},
    {EAFNOSUPPORT, WSAEAFNOSUPPORT},
    {EADDRINUSE, WSAEADDRINUSE},
    {EADDRNOTAVAIL, WSAEADDRNOTAVAIL},
    {ENETDOWN, WSAENETDOWN},
    {ENETUNREACH, WSAENETUNREACH},
    {ENETRESET, WSAENETRESET},
    {ECONNABORTED, WSAECONNABORTED},
    {ECONNRESET, WSAECONNRESET},
    {ENOBUFS, WSAENOBUFS},
    {ENOMEM, WSAENOBUFS},
    {EISCONN, WSAEISCONN},
    {ENOTCONN, WSAENOTCONN},
    {ESHUTDOWN, WSAESHUTDOWN},
    {EPIPE, WSAESHUTDOWN},
    {ETOOMANYREFS, WSAETOOMANYREFS},
    {ETIMEDOUT, WSAETIMEDOUT},
    {ECONNREFUSED, WSAECONNREFUSED},
    {ELOOP, WSAELOOP},
    {ENAMETOOLONG, WSAENAMETOOLONG},
    {EHOSTDOWN, WSAEHOSTDOWN},
    {EHOSTUNREACH, WSAEHOSTUNREACH},
    {ENOTEMPTY, WSAENOTEMPTY},
    {EUSERS, WSAEUSERS},
    {EDQUOT, WSAEDQUOT},
    {ESTALE, WSAESTALE},
    {EREMOTE, WSAEREMOTE},
};

}  // namespace

int socket_error_of(int system_error) {
  for (const Pair& pair : kPairs) {
    if (pair.system == system_error) return pair.socket;
  }
  return WSASYSCALLFAILURE;
}

int system_error_of(int socket_error) {
  for (const Pair& pair : kPairs) {
    if (pair.socket == socket_error) return pair.system;
  }
  return EIO;
}

}  // namespace tallowbrook::platform::net
