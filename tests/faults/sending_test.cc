// For every n, the n-th socket call or allocation fails while a message is sent: the host learns of
// it, the server never takes a part for the whole, and no descriptor stays open.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "tallowbrook/client_socket.h"
#include "tests/faults/failing_calls.h"
#include "tests/model/host.h"
#include "tests/support/mail_server.h"
#include "tests/support/mail_texts.h"

namespace tallowbrook::test {
namespace {

// Sends as a careful host does: a step that fails ends the session. True when all steps succeeded.
bool deliver(IMimeDecoder& message, const platform::Bstr& host, int port) {
  ComPtr<IClientSocket> socket;
  if (FAILED(create_client_socket(IClientSocket::kIid, socket.out_void()))) return false;
  VARIANT_BOOL done = VARIANT_FALSE;
  const auto succeeds = [&done](HRESULT status) {
    return SUCCEEDED(status) && done != VARIANT_FALSE;
  };
  const bool taken = succeeds(socket->ConnectSMTP(host.get(), port, &done)) &&
                     succeeds(socket->PrepareSMTP(&message, &done)) &&
                     succeeds(message.Save(socket.get(), &done)) &&
                     succeeds(socket->GetResultSMTP(&done));
  return succeeds(socket->DisconnectSMTP(&done)) && taken;
}

template <class Fault, class... Argument>
void fail_every(const Argument&... arguments) {
  const platform::Bstr host(u"127.0.0.1");
  const auto message = loaded(header(3) + lines(150'000));
  const std::string whole = saved(message);
  const int before = open_descriptors();
  const auto job = [&](std::size_t n) {
    MailServer server(polite());
    bool delivered = false;
    bool failed = false;
    {
      const Fault fault(n, arguments...);
      delivered = deliver(*message, host, server.port());
      failed = fault.happened();
    }
    server.stop();
    EXPECT_EQ(open_descriptors(), before) << n;
    EXPECT_TRUE(delivered || failed) << n;
    EXPECT_LE(server.messages.size(), 1U) << n;
    EXPECT_TRUE(!delivered || server.messages.size() == 1) << n;
    for (const std::string& text : server.messages) EXPECT_TRUE(text == whole) << n;
    return failed;
  };
  EXPECT_GT(fail_each(job), 20U);
}

TEST(FailEveryCall, SocketsOfASession) {
  fail_every<FailingSocketCall>(ECONNRESET);
  fail_every<FailingSocketCall>(ENOBUFS);
}

TEST(FailEveryCall, AllocationsOfASession) { fail_every<FailingAllocation>(); }

}  // namespace
}  // namespace tallowbrook::test
