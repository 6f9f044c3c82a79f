#pragma once

#include <gdal_priv.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "standalone/rasters/data_modes.h"
#include "standalone/rasters/output_format.h"
#include "standalone/rasters/publication.h"
#include "standalone/rasters/uncompressed_rows.h"

namespace lumomixcalc::standalone {

// The raster that a run is to write.
struct OutputPlan {
  std::filesystem::path target;  // from ResolveOutput
  OutputFormat format;
  const DataMode* mode = nullptr;
  std::vector<std::string> creationOptions;
  int columns = 0;
  int rows = 0;
  int bands = 0;
  bool overwrite = false;
  std::vector<InputFiles> inputs;
  std::filesystem::path statisticsFile;        // empty for none
  std::function<void(GDALDataset&)> describe;  // writes the output's georeferencing and metadata
  // The file is on the disk before it gets its name. A plain sum takes 1.6 times as long with it.
  bool toDisk = false;

  // Throws Failure: "cannot write TARGET: REASON".
  [[noreturn]] void Fail(const std::string& reason) const;
};

// Makes a small raster like the output under the name of a file. Throws Failure when a format that
// can only copy a whole raster refuses it, which it would otherwise do only at the end.
void MakeTrial(const OutputPlan& plan, const std::string& file);

// The items of a band's metadata that hold its statistics. GDAL reads them only when the first four
// are there.
inline constexpr std::array<const char*, 5> kStatisticsItems = {
    "STATISTICS_MINIMUM", "STATISTICS_MAXIMUM", "STATISTICS_MEAN", "STATISTICS_STDDEV",
    "STATISTICS_VALID_PERCENT"};

// What the rows of a band amount to, from top to bottom, to compare them without keeping them.
struct RowDigest {
  std::size_t hash = 0;
  std::uint64_t nans = 0;

  void Add(const void* row, int columns, GDALDataType type);
  bool operator==(const RowDigest&) const = default;
};

// The values that a format did not store exactly, such as text with few digits, or JPEG.
struct Changes {
  bool any = false;
  std::uint64_t count = 0;  // if it is known
  double from = 0;          // the first one
  double to = 0;
};

// Reads a complete output back. Checks that it opens with the size, the bands and, unless it is a
// copy, a type of the plan, and that its elements can be read. Compares all of them with the
// original if it is a copy, else with the digests by band of what was written. Without both, reads
// the last row only. Warns when the file lacks what `wanted` declares: georeferencing, the no-data
// value, the metadata of the run. Throws Failure.
Changes ReadBack(const std::filesystem::path& file, const OutputPlan& plan, GDALDataset& wanted,
                 GDALDataset* original, const std::vector<RowDigest>& digests);

// The output raster, written in strips of whole rows in a hidden folder next to its place. Unless
// Publish succeeds, nothing of it is left and an existing file stays as it was.
class RasterOutput {
 public:
  // Creates the raster in the hidden folder and describes it. Also throws Failure for problems that
  // would otherwise appear only at the end: a format that cannot hold these bands, or existing
  // files in the places of the output's files.
  explicit RasterOutput(const OutputPlan& plan);

  // Declares the no-data value of all bands. From now on NaN is stored as this value.
  void DeclareNoData(double value);

  int BlockRows() const { return blockRows_; }

  // Writes whole rows of a band. Adds to altered what the output cannot hold. Throws Failure.
  void Write(int band, int firstRow, ConstElements elements, AlteredElements& altered);

  // Writes the blocks up to endRow from GDAL's cache to the file, if a row of blocks ends there.
  // Then GDAL can use their memory for other blocks: the cache does not write the blocks of one
  // file to make room for those of another. Throws Failure.
  void WriteCompleteBlocks(int endRow);

  // The bytes that GDAL's block cache must hold so that no block is written twice when strips of so
  // many rows are written.
  std::int64_t CacheBytes(int stripRows) const;

  // Changes metadata of the output. Throws Failure when that cannot be written. If the file is
  // complete, it is opened again; one that cannot be changed then stays as it is.
  void Change(const std::function<void(GDALDataset&)>& change);

  // Completes the file and reads it back to check that it is whole. Warns of what it does not hold.
  // Throws Failure, and Cancelled when a stop is requested.
  void Complete(const std::stop_token& stop);

  // Moves the complete file to its place. Throws Failure, and Cancelled when a stop is requested
  // before that.
  void Publish(const std::stop_token& stop);

 private:
  void Create(const OutputFormat& format, const std::vector<std::string>& options);
  void CheckPlaces();
  void LayOutRows();
  void WriteFile(const std::stop_token& stop);
  void Close(GDALDatasetUniquePtr dataset);
  void WriteToDisk();
  [[noreturn]] void FailToWrite(const std::string& reason);

  OutputPlan plan_;
  Publication publication_;
  std::filesystem::path file_;      // the output file in the hidden folder
  std::filesystem::path workFile_;  // what is written first: file_, or a TIFF that is then copied
  int blockRows_ = 1;
  std::optional<double> noData_;
  GDALDatasetUniquePtr dataset_;  // after publication_: closed before the folder is removed
  std::unique_ptr<UncompressedRows> uncompressedRows_;
  std::vector<float> replaced_;
  std::vector<std::byte> converted_;
  std::vector<RowDigest> digests_;  // by band, if the elements are compared when they are read back
};

}  // namespace lumomixcalc::standalone
