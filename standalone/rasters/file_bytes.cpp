#include "standalone/rasters/file_bytes.h"

#include <unistd.h>

#include <cerrno>

namespace lumomixcalc::standalone {

FileDescriptor::~FileDescriptor() {
  if (IsOpen()) close(descriptor_);
}

std::int64_t ReadAt(int file, void* to, std::size_t bytes, std::int64_t place) {
  std::size_t done = 0;
  while (done < bytes) {
    const ssize_t read = pread(file, static_cast<char*>(to) + done, bytes - done,
                               place + static_cast<std::int64_t>(done));
    if (read < 0 && errno == EINTR) continue;
    if (read < 0) return -1;
    if (read == 0) break;
    done += static_cast<std::size_t>(read);
  }
  return static_cast<std::int64_t>(done);
}

bool WriteAt(int file, const void* from, std::size_t bytes, std::int64_t place) {
  std::size_t done = 0;
  while (done < bytes) {
    const ssize_t written = pwrite(file, static_cast<const char*>(from) + done, bytes - done,
                                   place + static_cast<std::int64_t>(done));
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    done += static_cast<std::size_t>(written);
  }
  return true;
}

}  // namespace lumomixcalc::standalone
