#include "smtp/winsock_error.h"

#include <algorithm>
#include <iterator>

#include "platform/net/sockets.h"

namespace tallowbrook {
namespace {

struct Text {
  int code;
  const char* text;
};

constexpr char kUnknown[] = "Unknown socket error.";

// In the order of the codes.
constexpr Text kTexts[] = {
    {10004, "A blocking operation was interrupted by a call to WSACancelBlockingCall."},
    {10009, "The file handle supplied is not valid."},
    {10013, "An attempt was made to access a socket in a way forbidden by its access permissions."},
    {10014,
     "The system detected an invalid pointer address in attempting to use a pointer argument in a "
     "call."},
    {10022, "An invalid argument was supplied."},
    {10024, "Too many open sockets."},
    {10035, "A non-blocking socket operation could not be completed immediately."},
    {10036, "A blocking operation is currently executing."},
    {10037,
     "An operation was attempted on a non-blocking socket that already had an operation in "
     "progress."},
    {10038, "An operation was attempted on something that is not a socket."},
    {10039, "A required address was omitted from an operation on a socket."},
    {10040,
     "A message sent on a datagram socket was larger than the internal message buffer or some "
     "other network limit, or the buffer used to receive a datagram into was smaller than the "
     "datagram itself."},
    {10041,
     "A protocol was specified in the socket function call that does not support the semantics of "
     "the socket type requested."},
    {10042,
     "An unknown, invalid, or unsupported option or level was specified in a getsockopt or "
     "setsockopt call."},
    {10043,
     "The requested protocol has not been configured into the system, or no implementation for it "
     "exists."},
    {10044, "The support for the specified socket type does not exist in this address family."},
    {10045, "The attempted operation is not supported for the type of object referenced."},
    {10046,
     "The protocol family has not been configured into the system or no implementation for it "
     "exists."},
    {10047, "An address incompatible with the requested protocol was used."},
    {10048,
     "Only one usage of each socket address (protocol/network address/port) is normally "
     "permitted."},
    {10049, "The requested address is not valid in its context."},
    {10050, "A socket operation encountered a dead network."},
    {10051, "A socket operation was attempted to an unreachable network."},
    {10052,
     "The connection has been broken due to keep-alive activity detecting a failure while the "
     "operation was in progress."},
    {10053, "An established connection was aborted by the software in your host machine."},
    {10054, "An existing connection was forcibly closed by the remote host."},
    {10055,
     "An operation on a socket could not be performed because the system lacked sufficient buffer "
     "space or because a queue was full."},
    {10056, "A connect request was made on an already connected socket."},
    {10057,
     "A request to send or receive data was disallowed because the socket is not connected and "
     "(when sending on a datagram socket using a sendto call) no address was supplied."},
    {10058,
     "A request to send or receive data was disallowed because the socket had already been shut "
     "down in that direction with a previous shutdown call."},
    {10059, "Too many references to some kernel object."},
    {10060,
     "A connection attempt failed because the connected party did not properly respond after a "
     "period of time, or established connection failed because connected host has failed to "
     "respond."},
    {10061, "No connection could be made because the target machine actively refused it."},
    {10062, "Cannot translate name."},
    {10063, "Name component or name was too long."},
    {10064, "A socket operation failed because the destination host was down."},
    {10065, "A socket operation was attempted to an unreachable host."},
    {10066, "Cannot remove a directory that is not empty."},
    {10067,
     "A Windows Sockets implementation may have a limit on the number of applications that may use "
     "it simultaneously."},
    {10068, "Ran out of quota."},
    {10069, "Ran out of disk quota."},
    {10070, "File handle reference is no longer available."},
    {10071, "Item is not available locally."},
    {10091,
     "WSAStartup cannot function at this time because the underlying system it uses to provide "
     "network services is currently unavailable."},
    {10092, "The Windows Sockets version requested is not supported."},
    {10093, "Either the application has not called WSAStartup, or WSAStartup failed."},
    {10101,
     "Returned by WSARecv or WSARecvFrom to indicate the remote party has initiated a graceful "
     "shutdown sequence."},
    {10102, "No more results can be returned by WSALookupServiceNext."},
    {10103,
     "A call to WSALookupServiceEnd was made while this call was still processing. The call has "
     "been canceled."},
    {10104, "The procedure call table is invalid."},
    {10105, "The requested service provider is invalid."},
    {10106, "The requested service provider could not be loaded or initialized."},
    {10107, "A system call that should never fail has failed."},
    {10108, "No such service is known. The service cannot be found in the specified name space."},
    {10109, "The specified class was not found."},
    {10110, "No more results can be returned by WSALookupServiceNext."},
    {10111,
     "A call to WSALookupServiceEnd was made while this call was still processing. The call has "
     "been canceled."},
    {10112, "A database query failed because it was actively refused."},
    {11001, "No such host is known."},
    {11002,
     "This is usually a temporary error during hostname resolution and means that the local server "
     "did not receive a response from an authoritative server."},
    {11003, "A non-recoverable error occurred during a database lookup."},
    {11004,
     "The requested name is valid and was found in the database, but it does not have the correct "
     "associated data being resolved for."},
};

}  // namespace

CWinSockException CWinSockException::last() {
  return CWinSockException(platform::net::WSAGetLastError());
}

const char* CWinSockException::what() const noexcept {
  const auto* const found =
      std::lower_bound(std::begin(kTexts), std::end(kTexts), code_,
                       [](const Text& text, int code) { return text.code < code; });
  return found != std::end(kTexts) && found->code == code_ ? found->text : kUnknown;
}

}  // namespace tallowbrook
