#include "standalone/rasters/scratch_rows.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "standalone/messages.h"

namespace lumomixcalc::standalone {
namespace {

[[noreturn]] void Fail(const char* what) {
  throw Failure(std::string("cannot ") + what +
                " a scratch file for a row of blocks: " + std::strerror(errno));
}

int UnnamedFile(const std::filesystem::path& folder) {
  std::string pattern = (folder / ".lumomixcalc-rows-XXXXXX").string();
  const int file = mkostemp(pattern.data(), O_CLOEXEC);
  if (file < 0) Fail("make");
  unlink(pattern.c_str());
  return file;
}

off_t Place(std::size_t row, std::size_t rowBytes, std::size_t offset) {
  return static_cast<off_t>(row * rowBytes + offset);
}

}  // namespace

ScratchRows::ScratchRows(std::size_t rows, std::size_t rowBytes, ScratchSpace& space)
    : rowBytes_(rowBytes) {
  const auto bytes = static_cast<std::int64_t>(rows * rowBytes);
  if (space.folder.empty() || bytes <= space.memoryLeft) {
    space.memoryLeft -= bytes;
    memory_.resize(rows * rowBytes);
  } else {
    file_ = UnnamedFile(space.folder);
  }
}

ScratchRows::~ScratchRows() {
  if (file_ >= 0) close(file_);
}

void ScratchRows::Write(std::size_t row, std::size_t offset, const void* from, std::size_t bytes) {
  if (InMemory()) {
    std::memcpy(memory_.data() + row * rowBytes_ + offset, from, bytes);
    return;
  }
  const char* next = static_cast<const char*>(from);
  for (off_t place = Place(row, rowBytes_, offset); bytes > 0;) {
    const ssize_t written = pwrite(file_, next, bytes, place);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) Fail("write");
    next += written;
    place += written;
    bytes -= static_cast<std::size_t>(written);
  }
}

void ScratchRows::Read(std::size_t row, std::size_t offset, void* to, std::size_t bytes) const {
  if (InMemory()) {
    std::memcpy(to, memory_.data() + row * rowBytes_ + offset, bytes);
    return;
  }
  char* next = static_cast<char*>(to);
  for (off_t place = Place(row, rowBytes_, offset); bytes > 0;) {
    const ssize_t read = pread(file_, next, bytes, place);
    if (read < 0 && errno == EINTR) continue;
    if (read <= 0) Fail("read");
    next += read;
    place += read;
    bytes -= static_cast<std::size_t>(read);
  }
}

}  // namespace lumomixcalc::standalone
