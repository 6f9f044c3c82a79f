#include "standalone/rasters/uncompressed_rows.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <system_error>

namespace lumomixcalc::standalone {
namespace {

// Calls pread or pwrite until all bytes are done. Returns how many were, fewer at the file's end,
// or -1 with errno set.
template <typename Transfer, typename Byte>
std::int64_t TransferAll(Transfer transfer, int file, Byte* bytes, std::int64_t count,
                         std::int64_t place) {
  std::int64_t done = 0;
  while (done < count) {
    const ssize_t now =
        transfer(file, bytes + done, static_cast<std::size_t>(count - done), place + done);
    if (now < 0 && errno == EINTR) continue;
    if (now < 0) return -1;
    if (now == 0) break;
    done += now;
  }
  return done;
}

// The number that the lowest bytes at a place make, lowest first; 0 beyond the file's end.
std::int64_t NumberAt(int file, std::int64_t place, std::int64_t bytes) {
  std::int64_t number = 0;
  const bool whole =
      TransferAll(pread, file, reinterpret_cast<char*>(&number), bytes, place) == bytes;
  return whole ? number : 0;
}

// Whether the numbers of a TIFF are little-endian with their bits in the usual order. GDAL does not
// tell of a fill order that reverses the bits of each byte.
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

// Whether this process has the same file open under another descriptor, too. If not, the file that
// GDAL opened under the same name was replaced in between, and may have had another layout.
bool IsOpenTwice(int descriptor) {
  struct stat own = {};
  if (fstat(descriptor, &own) != 0) return false;
  int found = 0;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", ignored)) {
    struct stat other = {};
    if (stat(entry.path().c_str(), &other) == 0 && other.st_dev == own.st_dev &&
        other.st_ino == own.st_ino)
      ++found;
  }
  return found > 1;
}

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
  const std::string name = isOnePiece ? layout.osRawFilename : dataset.GetDescription();
  const int access = dataset.GetAccess() == GA_Update ? O_RDWR : O_RDONLY;
  std::unique_ptr<UncompressedRows> rows(
      new UncompressedRows(open(name.c_str(), access | O_CLOEXEC), window));
  if (!IsOpenTwice(rows->file_) || (isTiff && !HasPlainBytes(rows->file_))) return nullptr;
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
    const std::optional<std::int64_t> place = OfStrip(band, "BLOCK_OFFSET", strip);
    const std::optional<std::int64_t> bytes = OfStrip(band, "BLOCK_SIZE", strip);
    // Less than whole elements are packed: half floats, twelve bits.
    if (!place || !bytes || *bytes < std::min(found.stripRows, rows - row) * found.rowStep)
      return false;
    found.stripPlaces.push_back(*place);
  }
  return true;
}

template <typename Transfer, typename Byte>
std::string UncompressedRows::TransferRows(Transfer transfer, const Band& band, int firstRow,
                                           int rows, Byte* bytes) const {
  const std::int64_t elementBytes = GDALGetDataTypeSizeBytes(band.type);
  const std::int64_t rowBytes = window_.columns * elementBytes;
  const int end = firstRow + rows;
  for (int row = firstRow; row < end;) {
    // Rows that follow each other in the file take one call.
    const std::int64_t place = band.Place(row);
    int next = row + 1;
    while (next < end && band.Place(next) == place + (next - row) * rowBytes) ++next;
    const std::int64_t count = (next - row) * rowBytes;
    const std::int64_t done =
        TransferAll(transfer, file_, bytes, count, place + window_.x * elementBytes);
    if (done < 0) return std::strerror(errno);
    if (done < count) return "the file ends in row " + std::to_string(row + done / rowBytes);
    bytes += count;
    row = next;
  }
  return "";
}

std::string UncompressedRows::Read(int band, int firstRow, int rows, void* out, GDALDataType type) {
  const Band& from = bands_.at(band);
  if (from.type == type)
    return TransferRows(pread, from, firstRow, rows, static_cast<std::byte*>(out));
  const int bytes = GDALGetDataTypeSizeBytes(from.type);
  const std::size_t elements =
      static_cast<std::size_t>(rows) * static_cast<std::size_t>(window_.columns);
  unconverted_.resize(elements * static_cast<std::size_t>(bytes));
  std::string failure = TransferRows(pread, from, firstRow, rows, unconverted_.data());
  GDALCopyWords64(unconverted_.data(), from.type, bytes, out, type, GDALGetDataTypeSizeBytes(type),
                  static_cast<GPtrDiff_t>(elements));
  return failure;
}

std::string UncompressedRows::Write(int band, int firstRow, int rows, const void* values) const {
  return TransferRows(pwrite, bands_.at(band), firstRow, rows,
                      static_cast<const std::byte*>(values));
}

}  // namespace lumomixcalc::standalone
