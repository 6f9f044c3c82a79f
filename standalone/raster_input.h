#ifndef LUMOMIXCALC_STANDALONE_RASTER_INPUT_H
#define LUMOMIXCALC_STANDALONE_RASTER_INPUT_H

#include <gdal_priv.h>

#include <cstdint>
#include <string>

#include "standalone/data_modes.h"

namespace lumomixcalc::standalone {

/// An input raster, read in strips of whole rows as single-precision floats, complex data as pairs.
class RasterInput {
 public:
  /// Opens a raster by whatever name GDAL takes; label is the stream's, for messages. Throws
  /// Failure.
  RasterInput(const std::string& label, const std::string& name);

  int Columns() const { return dataset_->GetRasterXSize(); }
  int Rows() const { return dataset_->GetRasterYSize(); }
  int Bands() const { return dataset_->GetRasterCount(); }

  /// Complex when any of the bands is.
  const DataMode& Mode() const { return *mode_; }

  /// "name (label)".
  std::string Describe() const { return name_ + " (" + label_ + ")"; }

  /// Reads rows of a band (from 1) into out: Columns() * rows elements. Values beyond a float's
  /// range become infinities. Throws Failure.
  void Read(int band, int firstRow, int rows, float* out);

  GDALDataset& Dataset() { return *dataset_; }

 private:
  std::string label_;
  std::string name_;
  GDALDatasetUniquePtr dataset_;
  const DataMode* mode_ = nullptr;
};

/// Bytes of memory that one row of a dataset's blocks takes in GDAL's cache, all bands together.
std::int64_t BlockRowBytes(GDALDataset& dataset);

}  // namespace lumomixcalc::standalone

#endif
