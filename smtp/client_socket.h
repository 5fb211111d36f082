// CClientSocket: a session with a mail server as hosts see it
// (include/tallowbrook/client_socket.h).
#pragma once

#include "core/object.h"
#include "smtp/session.h"
#include "streams/sequential_stream.h"
#include "tallowbrook/client_socket.h"

namespace tallowbrook {

class CClientSocket final
    : public Object<Confined, Dispatching<IClientSocket>, ISupportErrorInfo, SequentialStream> {
 public:
  // --- IClientSocket --------------------------------------------------------------------------
  HRESULT ConnectSMTP(BSTR server, LONG port, VARIANT_BOOL* done) override;
  HRESULT DisconnectSMTP(VARIANT_BOOL* done) override;
  HRESULT PrepareSMTP(IDispatch* message, VARIANT_BOOL* done) override;
  HRESULT GetResultSMTP(VARIANT_BOOL* done) override;

  // --- ISupportErrorInfo ----------------------------------------------------------------------
  HRESULT InterfaceSupportsErrorInfo(REFIID iid) override;

  // --- IStream --------------------------------------------------------------------------------
  // Both move bytes once and tell how many. E_FAIL when not connected or, for Write, when the
  // session takes no bytes now; the status of the socket's error (0x8007 and the code) when it
  // fails.
  HRESULT Read(void* pv, ULONG cb, ULONG* read) override;
  HRESULT Write(const void* pv, ULONG cb, ULONG* written) override;

 private:
  CSMTP session_;
};

}  // namespace tallowbrook
