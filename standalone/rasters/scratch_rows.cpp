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

}  // namespace

ScratchRows::ScratchRows(std::size_t rows, std::size_t rowBytes, ScratchSpace& space)
    : rowBytes_(rowBytes) {
  const auto bytes = static_cast<std::int64_t>(rows * rowBytes);
  if (space.folder.empty() || bytes <= space.memoryLeft) {
    space.memoryLeft -= bytes;
    memory_.resize(rows * rowBytes);
  } else {
    file_.emplace(UnnamedFile(space.folder));
  }
}

void ScratchRows::Write(std::size_t row, std::size_t offset, const void* from, std::size_t bytes) {
  const std::size_t place = row * rowBytes_ + offset;
  if (InMemory())
    std::memcpy(memory_.data() + place, from, bytes);
  else if (!WriteAt(file_->Get(), from, bytes, static_cast<std::int64_t>(place)))
    Fail("write");
}

void ScratchRows::Read(std::size_t row, std::size_t offset, void* to, std::size_t bytes) const {
  const std::size_t place = row * rowBytes_ + offset;
  if (InMemory())
    std::memcpy(to, memory_.data() + place, bytes);
  else if (ReadAt(file_->Get(), to, bytes, static_cast<std::int64_t>(place)) !=
           static_cast<std::int64_t>(bytes))
    Fail("read");
}

}  // namespace lumomixcalc::standalone
