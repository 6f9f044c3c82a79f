#ifndef LUMOMIXCALC_STANDALONE_RASTERS_UNCOMPRESSED_ROWS_H
#define LUMOMIXCALC_STANDALONE_RASTERS_UNCOMPRESSED_ROWS_H

#include <gdal_priv.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "standalone/rasters/grid.h"

namespace lumomixcalc::standalone {

// A file descriptor that is closed with its owner; negative when there is none.
class FileDescriptor {
 public:
  explicit FileDescriptor(int descriptor = -1) : descriptor_(descriptor) {}
  ~FileDescriptor() {
    if (IsOpen()) close(descriptor_);
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  int Get() const { return descriptor_; }
  bool IsOpen() const { return descriptor_ >= 0; }

 private:
  int descriptor_;
};

// Whether a raster was opened by the driver of TIFFs.
bool IsTiff(GDALDataset& dataset);

// Whether a raster is, as far as GDAL tells, a TIFF of uncompressed strips in which each row of a
// band is in one piece.
bool HasPlainRows(GDALDataset& dataset);

// Reads or writes a window of some bands of a raster whose file holds each row of a band in one
// piece, as it is in memory: uncompressed TIFFs in strips and raw files. Rows that follow each
// other in the file take one call, straight from or to their place; GDAL would copy them one by
// one through buffers, and does not report what could not be written.
class UncompressedRows {
 public:
  // For reading, or for writing too when the dataset is open for that. Null when the file has
  // another layout, is not on the local system, or is no longer the one that GDAL has open.
  static std::unique_ptr<UncompressedRows> Open(GDALDataset& dataset, const std::vector<int>& bands,
                                                const PixelWindow& window);

  // Reads rows of a band (one of those given) from firstRow of the raster into out, as elements of
  // type. Returns why it cannot, for a message; empty when it could.
  std::string Read(int band, int firstRow, int rows, void* out, GDALDataType type);

  // Writes rows of a band that has elements of just this type. Returns why it cannot.
  std::string Write(int band, int firstRow, int rows, const void* values) const;

 private:
  // Where the rows of a band are: row r at stripPlaces[r / stripRows] + r % stripRows * rowStep.
  struct Band {
    GDALDataType type = GDT_Unknown;
    int stripRows = 1;
    std::int64_t rowStep = 0;
    std::vector<std::int64_t> stripPlaces;  // in bytes from the file's beginning

    std::int64_t Place(int row) const;
  };

  // Elements of the window that stand together in the file.
  struct Run {
    int rows = 0;
    std::int64_t bytes = 0;
    std::int64_t place = 0;
  };

  UncompressedRows(int descriptor, const PixelWindow& window)
      : file_(descriptor), window_(window) {}
  static bool FindStrips(GDALRasterBand& band, Band& found);
  Run NextRun(const Band& band, int firstRow, int endRow) const;
  std::string ReadElements(const Band& band, int firstRow, int rows, std::byte* out) const;

  FileDescriptor file_;
  PixelWindow window_;
  std::map<int, Band> bands_;
  std::vector<std::byte> unconverted_;
};

}  // namespace lumomixcalc::standalone

#endif
