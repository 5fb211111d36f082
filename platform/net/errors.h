// The error codes of Windows Sockets 2, and how they and this system's errno stand to each other.
#pragma once

#include "platform/com/types.h"

inline constexpr int WSAEINTR = 10004;
inline constexpr int WSAEBADF = 10009;
inline constexpr int WSAEACCES = 10013;
inline constexpr int WSAEFAULT = 10014;
inline constexpr int WSAEINVAL = 10022;
inline constexpr int WSAEMFILE = 10024;
inline constexpr int WSAEWOULDBLOCK = 10035;
inline constexpr int WSAEINPROGRESS = 10036;
inline constexpr int WSAEALREADY = 10037;
inline constexpr int WSAENOTSOCK = 10038;
inline constexpr int WSAEDESTADDRREQ = 10039;
inline constexpr int WSAEMSGSIZE = 10040;
inline constexpr int WSAEPROTOTYPE = 10041;
inline constexpr int WSAENOPROTOOPT = 10042;
inline constexpr int WSAEPROTONOSUPPORT = 10043;
inline constexpr int WSAESOCKTNOSUPPORT = 10044;
inline constexpr int WSAEOPNOTSUPP = 10045;
inline constexpr int WSAEPFNOSUPPORT = 10046;
inline constexpr int WSAEAFNOSUPPORT = 10047;
inline constexpr int WSAEADDRINUSE = 10048;
inline constexpr int WSAEADDRNOTAVAIL = 10049;
inline constexpr int WSAENETDOWN = 10050;
inline constexpr int WSAENETUNREACH = 10051;
inline constexpr int WSAENETRESET = 10052;
inline constexpr int WSAECONNABORTED = 10053;
inline constexpr int WSAECONNRESET = 10054;
inline constexpr int WSAENOBUFS = 10055;
inline constexpr int WSAEISCONN = 10056;
inline constexpr int WSAENOTCONN = 10057;
inline constexpr int WSAESHUTDOWN = 10058;
inline constexpr int WSAETOOMANYREFS = 10059;
inline constexpr int WSAETIMEDOUT = 10060;
inline constexpr int WSAECONNREFUSED = 10061;
inline constexpr int WSAELOOP = 10062;
inline constexpr int WSAENAMETOOLONG = 10063;
inline constexpr int WSAEHOSTDOWN = 10064;
inline constexpr int WSAEHOSTUNREACH = 10065;
inline constexpr int WSAENOTEMPTY = 10066;
inline constexpr int WSAEUSERS = 10068;
inline constexpr int WSAEDQUOT = 10069;
inline constexpr int WSAESTALE = 10070;
inline constexpr int WSAEREMOTE = 10071;
inline constexpr int WSAVERNOTSUPPORTED = 10092;
inline constexpr int WSANOTINITIALISED = 10093;
inline constexpr int WSASYSCALLFAILURE = 10107;
inline constexpr int WSAHOST_NOT_FOUND = 11001;
inline constexpr int WSATRY_AGAIN = 11002;
inline constexpr int WSANO_RECOVERY = 11003;
inline constexpr int WSANO_DATA = 11004;

namespace tallowbrook::platform::net {

// The code of an errno: one connecting in the background (EINPROGRESS) is WSAEWOULDBLOCK, a closed
// descriptor WSAENOTSOCK, an errno that sockets never have WSASYSCALLFAILURE. 0 stays 0.
[[nodiscard]] int socket_error_of(int system_error);

// The errno of a code, the nearest where several share one; EIO for a code that has none.
[[nodiscard]] int system_error_of(int socket_error);

}  // namespace tallowbrook::platform::net
