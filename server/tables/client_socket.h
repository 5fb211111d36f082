// The members of the SMTP session and of dial-up connections.
#pragma once

#include "platform/automation/describe.h"
#include "tallowbrook/client_socket.h"
#include "tallowbrook/dialup.h"

namespace tallowbrook::platform {

template <>
struct Describe<IClientSocket> {
  static constexpr auto members = std::array{
      method<&IClientSocket::ConnectSMTP>(1, u"ConnectSMTP",
                                          names(u"strServer", with_default(u"nPort", 25)),
                                          u"Connects to a mail server"),
      method<&IClientSocket::DisconnectSMTP>(2, u"DisconnectSMTP", u"Ends the session"),
      method<&IClientSocket::PrepareSMTP>(3, u"PrepareSMTP", names(u"pDecoder"),
                                          u"Gives sender and recipients to the server"),
      method<&IClientSocket::GetResultSMTP>(4, u"GetResultSMTP",
                                            u"Whether the server has taken the message"),
  };
};

template <>
struct Describe<IDialupConnection> {
  static constexpr auto members = std::array{
      getter<&IDialupConnection::get_ID>(1, u"ID", u"Identifier of the connection"),
      getter<&IDialupConnection::get_Name>(2, u"Name", u"Display name"),
      method<&IDialupConnection::Execute>(3, u"Execute", u"Opens the connection"),
  };
};

}  // namespace tallowbrook::platform

namespace tallowbrook {

inline constexpr platform::InterfaceInfo kClientSocketInfo =
    platform::interface_info<IClientSocket>(u"IClientSocket", u"IClientSocket Interface");
inline constexpr platform::InterfaceInfo kDialupConnectionInfo =
    platform::interface_info<IDialupConnection>(u"IDialupConnection",
                                                u"IDialupConnection Interface");

}  // namespace tallowbrook
