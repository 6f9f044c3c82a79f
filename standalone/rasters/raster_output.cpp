#include "standalone/rasters/raster_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <numeric>
#include <string_view>
#include <system_error>
#include <utility>

#include "standalone/base/messages.h"
#include "standalone/base/numbers.h"
#include "standalone/rasters/gdal_library.h"
#include "standalone/rasters/grid.h"

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

using Row = std::vector<double>;  // room for (real, imaginary) pairs

bool ReadRow(GDALRasterBand& band, int row, Row& elements, GDALDataType type = GDT_CFloat64) {
  const int columns = band.GetXSize();
  elements.resize(2 * static_cast<std::size_t>(columns));
  return band.RasterIO(GF_Read, 0, row, columns, 1, elements.data(), columns, 1, type, 0, 0,
                       nullptr) == CE_None;
}

// What a raster says of its elements, in words that can be compared.
using Declarations = std::map<std::string, std::string>;

Declarations DeclarationsOf(GDALDataset& raster) {
  Declarations all;
  if (const std::optional<Geotransform> transform = GeotransformOf(raster))
    for (const double coefficient : *transform)  // a zero may be negative
      all["geotransform"] += CPLSPrintf("%.9g ", coefficient + 0.0);
  if (raster.GetSpatialRef()) all["coordinate reference system"];
  if (raster.GetGCPCount() > 0) all["ground control points"] = std::to_string(raster.GetGCPCount());
  if (raster.GetMetadata("RPC")) all["rational polynomial coefficients"];
  const CPLStringList items(raster.GetMetadata(), FALSE);
  for (int i = 0; i < items.Count(); ++i)  // netCDF puts another name before it
    if (std::strstr(items[i], "LUMOMIXCALC_COMMAND=")) all["metadata"];
  for (GDALRasterBand* const band : raster.GetBands())
    if (const std::optional<double> value = DeclaredNoData(*band))
      all["no-data value"] += ShortestText(*value) + " ";
  return all;
}

// The values that a format did not store exactly, such as text with few digits, or JPEG.
struct Changes {
  bool any = false;
  std::uint64_t count = 0;  // if it is known
  double from = 0;          // the first one
  double to = 0;
  bool missing = false;  // an element was left out
  bool numbers = false;  // a NaN became a number
};

void CountChanges(const Row& original, const Row& copy, const std::optional<double>& noData,
                  bool leavesOut, Changes& changes) {
  for (std::size_t i = 0; i < copy.size(); ++i) {
    const bool isNan = std::isnan(original[i]);
    if (original[i] == copy[i] || (isNan && (std::isnan(copy[i]) || copy[i] == noData))) continue;
    changes.missing |= leavesOut && i % 2 == 0 && copy[i] == noData;
    changes.numbers |= isNan;
    if (changes.count++ > 0) continue;
    changes.from = original[i];
    changes.to = copy[i];
  }
}

// Compares with the original if there is one, else with the digests of what was written.
bool ReadBack(GDALDataset& written, const OutputSpecification& specification, GDALDataset* original,
              const std::vector<RowDigest>& digests, Changes& changes) {
  const std::string format = specification.format.Name();
  const GDALDataType type = specification.mode->type;
  const int rows = specification.rows;
  std::vector<RowDigest> found(digests.size());
  Row copy;
  Row source;
  for (int row = original || !digests.empty() ? 0 : rows - 1; row < rows; ++row)
    for (int number = 1; number <= specification.bands; ++number) {
      GDALRasterBand& band = *written.GetRasterBand(number);
      if (!ReadRow(band, row, copy, original ? GDT_CFloat64 : type)) return false;
      if (!found.empty())
        found[static_cast<std::size_t>(number) - 1].Add(copy.data(), specification.columns, type);
      if (!original) continue;
      if (!ReadRow(*original->GetRasterBand(number), row, source)) return false;
      // The driver of XYZ files reads elements that are not in the file as its no-data value.
      CountChanges(source, copy, DeclaredNoData(band), format == "XYZ", changes);
    }
  changes.any = changes.count > 0 || found != digests;
  for (std::size_t i = 0; i < found.size(); ++i) changes.numbers |= found[i].nans < digests[i].nans;
  return true;
}

// Reads a complete output back. Checks that it opens, has the right size, the right number of bands
// and, unless it is a copy, a type that is wide enough. Checks that its elements can be read, of a
// plain TIFF only those of the last row. Finds the elements that the format changed. Warns when it
// lacks what was declared. Returns what is wrong, for a message, or an empty text.
std::string FaultOfFile(const fs::path& file, const OutputSpecification& specification,
                        const Declarations& declared, GDALDataset* original,
                        const std::vector<RowDigest>& digests, Changes& changes) {
  const GdalFailures failures;
  // Only with its own driver, unless another driver reads the files that this one writes.
  const std::array<const char*, 2> own = {specification.format.driver->GetDescription(), nullptr};
  const bool opens = specification.format.driver->GetMetadataItem(GDAL_DCAP_OPEN) != nullptr;
  const GDALDatasetUniquePtr written(
      GDALDataset::Open(file.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR,
                        opens ? own.data() : nullptr));
  if (!written) return "it does not open again: " + failures.First();
  // A container with one raster per band has subdatasets. It is enough that it opens.
  if (written->GetRasterCount() == 0 && written->GetMetadata("SUBDATASETS")) return "";
  if (written->GetRasterXSize() != specification.columns ||
      written->GetRasterYSize() != specification.rows ||
      written->GetRasterCount() != specification.bands)
    return "it reads back with another size";
  // A text reads back as the type that its numbers need. Then its elements are compared.
  const GDALDataType type = written->GetRasterBand(1)->GetRasterDataType();
  if (!original && GDALDataTypeUnion(type, specification.mode->type) != type)
    return std::string("it reads back as ") + GDALGetDataTypeName(type);
  // A file that was cut short by a full disk can be opened, but its last elements cannot be read.
  if (!ReadBack(*written, specification, original, digests, changes) || failures.Any())
    return "its elements cannot be read back: " + failures.First();
  if (changes.missing) return "elements are missing when it is read back; the disk may be full";
  if (changes.numbers) return "NaN reads back as a number; choose a no-data value by -a_nodata=";
  const Declarations held = DeclarationsOf(*written);
  std::vector<std::string> lost;
  for (const auto& [what, text] : declared)
    if (!held.contains(what) || held.at(what) != text) lost.push_back(what);
  if (!lost.empty())
    Warn(specification.target.string() + " does not hold what was declared: " + Joined(lost));
  return "";
}

}  // namespace

void RowDigest::Add(const void* row, int columns, GDALDataType type) {
  const auto parts = static_cast<std::size_t>(columns) * (GDALDataTypeIsComplex(type) ? 2 : 1);
  const auto countNans = [&](const auto* values) {
    for (std::size_t i = 0; i < parts; ++i) nans += std::isnan(values[i]) ? 1 : 0;
  };
  if (type == GDT_Float64)
    countNans(static_cast<const double*>(row));
  else if (GDALDataTypeIsFloating(type))
    countNans(static_cast<const float*>(row));
  const std::string_view bytes(
      static_cast<const char*>(row),
      static_cast<std::size_t>(columns) * static_cast<std::size_t>(GDALGetDataTypeSizeBytes(type)));
  hash = 31 * hash + std::hash<std::string_view>()(bytes);
}

void MakeTrialCopy(const OutputSpecification& specification, const std::string& file) {
  if (!specification.format.CopiesOnly()) return;
  const GdalFailures failures;
  GDALDriver& driver = *specification.format.driver;
  const CPLStringList options =
      CreationOptions(specification.format, specification.creationOptions);
  // Larger than a tile of COG, which then has overviews; if that does not help, as large as a tile
  // of SRTMHGT, the only other format that takes few sizes.
  for (const int side : {640, 3601}) {
    const GDALDatasetUniquePtr zeros(GetGDALDriverManager()->GetDriverByName("VRT")->Create(
        "", std::min(specification.columns, side), std::min(specification.rows, side),
        specification.bands, specification.mode->type, nullptr));
    specification.describe(*zeros);
    if (const GDALDatasetUniquePtr trial(
            driver.CreateCopy(file.c_str(), zeros.get(), FALSE, options.List(), nullptr, nullptr));
        trial)
      return;
  }
  throw Failure("cannot write " + specification.target.string() + ": " + failures.First());
}

RasterOutput::RasterOutput(const OutputSpecification& specification)
    : specification_(specification),
      publication_(specification.target, specification.overwrite, specification.inputs,
                   specification.statisticsFile),
      file_(publication_.Folder() / specification.target.filename()),
      workFile_(specification.format.CopiesOnly() ? publication_.Folder() / ".uncopied.tif"
                                                  : file_) {
  if (workFile_ != file_)
    Create({GetGDALDriverManager()->GetDriverByName("GTiff")}, {});
  else
    Create(specification_.format, specification_.creationOptions);
  CheckPlaces();
  if (workFile_ == file_ && HasPlainRows(*dataset_) && OnlyLayOut(specification_.creationOptions))
    LayOutRows();
  // The TIFF driver reports every failed write.
  if (workFile_ == file_ &&
      (specification_.format.Name() != "GTiff" || MayChangeValues(specification_.creationOptions)))
    digests_.resize(static_cast<std::size_t>(specification_.bands));
  specification_.describe(*dataset_);
}

// Checks the places of the files that a small raster like the output consists of.
void RasterOutput::CheckPlaces() {
  const fs::path folder = publication_.Folder() / ".trial";
  const fs::path file = folder / specification_.target.filename();
  fs::create_directory(folder);
  if (workFile_ == file_) {
    constexpr int kSide = 16;
    const GdalFailures failures;  // are shown when the output itself has them
    GDALDatasetUniquePtr(specification_.format.driver->Create(
        file.c_str(), kSide, kSide, specification_.bands, specification_.mode->type,
        CreationOptions(specification_.format, specification_.creationOptions).List()));
  }
  MakeTrialCopy(specification_, file);
  publication_.CheckPlaces(folder);
  fs::remove_all(folder);
}

void RasterOutput::Create(const OutputFormat& format, const std::vector<std::string>& options) {
  const DataMode& mode = *specification_.mode;
  const GdalFailures failures;
  dataset_.reset(format.driver->Create(workFile_.c_str(), specification_.columns,
                                       specification_.rows, specification_.bands, mode.type,
                                       CreationOptions(format, options).List()));
  if (!dataset_ || failures.Any()) FailToWrite(failures.First());
  if (dataset_->GetRasterBand(1)->GetRasterDataType() != mode.type)
    FailToWrite("the format " + format.Name() + " cannot hold " + mode.name + " data");
  dataset_->GetRasterBand(1)->GetBlockSize(&blockColumns_, &blockRows_);
}

// When GDAL closes a new TIFF of uncompressed strips, it writes the positions of the strips, and
// the elements are a hole in the file. Then the rows are written without GDAL, which is needed
// again only to set the statistics.
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
}

bool RasterOutput::DeclareNoData(double value) {
  const GdalFailures failures;
  for (GDALRasterBand* const band : dataset_->GetBands()) band->SetNoDataValue(value);
  if (!std::isnan(value)) noData_ = value;
  return !failures.Any();
}

void RasterOutput::WriteCompleteBlocks(int endRow) {
  if (uncompressedRows_ || (endRow % blockRows_ != 0 && endRow != specification_.rows)) return;
  const GdalFailures failures;
  const int across = DIV_ROUND_UP(specification_.columns, blockColumns_);
  const int down = DIV_ROUND_UP(endRow, blockRows_);
  for (GDALRasterBand* const band : dataset_->GetBands())
    for (int y = blocksWritten_; y < down; ++y)
      for (int x = 0; x < across; ++x)
        if (GDALRasterBlock* const block = band->TryGetLockedBlockRef(x, y)) {
          block->Write();
          block->DropLock();
        }
  blocksWritten_ = down;
  if (failures.Any()) FailToWrite(failures.First());
}

std::int64_t RasterOutput::CacheBytes(int stripRows) const {
  if (uncompressedRows_) return 0;
  // The cache holds the blocks of one strip of each band.
  return (std::int64_t{stripRows} + blockRows_) * specification_.columns * specification_.bands *
         GDALGetDataTypeSizeBytes(specification_.mode->type);
}

void RasterOutput::Write(int band, int firstRow, int rows, const float* values,
                         UnheldElements& unheld) {
  const DataMode& mode = *specification_.mode;
  const std::size_t elements =
      static_cast<std::size_t>(specification_.columns) * static_cast<std::size_t>(rows);
  const std::size_t floats = elements * static_cast<std::size_t>(mode.Parts());
  if (noData_ && !mode.integer) {
    replaced_.assign(values, values + floats);
    ReplaceNan(replaced_, mode.complex, *noData_, unheld);
    values = replaced_.data();
  }
  void* buffer = const_cast<float*>(values);  // GDAL does not change it when it writes
  if (const GDALDataType type = mode.FloatType(); mode.type != type) {
    const int bytes = GDALGetDataTypeSizeBytes(mode.type);
    converted_.resize(elements * static_cast<std::size_t>(bytes));
    buffer = converted_.data();
    if (mode.integer)
      StoreAsIntegers({values, floats}, mode, noData_, buffer, unheld);
    else
      GDALCopyWords64(values, type, GDALGetDataTypeSizeBytes(type), buffer, mode.type, bytes,
                      static_cast<GPtrDiff_t>(elements));
  }
  if (uncompressedRows_) {
    const std::string reason = uncompressedRows_->Write(band, firstRow, rows, buffer);
    return reason.empty() ? void() : FailToWrite(reason);
  }
  for (int row = 0; row < rows && !digests_.empty(); ++row)
    digests_[static_cast<std::size_t>(band) - 1].Add(
        static_cast<const std::byte*>(buffer) +
            std::ptrdiff_t{row} * specification_.columns * GDALGetDataTypeSizeBytes(mode.type),
        specification_.columns, mode.type);
  const GdalFailures failures;
  if (dataset_->GetRasterBand(band)->RasterIO(GF_Write, 0, firstRow, specification_.columns, rows,
                                              buffer, specification_.columns, rows, mode.type, 0, 0,
                                              nullptr) != CE_None ||
      failures.Any())
    FailToWrite(failures.First());
}

void RasterOutput::Change(const std::function<void(GDALDataset&)>& change) {
  const GdalFailures failures;
  change(*dataset_);
  if (failures.Any()) FailToWrite(failures.First());
}

void RasterOutput::Publish(const std::stop_token& stop) {
  const Declarations declared = DeclarationsOf(*dataset_);
  Changes changes;
  if (workFile_ != file_)
    CopyToFormat(stop);
  else
    Close();
  const std::string fault =
      FaultOfFile(file_, specification_, declared, dataset_.get(), digests_, changes);
  if (!fault.empty()) FailToWrite(fault);
  if (changes.any) {
    Warn("the format " + specification_.format.Name() + " does not hold all values exactly" +
         (changes.count == 0
              ? ""
              : ": " + CountText(changes.count, "value") + " changed, the first from " +
                    ShortestText(changes.from) + " to " + ShortestText(changes.to)));
    // Its statistics describe other values.
    if (workFile_ == file_) dataset_.reset(GDALDataset::Open(file_.c_str(), GDAL_OF_UPDATE));
    if (dataset_) {
      for (GDALRasterBand* const band : dataset_->GetBands())
        for (const char* const name : {"MINIMUM", "MAXIMUM", "MEAN", "STDDEV", "VALID_PERCENT"})
          band->SetMetadataItem((std::string("STATISTICS_") + name).c_str(), nullptr);
      workFile_ == file_ ? Close() : CopyToFormat(stop);
    }
  }
  dataset_.reset();
  std::error_code ignored;
  if (workFile_ != file_) {
    fs::remove(workFile_, ignored);
    fs::remove(workFile_.string() + ".aux.xml", ignored);
  }
  for (const fs::directory_entry& entry : fs::directory_iterator(publication_.Folder()))
    ReplaceNameAtHead(entry.path(), file_.string(), specification_.target.string());
  if (specification_.toDisk) WriteToDisk();
  if (stop.stop_requested()) throw Cancelled();
  publication_.Publish();
}

void RasterOutput::CopyToFormat(const std::stop_token& stop) {
  const GDALProgressFunc goesOn = [](double, const char*, void* argument) {
    return static_cast<const std::stop_token*>(argument)->stop_requested() ? FALSE : TRUE;
  };
  const GdalFailures failures;
  dataset_->FlushCache(false);
  dataset_->SetDescription(specification_.target.c_str());  // some drivers write it into the file
  // The driver of text grids writes a raster without a geotransform upside down.
  Geotransform transform = {0, 1, 0, static_cast<double>(specification_.rows), 0, -1};
  if (specification_.format.Name() == "AAIGrid" && !GeotransformOf(*dataset_))
    dataset_->SetGeoTransform(transform.data());
  GDALDatasetUniquePtr copy(specification_.format.driver->CreateCopy(
      file_.c_str(), dataset_.get(), FALSE,
      CreationOptions(specification_.format, specification_.creationOptions).List(), goesOn,
      const_cast<std::stop_token*>(&stop)));
  if (stop.stop_requested()) throw Cancelled();
  if (!copy || failures.Any()) {
    static_cast<void>(copy.release());
    FailToWrite(failures.First());
  }
  std::swap(copy, dataset_);
  Close();
  std::swap(copy, dataset_);
}

void RasterOutput::Close() {
  const GdalFailures failures;
  dataset_->FlushCache(true);
  if (failures.Any()) FailToWrite(failures.First());
  dataset_.reset();
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
  // Do not close the dataset: after a failed write GDAL's encoder threads may then wait forever,
  // and libtiff may crash.
  static_cast<void>(dataset_.release());
  throw Failure("cannot write " + specification_.target.string() + ": " + reason);
}

}  // namespace lumomixcalc::standalone
