#include "standalone/rasters/disk_space.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <vector>

#include "standalone/rasters/file_bytes.h"

namespace lumomixcalc::standalone {

std::string ReserveSpace(const std::filesystem::path& file) {
  const FileDescriptor descriptor(open(file.c_str(), O_WRONLY | O_CLOEXEC));
  struct stat status = {};
  if (!descriptor.IsOpen() || fstat(descriptor.Get(), &status) != 0) return "";
  if (fallocate(descriptor.Get(), 0, 0, status.st_size) == 0) return "";
  const bool full = errno == ENOSPC || errno == EDQUOT || errno == EFBIG;
  return full ? std::strerror(errno) : "";
}

std::string TryToGrow(const std::filesystem::path& file) {
  // As much as a writer may have had in its buffer, at least.
  constexpr std::size_t kBuffer = 1 << 16;
  const FileDescriptor descriptor(open(file.c_str(), O_WRONLY | O_CLOEXEC));
  struct stat status = {};
  if (!descriptor.IsOpen() || fstat(descriptor.Get(), &status) != 0) return "";
  const std::vector<std::byte> bytes(kBuffer);
  const bool grows = WriteAt(descriptor.Get(), bytes.data(), bytes.size(), status.st_size);
  const int error = errno;
  if (ftruncate(descriptor.Get(), status.st_size) != 0) return std::strerror(errno);
  return grows ? "" : std::strerror(error);
}

}  // namespace lumomixcalc::standalone
