#include "streams/output_modifier.h"

namespace tallowbrook {

ULONG COutputStreamModifier::Release() {
  const ULONG left = inner_.Release();
  if (left == 0 && delete_on_release_) delete this;
  return left;
}

HRESULT COutputStreamModifier::pass_on(std::string_view block, ULONG* written) {
  if (block.empty()) return S_OK;
  const auto size = static_cast<ULONG>(block.size());
  ULONG count = size;  // a stream that does not tell took what it says S_OK for
  HRESULT status = inner_.Write(block.data(), size, &count);
  if (FAILED(status) && count == size) count = 0;
  if (SUCCEEDED(status) && count < size) status = STG_E_MEDIUMFULL;
  if (written != nullptr) *written += count;
  if (FAILED(status) && !failed()) status_ = status;
  return status;
}

HRESULT COutputStreamModifier::Write(const void* pv, ULONG cb, ULONG* written) {
  if (pv == nullptr) return inner_.Write(pv, cb, written);
  if (written != nullptr) *written = 0;
  const std::string_view block(static_cast<const char*>(pv), cb);
  std::size_t cut = 0;
  for (std::size_t lf = block.find('\n'); lf != block.npos; lf = block.find('\n', lf + 1)) {
    if (lf > 0 ? block[lf - 1] == '\r' : ended_with_cr_) continue;
    HRESULT status = pass_on(block.substr(cut, lf - cut), written);
    if (SUCCEEDED(status)) status = pass_on("\r\n", written);
    if (FAILED(status)) return status;
    cut = lf + 1;
  }
  const HRESULT status = pass_on(block.substr(cut), written);
  if (!block.empty()) ended_with_cr_ = block.back() == '\r';
  return FAILED(status) ? status : S_OK;
}

}  // namespace tallowbrook
