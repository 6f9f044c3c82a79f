#ifndef LUMOMIXCALC_STANDALONE_RASTERS_FILE_BYTES_H
#define LUMOMIXCALC_STANDALONE_RASTERS_FILE_BYTES_H

#include <cstddef>
#include <cstdint>

namespace lumomixcalc::standalone {

// A file descriptor that is closed with its owner; negative when there is none.
class FileDescriptor {
 public:
  explicit FileDescriptor(int descriptor = -1) : descriptor_(descriptor) {}
  ~FileDescriptor();
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  int Get() const { return descriptor_; }
  bool IsOpen() const { return descriptor_ >= 0; }

 private:
  int descriptor_;
};

// Reads bytes from a place of a file; however often the system interrupts. Returns how many there
// were before the file's end, or -1 with errno set.
std::int64_t ReadAt(int file, void* to, std::size_t bytes, std::int64_t place);

// Writes all bytes to a place of a file. Returns false with errno set when not all can be written.
bool WriteAt(int file, const void* from, std::size_t bytes, std::int64_t place);

}  // namespace lumomixcalc::standalone

#endif
