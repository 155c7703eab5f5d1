#pragma once
// TargetIdentity: which file or device node a target is, as (device, inode). A target is looked up
// by path once, when the port starts; every later open compares against this so that a path
// swapped for another file (or for a symbolic link to one) is never written through.

#include <cstdint>
#include <string>

namespace storageio_port {

struct TargetIdentity {
  std::uint64_t device = 0;  // st_dev
  std::uint64_t inode = 0;   // st_ino
  bool known = false;        // false while the file does not exist yet: LayOut sets it on creating it

  bool SameFileAs(const TargetIdentity& other) const {
    return known && other.known && device == other.device && inode == other.inode;
  }
};

// The identity of the open file `fd`. `what` names it in the error: throws TargetError when fstat
// fails.
TargetIdentity IdentityOf(int fd, const std::string& what);

}  // namespace storageio_port
