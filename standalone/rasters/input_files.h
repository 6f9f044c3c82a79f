#pragma once

#include <gdal_priv.h>
#include <sys/types.h>

#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace lumomixcalc::standalone {

// The device, the inode, the size and the time of change, in seconds and nanoseconds, of a file.
// Zeros for anything but a regular file.
using FileState = std::tuple<dev_t, ino_t, off_t, time_t, long>;

// An input and all files that it consists of, such as headers, the sources of a VRT at all levels,
// and the archive that holds a file.
struct InputFiles {
  // Adds the file of this name. Call this before GDAL opens it, so that a file that is replaced in
  // the meantime counts as changed.
  explicit InputFiles(const std::string& input);

  // Adds the files behind the raster that GDAL opened under the input's name. Throws Failure when
  // one of them is shorter than its header claims.
  void Find(GDALDataset& raster);

  // Throws Failure, which names the file, when the size, the time of change or the inode of a file
  // is no longer what it was when the file was added.
  void RefuseChanges() const;

  // Whether VRTs behind both inputs name the same source. GDAL opens it once for both of them, and
  // two threads that read through one dataset, or one handle of a raw file, get each other's
  // elements.
  bool ShareSource(const InputFiles& other) const;

  std::string name;
  std::vector<std::string> files;
  std::vector<FileState> states;  // of files, in the same order
  std::set<std::string> sources;  // of VRTs, by the names that GDAL opens
};

}  // namespace lumomixcalc::standalone
