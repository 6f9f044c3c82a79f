#include "standalone/rasters/uncompressed_rows.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace lumomixcalc::standalone {
namespace {

const char* Structure(GDALMajorObject& object, const char* item) {
  return object.GetMetadataItem(item, "IMAGE_STRUCTURE");
}

// The number that the TIFF driver knows of a strip; none when the strip is missing.
std::optional<std::int64_t> OfStrip(GDALRasterBand& band, const char* item, int strip) {
  const std::string name = std::string(item) + "_0_" + std::to_string(strip);
  const char* const value = band.GetMetadataItem(name.c_str(), "TIFF");
  if (!value) return std::nullopt;
  return std::strtoll(value, nullptr, 10);
}

// Whether GDAL knows all rows to stand at even distances in one file. It says so of real data
// alone, and wrongly of half floats and of TIFFs without any strips.
bool IsOnePiece(GDALDataset& dataset, GDALDataset::RawBinaryLayout& layout) {
  return dataset.GetRawBinaryLayout(layout) && layout.bLittleEndianOrder &&
         layout.nPixelOffset == GDALGetDataTypeSizeBytes(layout.eDataType) &&
         !Structure(*dataset.GetRasterBand(1), "NBITS") &&
         !(IsTiff(dataset) && layout.nImageOffset == 0);
}

}  // namespace

bool IsTiff(GDALDataset& dataset) {
  return dataset.GetDriver() && EQUAL(dataset.GetDriver()->GetDescription(), "GTiff");
}

bool HasPlainRows(GDALDataset& dataset) {
  if (!IsTiff(dataset) || Structure(dataset, "COMPRESSION")) return false;
  const char* const interleave = Structure(dataset, "INTERLEAVE");
  if (dataset.GetRasterCount() > 1 && !(interleave && EQUAL(interleave, "BAND"))) return false;
  int width = 0;
  int height = 0;
  dataset.GetRasterBand(1)->GetBlockSize(&width, &height);
  return width == dataset.GetRasterXSize();
}

std::int64_t UncompressedRows::Band::Place(int row) const {
  return stripPlaces[static_cast<std::size_t>(row / stripRows)] + row % stripRows * rowStep;
}

std::unique_ptr<UncompressedRows> UncompressedRows::Open(GDALDataset& dataset,
                                                         const std::vector<int>& bands,
                                                         const PixelWindow& window) {
  if constexpr (std::endian::native != std::endian::little) return nullptr;
  const bool isTiff = IsTiff(dataset);
  if (isTiff && !HasPlainRows(dataset)) return nullptr;
  GDALDataset::RawBinaryLayout layout;
  const bool isOnePiece = IsOnePiece(dataset, layout);
  if (!isTiff && !isOnePiece) return nullptr;
  const std::string file = isOnePiece ? layout.osRawFilename : dataset.GetDescription();
  const bool writes = dataset.GetAccess() == GA_Update;
  std::unique_ptr<UncompressedRows> rows(new UncompressedRows(file, writes, window));
  if (!rows->file_.IsOpen() || (isTiff && !rows->IsLittleEndianTiff())) return nullptr;
  for (const int band : bands)
    if (isOnePiece)
      rows->bands_[band] = BandOfOnePiece(dataset, layout, band);
    else if (!FindStrips(*dataset.GetRasterBand(band), rows->bands_[band]))
      return nullptr;
  return rows;
}

UncompressedRows::UncompressedRows(const std::string& file, bool writes, const PixelWindow& window)
    : file_(open(file.c_str(), (writes ? O_RDWR : O_RDONLY) | O_CLOEXEC)), window_(window) {}

bool UncompressedRows::IsLittleEndianTiff() const {
  std::array<char, 2> mark = {};
  return ReadAt(file_.Get(), mark.data(), mark.size(), 0) == 2 && mark[0] == 'I' && mark[1] == 'I';
}

UncompressedRows::Band UncompressedRows::BandOfOnePiece(GDALDataset& dataset,
                                                        const GDALDataset::RawBinaryLayout& layout,
                                                        int band) {
  return {layout.eDataType,
          dataset.GetRasterYSize(),
          layout.nLineOffset,
          {static_cast<std::int64_t>(layout.nImageOffset) + (band - 1) * layout.nBandOffset}};
}

bool UncompressedRows::FindStrips(GDALRasterBand& band, Band& found) {
  found.type = band.GetRasterDataType();
  int width = 0;
  band.GetBlockSize(&width, &found.stripRows);
  found.rowStep = std::int64_t{width} * GDALGetDataTypeSizeBytes(found.type);
  const int rows = band.GetYSize();
  for (int row = 0, strip = 0; row < rows; row += std::min(found.stripRows, rows - row), ++strip) {
    const std::optional<std::int64_t> place = OfStrip(band, "BLOCK_OFFSET", strip);
    const std::optional<std::int64_t> bytes = OfStrip(band, "BLOCK_SIZE", strip);
    // Less than whole elements are packed: half floats, twelve bits.
    if (!place || !bytes || *bytes < std::min(found.stripRows, rows - row) * found.rowStep)
      return false;
    found.stripPlaces.push_back(*place);
  }
  return true;
}

std::string UncompressedRows::Read(int band, int firstRow, int rows, void* out, GDALDataType type) {
  const Band& from = bands_.at(band);
  if (from.type == type) return ReadElements(from, firstRow, rows, static_cast<std::byte*>(out));
  const int bytes = GDALGetDataTypeSizeBytes(from.type);
  const std::size_t elements =
      static_cast<std::size_t>(rows) * static_cast<std::size_t>(window_.columns);
  unconverted_.resize(elements * static_cast<std::size_t>(bytes));
  std::string failure = ReadElements(from, firstRow, rows, unconverted_.data());
  GDALCopyWords64(unconverted_.data(), from.type, bytes, out, type, GDALGetDataTypeSizeBytes(type),
                  static_cast<GPtrDiff_t>(elements));
  return failure;
}

UncompressedRows::Run UncompressedRows::NextRun(const Band& band, int firstRow, int endRow) const {
  const std::int64_t elementBytes = GDALGetDataTypeSizeBytes(band.type);
  const std::int64_t rowBytes = window_.columns * elementBytes;
  const std::int64_t place = band.Place(firstRow);
  int row = firstRow + 1;
  while (row < endRow && band.Place(row) == place + (row - firstRow) * rowBytes) ++row;
  return {row - firstRow, (row - firstRow) * rowBytes, place + window_.x * elementBytes};
}

std::string UncompressedRows::ReadElements(const Band& band, int firstRow, int rows,
                                           std::byte* out) const {
  for (int row = firstRow; row < firstRow + rows;) {
    const Run run = NextRun(band, row, firstRow + rows);
    const std::int64_t read =
        ReadAt(file_.Get(), out, static_cast<std::size_t>(run.bytes), run.place);
    if (read < 0) return std::strerror(errno);
    if (read < run.bytes)
      return "the file ends in row " + std::to_string(row + read / (run.bytes / run.rows));
    out += run.bytes;
    row += run.rows;
  }
  return "";
}

std::string UncompressedRows::Write(int bandNumber, int firstRow, int rows,
                                    const void* values) const {
  const Band& band = bands_.at(bandNumber);
  const auto* next = static_cast<const std::byte*>(values);
  for (int row = firstRow; row < firstRow + rows;) {
    const Run run = NextRun(band, row, firstRow + rows);
    if (!WriteAt(file_.Get(), next, static_cast<std::size_t>(run.bytes), run.place))
      return std::strerror(errno);
    next += run.bytes;
    row += run.rows;
  }
  return "";
}

}  // namespace lumomixcalc::standalone
