#pragma once
// UniqueFd: sole owner of one open file descriptor, closed when the owner goes away.

#include <unistd.h>

#include <utility>

namespace storageio_port {

class UniqueFd {
 public:
  // Takes ownership of `fd`, which must be an open descriptor nobody else closes.
  explicit UniqueFd(int fd) noexcept : fd_(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    if (this != &other) {
      Close();
      fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
  }
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;
  ~UniqueFd() { Close(); }

  // The descriptor, -1 once moved from. Still owned by this object: never close it.
  int fd() const noexcept { return fd_; }

 private:
  // Errors of close are not reported: whoever wrote data checked it with fdatasync first.
  void Close() noexcept {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }

  int fd_;
};

}  // namespace storageio_port
