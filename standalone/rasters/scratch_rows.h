#ifndef LUMOMIXCALC_STANDALONE_RASTERS_SCRATCH_ROWS_H
#define LUMOMIXCALC_STANDALONE_RASTERS_SCRATCH_ROWS_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

#include "standalone/rasters/file_bytes.h"

namespace lumomixcalc::standalone {

// How much memory the rows of blocks of a run's files may take together, and where those go that
// find no room.
struct ScratchSpace {
  std::int64_t memoryLeft = 0;   // bytes
  std::filesystem::path folder;  // for unnamed files; empty: everything stays in memory
};

// Rows of bytes that are written in pieces and read in pieces: in memory while the space has room,
// else in a file without a name, which takes no memory of the process and is gone with it.
class ScratchRows {
 public:
  // Takes its memory from space. Throws Failure when no file can be made.
  ScratchRows(std::size_t rows, std::size_t rowBytes, ScratchSpace& space);

  bool InMemory() const { return !file_; }

  // The rows from this one on, one after the other in memory; only when they are there.
  std::byte* Memory(std::size_t row) { return memory_.data() + row * rowBytes_; }

  // Copies bytes to or from a row, from offset. Throw Failure.
  void Write(std::size_t row, std::size_t offset, const void* from, std::size_t bytes);
  void Read(std::size_t row, std::size_t offset, void* to, std::size_t bytes) const;

 private:
  std::size_t rowBytes_;
  std::vector<std::byte> memory_;
  std::optional<FileDescriptor> file_;
};

}  // namespace lumomixcalc::standalone

#endif
