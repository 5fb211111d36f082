// Sending a message by SMTP (RFC 821).
//
// The methods answer true or false. Why a step failed, and what was said with the server, is told
// on the debug output (platform/kernel/debug_output.h), where a host can listen to it: a line for
// each thing, control characters as \xNN. The mark says what:
//   SMTP * connected to 192.0.2.25:25
//   SMTP < 220 mail.example.org ready     received
//   SMTP > HELO desk.example.org          sent
//   SMTP > (1234 bytes of message)
//   SMTP ? 250 more                       received unasked, and dropped
//   SMTP ! 550:SMTP server error          failed: the session's error text
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
