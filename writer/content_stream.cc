#include "writer/content_stream.h"

#include <algorithm>

#include "streams/write_whole.h"

namespace tallowbrook {

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

HRESULT ContentStream::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) {
  if (position != nullptr) position->QuadPart = 0;
  return noted(content_.Seek(move, origin, position));
}

HRESULT TargetStream::Write(const void* pv, ULONG cb, ULONG* written) {
  ULONG taken = 0;
  const HRESULT status =
      failed_ ? E_FAIL : write_whole(target_, {static_cast<const char*>(pv), cb}, taken);
  failed_ = FAILED(status);
  if (written != nullptr) *written = taken;
  return status;
}

platform::ComPtr<CISSHelper> in_memory(IStream& stream) {
  auto memory = platform::query<CISSHelper>(&stream);
  if (memory.get() != &stream) memory.reset();  // a wrapper may pass queries on
  return memory;
}

}  // namespace tallowbrook
