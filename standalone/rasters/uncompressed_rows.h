#ifndef LUMOMIXCALC_STANDALONE_RASTERS_UNCOMPRESSED_ROWS_H
#define LUMOMIXCALC_STANDALONE_RASTERS_UNCOMPRESSED_ROWS_H

#include <gdal_priv.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "standalone/rasters/file_bytes.h"
#include "standalone/rasters/grid.h"

namespace lumomixcalc::standalone {

// Whether a raster was opened by the driver of TIFFs.
bool IsTiff(GDALDataset& dataset);

// Whether a raster is, by what GDAL tells of it, a TIFF of uncompressed strips in which no other
// band's elements stand between those of a row.
bool HasPlainRows(GDALDataset& dataset);

// Reads or writes a window of some bands of a raster whose file holds each row of a band in one
// piece, as it is in memory: uncompressed TIFFs in strips and raw files. Rows that follow each
// other in the file go with one call, straight from or to their place; GDAL would handle them one
// by one through buffers, and does not tell what could not be written.
class UncompressedRows {
 public:
  // For reading, or for writing too when the dataset is open for that. Null when the raster is not
  // like that, or no file of the local system.
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

  UncompressedRows(const std::string& file, bool writes, const PixelWindow& window);
  bool IsLittleEndianTiff() const;
  static Band BandOfOnePiece(GDALDataset& dataset, const GDALDataset::RawBinaryLayout& layout,
                             int band);
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
