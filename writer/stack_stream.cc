#include "writer/stack_stream.h"

namespace tallowbrook {

HRESULT StackStream::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (iid != IUnknown::kIid && iid != ISequentialStream::kIid && iid != IStream::kIid) {
    return E_NOINTERFACE;
  }
  *object = static_cast<IStream*>(this);
  return S_OK;
}

HRESULT StackStream::Read(void*, ULONG, ULONG* read) {
  if (read != nullptr) *read = 0;
  return E_NOTIMPL;
}

HRESULT StackStream::Write(const void*, ULONG, ULONG* written) {
  if (written != nullptr) *written = 0;
  return E_NOTIMPL;
}

}  // namespace tallowbrook
