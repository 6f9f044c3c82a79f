#pragma once

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

bool IsTiff(GDALDataset& dataset);

// Reads or writes a window of some bands of a raster whose file holds each row of a band in one
// piece, as it is in memory: uncompressed TIFFs in strips and raw files. Rows that follow each
// other in the file are transferred by one call, without a buffer in between. GDAL would copy them
// one by one through buffers, and does not report failed writes.
class UncompressedRows {
 public:
  ~UncompressedRows() {
    if (file_ >= 0) close(file_);
  }
  UncompressedRows(const UncompressedRows&) = delete;
  UncompressedRows& operator=(const UncompressedRows&) = delete;

  // For reading, and for writing if the dataset is open for that. Returns null when the file has
  // another layout or is not a local file.
  static std::unique_ptr<UncompressedRows> Open(GDALDataset& dataset, const std::vector<int>& bands,
                                                const PixelWindow& window);

  // band is one of the bands given to Open, firstRow a row of the raster. Read converts the
  // elements to type; Write takes elements of the band's type. Both return the reason of a failure,
  // for a message, or an empty text.
  std::string Read(int band, int firstRow, int rows, void* out, GDALDataType type);
  std::string Write(int band, int firstRow, int rows, const void* values) const;

 private:
  // Where the rows of a band are.
  struct Band {
    GDALDataType type = GDT_Unknown;
    int stripRows = 1;
    std::int64_t rowStep = 0;
    std::vector<std::int64_t> stripPlaces;  // in bytes from the file's beginning

    std::int64_t Place(int row) const {
      return stripPlaces[static_cast<std::size_t>(row / stripRows)] + row % stripRows * rowStep;
    }
  };

  UncompressedRows(int file, const PixelWindow& window) : file_(file), window_(window) {}
  bool FindStrips(GDALDataset& dataset, const std::vector<int>& bands);
  std::string TransferRows(GDALRWFlag flag, const Band& band, int firstRow, int rows,
                           void* buffer) const;

  int file_;  // descriptor
  PixelWindow window_;
  std::map<int, Band> bands_;
  std::vector<std::byte> unconverted_;
};

}  // namespace lumomixcalc::standalone
