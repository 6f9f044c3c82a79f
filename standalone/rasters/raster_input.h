#pragma once

#include <cpl_string.h>
#include <gdal_priv.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "standalone/base/elements.h"
#include "standalone/rasters/data_modes.h"
#include "standalone/rasters/grid.h"
#include "standalone/rasters/uncompressed_rows.h"

namespace lumomixcalc::standalone {

// How the elements of the inputs are interpreted.
struct ElementRules {
  bool keepNoData = false;       // no-data values are ordinary numbers
  std::optional<double> noData;  // the no-data value of all bands, in place of the declared ones
  bool unscale = false;          // apply the scale and offset that a band declares
  bool operator==(const ElementRules&) const = default;
};

// A raster in memory: pixel after pixel, an element of this type for each band. It does not own the
// elements, and nothing may write to it.
GDALDatasetUniquePtr MemoryDataset(const float* elements, int columns, int rows, GDALDataType type,
                                   int bands = 1);

// An input raster, read in strips of whole rows as single-precision floats, complex data as pairs.
class RasterInput {
 public:
  // Opens a raster by any name that GDAL understands, with NAME=VALUE options for its driver. A
  // dataset that is given is read in its place, at full resolution only. label is the stream's
  // label, for messages. Throws Failure.
  RasterInput(const std::string& label, const std::string& name,
              const std::vector<std::string>& openOptions, GDALDatasetUniquePtr dataset = nullptr);

  int Columns() const { return dataset_->GetRasterXSize(); }
  int Rows() const { return dataset_->GetRasterYSize(); }
  int Bands() const { return dataset_->GetRasterCount(); }

  // Complex when any of the bands is.
  const DataMode& Mode() const { return *mode_; }

  // Floats per element.
  int Parts() const { return Mode().Parts(); }

  // "name (label)".
  std::string Describe() const { return name_ + " (" + label_ + ")"; }

  // A sentence about the images of the file that are not read because the name is that of the file
  // alone, and how to name them. Empty when there are none.
  std::string PassedOver() const;

  // Makes all inputs that were told so read with GDAL one at a time.
  void ReadByTurns() { byTurns_ = true; }

  // Chooses what Read reads and prepares for it. Unless the rules say keepNoData, elements that are
  // no data, by their value or by the band's mask, are read as NaN, and coarser pixels are computed
  // from the other elements. May open the raster once more. Throws Failure when the raster has no
  // overview that the resampling needs.
  void Select(const OutputGrid& grid, Resampling resampling, const std::vector<int>& bands,
              const ElementRules& rules);

  // Reads rows of the grid from a band into out, which has room for the grid's columns times rows
  // elements. Valid after Select, for the bands chosen there. Reading from top to bottom is
  // fastest. Elements are rounded to the nearest float. Throws Failure.
  void Read(int band, int firstRow, int rows, float* out);

  // What was lost in the elements read so far, one sentence each: digits beyond single precision,
  // with the first example found, and a scale or offset that was not applied.
  std::vector<std::string> Losses() const;

  std::optional<double> NoData(int band) const {
    return DeclaredNoData(*dataset_->GetRasterBand(band));
  }

  // Whether a mask or an alpha band marks the elements of a band that are no data.
  bool HasMask(int band) const;

  // Where a strip of the rows from first to end should end, so that no block of a file with several
  // bands is decoded twice: at the last boundary between rows of blocks in the strip. Without such
  // a boundary, at end.
  int StripEnd(int first, int end) const;

  // The bytes that GDAL's block cache must hold so that no block is decoded twice when all bands
  // are read in strips of so many rows.
  std::int64_t CacheBytes(int stripRows) const;

  // The raster at full resolution, with its metadata.
  GDALDataset& Dataset() { return *dataset_; }

 private:
  GDALDatasetUniquePtr Open(const char* overviewLevel) const;
  void OpenOverview();
  GDALDataset& Pixels() const { return *(resampled_ ? resampled_ : dataset_); }
  PixelWindow SourceOf(const PixelWindow& wanted) const;
  Elements FullResolution(int columns, int rows);
  std::optional<double> MaskedValue(int band) const;
  void ReadElements(int band, const PixelWindow& window, const Elements& out);
  void ApplyMask(int band, const PixelWindow& window, const Elements& elements);
  std::string ReadByGdal(GDALRasterBand& band, const PixelWindow& window, const Elements& size,
                         void* out, GDALDataType type) const;
  void Unscale(int number, const Elements& elements) const;
  void Transfer(int band, const PixelWindow& window, const Elements& size, void* out,
                GDALDataType type);
  template <typename Exact>
  void ReadRounded(int band, const PixelWindow& window, const Elements& out, GDALDataType type);
  void ReadNearest(int band, const PixelWindow& wanted, const Elements& out);
  void Resample(const Elements& full, const PixelWindow& source, const PixelWindow& wanted,
                const Elements& out);

  std::string label_;
  std::string name_;
  CPLStringList openOptions_;
  GDALDatasetUniquePtr dataset_;
  bool byTurns_ = false;
  GDALDatasetUniquePtr resampled_;  // the same raster, opened for a coarser resolution
  const DataMode* mode_ = nullptr;
  OutputGrid grid_;
  const ResamplingMethod* method_ = nullptr;  // that makes coarser pixels; null when they are read
  std::vector<int> bands_;
  ElementRules rules_;
  std::unique_ptr<UncompressedRows> uncompressedRows_;
  std::vector<float> full_;       // elements of full resolution
  std::vector<float> mask_;       // an alpha of 0.3 must not become zero
  std::vector<std::byte> exact_;  // elements before they are rounded to floats
  std::string lostDigits_;        // an example of a value that was rounded
};

}  // namespace lumomixcalc::standalone
