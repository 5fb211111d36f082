#include "streams/output_modifier.h"

#include "streams/write_whole.h"

namespace tallowbrook {

ULONG COutputStreamModifier::Release() {
  const ULONG left = inner_.Release();
  if (left == 0 && delete_on_release_) delete this;
  return left;
}

HRESULT COutputStreamModifier::pass_on(std::string_view block, ULONG* written) {
  ULONG count = 0;
  const HRESULT status = write_whole(inner_, block, count);
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
