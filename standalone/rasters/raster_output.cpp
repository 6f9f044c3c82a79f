#include "standalone/rasters/raster_output.h"

#include <cpl_string.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <span>
#include <system_error>

#include "standalone/base/messages.h"
#include "standalone/rasters/disk_space.h"
#include "standalone/rasters/gdal_library.h"
#include "standalone/rasters/output_check.h"
#include "standalone/rasters/tiff_creation.h"

namespace lumomixcalc::standalone {
namespace fs = std::filesystem;
namespace {

CPLStringList CreationOptions(const OutputSpecification& specification) {
  CPLStringList options;
  for (const std::string& option : specification.creationOptions) options.AddString(option.c_str());
  return options;
}

}  // namespace

RasterOutput::RasterOutput(const OutputSpecification& specification)
    : specification_(specification),
      publication_(specification.target, specification.overwrite, specification.inputs),
      file_(publication_.Folder() / specification.target.filename()),
      workFile_(specification.format.copiesOnly ? publication_.Folder() / ".uncopied.tif" : file_),
      unheld_(static_cast<std::size_t>(specification.bands)) {
  const bool copies = specification_.format.copiesOnly;
  GDALDriver& driver =
      copies ? *GetGDALDriverManager()->GetDriverByName("GTiff") : *specification_.format.driver;
  CPLStringList options = copies ? CPLStringList() : CreationOptions(specification_);
  if (EQUAL(driver.GetDescription(), "GTiff")) options = WithBigTiff(options);
  Create(driver, options);
  if (const int encoders = IsTiff(*dataset_) ? UsefulEncoders(*dataset_, options) : 0; encoders > 1)
    Create(driver, options.SetNameValue("NUM_THREADS", std::to_string(encoders).c_str()));
  if (!copies && HasPlainRows(*dataset_) && OnlyLayOut(specification_.creationOptions))
    LayOutRows();
}

void RasterOutput::Create(GDALDriver& driver, const CPLStringList& options) {
  const GdalFailures failures;
  dataset_.reset();
  dataset_.reset(driver.Create(workFile_.c_str(), specification_.columns, specification_.rows,
                               specification_.bands, specification_.mode->type,
                               CPLStringList(options).List()));
  if (!dataset_ || failures.Any()) FailToWrite(failures.First());
  int blockColumns = 0;
  dataset_->GetRasterBand(1)->GetBlockSize(&blockColumns, &blockRows_);
}

// A new TIFF of uncompressed strips is laid out by GDAL when it is closed, its elements a hole in
// the file. With the places of its rows known it needs GDAL no more until its statistics are set.
void RasterOutput::LayOutRows() {
  Close();
  const GdalFailures failures;
  dataset_.reset(
      GDALDataset::Open(file_.c_str(), GDAL_OF_RASTER | GDAL_OF_UPDATE | GDAL_OF_VERBOSE_ERROR));
  if (!dataset_) FailToWrite(failures.First());
  std::vector<int> bands(static_cast<std::size_t>(specification_.bands));
  std::iota(bands.begin(), bands.end(), 1);
  uncompressedRows_ =
      UncompressedRows::Open(*dataset_, bands, {0, 0, specification_.columns, specification_.rows});
  if (!uncompressedRows_) return;
  if (const std::string reason = ReserveSpace(file_); !reason.empty()) FailToWrite(reason);
}

bool RasterOutput::DeclareNoData(double value) {
  const GdalFailures failures;
  for (GDALRasterBand* const band : dataset_->GetBands()) band->SetNoDataValue(value);
  if (specification_.mode->integer) noData_ = value;
  return !failures.Any();
}

void RasterOutput::FlushCompleteBlocks(int endRow) {
  // GDAL's cache evicts written blocks only for others of the same file: left to themselves they
  // crowd out the blocks of the inputs.
  if (uncompressedRows_ || (endRow % blockRows_ != 0 && endRow != specification_.rows)) return;
  const GdalFailures failures;
  for (GDALRasterBand* const band : dataset_->GetBands()) band->FlushCache(false);
  if (failures.Any()) FailToWrite(failures.First());
}

std::int64_t RasterOutput::CacheBytes(int stripRows) const {
  // Between two flushes a strip of each band is in the cache, whole blocks of it.
  const std::int64_t rows = std::int64_t{stripRows} + blockRows_;
  if (uncompressedRows_) return 0;
  return rows * specification_.columns * specification_.bands *
         GDALGetDataTypeSizeBytes(specification_.mode->type);
}

void RasterOutput::Write(int band, int firstRow, int rows, const float* values) {
  const DataMode& mode = *specification_.mode;
  const std::size_t elements =
      static_cast<std::size_t>(specification_.columns) * static_cast<std::size_t>(rows);
  // GDAL only reads from the buffer when it writes.
  void* buffer = const_cast<float*>(values);
  const GDALDataType type = mode.complex ? GDT_CFloat32 : GDT_Float32;
  if (mode.type != type) {
    converted_.resize(elements * static_cast<std::size_t>(GDALGetDataTypeSizeBytes(mode.type)));
    buffer = converted_.data();
    if (mode.integer)
      StoreAsIntegers(std::span(values, elements * (mode.complex ? 2 : 1)), mode, noData_, buffer,
                      unheld_[static_cast<std::size_t>(band) - 1]);
    else
      GDALCopyWords64(values, type, GDALGetDataTypeSizeBytes(type), buffer, mode.type,
                      GDALGetDataTypeSizeBytes(mode.type), static_cast<GPtrDiff_t>(elements));
  }
  if (uncompressedRows_) {
    const std::string reason = uncompressedRows_->Write(band, firstRow, rows, buffer);
    return reason.empty() ? void() : FailToWrite(reason);
  }
  const GdalFailures failures;
  if (dataset_->GetRasterBand(band)->RasterIO(GF_Write, 0, firstRow, specification_.columns, rows,
                                              buffer, specification_.columns, rows, mode.type, 0, 0,
                                              nullptr) != CE_None ||
      failures.Any())
    FailToWrite(failures.First());
}

void RasterOutput::Publish(const std::stop_token& stop) {
  if (specification_.format.copiesOnly)
    CopyToFormat(stop);
  else
    Close();
  if (const std::string fault = FaultOfFile(file_, specification_); !fault.empty())
    FailToWrite(fault);
  if (stop.stop_requested()) throw Cancelled();
  publication_.Publish();
}

void RasterOutput::CopyToFormat(const std::stop_token& stop) {
  const GDALProgressFunc goesOn = [](double, const char*, void* argument) {
    return static_cast<const std::stop_token*>(argument)->stop_requested() ? FALSE : TRUE;
  };
  const GdalFailures failures;
  dataset_->FlushCache(false);
  GDALDatasetUniquePtr copy(specification_.format.driver->CreateCopy(
      file_.c_str(), dataset_.get(), FALSE, CreationOptions(specification_).List(), goesOn,
      const_cast<std::stop_token*>(&stop)));
  if (stop.stop_requested()) throw Cancelled();
  if (!copy || failures.Any()) FailToWrite(failures.First());
  dataset_ = std::move(copy);
  Close();
  std::error_code ignored;
  fs::remove(workFile_, ignored);
  fs::remove(workFile_.string() + ".aux.xml", ignored);
}

void RasterOutput::Close() {
  const GdalFailures failures;
  dataset_->FlushCache(true);
  dataset_.reset();
  if (failures.Any()) FailToWrite(failures.First());
}

void RasterOutput::FailToWrite(const std::string& reason) const {
  throw Failure("cannot write " + specification_.target.string() + ": " +
                (reason.empty() ? "GDAL does not say why" : reason));
}

}  // namespace lumomixcalc::standalone
