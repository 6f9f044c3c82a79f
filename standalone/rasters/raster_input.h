#pragma once

#include <cpl_string.h>
#include <gdal_priv.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "standalone/rasters/data_modes.h"
#include "standalone/rasters/grid.h"
#include "standalone/rasters/no_data.h"
#include "standalone/rasters/uncompressed_rows.h"

namespace lumomixcalc::standalone {

// How the elements of inputs are to be understood.
struct ElementRules {
  bool keepNoData = false;       // no data stays numbers
  std::optional<double> noData;  // what is no data in all bands, in place of what they declare
  bool unscale = false;          // the scale and offset that a band declares are applied
  bool operator==(const ElementRules&) const = default;
};

// An input raster, read in strips of whole rows as single-precision floats, complex data as pairs.
class RasterInput {
 public:
  // Opens a raster by whatever name GDAL takes, with options for its driver, NAME=VALUE; label is
  // the stream's, for messages. Throws Failure.
  RasterInput(const std::string& label, const std::string& name,
              const std::vector<std::string>& openOptions);

  int Columns() const { return dataset_->GetRasterXSize(); }
  int Rows() const { return dataset_->GetRasterYSize(); }
  int Bands() const { return dataset_->GetRasterCount(); }

  // Complex when any of the bands is.
  const DataMode& Mode() const { return *mode_; }

  // Floats that an element takes: two when it is complex.
  int Parts() const { return Mode().complex ? 2 : 1; }

  // "name (label)".
  std::string Describe() const { return name_ + " (" + label_ + ")"; }

  // Chooses what Read reads and prepares for it. Unless the rules keep no data, elements that are
  // no data, by their value or by the band's mask, are read as NaN, and coarser pixels are made of
  // the others. May open the raster once more. Throws Failure when it lacks what the resampling
  // needs.
  void Select(const OutputGrid& grid, Resampling resampling, const std::vector<int>& bands,
              const ElementRules& rules);

  // Reads rows of the grid of a band into out, which has room for the grid's columns times rows
  // elements. Valid after Select, for its bands; reading from top to bottom is fastest. Values
  // beyond a float's range become infinities. Throws Failure.
  void Read(int band, int firstRow, int rows, float* out);

  // What was lost of the elements that were read, one sentence each: digits beyond single
  // precision, with the first example found; a scale or offset that a band declares.
  std::vector<std::string> Losses() const;

  std::optional<double> NoData(int band) const {
    return DeclaredNoData(*dataset_->GetRasterBand(band));
  }

  // Whether a mask, or an alpha band, says which elements of a band are no data.
  bool HasMask(int band) const;

  // Where a strip of rows from first, with end its limit, should end so that a file of several
  // bands decodes no block twice: at the last end of a row of blocks inside, else at end.
  int StripEnd(int first, int end) const;

  // What GDAL's block cache must hold so that reading all bands of strips of so many rows decodes
  // nothing twice, in bytes.
  std::int64_t CacheBytes(int stripRows) const;

  // The raster at full resolution, with all that it says of itself.
  GDALDataset& Dataset() { return *dataset_; }

 private:
  GDALDatasetUniquePtr Open(const char* overviewLevel) const;
  void OpenOverview();
  GDALDataset& Pixels() const { return *(resampled_ ? resampled_ : dataset_); }
  std::size_t Floats(int columns, int rows) const {
    return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows) *
           static_cast<std::size_t>(Parts());
  }
  PixelWindow SourceOf(const PixelWindow& wanted) const;
  void ReadElements(int band, const PixelWindow& window, int columns, int rows, float* out);
  void ApplyMask(int band, const PixelWindow& window, int columns, int rows, float* out);
  void Unscale(int number, std::span<float> elements) const;
  void Transfer(int band, const PixelWindow& window, int columns, int rows, void* out,
                GDALDataType type);
  void FindLostDigits(int band, const PixelWindow& window, int columns, int rows,
                      const float* elements);
  void Resample(const PixelWindow& source, const PixelWindow& wanted, int rows, float* out);
  void FindRawFile();
  void RefuseShortFile() const;

  std::string label_;
  std::string name_;
  CPLStringList openOptions_;
  GDALDatasetUniquePtr dataset_;
  GDALDatasetUniquePtr resampled_;  // the same opened for a coarser resolution
  const DataMode* mode_ = nullptr;
  OutputGrid grid_;
  const ResamplingMethod* interpolation_ = nullptr;  // how full resolution is made coarser here
  std::vector<int> bands_;
  ElementRules rules_;
  std::map<int, double> masked_;  // no-data values to be masked, by band
  std::unique_ptr<UncompressedRows> uncompressedRows_;
  std::string rawFile_;        // of a raw file, its name
  std::int64_t rawBytes_ = 0;  // and the bytes that its header claims
  std::vector<float> full_;    // full resolution, to be made coarser
  std::vector<std::uint8_t> mask_;
  std::vector<double> exact_;  // elements in double precision
  std::string lostDigits_;     // an example
};

}  // namespace lumomixcalc::standalone
