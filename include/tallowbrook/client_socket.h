// Sending a message by SMTP (RFC 821).
#pragma once

#include "platform/automation/dispatch.h"

namespace tallowbrook {

// One session. The object is an IStream as well, whose writes go onto the connection:
// ConnectSMTP, PrepareSMTP with the message, Save of the message into this object, GetResultSMTP,
// DisconnectSMTP. Every method answers S_OK; `done` tells the outcome.
struct IClientSocket : IDispatch {
  using Base = IDispatch;
  static constexpr GUID kIid{
      0x3FE96809, 0x5301, 0x4838, {0xB6, 0xF9, 0x4A, 0xE0, 0xA3, 0xA5, 0xC1, 0x61}};

  // Connects and says HELO. A null `server` keeps the previous server and port.
  virtual HRESULT ConnectSMTP(BSTR server, LONG port, VARIANT_BOOL* done) = 0;
  // Says QUIT and closes the connection, whatever the server answers.
  virtual HRESULT DisconnectSMTP(VARIANT_BOOL* done) = 0;
  // Gives the sender and the To recipients of the message to the server; true when it waits for
  // the message's text.
  virtual HRESULT PrepareSMTP(IDispatch* message, VARIANT_BOOL* done) = 0;
  // True when the server has taken the message that was written.
  virtual HRESULT GetResultSMTP(VARIANT_BOOL* done) = 0;
};

}  // namespace tallowbrook
