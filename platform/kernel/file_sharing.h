// Which files the layer's handles have open, and how they share them. Internal to the kernel room.
#pragma once

#include <sys/types.h>

#include "platform/com/types.h"

namespace tallowbrook::platform {

// A file, whatever its names.
struct FileIdentity {
  dev_t device;
  ino_t inode;

  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

// One open handle of a file. Listed from a successful claim until the object ends.
class ShareClaim {
 public:
  ShareClaim() = default;
  ~ShareClaim();
  ShareClaim(const ShareClaim&) = delete;
  ShareClaim& operator=(const ShareClaim&) = delete;

  // Enters the handle; false when it and a handle that is open already exclude each other. `access`
  // is in FILE_SHARE_* bits: what the handle does; `share`: what it lets others do.
  [[nodiscard]] bool claim(const FileIdentity& file, DWORD access, DWORD share);

  // True when every open handle of the file shares deletion.
  [[nodiscard]] static bool may_delete(const FileIdentity& file);

 private:
  FileIdentity file_{};
  DWORD access_ = 0;
  DWORD share_ = 0;
  bool listed_ = false;
  ShareClaim* previous_ = nullptr;
  ShareClaim* next_ = nullptr;
};

}  // namespace tallowbrook::platform
