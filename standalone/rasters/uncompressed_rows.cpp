#include "standalone/rasters/uncompressed_rows.h"

#include <cpl_error.h>
#include <fcntl.h>
#include <tiffio.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <utility>

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

// The value of a field of a TIFF, which may be a default. Zero or null when there is none.
template <typename Value>
Value Field(TIFF* tiff, ttag_t tag) {
  Value value = {};
  TIFFGetFieldDefaulted(tiff, tag, &value);
  return value;
}

// Whether the elements of a band of a TIFF are in strips of its own, as they are in memory.
bool HasPlainStrips(TIFF* tiff) {
  return !TIFFIsTiled(tiff) && !TIFFIsByteSwapped(tiff) &&
         Field<std::uint16_t>(tiff, TIFFTAG_COMPRESSION) == COMPRESSION_NONE &&
         Field<std::uint16_t>(tiff, TIFFTAG_FILLORDER) == FILLORDER_MSB2LSB &&
         (Field<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL) == 1 ||
          Field<std::uint16_t>(tiff, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE);
}

// Whether GDAL reports that all rows of a raw file lie at equal distances and are as in memory.
bool IsOnePiece(GDALDataset& dataset, GDALDataset::RawBinaryLayout& layout) {
  return dataset.GetRawBinaryLayout(layout) &&
         layout.bLittleEndianOrder == (std::endian::native == std::endian::little) &&
         layout.nPixelOffset == GDALGetDataTypeSizeBytes(layout.eDataType) &&
         layout.nLineOffset > 0 && (layout.nBandOffset > 0 || dataset.GetRasterCount() == 1);
}

}  // namespace

bool IsTiff(GDALDataset& dataset) { return EQUAL(dataset.GetDriverName(), "GTiff"); }

std::unique_ptr<UncompressedRows> UncompressedRows::Open(GDALDataset& dataset,
                                                         const std::vector<int>& bands,
                                                         const PixelWindow& window) {
  const bool isTiff = IsTiff(dataset);
  GDALDataset::RawBinaryLayout layout;
  if (!isTiff && !IsOnePiece(dataset, layout)) return nullptr;
  const std::string name = isTiff ? dataset.GetDescription() : layout.osRawFilename;
  const int access = dataset.GetAccess() == GA_Update ? O_RDWR : O_RDONLY;
  std::unique_ptr<UncompressedRows> rows(
      new UncompressedRows(open(name.c_str(), access | O_CLOEXEC), window));
  if (rows->file_ < 0) return nullptr;
  if (isTiff) return rows->FindStrips(dataset, bands) ? std::move(rows) : nullptr;
  const auto image = static_cast<std::int64_t>(layout.nImageOffset);
  for (const int band : bands)
    rows->bands_[band] = {layout.eDataType,
                          dataset.GetRasterYSize(),
                          layout.nLineOffset,
                          {image + (band - 1) * layout.nBandOffset}};
  return rows;
}

// The TIFF library is asked, because GDAL does not report a fill order that reverses bits.
bool UncompressedRows::FindStrips(GDALDataset& dataset, const std::vector<int>& bands) {
  const CPLErrorHandlerPusher quiet(CPLQuietErrorHandler);  // GDAL has reported the same
  const std::unique_ptr<TIFF, decltype(&TIFFCleanup)> tiff(
      TIFFFdOpen(file_, dataset.GetDescription(), "rm"), TIFFCleanup);
  if (!tiff || !HasPlainStrips(tiff.get())) return false;
  const auto* const places = Field<std::uint64_t*>(tiff.get(), TIFFTAG_STRIPOFFSETS);
  const auto* const sizes = Field<std::uint64_t*>(tiff.get(), TIFFTAG_STRIPBYTECOUNTS);
  const int rows = dataset.GetRasterYSize();
  // With -oo=OVERVIEW_LEVEL= the dataset is another image than the first one of the file.
  const bool isFirst = std::cmp_equal(Field<std::uint32_t>(tiff.get(), TIFFTAG_IMAGEWIDTH),
                                      dataset.GetRasterXSize()) &&
                       std::cmp_equal(Field<std::uint32_t>(tiff.get(), TIFFTAG_IMAGELENGTH), rows);
  const auto stripRows = static_cast<int>(std::min<std::uint32_t>(
      Field<std::uint32_t>(tiff.get(), TIFFTAG_ROWSPERSTRIP), static_cast<std::uint32_t>(rows)));
  if (!isFirst || !places || !sizes || stripRows == 0) return false;
  const int strips = (rows - 1) / stripRows + 1;
  if (std::int64_t{strips} * dataset.GetRasterCount() != TIFFNumberOfStrips(tiff.get()))
    return false;
  for (const int band : bands) {
    const GDALDataType type = dataset.GetRasterBand(band)->GetRasterDataType();
    // Elements may be packed, such as half floats or twelve bits.
    if (Field<std::uint16_t>(tiff.get(), TIFFTAG_BITSPERSAMPLE) != GDALGetDataTypeSizeBits(type))
      return false;
    const std::int64_t rowStep =
        std::int64_t{dataset.GetRasterXSize()} * GDALGetDataTypeSizeBytes(type);
    Band& found = bands_[band] = {type, stripRows, rowStep, {}};
    for (int i = 0; i < strips; ++i) {
      const std::ptrdiff_t strip = std::ptrdiff_t{band - 1} * strips + i;
      const std::int64_t bytes = std::min(stripRows, rows - i * stripRows) * rowStep;
      if (places[strip] == 0 || static_cast<std::int64_t>(sizes[strip]) < bytes) return false;
      found.stripPlaces.push_back(static_cast<std::int64_t>(places[strip]));
    }
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
