// An open file descriptor, closed when the object goes.
#pragma once

#include <unistd.h>

namespace vornleads {

class FileDescriptor {
 public:
  // fd: what open() returned, -1 included (then valid() is false and errno still tells why).
  explicit FileDescriptor(int fd) : fd_(fd) {}
  ~FileDescriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }

 private:
  int fd_;
};

}  // namespace vornleads
