#pragma once

#include <gdal_priv.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "standalone/rasters/no_data.h"
#include "standalone/rasters/output_format.h"
#include "standalone/rasters/publication.h"
#include "standalone/rasters/uncompressed_rows.h"

namespace lumomixcalc::standalone {

// The raster that a run is to write.
struct OutputSpecification {
  std::filesystem::path target;  // as ResolveOutput gives it
  OutputFormat format;
  const DataMode* mode = nullptr;
  std::vector<std::string> creationOptions;
  int columns = 0;
  int rows = 0;
  int bands = 0;
  bool overwrite = false;
  std::vector<InputFiles> inputs;
};

// The output raster, written in strips of whole rows in a temporary folder beside its place.
// Unless Publish is reached, nothing of it is left and a file that was there stays as it was.
class RasterOutput {
 public:
  // Creates the raster in its folder. Throws Failure also for what would go wrong only at the end:
  // a format that takes no such bands, files in the places of those that come with the output.
  explicit RasterOutput(const OutputSpecification& specification);

  // Declares value as the no-data value of all bands; NaN is stored as it from now on.
  // Returns false when the format cannot hold it.
  bool DeclareNoData(double value);

  int BlockRows() const { return blockRows_; }

  // Throws Failure.
  void Write(int band, int firstRow, int rows, const float* values);

  // Writes the blocks that end at endRow from GDAL's cache to the file. Their memory then serves
  // for other blocks: by itself the cache never writes blocks of one file to make room for
  // another's. Throws Failure.
  void WriteCompleteBlocks(int endRow);

  // What GDAL's block cache must hold so that writing strips of so many rows writes nothing twice,
  // in bytes.
  std::int64_t CacheBytes(int stripRows) const;

  // What a band's integer mode could not hold of what was written.
  const UnheldElements& Unheld(int band) { return unheld_[band]; }

  // Completes the file, reads it back as far as to know that it is whole, and gives it its name.
  // Throws Failure, and Cancelled when stop asks for it before the file has its name.
  void Publish(const std::stop_token& stop);

  GDALDataset& Dataset() { return *dataset_; }

 private:
  void Create(const OutputFormat& format, const std::vector<std::string>& options);
  void LayOutRows();
  GDALDatasetUniquePtr CopyToFormat(const std::stop_token& stop);
  void Close();
  [[noreturn]] void FailToWrite(const std::string& reason);

  OutputSpecification specification_;
  Publication publication_;
  std::filesystem::path file_;      // inside the folder
  std::filesystem::path workFile_;  // what is written first; the file itself unless it is a copy
  int blockColumns_ = 1;
  int blockRows_ = 1;
  int blocksWritten_ = 0;  // by WriteCompleteBlocks, counted down a column
  std::optional<double> noData_;
  GDALDatasetUniquePtr dataset_;  // closed before the folder goes
  std::unique_ptr<UncompressedRows> uncompressedRows_;
  std::vector<float> replaced_;
  std::vector<std::byte> converted_;
  std::map<int, UnheldElements> unheld_;  // by band
};

}  // namespace lumomixcalc::standalone
