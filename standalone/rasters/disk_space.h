#ifndef LUMOMIXCALC_STANDALONE_RASTERS_DISK_SPACE_H
#define LUMOMIXCALC_STANDALONE_RASTERS_DISK_SPACE_H

#include <filesystem>
#include <string>

namespace lumomixcalc::standalone {

// Sets room on the disk aside for the holes of a file: a disk that is too full tells so at once,
// and what is written into them later is placed faster. Returns why it cannot be, for a message;
// empty when it could, or when the file system knows no such thing.
std::string ReserveSpace(const std::filesystem::path& file);

// Tries whether a file can become longer, which it cannot when there was no room for its last
// bytes, and leaves it as it was. Returns why it cannot, for a message; empty when it can, or is no
// file.
std::string TryToGrow(const std::filesystem::path& file);

}  // namespace lumomixcalc::standalone

#endif
