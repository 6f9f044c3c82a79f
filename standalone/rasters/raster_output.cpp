#include "standalone/rasters/raster_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <numeric>
#include <utility>

#include "standalone/base/messages.h"
#include "standalone/rasters/gdal_library.h"
#include "standalone/rasters/georeferencing.h"

namespace lumomixcalc::standalone {
namespace fs = std::filesystem;
namespace {

// Some drivers write the name under which a file was created at the start of a file: ENVI in its
// text header, PCIDSK in a header field. Replaces it by the final name.
void ReplaceNameAtHead(const fs::path& file, std::string made, std::string final) {
  std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
  constexpr std::streamsize kHeadBytes = 1024;
  std::string head(kHeadBytes, '\0');
  stream.read(head.data(), kHeadBytes);
  head.resize(static_cast<std::size_t>(stream.gcount()));
  // The field of PCIDSK is short: it holds only the beginning of a long name.
  while (head.find(made) == std::string::npos) made.pop_back();
  const std::size_t place = head.find(made);
  if (made.find("/.lumomixcalc-") == std::string::npos) return;
  stream.clear();
  stream.seekp(static_cast<std::streamoff>(place));
  final.resize(made.size(), ' ');  // it is shorter, and the rest of the file must not move
  stream.write(final.data(), static_cast<std::streamsize>(final.size()));
}

// A raster without elements that has the description of the output.
GDALDatasetUniquePtr DescribedZeros(const OutputPlan& plan, int columns, int rows) {
  GDALDatasetUniquePtr zeros(GetGDALDriverManager()->GetDriverByName("VRT")->Create(
      "", columns, rows, plan.bands, plan.mode->type, nullptr));
  plan.describe(*zeros);
  return zeros;
}

std::string CannotHold(const OutputPlan& plan) {
  return "the format " + plan.format.Name() + " cannot hold " +
         CountText(static_cast<unsigned>(plan.bands), "band") + " of " + plan.mode->name + " data";
}

}  // namespace

void OutputPlan::Fail(const std::string& reason) const {
  throw Failure("cannot write " + target.string() + ": " + reason);
}

void MakeTrial(const OutputPlan& plan, const std::string& file) {
  const GdalFailures failures;
  GDALDriver& driver = *plan.format.driver;
  const CPLStringList options = CreationOptions(plan.format, plan.creationOptions);
  if (!plan.format.CopiesOnly()) {
    constexpr int kSide = 16;  // failures are shown when the output itself has them
    const GDALDatasetUniquePtr made(
        driver.Create(file.c_str(), kSide, kSide, plan.bands, plan.mode->type, options.List()));
    return;
  }
  // Larger than a tile of COG, which then has overviews; if that does not help, as large as a tile
  // of SRTMHGT, the only other format that takes few sizes.
  for (const int side : {640, 3601}) {
    const GDALDatasetUniquePtr zeros =
        DescribedZeros(plan, std::min(plan.columns, side), std::min(plan.rows, side));
    const GDALDatasetUniquePtr copy(
        driver.CreateCopy(file.c_str(), zeros.get(), FALSE, options.List(), nullptr, nullptr));
    if (copy && copy->GetRasterCount() < plan.bands) plan.Fail(CannotHold(plan));
    if (copy) return;
  }
  plan.Fail(failures.First());
}

RasterOutput::RasterOutput(const OutputPlan& plan)
    : plan_(plan),
      publication_(plan.target, plan.overwrite, plan.inputs, plan.statisticsFile),
      file_(publication_.Folder() / plan.target.filename()),
      workFile_(plan.format.CopiesOnly() ? publication_.Folder() / ".uncopied.tif" : file_) {
  if (workFile_ != file_)
    Create({GetGDALDriverManager()->GetDriverByName("GTiff")}, {});
  else
    Create(plan_.format, plan_.creationOptions);
  CheckPlaces();
  const char* const interleave = dataset_->GetMetadataItem("INTERLEAVE", "IMAGE_STRUCTURE");
  if (workFile_ == file_ && IsTiff(*dataset_) && OnlyLayOut(plan_.creationOptions) && interleave &&
      EQUAL(interleave, "BAND"))
    LayOutRows();
  // The TIFF driver reports every failed write.
  if (workFile_ == file_ &&
      (plan_.format.Name() != "GTiff" || MayChangeValues(plan_.creationOptions)))
    digests_.resize(static_cast<std::size_t>(plan_.bands));
  plan_.describe(*dataset_);
}

// Checks the places of the files that a small raster like the output consists of.
void RasterOutput::CheckPlaces() {
  const fs::path folder = publication_.Folder() / ".trial";
  fs::create_directory(folder);
  MakeTrial(plan_, folder / plan_.target.filename());
  publication_.CheckPlaces(folder);
  fs::remove_all(folder);
}

void RasterOutput::Create(const OutputFormat& format, const std::vector<std::string>& options) {
  const DataMode& mode = *plan_.mode;
  const GdalFailures failures;
  dataset_.reset(format.driver->Create(workFile_.c_str(), plan_.columns, plan_.rows, plan_.bands,
                                       mode.type, CreationOptions(format, options).List()));
  if (!dataset_ || failures.Any()) FailToWrite(failures.First());
  if (dataset_->GetRasterCount() != plan_.bands ||
      dataset_->GetRasterBand(1)->GetRasterDataType() != mode.type)
    FailToWrite(CannotHold(plan_));
  int blockColumns = 0;
  dataset_->GetRasterBand(1)->GetBlockSize(&blockColumns, &blockRows_);
}

// When GDAL closes a new TIFF of uncompressed strips, it writes the positions of the strips, and
// the elements are a hole in the file. Then the rows are written without GDAL, which is needed
// again only to set the statistics.
void RasterOutput::LayOutRows() {
  Close(std::move(dataset_));
  const GdalFailures failures;
  dataset_.reset(
      GDALDataset::Open(file_.c_str(), GDAL_OF_RASTER | GDAL_OF_UPDATE | GDAL_OF_VERBOSE_ERROR));
  if (!dataset_) FailToWrite(failures.First());
  std::vector<int> bands(static_cast<std::size_t>(plan_.bands));
  std::iota(bands.begin(), bands.end(), 1);
  uncompressedRows_ = UncompressedRows::Open(*dataset_, bands, {0, 0, plan_.columns, plan_.rows});
}

void RasterOutput::DeclareNoData(double value) {
  for (GDALRasterBand* const band : dataset_->GetBands()) band->SetNoDataValue(value);
  noData_ = value;
}

void RasterOutput::WriteCompleteBlocks(int endRow) {
  if (uncompressedRows_ || endRow % blockRows_ != 0) return;
  Change([](GDALDataset& dataset) {
    for (GDALRasterBand* const band : dataset.GetBands()) band->FlushCache(false);
  });
}

std::int64_t RasterOutput::CacheBytes(int stripRows) const {
  if (uncompressedRows_) return 0;
  // The cache holds the blocks of one strip of each band.
  return (std::int64_t{stripRows} + blockRows_) * plan_.columns * plan_.bands *
         GDALGetDataTypeSizeBytes(plan_.mode->type);
}

void RasterOutput::Write(int band, int firstRow, ConstElements elements, AlteredElements& altered) {
  const DataMode& mode = *plan_.mode;
  const int rows = elements.rows;
  if (noData_ && !mode.integer && !std::isnan(*noData_)) {
    replaced_.assign(elements.All().begin(), elements.All().end());
    ReplaceNan({replaced_.data(), elements.columns, rows, elements.parts}, *noData_, altered);
    elements.values = replaced_.data();
  }
  void* buffer = const_cast<float*>(elements.values);  // GDAL does not change it when it writes
  if (const GDALDataType type = mode.FloatType(); mode.type != type) {
    const int bytes = GDALGetDataTypeSizeBytes(mode.type);
    converted_.resize(elements.Count() * static_cast<std::size_t>(bytes));
    buffer = converted_.data();
    if (mode.integer)
      StoreAsIntegers(elements.All(), mode, noData_, buffer, altered);
    else
      GDALCopyWords64(elements.values, type, GDALGetDataTypeSizeBytes(type), buffer, mode.type,
                      bytes, static_cast<GPtrDiff_t>(elements.Count()));
  }
  if (uncompressedRows_) {
    const std::string reason = uncompressedRows_->Write(band, firstRow, rows, buffer);
    return reason.empty() ? void() : FailToWrite(reason);
  }
  for (int row = 0; row < rows && !digests_.empty(); ++row)
    digests_[static_cast<std::size_t>(band) - 1].Add(
        static_cast<const std::byte*>(buffer) +
            std::ptrdiff_t{row} * plan_.columns * GDALGetDataTypeSizeBytes(mode.type),
        plan_.columns, mode.type);
  const GdalFailures failures;
  if (dataset_->GetRasterBand(band)->RasterIO(GF_Write, 0, firstRow, plan_.columns, rows, buffer,
                                              plan_.columns, rows, mode.type, 0, 0,
                                              nullptr) != CE_None ||
      failures.Any())
    FailToWrite(failures.First());
}

void RasterOutput::Change(const std::function<void(GDALDataset&)>& change) {
  if (!dataset_) dataset_.reset(GDALDataset::Open(file_.c_str(), GDAL_OF_UPDATE));
  const GdalFailures failures;
  if (dataset_) change(*dataset_);
  if (failures.Any()) FailToWrite(failures.First());
}

void RasterOutput::Complete(const std::stop_token& stop) {
  WriteFile(stop);
  const GDALDatasetUniquePtr wanted = DescribedZeros(plan_, plan_.columns, plan_.rows);
  for (GDALRasterBand* const band : wanted->GetBands())
    if (noData_) band->SetNoDataValue(*noData_);
  if (const Changes changes = ReadBack(file_, plan_, *wanted, dataset_.get(), digests_);
      changes.any) {
    Warn("the format " + plan_.format.Name() + " does not hold all values exactly" +
         (changes.count == 0
              ? ""
              : ": " + CountText(changes.count, "value") + " changed, the first from " +
                    ShortestText(changes.from) + " to " + ShortestText(changes.to)));
    Change([](GDALDataset& raster) {  // its statistics describe other values
      for (GDALRasterBand* const band : raster.GetBands())
        for (const char* const item : kStatisticsItems) band->SetMetadataItem(item, nullptr);
    });
    if (dataset_) WriteFile(stop);
  }
}

void RasterOutput::Publish(const std::stop_token& stop) {
  if (dataset_ && workFile_ == file_) Close(std::move(dataset_));
  dataset_.reset();
  for (const fs::directory_entry& entry : fs::directory_iterator(publication_.Folder()))
    ReplaceNameAtHead(entry.path(), file_.string(), plan_.target.string());
  if (plan_.toDisk) WriteToDisk();
  if (stop.stop_requested()) throw Cancelled();
  publication_.Publish();
}

// Closes the file, or makes it as a copy of the TIFF, which stays open.
void RasterOutput::WriteFile(const std::stop_token& stop) {
  if (workFile_ == file_) return Close(std::move(dataset_));
  const GDALProgressFunc goesOn = [](double, const char*, void* argument) {
    return static_cast<const std::stop_token*>(argument)->stop_requested() ? FALSE : TRUE;
  };
  const GdalFailures failures;
  dataset_->FlushCache(false);
  dataset_->SetDescription(plan_.target.c_str());  // some drivers write it into the file
  // The driver of text grids writes a raster without a geotransform upside down.
  Geotransform transform = {0, 1, 0, static_cast<double>(plan_.rows), 0, -1};
  if (plan_.format.Name() == "AAIGrid" && !GeotransformOf(*dataset_))
    dataset_->SetGeoTransform(transform.data());
  GDALDatasetUniquePtr copy(
      plan_.format.driver->CreateCopy(file_.c_str(), dataset_.get(), FALSE,
                                      CreationOptions(plan_.format, plan_.creationOptions).List(),
                                      goesOn, const_cast<std::stop_token*>(&stop)));
  if (stop.stop_requested()) throw Cancelled();
  if (failures.Any()) static_cast<void>(copy.release());  // see Close
  if (!copy) FailToWrite(failures.First());
  Close(std::move(copy));
}

// After a failed write a dataset is not closed: GDAL's encoder threads may then wait forever, and
// libtiff may crash.
void RasterOutput::Close(GDALDatasetUniquePtr dataset) {
  const GdalFailures failures;
  dataset->FlushCache(true);
  if (failures.Any()) static_cast<void>(dataset.release());
  dataset.reset();
  if (failures.Any()) FailToWrite(failures.First());
}

void RasterOutput::WriteToDisk() {
  const int file = open(file_.c_str(), O_RDONLY | O_CLOEXEC);
  const bool written = file >= 0 && fdatasync(file) == 0;
  const int error = errno;
  if (file >= 0) close(file);
  if (!written) FailToWrite(std::strerror(error));
}

void RasterOutput::FailToWrite(const std::string& reason) {
  static_cast<void>(dataset_.release());  // see Close
  plan_.Fail(reason);
}

}  // namespace lumomixcalc::standalone
