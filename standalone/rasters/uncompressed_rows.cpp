#include "standalone/rasters/uncompressed_rows.h"

#include <fcntl.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace lumomixcalc::standalone {
namespace {

// Reads or writes count bytes. Returns the number of bytes transferred, which is smaller at the end
// of the file, or -1 with errno set.
std::int64_t TransferAll(GDALRWFlag flag, int file, void* buffer, std::int64_t count,
                         std::int64_t place) {
  std::int64_t done = 0;
  while (done < count) {
    std::byte* const bytes = static_cast<std::byte*>(buffer) + done;
    const auto left = static_cast<std::size_t>(count - done);
    const ssize_t now = flag == GF_Read ? pread(file, bytes, left, place + done)
                                        : pwrite(file, bytes, left, place + done);
    if (now < 0 && errno == EINTR) continue;
    if (now < 0) return -1;
    if (now == 0) break;
    done += now;
  }
  return done;
}

// The little-endian number in so many bytes at a place. 0 beyond the end of the file.
std::int64_t NumberAt(int file, std::int64_t place, std::int64_t bytes) {
  std::int64_t number = 0;
  return TransferAll(GF_Read, file, &number, bytes, place) == bytes ? number : 0;
}

// Whether the numbers of a TIFF are little-endian with their bits in the usual order. GDAL does not
// report a fill order that reverses the bits of each byte.
bool HasPlainBytes(int tiff) {
  constexpr std::int64_t kLittleEndian = 0x4949;
  constexpr std::int64_t kBigTiff = 43;
  constexpr std::int64_t kFillOrder = 266;
  if (NumberAt(tiff, 0, 2) != kLittleEndian) return false;
  const bool big = NumberAt(tiff, 2, 2) == kBigTiff;
  const std::int64_t directory = big ? NumberAt(tiff, 8, 8) : NumberAt(tiff, 4, 4);
  const std::int64_t entries = NumberAt(tiff, directory, 2);
  for (std::int64_t i = 0; i < entries; ++i) {
    const std::int64_t entry = directory + (big ? 8 + i * 20 : 2 + i * 12);
    if (NumberAt(tiff, entry, 2) == kFillOrder)
      return NumberAt(tiff, entry + (big ? 12 : 8), 2) == 1;
  }
  return true;
}

const char* Structure(GDALMajorObject& object, const char* item) {
  return object.GetMetadataItem(item, "IMAGE_STRUCTURE");
}

// A number that the TIFF driver reports for a strip. 0 when the strip is missing.
std::int64_t StripItem(GDALRasterBand& band, const char* item, int strip) {
  const char* const value = band.GetMetadataItem(CPLSPrintf("%s_0_%d", item, strip), "TIFF");
  return value ? std::strtoll(value, nullptr, 10) : 0;
}

// Whether GDAL reports that all rows lie at equal distances in one file. It reports this only of
// real data, and wrongly of half floats and of TIFFs with bands that have no strips: their distance
// is counted from the file's beginning.
bool IsOnePiece(GDALDataset& dataset, GDALDataset::RawBinaryLayout& layout) {
  return dataset.GetRawBinaryLayout(layout) && layout.bLittleEndianOrder &&
         layout.nPixelOffset == GDALGetDataTypeSizeBytes(layout.eDataType) &&
         layout.nLineOffset > 0 && (layout.nBandOffset > 0 || dataset.GetRasterCount() == 1) &&
         !Structure(*dataset.GetRasterBand(1), "NBITS") &&
         !(IsTiff(dataset) && layout.nImageOffset == 0);
}

}  // namespace

bool IsTiff(GDALDataset& dataset) { return EQUAL(dataset.GetDriverName(), "GTiff"); }

bool HasPlainRows(GDALDataset& dataset) {
  if (!IsTiff(dataset) || Structure(dataset, "COMPRESSION")) return false;
  const char* const interleave = Structure(dataset, "INTERLEAVE");
  if (dataset.GetRasterCount() > 1 && !(interleave && EQUAL(interleave, "BAND"))) return false;
  int width = 0;
  int height = 0;
  dataset.GetRasterBand(1)->GetBlockSize(&width, &height);
  return width == dataset.GetRasterXSize();
}

std::unique_ptr<UncompressedRows> UncompressedRows::Open(GDALDataset& dataset,
                                                         const std::vector<int>& bands,
                                                         const PixelWindow& window) {
  if constexpr (std::endian::native != std::endian::little) return nullptr;
  const bool isTiff = IsTiff(dataset);
  GDALDataset::RawBinaryLayout layout;
  const bool isOnePiece = IsOnePiece(dataset, layout);
  if (isTiff ? !HasPlainRows(dataset) : !isOnePiece) return nullptr;
  const std::string name = isOnePiece ? layout.osRawFilename : dataset.GetDescription();
  const int access = dataset.GetAccess() == GA_Update ? O_RDWR : O_RDONLY;
  std::unique_ptr<UncompressedRows> rows(
      new UncompressedRows(open(name.c_str(), access | O_CLOEXEC), window));
  if (rows->file_ < 0 || (isTiff && !HasPlainBytes(rows->file_))) return nullptr;
  const auto image = static_cast<std::int64_t>(layout.nImageOffset);
  for (const int band : bands)
    if (isOnePiece)
      rows->bands_[band] = {layout.eDataType,
                            dataset.GetRasterYSize(),
                            layout.nLineOffset,
                            {image + (band - 1) * layout.nBandOffset}};
    else if (!FindStrips(*dataset.GetRasterBand(band), rows->bands_[band]))
      return nullptr;
  return rows;
}

bool UncompressedRows::FindStrips(GDALRasterBand& band, Band& found) {
  found.type = band.GetRasterDataType();
  int width = 0;
  band.GetBlockSize(&width, &found.stripRows);
  found.rowStep = std::int64_t{width} * GDALGetDataTypeSizeBytes(found.type);
  const int rows = band.GetYSize();
  for (int row = 0, strip = 0; row < rows; row += std::min(found.stripRows, rows - row), ++strip) {
    const std::int64_t place = StripItem(band, "BLOCK_OFFSET", strip);
    const std::int64_t bytes = StripItem(band, "BLOCK_SIZE", strip);
    // A strip with fewer bytes has packed elements, such as half floats or twelve bits.
    if (place == 0 || bytes < std::min(found.stripRows, rows - row) * found.rowStep) return false;
    found.stripPlaces.push_back(place);
  }
  return true;
}

std::string UncompressedRows::TransferRows(GDALRWFlag flag, const Band& band, int firstRow,
                                           int rows, void* buffer) const {
  auto* bytes = static_cast<std::byte*>(buffer);
  const std::int64_t elementBytes = GDALGetDataTypeSizeBytes(band.type);
  const std::int64_t rowBytes = window_.columns * elementBytes;
  const int end = firstRow + rows;
  for (int row = firstRow; row < end;) {
    // Rows that follow each other in the file are transferred by one call.
    const std::int64_t place = band.Place(row);
    int next = row + 1;
    while (next < end && band.Place(next) == place + (next - row) * rowBytes) ++next;
    const std::int64_t count = (next - row) * rowBytes;
    const std::int64_t done =
        TransferAll(flag, file_, bytes, count, place + window_.x * elementBytes);
    if (done < 0) return std::strerror(errno);
    if (done < count) return "the file ends in row " + std::to_string(row + done / rowBytes);
    bytes += count;
    row = next;
  }
  return "";
}

std::string UncompressedRows::Read(int band, int firstRow, int rows, void* out, GDALDataType type) {
  const Band& from = bands_.at(band);
  if (from.type == type) return TransferRows(GF_Read, from, firstRow, rows, out);
  const int bytes = GDALGetDataTypeSizeBytes(from.type);
  const std::size_t elements =
      static_cast<std::size_t>(rows) * static_cast<std::size_t>(window_.columns);
  unconverted_.resize(elements * static_cast<std::size_t>(bytes));
  std::string failure = TransferRows(GF_Read, from, firstRow, rows, unconverted_.data());
  GDALCopyWords64(unconverted_.data(), from.type, bytes, out, type, GDALGetDataTypeSizeBytes(type),
                  static_cast<GPtrDiff_t>(elements));
  return failure;
}

std::string UncompressedRows::Write(int band, int firstRow, int rows, const void* values) const {
  void* const buffer = const_cast<void*>(values);  // not changed
  return TransferRows(GF_Write, bands_.at(band), firstRow, rows, buffer);
}

}  // namespace lumomixcalc::standalone
