#include "standalone/rasters/raster_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <numeric>
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

using Row = std::vector<double>;  // (real, imaginary) pairs

bool ReadRow(GDALRasterBand& band, int row, Row& elements) {
  const int columns = band.GetXSize();
  elements.resize(2 * static_cast<std::size_t>(columns));
  return band.RasterIO(GF_Read, 0, row, columns, 1, elements.data(), columns, 1, GDT_CFloat64, 0, 0,
                       nullptr) == CE_None;
}

// The values that a format did not store exactly, such as text with few digits, or JPEG.
struct Changes {
  std::uint64_t count = 0;
  double from = 0;  // the first one
  double to = 0;
  bool missing = false;  // an element was left out
};

void CountChanges(const Row& original, const Row& copy, const std::optional<double>& missingValue,
                  Changes& changes) {
  for (std::size_t i = 0; i < copy.size(); ++i) {
    if (original[i] == copy[i] || std::isnan(original[i])) continue;
    changes.missing |= i % 2 == 0 && copy[i] == missingValue;
    if (changes.count++ > 0) continue;
    changes.from = original[i];
    changes.to = copy[i];
  }
}

bool ReadBack(GDALDataset& written, const OutputSpecification& specification, GDALDataset* original,
              Changes& changes) {
  const std::string format = specification.format.Name();
  const int rows = specification.rows;
  Row copy;
  Row source;
  for (int row = format == "GTiff" ? rows - 1 : 0; row < rows; ++row)
    for (int number = 1; number <= specification.bands; ++number) {
      GDALRasterBand& band = *written.GetRasterBand(number);
      if (!ReadRow(band, row, copy)) return false;
      if (!original) continue;
      if (!ReadRow(*original->GetRasterBand(number), row, source)) return false;
      // The driver of XYZ files reads elements that are not in the file as its no-data value.
      CountChanges(source, copy, format == "XYZ" ? DeclaredNoData(band) : std::nullopt, changes);
    }
  return true;
}

// Reads a complete output back. Checks that it opens, has the right size, the right number of bands
// and a type that is wide enough, and that its elements can be read: the last row of a TIFF, whose
// driver reports every failed write, and all rows of other formats. If the output is a copy of
// `original`, warns of elements that the format changed. Returns what is wrong, for a message, or
// an empty text.
std::string FaultOfFile(const fs::path& file, const OutputSpecification& specification,
                        GDALDataset* original) {
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
  // A text format may read its elements as a wider type.
  const GDALDataType type = written->GetRasterBand(1)->GetRasterDataType();
  if (GDALDataTypeUnion(type, specification.mode->type) != type)
    return std::string("it reads back as ") + GDALGetDataTypeName(type);
  // A file that was cut short by a full disk can be opened, but its last elements cannot be read.
  Changes changes;
  if (!ReadBack(*written, specification, original, changes) || failures.Any())
    return "its elements cannot be read back: " + failures.First();
  if (changes.missing) return "elements are missing when it is read back; the disk may be full";
  if (changes.count > 0)
    Warn("the format " + specification.format.Name() + " does not hold all values exactly: " +
         CountText(changes.count, "value") + " changed, the first from " +
         ShortestText(changes.from) + " to " + ShortestText(changes.to));
  return "";
}

}  // namespace

RasterOutput::RasterOutput(const OutputSpecification& specification)
    : specification_(specification),
      publication_(specification.target, specification.overwrite, specification.inputs),
      file_(publication_.Folder() / specification.target.filename()),
      workFile_(specification.format.CopiesOnly() ? publication_.Folder() / ".uncopied.tif"
                                                  : file_) {
  if (workFile_ != file_)
    Create({GetGDALDriverManager()->GetDriverByName("GTiff")}, {});
  else
    Create(specification_.format, specification_.creationOptions);
  if (workFile_ == file_ && HasPlainRows(*dataset_) && OnlyLayOut(specification_.creationOptions))
    LayOutRows();
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
  publication_.CheckPlaces();
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
  const GdalFailures failures;
  if (dataset_->GetRasterBand(band)->RasterIO(GF_Write, 0, firstRow, specification_.columns, rows,
                                              buffer, specification_.columns, rows, mode.type, 0, 0,
                                              nullptr) != CE_None ||
      failures.Any())
    FailToWrite(failures.First());
}

void RasterOutput::Publish(const std::stop_token& stop) {
  GDALDatasetUniquePtr original;
  if (workFile_ != file_)
    original = CopyToFormat(stop);
  else
    Close();
  if (const std::string fault = FaultOfFile(file_, specification_, original.get()); !fault.empty())
    FailToWrite(fault);
  original.reset();
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

// Returns the raster that was copied.
GDALDatasetUniquePtr RasterOutput::CopyToFormat(const std::stop_token& stop) {
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
  return copy;
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
