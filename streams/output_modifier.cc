#include "streams/output_modifier.h"

#include "core/line_scan.h"
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
  const LineScan& scan = fastest_line_scan();
  const bool bare_start = !block.empty() && block[0] == '\n' && !ended_with_cr_;
  std::size_t cut = 0;
  for (std::size_t lf = bare_start ? 0 : scan.find_bare_line_end(block); lf != block.npos;) {
    HRESULT status = pass_on(block.substr(cut, lf - cut), written);
    if (SUCCEEDED(status)) status = pass_on("\r\n", written);
    if (FAILED(status)) return status;
    cut = lf + 1;
    const std::size_t next = scan.find_bare_line_end(block.substr(lf));
    lf = next == block.npos ? next : lf + next;
  }
  const HRESULT status = pass_on(block.substr(cut), written);
  if (!block.empty()) ended_with_cr_ = block.back() == '\r';
  return FAILED(status) ? status : S_OK;
}

}  // namespace tallowbrook
