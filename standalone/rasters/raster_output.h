#ifndef LUMOMIXCALC_STANDALONE_RASTERS_RASTER_OUTPUT_H
#define LUMOMIXCALC_STANDALONE_RASTERS_RASTER_OUTPUT_H

#include <cpl_string.h>
#include <gdal_priv.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "standalone/rasters/block_rows.h"
#include "standalone/rasters/integer_output.h"
#include "standalone/rasters/output_specification.h"
#include "standalone/rasters/temporary_folder.h"
#include "standalone/rasters/uncompressed_rows.h"
#include "standalone/runs/strip_processing.h"

namespace lumomixcalc::standalone {

// Where an output named path goes: symbolic links are followed, so that a link stays a link.
// Throws Failure when no file can be there, or when one is and overwrite is false.
std::filesystem::path ResolveOutput(const std::string& path, bool overwrite);

// The output raster, written in strips of whole rows in a temporary folder beside its place.
// Unless Publish is reached, nothing of it is left and a file that was there stays as it was.
class RasterOutput : public StripSink {
 public:
  // Creates the raster in its folder. Throws Failure also for what would go wrong only at the end:
  // a format that takes no such bands, files in the places of those that come with the output.
  explicit RasterOutput(const OutputSpecification& specification);

  // Declares value as the no-data value of all bands; integer modes store NaN as it from now on.
  // Returns false when the format cannot hold it.
  bool DeclareNoData(double value);

  // Prepares for Write, taking from space; to be called once, when nothing more is declared.
  void PrepareBlocks(ScratchSpace& space);

  // Brought back to the end of a row of the file's blocks where the strip reaches one, so that
  // blocks are complete.
  int AlignedEnd(int firstRow, int rows) const override;

  // Throws Failure.
  void Write(int band, int firstRow, int rows, const float* values,
             const std::stop_token& stop) override;

  // Hands the rows before endRow to the file when no block is left half filled there. Throws
  // Failure.
  void FlushCompleteBlocks(int endRow, const std::stop_token& stop) override;

  // What GDAL's block cache must hold so that writing strips of so many rows writes nothing twice,
  // in bytes.
  std::int64_t CacheBytes(int stripRows) const;

  // Where scratch files of the run may be.
  const std::filesystem::path& Folder() const { return folder_.Path(); }

  // What a band's integer mode could not hold of what was written.
  const UnheldElements& Unheld(int band) const {
    return unheld_.at(static_cast<std::size_t>(band) - 1);
  }

  // Completes the file, reads it back as far as to know that it is whole, and gives it its name.
  // Throws Failure, and RunCancelled when the observer says so before the file has its name.
  void Publish(RunObserver& observer);

  GDALDataset& Dataset() { return *dataset_; }

 private:
  void TryFormat() const;
  void Create(GDALDriver& driver, const CPLStringList& options);
  void LayOutRows();
  void CopyToFormat(RunObserver& observer);
  void Close();
  [[noreturn]] void FailToWrite(const std::string& reason) const;

  OutputSpecification specification_;
  TemporaryFolder folder_;
  std::filesystem::path file_;      // inside the folder
  std::filesystem::path workFile_;  // what is written first; the file itself unless it is a copy
  int blockRows_ = 1;
  std::optional<double> noData_;
  GDALDatasetUniquePtr dataset_;  // closed before the folder goes
  std::unique_ptr<UncompressedRows> uncompressedRows_;
  std::unique_ptr<BlockRowWriter> blockRowWriter_;
  std::vector<std::byte> converted_;
  std::vector<UnheldElements> unheld_;  // by band
};

}  // namespace lumomixcalc::standalone

#endif
