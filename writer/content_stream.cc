#include "writer/content_stream.h"

#include <algorithm>

#include "streams/write_whole.h"

namespace tallowbrook {

HRESULT ContentStream::read_on(void* pv, ULONG cb, ULONG& got) {
  got = 0;
  if (SUCCEEDED(read_status_)) read_status_ = content_.Read(pv, cb, &got);
  if (FAILED(read_status_)) failed_ = true;
  return read_status_;
}

HRESULT ContentStream::Read(void* pv, ULONG cb, ULONG* read) {
  ULONG got = 0;
  HRESULT status = read_on(pv, cb, got);
  while (without_zeros_ && got > 0) {
    char* const bytes = static_cast<char*>(pv);
    const auto left = static_cast<ULONG>(std::remove(bytes, bytes + got, '\0') - bytes);
    if (left > 0) {
      got = left;
      break;
    }
    status = read_on(pv, cb, got);  // no byte would say that this is the end
  }
  if (read != nullptr) *read = got;
  return status;
}

HRESULT ContentStream::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) {
  if (position != nullptr) position->QuadPart = 0;
  const HRESULT status = content_.Seek(move, origin, position);
  if (FAILED(status)) failed_ = true;
  return status;
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
