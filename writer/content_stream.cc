#include "writer/content_stream.h"

#include <algorithm>

namespace tallowbrook {

HRESULT ContentStream::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (iid != IUnknown::kIid && iid != ISequentialStream::kIid && iid != IStream::kIid) {
    return E_NOINTERFACE;
  }
  *object = static_cast<IStream*>(this);
  return S_OK;
}

HRESULT ContentStream::Read(void* pv, ULONG cb, ULONG* read) {
  ULONG got = 0;
  HRESULT status = failed() ? status_ : noted(content_.Read(pv, cb, &got));
  while (without_zeros_ && got > 0) {
    char* const bytes = static_cast<char*>(pv);
    const auto left = static_cast<ULONG>(std::remove(bytes, bytes + got, '\0') - bytes);
    if (left > 0) {
      got = left;
      break;
    }
    status = noted(content_.Read(pv, cb, &got));  // no byte would say that this is the end
  }
  if (read != nullptr) *read = got;
  return status;
}

HRESULT ContentStream::Write(const void*, ULONG, ULONG* written) {
  if (written != nullptr) *written = 0;
  return E_NOTIMPL;
}

HRESULT ContentStream::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) {
  if (position != nullptr) position->QuadPart = 0;
  return noted(content_.Seek(move, origin, position));
}

HRESULT ContentStream::CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER* read,
                              ULARGE_INTEGER* written) {
  if (read != nullptr) read->QuadPart = 0;
  if (written != nullptr) written->QuadPart = 0;
  return E_NOTIMPL;
}

HRESULT ContentStream::Stat(STATSTG* stat, DWORD) {
  if (stat != nullptr) *stat = STATSTG{};
  return E_NOTIMPL;
}

HRESULT ContentStream::Clone(IStream** clone) {
  if (clone != nullptr) *clone = nullptr;
  return E_NOTIMPL;
}

}  // namespace tallowbrook
