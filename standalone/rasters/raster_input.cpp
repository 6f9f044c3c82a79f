#include "standalone/rasters/raster_input.h"

#include <cpl_error.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <mutex>
#include <span>
#include <system_error>
#include <type_traits>
#include <utility>

#include "standalone/base/messages.h"
#include "standalone/rasters/gdal_library.h"

namespace lumomixcalc::standalone {
namespace {

// "; name one of its subdatasets, such as ..." for a file that is only a container of rasters.
// Names the first complex raster with one band, otherwise the first raster.
std::string SubdatasetHint(GDALDataset& container) {
  const CPLErrorHandlerPusher quiet(CPLQuietErrorHandler);
  // netCDF's driver does not give single items of them.
  const CPLStringList listed(container.GetMetadata("SUBDATASETS"), FALSE);
  std::string first;
  for (int i = 1;; ++i) {
    const char* const name = listed.FetchNameValue(CPLSPrintf("SUBDATASET_%d_NAME", i));
    if (!name) return first;
    std::string hint = std::string("; name one of its subdatasets, such as ") + name;
    const GDALDatasetUniquePtr raster(GDALDataset::Open(name, GDAL_OF_RASTER));
    if (raster && raster->GetRasterCount() == 1 &&
        GDALDataTypeIsComplex(raster->GetRasterBand(1)->GetRasterDataType()))
      return hint;
    if (i == 1) first = hint;
  }
}

// GDAL has no type for signed 8-bit data before version 3.7: it is Byte with this metadata. Later
// versions warn when the item is asked for by its name.
bool IsSignedByte(GDALRasterBand& band) {
  const char* const pixelType = CSLFetchNameValue(band.GetMetadata("IMAGE_STRUCTURE"), "PIXELTYPE");
  return band.GetRasterDataType() == GDT_Byte && pixelType && EQUAL(pixelType, "SIGNEDBYTE");
}

// Whether the float is the number, NaN included. Doubles do not hold all integers of 64 bits.
template <typename Exact>
bool Holds(float held, Exact exact) {
  using Common =
      std::conditional_t<std::is_integral_v<Exact> && sizeof(Exact) == 8, long double, double>;
  return static_cast<Common>(held) == static_cast<Common>(exact) ||
         std::isnan(static_cast<double>(exact));
}

// "0.1 is taken as 0.10000000149011612" for the first number other than except that its float does
// not hold, or an empty text.
template <typename Exact>
std::string FirstLoss(std::span<const Exact> exact, const float* floats,
                      const std::optional<double>& except) {
  unsigned any = 0;  // the loop has no branch, so that it becomes vector instructions
  for (std::size_t i = 0; i < exact.size(); ++i) any |= Holds(floats[i], exact[i]) ? 0U : 1U;
  for (std::size_t i = 0; any != 0 && i < exact.size(); ++i) {
    if (Holds(floats[i], exact[i]) || static_cast<double>(exact[i]) == except) continue;
    std::string text;
    if constexpr (std::is_integral_v<Exact>)
      text = std::to_string(exact[i]);
    else
      text = ShortestText(exact[i]);
    return text + " is taken as " + ShortestText(static_cast<double>(floats[i]));
  }
  return "";
}

// Replaces no-data elements by NaN in all parts. Values are compared in single precision, as the
// application sees them: noData is rounded as elements are.
void MaskNoData(const Elements& elements, double noData) {
  const auto value = static_cast<float>(noData);
  if (elements.parts == 1)  // vector instructions
    for (float& element : elements.All()) element = element == value ? NAN : element;
  else
    for (std::size_t i = 0; i < elements.Count(); ++i)
      if (IsNoData(elements[i][0], elements[i][1], value)) BecomeNan(elements[i]);
}

// The mask or the alpha band of a band. Null when it has none, or only a no-data value. GDAL takes
// an alpha band as the mask only if it has bytes or 16 bits and the band declares no no-data value,
// but gdalwarp makes one of any type, and beside a no-data value.
GDALRasterBand* MaskOf(GDALDataset& raster, int band) {
  GDALRasterBand& own = *raster.GetRasterBand(band);
  GDALRasterBand& last = *raster.GetRasterBand(raster.GetRasterCount());
  const int flags = own.GetMaskFlags();
  if ((flags & GMF_ALL_VALID) == 0 && flags != GMF_NODATA) return own.GetMaskBand();
  return &own != &last && last.GetColorInterpretation() == GCI_AlphaBand ? &last : nullptr;
}

}  // namespace

GDALDatasetUniquePtr MemoryDataset(const float* elements, int columns, int rows, GDALDataType type,
                                   int bands) {
  GDALDatasetUniquePtr dataset(
      GetGDALDriverManager()->GetDriverByName("MEM")->Create("", columns, rows, 0, type, nullptr));
  const int bytes = GDALGetDataTypeSizeBytes(type);
  for (int band = 0; band < bands; ++band) {
    char address[32] = {};
    const float* const first = elements + band * bytes / static_cast<int>(sizeof(float));
    CPLPrintPointer(address, const_cast<float*>(first), sizeof address - 1);
    CPLStringList options;
    options.SetNameValue("DATAPOINTER", address);
    options.SetNameValue("PIXELOFFSET", std::to_string(bands * bytes).c_str());
    dataset->AddBand(type, options.List());
  }
  return dataset;
}

RasterInput::RasterInput(const std::string& label, const std::string& name,
                         const std::vector<std::string>& openOptions, GDALDatasetUniquePtr dataset)
    : label_(label), name_(name) {
  for (const std::string& option : openOptions) openOptions_.AddString(option.c_str());
  dataset_ = dataset ? std::move(dataset) : Open(nullptr);
  if (Bands() == 0) throw Failure(Describe() + " has no bands" + SubdatasetHint(*dataset_));
  GDALDataType type = dataset_->GetRasterBand(1)->GetRasterDataType();
  for (GDALRasterBand* const band : dataset_->GetBands())
    type = GDALDataTypeUnion(type, band->GetRasterDataType());
  mode_ = &DataModeOfType(type);
}

GDALDatasetUniquePtr RasterInput::Open(const char* overviewLevel) const {
  std::error_code ignored;
  if (std::filesystem::is_fifo(name_, ignored))  // would be waited for without end
    throw Failure("cannot open " + Describe() + ": it is a pipe; a file is expected");
  const GdalFailures failures;
  CPLStringList options = openOptions_;
  if (overviewLevel) options.SetNameValue("OVERVIEW_LEVEL", overviewLevel);
  GDALDatasetUniquePtr dataset(
      GDALDataset::Open(name_.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR,
                        nullptr, options.List()));
  if (!dataset) throw Failure("cannot open " + Describe() + ": " + failures.First());
  return dataset;
}

void RasterInput::Select(const OutputGrid& grid, Resampling resampling,
                         const std::vector<int>& bands, const ElementRules& rules) {
  grid_ = grid;
  bands_ = bands;
  rules_ = rules;
  resampled_.reset();
  method_ = nullptr;
  uncompressedRows_.reset();
  if (grid.resolution > 1) {
    if (resampling == Resampling::kOverview) return OpenOverview();
    method_ = &kResamplingMethods[static_cast<std::size_t>(resampling)];
  }
  uncompressedRows_ = UncompressedRows::Open(*dataset_, bands, SourceOf(grid.window));
}

void RasterInput::OpenOverview() {
  const int n = grid_.resolution;
  const int columns = (Columns() + n - 1) / n;
  const int rows = (Rows() + n - 1) / n;
  if (grid_.window.x % n != 0 || grid_.window.y % n != 0)
    throw Failure(SettingText("-resampling", "overview") + ": the region of " + Describe() +
                  " starts at pixel " + std::to_string(grid_.window.x) + ", " +
                  std::to_string(grid_.window.y) + ", which must be multiples of " +
                  SettingText("-resolution", std::to_string(n)));
  GDALRasterBand& band = *dataset_->GetRasterBand(1);
  for (int level = 0; level < band.GetOverviewCount(); ++level) {
    GDALRasterBand* const overview = band.GetOverview(level);
    if (overview->GetXSize() != columns || overview->GetYSize() != rows) continue;
    // Counted from the overview that is the input with -oo=OVERVIEW_LEVEL=N.
    const char* const own = openOptions_.FetchNameValue("OVERVIEW_LEVEL");
    const int before = own && std::isdigit(*own) != 0 ? std::atoi(own) + 1 : 0;
    resampled_ = Open(std::to_string(before + level).c_str());
    grid_.window = {grid_.window.x / n, grid_.window.y / n, grid_.columns, grid_.rows};
    grid_.resolution = 1;
    return;
  }
  throw Failure(Describe() + " has no overview of " + SizeText(columns, rows) + " for " +
                SettingText("-resolution", std::to_string(n)) + "; gdaladdo makes one");
}

void RasterInput::Read(int band, int firstRow, int rows, float* out) {
  const int n = grid_.resolution;
  const PixelWindow wanted = {grid_.window.x, grid_.window.y + firstRow * n, grid_.window.columns,
                              rows * n};
  const Elements elements = {out, grid_.columns, rows, Parts()};
  if (!method_) return ReadElements(band, wanted, elements);
  if (method_->algorithm == GRIORA_NearestNeighbour) return ReadNearest(band, wanted, elements);
  const PixelWindow source = SourceOf(wanted);
  const Elements full = FullResolution(source.columns, source.rows);
  ReadElements(band, source, full);
  Resample(full, source, wanted, elements);
}

// Room for elements of full resolution, valid until the next call.
Elements RasterInput::FullResolution(int columns, int rows) {
  const Elements size = {nullptr, columns, rows, Parts()};
  full_.resize(size.Floats());
  return {full_.data(), columns, rows, Parts()};
}

// Takes the pixel in column n/2 and row n/2 of each n x n pixels. GDAL's nearest pixel is another
// one in raw files since version 3.10, and may come from an overview.
void RasterInput::ReadNearest(int band, const PixelWindow& wanted, const Elements& out) {
  const int n = grid_.resolution;
  const Elements line = FullResolution(wanted.columns, 1);
  float* to = out.values;
  for (int row = 0; row < out.rows; ++row) {
    ReadElements(band, {wanted.x, wanted.y + row * n + n / 2, wanted.columns, 1}, line);
    for (auto column = static_cast<std::size_t>(n / 2); column < line.Count();
         column += static_cast<std::size_t>(n))
      to = std::ranges::copy(line[column], to).out;
  }
}

// The pixels of full resolution that are needed to compute the wanted ones at the grid's
// resolution.
PixelWindow RasterInput::SourceOf(const PixelWindow& wanted) const {
  const int margin = method_ ? method_->radius * grid_.resolution : 0;
  const int left = std::max(0, wanted.x - margin);
  const int top = std::max(0, wanted.y - margin);
  const int right = std::min(Columns() - wanted.columns, wanted.x + margin) + wanted.columns;
  const int bottom = std::min(Rows() - wanted.rows, wanted.y + margin) + wanted.rows;
  return {left, top, right - left, bottom - top};
}

std::optional<double> RasterInput::MaskedValue(int band) const {
  if (rules_.keepNoData) return std::nullopt;
  return rules_.noData ? rules_.noData : NoData(band);
}

bool RasterInput::HasMask(int band) const { return MaskOf(*dataset_, band) != nullptr; }

// Reads a window with the sign of signed bytes and with NaN for no data.
void RasterInput::ReadElements(int band, const PixelWindow& window, const Elements& out) {
  const GDALDataType type = Pixels().GetRasterBand(band)->GetRasterDataType();
  if (GDALDataTypeUnion(type, GDT_CFloat32) == GDT_CFloat32)
    Transfer(band, window, out, out.values, Mode().FloatType());
  else if (Mode().complex)
    ReadRounded<double>(band, window, out, GDT_CFloat64);
  else if (type == GDT_Int64)
    ReadRounded<std::int64_t>(band, window, out, type);
  else if (type == GDT_UInt64)
    ReadRounded<std::uint64_t>(band, window, out, type);
  else
    ReadRounded<double>(band, window, out, GDT_Float64);
  if (IsSignedByte(*Pixels().GetRasterBand(band)))
    for (float& element : out.All())
      if (element > 127) element -= 256;
  if (const std::optional<double> value = MaskedValue(band)) MaskNoData(out, *value);
  if (!rules_.keepNoData) ApplyMask(band, window, out);
  if (rules_.unscale) Unscale(band, out);
}

void RasterInput::ApplyMask(int band, const PixelWindow& window, const Elements& elements) {
  GDALRasterBand* const mask = MaskOf(Pixels(), band);
  if (!mask) return;
  mask_.resize(elements.Count());
  const std::string reason = ReadByGdal(*mask, window, elements, mask_.data(), GDT_Float32);
  if (!reason.empty()) throw Failure("cannot read the mask of " + Describe() + ": " + reason);
  for (std::size_t i = 0; i < mask_.size(); ++i)
    if (mask_[i] == 0) BecomeNan(elements[i]);
}

// Reads a window as elements of a type, as many as `size` has. Returns the reason of a failure, for
// a message, or an empty text.
std::string RasterInput::ReadByGdal(GDALRasterBand& band, const PixelWindow& window,
                                    const Elements& size, void* out, GDALDataType type) const {
  static std::mutex turn;
  const std::unique_lock lock = byTurns_ ? std::unique_lock(turn) : std::unique_lock<std::mutex>();
  const GdalFailures failures(GdalFailures::Of::kThisThread);
  const CPLErr result = band.RasterIO(GF_Read, window.x, window.y, window.columns, window.rows, out,
                                      size.columns, size.rows, type, 0, 0, nullptr);
  return result != CE_None || failures.Any() ? failures.First() : "";
}

// The same for a band, without GDAL if possible. Throws Failure.
void RasterInput::Transfer(int band, const PixelWindow& window, const Elements& size, void* out,
                           GDALDataType type) {
  const std::string reason =
      uncompressedRows_ ? uncompressedRows_->Read(band, window.y, size.rows, out, type)
                        : ReadByGdal(*Pixels().GetRasterBand(band), window, size, out, type);
  if (!reason.empty())
    throw Failure("cannot read " + Describe() + ", band " + std::to_string(band) + ", from row " +
                  std::to_string(window.y) + ": " + reason);
}

void RasterInput::Unscale(int number, const Elements& elements) const {
  GDALRasterBand& band = *dataset_->GetRasterBand(number);
  const double scale = band.GetScale();
  const std::array<double, 2> offset = {band.GetOffset(), 0};  // of the real and imaginary part
  if (scale == 1 && offset[0] == 0) return;
  for (std::size_t i = 0; i < elements.Floats(); ++i)
    elements.values[i] =
        static_cast<float>(elements.values[i] * scale + offset[elements.parts == 2 ? i % 2 : 0]);
}

// GDAL would turn doubles beyond the largest float into infinities, even those that round to it.
template <typename Exact>
void RasterInput::ReadRounded(int band, const PixelWindow& window, const Elements& out,
                              GDALDataType type) {
  exact_.resize(out.Floats() * sizeof(Exact));
  Transfer(band, window, out, exact_.data(), type);
  const std::span exact(reinterpret_cast<const Exact*>(exact_.data()), out.Floats());
  std::ranges::transform(exact, out.values,
                         [](Exact number) { return static_cast<float>(number); });
  if (lostDigits_.empty()) lostDigits_ = FirstLoss(exact, out.values, MaskedValue(band));
}

// Real and imaginary parts are resampled by themselves, because GDAL's methods do not all leave out
// no data in complex rasters.
void RasterInput::Resample(const Elements& full, const PixelWindow& source,
                           const PixelWindow& wanted, const Elements& out) {
  const int step = Parts() * static_cast<int>(sizeof(float));
  const GdalFailures failures(GdalFailures::Of::kThisThread);
  const GDALDatasetUniquePtr memory =
      MemoryDataset(full.values, full.columns, full.rows, GDT_Float32, Parts());
  GDALRasterIOExtraArg extra;
  INIT_RASTERIO_EXTRA_ARG(extra);
  extra.eResampleAlg = method_->algorithm;
  const auto resample = [&](float* to) {
    for (GDALRasterBand* const part : memory->GetBands())
      if (part->RasterIO(GF_Read, wanted.x - source.x, wanted.y - source.y, wanted.columns,
                         wanted.rows, to++, out.columns, out.rows, GDT_Float32, step, 0,
                         &extra) != CE_None ||
          failures.Any())
        throw Failure("cannot resample " + Describe() + ": " + failures.First());
  };
  const bool missing = !rules_.keepNoData && HoldsNan(full.All());
  for (std::size_t i = 0; missing && full.parts > 1 && i < full.Count(); ++i)
    if (HasNan(full[i])) BecomeNan(full[i]);
  resample(out.values);
  if (!missing) return;
  // If any source pixel is no data, GDAL computes all pixels of the call in another way, with other
  // last bits. So a second call, with a no-data value, gives only the pixels that are NaN after the
  // first one. Then the other pixels do not depend on what else was read in the same call. GDAL
  // multiplies no data by zero, so the value must be a finite number.
  constexpr float kMissing = std::numeric_limits<float>::lowest();
  std::ranges::replace_if(
      full.All(), [](float value) { return std::isnan(value); }, kMissing);
  for (GDALRasterBand* const part : memory->GetBands()) part->SetNoDataValue(kMissing);
  std::vector<float> masked(out.Floats());
  resample(masked.data());
  for (std::size_t i = 0; i < masked.size(); ++i)
    if (std::isnan(out.values[i]) && masked[i] != kMissing) out.values[i] = masked[i];
}

std::string RasterInput::PassedOver() const {
  // A name and a description of each. Overviews and masks of a TIFF are not among them.
  const CPLStringList listed(dataset_->GetMetadata("SUBDATASETS"), FALSE);
  if (listed.Count() < 4) return "";
  const std::string count = std::to_string(listed.Count() / 2);
  const std::string second = listed.FetchNameValueDef("SUBDATASET_2_NAME", "");
  const std::string hint = Describe() + " holds " + count +
                           " images, and only one is read; name another as " + second + "; ";
  if (!second.starts_with("GTIFF_DIR:"))
    return hint + "gdalinfo " + ShellWord(name_) + " lists them";
  return hint + "gdalbuildvrt -separate pages.vrt GTIFF_DIR:{1.." + count +
         "}:" + ShellWord(name_) + " makes them bands of one file";
}

std::vector<std::string> RasterInput::Losses() const {
  std::vector<std::string> losses;
  if (!lostDigits_.empty())
    losses.push_back("the elements of " + Describe() +
                     " are held in single precision: " + lostDigits_);
  for (const int number : bands_) {
    GDALRasterBand& band = *dataset_->GetRasterBand(number);
    if (rules_.unscale || (band.GetScale() == 1 && band.GetOffset() == 0)) continue;
    losses.push_back("the scale " + ShortestText(band.GetScale()) + " and offset " +
                     ShortestText(band.GetOffset()) + " of " + Describe() + ", band " +
                     std::to_string(number) + ", are not applied; -unscale applies them");
    break;
  }
  return losses;
}

int RasterInput::StripEnd(int first, int end) const {
  if (uncompressedRows_) return end;
  int width = 0;
  int height = 0;
  Pixels().GetRasterBand(1)->GetBlockSize(&width, &height);
  const int source = grid_.window.y + end * grid_.resolution;
  const int blockEnd = (source - source % height - grid_.window.y) / grid_.resolution;
  return blockEnd > first ? blockEnd : end;
}

std::int64_t RasterInput::CacheBytes(int stripRows) const {
  if (uncompressedRows_) return 0;
  PixelWindow strip = grid_.window;
  strip.rows = std::min(strip.rows, stripRows * grid_.resolution);
  const PixelWindow source = SourceOf(strip);
  GDALRasterBand& band = *Pixels().GetRasterBand(bands_.front());
  int width = 0;
  int height = 0;
  band.GetBlockSize(&width, &height);
  // The most pixels in the blocks that a range of so many pixels touches. At full resolution strips
  // begin at the start of a block; other ranges may begin anywhere.
  const auto touched = [](int pixels, int block, bool anywhere) {
    return std::int64_t{(pixels + (anywhere ? block - 2 : -1)) / block + 1} * block;
  };
  const std::int64_t pixels =
      touched(source.rows, height, grid_.resolution > 1) * touched(source.columns, width, true);
  // If pixels hold all bands, the driver puts a block of every band into the cache.
  const char* const interleave = Pixels().GetMetadataItem("INTERLEAVE", "IMAGE_STRUCTURE");
  const bool together = interleave && EQUAL(interleave, "PIXEL");
  const int bands = together ? Bands() : static_cast<int>(bands_.size());
  return bands * pixels * GDALGetDataTypeSizeBytes(band.GetRasterDataType());
}

}  // namespace lumomixcalc::standalone
