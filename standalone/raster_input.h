#ifndef LUMOMIXCALC_STANDALONE_RASTER_INPUT_H
#define LUMOMIXCALC_STANDALONE_RASTER_INPUT_H

#include <gdal_priv.h>

#include <cstdint>
#include <string>

#include "standalone/data_modes.h"
#include "standalone/output_grid.h"

namespace lumomixcalc::standalone {

// An input raster, read in strips of whole rows as single-precision floats, complex data as pairs.
class RasterInput {
 public:
  // Opens a raster by whatever name GDAL takes; label is the stream's, for messages. Throws
  // Failure.
  RasterInput(const std::string& label, const std::string& name);

  int Columns() const { return dataset_->GetRasterXSize(); }
  int Rows() const { return dataset_->GetRasterYSize(); }
  int Bands() const { return dataset_->GetRasterCount(); }

  // Complex when any of the bands is.
  const DataMode& Mode() const { return *mode_; }

  // Floats that an element takes: two when it is complex.
  int Parts() const { return Mode().complex ? 2 : 1; }

  // "name (label)".
  std::string Describe() const { return name_ + " (" + label_ + ")"; }

  // Chooses what Read reads; without it the whole at full resolution. May open the raster once
  // more. Throws Failure when the resampling cannot be had of this raster.
  void Select(const OutputGrid& grid, Resampling resampling);

  // Reads rows of the grid of a band (from 1) into out, which has room for the grid's columns times
  // rows elements. Values beyond a float's range become infinities. Throws Failure.
  void Read(int band, int firstRow, int rows, float* out);

  // The raster at full resolution, with all that it says of itself.
  GDALDataset& Dataset() { return *dataset_; }

  // The raster that Read reads.
  GDALDataset& Pixels() { return resampled_ ? *resampled_ : *dataset_; }

 private:
  GDALDatasetUniquePtr Open(const char* overviewLevel) const;
  void OpenOverview();

  std::string label_;
  std::string name_;
  GDALDatasetUniquePtr dataset_;
  GDALDatasetUniquePtr resampled_;  // the same opened for a coarser resolution
  const DataMode* mode_ = nullptr;
  OutputGrid grid_;
  Resampling resampling_ = Resampling::kNearest;
};

// Bytes of memory that one row of a dataset's blocks takes in GDAL's cache, all bands together.
std::int64_t BlockRowBytes(GDALDataset& dataset);

}  // namespace lumomixcalc::standalone

#endif
