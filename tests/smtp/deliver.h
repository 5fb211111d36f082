// Sending through the socket object as a script does, in short words.
#pragma once

#include <gtest/gtest.h>

#include <string_view>

#include "core/creators.h"
#include "core/text.h"
#include "platform/automation/late_bound.h"
#include "tests/model/host.h"

namespace tallowbrook::test {

inline ComPtr<IDispatch> new_socket() {
  ComPtr<IDispatch> socket;
  EXPECT_EQ(create_client_socket(IDispatch::kIid, socket.out_void()), S_OK);
  return socket;
}

// Calls a method of the socket; its outcome.
template <class... Argument>
bool ask(const ComPtr<IDispatch>& socket, std::u16string_view method,
         const Argument&... arguments) {
  const auto outcome = platform::call(socket.get(), method, arguments...);
  EXPECT_EQ(outcome.status, S_OK) << to_ansi(method);
  EXPECT_EQ(outcome.value.vt, VT_BOOL) << to_ansi(method);
  return outcome.value.boolVal == VARIANT_TRUE;
}

inline bool connect(const ComPtr<IDispatch>& socket, int port) {
  return ask(socket, u"ConnectSMTP", u"127.0.0.1", LONG{port});
}

// Saves by the message's own late-bound method.
inline bool save(const ComPtr<IMimeDecoder>& message, const ComPtr<IDispatch>& socket) {
  const auto outcome = platform::call(message.get(), u"Save", socket.get());
  EXPECT_EQ(outcome.status, S_OK);
  return outcome.value.vt == VT_BOOL && outcome.value.boolVal == VARIANT_TRUE;
}

inline bool deliver(const ComPtr<IMimeDecoder>& message, int port) {
  const auto socket = new_socket();
  return connect(socket, port) && ask(socket, u"PrepareSMTP", message.get()) &&
         save(message, socket) && ask(socket, u"GetResultSMTP") && ask(socket, u"DisconnectSMTP");
}

}  // namespace tallowbrook::test
