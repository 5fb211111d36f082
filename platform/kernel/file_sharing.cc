#include "platform/kernel/file_sharing.h"

#include <array>
#include <functional>
#include <mutex>

#include "platform/kernel/file.h"

namespace tallowbrook::platform {
namespace {

constinit std::mutex claims_lock;
// Lists of claims by inode, so that many open files stay cheap.
constinit std::array<ShareClaim*, 64> claims{};

ShareClaim*& list_of(const FileIdentity& file) { return claims[file.inode % claims.size()]; }

}  // namespace

bool ShareClaim::claim(const FileIdentity& file, DWORD access, DWORD share) {
  const std::lock_guard hold(claims_lock);
  ShareClaim*& first = list_of(file);
  for (const ShareClaim* other = first; other != nullptr; other = other->next_) {
    if (other->file_ != file) continue;
    if ((access & ~other->share_) != 0 || (other->access_ & ~share) != 0) return false;
  }
  file_ = file;
  access_ = access;
  share_ = share;
  listed_ = true;
  next_ = first;
  if (next_ != nullptr) next_->previous_ = this;
  first = this;
  return true;
}

ShareClaim::~ShareClaim() {
  if (!listed_) return;
  const std::lock_guard hold(claims_lock);
  if (next_ != nullptr) next_->previous_ = previous_;
  (previous_ != nullptr ? previous_->next_ : list_of(file_)) = next_;
}

bool ShareClaim::may_delete(const FileIdentity& file) {
  const std::lock_guard hold(claims_lock);
  for (const ShareClaim* claim = list_of(file); claim != nullptr; claim = claim->next_) {
    if (claim->file_ == file && (claim->share_ & FILE_SHARE_DELETE) == 0) return false;
  }
  return true;
}

}  // namespace tallowbrook::platform
