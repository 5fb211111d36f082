#include "smtp/client_socket.h"

#include <algorithm>
#include <limits>
#include <string_view>

#include "core/creators.h"
#include "core/text.h"

namespace tallowbrook {
namespace {

HRESULT status_of(const CWinSockException& error) {
  return make_status(0x80070000U | static_cast<std::uint32_t>(error.code()));
}

// Runs a step of the session into the out-parameter of a method.
template <class Step>
HRESULT report(VARIANT_BOOL* done, Step&& step) {
  if (done == nullptr) return E_POINTER;
  *done = VARIANT_FALSE;
  return guarded([&] {
    if (step()) *done = VARIANT_TRUE;
    return S_OK;
  });
}

// Runs a transfer of at most `cb` bytes, which answers how many it moved, or a negative number.
template <class Transfer>
HRESULT move_bytes(bool connected, const void* pv, ULONG cb, ULONG* moved, Transfer&& transfer) {
  if (moved != nullptr) *moved = 0;
  if (!connected) return E_FAIL;
  if (pv == nullptr) return STG_E_INVALIDPOINTER;
  if (cb == 0) return S_OK;
  return guarded([&] {
    constexpr ULONG kMost = std::numeric_limits<LONG>::max();
    try {
      const int count = transfer(static_cast<int>(std::min(cb, kMost)));
      if (count < 0) return E_FAIL;
      if (moved != nullptr) *moved = static_cast<ULONG>(count);
      return S_OK;
    } catch (const CWinSockException& error) {
      return status_of(error);
    }
  });
}

}  // namespace

HRESULT CClientSocket::ConnectSMTP(BSTR server, LONG port, VARIANT_BOOL* done) {
  return report(done, [&] {
    if (server != nullptr) session_.set_server(to_ansi(platform::view_of(server)), port);
    return session_.connect_session();
  });
}

HRESULT CClientSocket::DisconnectSMTP(VARIANT_BOOL* done) {
  return report(done, [&] { return session_.disconnect_session(); });
}

HRESULT CClientSocket::PrepareSMTP(IDispatch* message, VARIANT_BOOL* done) {
  // The message may be a host's own object, which may let go of this one.
  const platform::ComPtr<IClientSocket> held(this);
  return report(done, [&] { return session_.prepare(message); });
}

HRESULT CClientSocket::GetResultSMTP(VARIANT_BOOL* done) {
  return report(done, [&] { return session_.result(); });
}

HRESULT CClientSocket::InterfaceSupportsErrorInfo(REFIID iid) {
  return iid == IClientSocket::kIid ? S_OK : S_FALSE;
}

HRESULT CClientSocket::Read(void* pv, ULONG cb, ULONG* read) {
  return move_bytes(session_.connected(), pv, cb, read,
                    [&](int length) { return session_.read(static_cast<char*>(pv), length); });
}

HRESULT CClientSocket::Write(const void* pv, ULONG cb, ULONG* written) {
  return move_bytes(session_.connected(), pv, cb, written, [&](int length) {
    return session_.write({static_cast<const char*>(pv), static_cast<std::size_t>(length)});
  });
}

HRESULT create_client_socket(REFIID iid, void** object) {
  return create_instance<CClientSocket>(iid, object);
}

}  // namespace tallowbrook
