#include <cpl_string.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "standalone/base/messages.h"
#include "standalone/rasters/data_modes.h"
#include "standalone/rasters/gdal_library.h"
#include "standalone/rasters/georeferencing.h"
#include "standalone/rasters/raster_output.h"

namespace lumomixcalc::standalone {
namespace {

constexpr const char* kNanIsNumber =
    "NaN reads back as a number; choose a no-data value by -a_nodata=";

using Row = std::vector<double>;  // room for (real, imaginary) pairs

bool ReadRow(GDALRasterBand& band, int row, Row& elements, GDALDataType type) {
  const int columns = band.GetXSize();
  elements.resize(2 * static_cast<std::size_t>(columns));
  return band.RasterIO(GF_Read, 0, row, columns, 1, elements.data(), columns, 1, type, 0, 0,
                       nullptr) == CE_None;
}

void CountChanges(const Row& original, const Row& copy, const std::optional<double>& noData,
                  const OutputPlan& plan, Changes& changes) {
  for (std::size_t i = 0; i < copy.size(); ++i) {
    const bool isNan = std::isnan(original[i]);
    if (original[i] == copy[i] || (isNan && (std::isnan(copy[i]) || copy[i] == noData))) continue;
    // The driver of XYZ files reads elements that are not in the file as its no-data value.
    if (i % 2 == 0 && copy[i] == noData && plan.format.Name() == "XYZ")
      plan.Fail("elements are missing when it is read back; the disk may be full");
    if (isNan) plan.Fail(kNanIsNumber);
    if (changes.count++ > 0) continue;
    changes.from = original[i];
    changes.to = copy[i];
  }
}

// The bytes of a row of blocks of each band. With less in GDAL's cache, reading row by row would
// decode these blocks again and again.
std::int64_t BytesOfBlockRow(GDALDataset& raster) {
  GDALRasterBand& band = *raster.GetRasterBand(1);
  int columns = 0;
  int rows = 0;
  band.GetBlockSize(&columns, &rows);
  return (std::int64_t{band.GetXSize()} + columns) * rows * raster.GetRasterCount() *
         GDALGetDataTypeSizeBytes(band.GetRasterDataType());
}

// The last raster of a file that has one per band, such as netCDF and Zarr: that of Band10 comes
// after that of Band9 and after the axes. To open each would take long for hundreds of bands.
GDALDatasetUniquePtr LastRaster(GDALDataset& file) {
  const CPLStringList items(file.GetMetadata("SUBDATASETS"), FALSE);
  std::pair<std::size_t, std::string> last;
  const char* name = nullptr;
  for (int i = 1; (name = items.FetchNameValue(CPLSPrintf("SUBDATASET_%d_NAME", i))); ++i)
    last = std::max(last, {std::strlen(name), name});
  return GDALDatasetUniquePtr(GDALDataset::Open(last.second.c_str(), GDAL_OF_RASTER));
}

// The written bands are the last ones of the plan. A file that was cut short by a full disk can be
// opened, but its last elements cannot be read.
Changes CompareElements(GDALDataset& written, const OutputPlan& plan, GDALDataset* original,
                        const std::vector<RowDigest>& digests) {
  const GdalFailures failures;
  const GDALDataType type = original ? GDT_CFloat64 : plan.mode->type;
  Changes changes;
  const int before = plan.bands - written.GetRasterCount();
  std::vector<RowDigest> found = digests;
  if (!found.empty()) std::fill(found.begin() + before, found.end(), RowDigest());
  if (original) SizeBlockCache(BytesOfBlockRow(written) + BytesOfBlockRow(*original));
  Row copy;
  Row source;
  for (int row = original || !digests.empty() ? 0 : plan.rows - 1; row < plan.rows; ++row)
    for (int number = before + 1; number <= plan.bands; ++number) {
      GDALRasterBand& band = *written.GetRasterBand(number - before);
      if (!ReadRow(band, row, copy, type) ||
          (original && !ReadRow(*original->GetRasterBand(number), row, source, type)) ||
          failures.Any())
        plan.Fail("its elements cannot be read back: " + failures.First());
      if (original) CountChanges(source, copy, DeclaredNoData(band), plan, changes);
      if (!found.empty())
        found[static_cast<std::size_t>(number) - 1].Add(copy.data(), plan.columns, type);
    }
  changes.any = changes.count > 0 || found != digests;
  for (std::size_t i = 0; i < found.size(); ++i)
    if (found[i].nans < digests[i].nans) plan.Fail(kNanIsNumber);
  return changes;
}

// What a raster says of its elements: the kind, for a message, and what it says, to compare.
using Declarations = std::set<std::pair<std::string, std::string>>;

// Of the last bands, counted from the last one.
Declarations DeclarationsOf(GDALDataset& raster, int bands) {
  Declarations all;
  if (const std::optional<Geotransform> transform = GeotransformOf(raster)) {
    std::string text;
    for (const double coefficient : *transform)  // a zero may be negative
      text += CPLSPrintf("%.9g ", coefficient + 0.0);
    all.emplace("geotransform", text);
  }
  if (raster.GetSpatialRef()) all.emplace("coordinate reference system", "");
  if (raster.GetGCPCount() > 0)
    all.emplace("ground control points", std::to_string(raster.GetGCPCount()));
  if (raster.GetMetadata("RPC")) all.emplace("rational polynomial coefficients", "");
  const CPLStringList items(raster.GetMetadata(), FALSE);
  for (int i = 0; i < items.Count(); ++i)  // netCDF puts another name before it
    if (std::strstr(items[i], "LUMOMIXCALC_COMMAND=")) all.emplace("metadata", "");
  for (int i = 0; i < bands; ++i) {
    GDALRasterBand* const band = raster.GetRasterBand(raster.GetRasterCount() - i);
    const std::string number = std::to_string(i) + " ";
    if (const std::optional<double> value = DeclaredNoData(*band))
      all.emplace("no-data value", number + ShortestText(*value));
    // The driver of ENVI files calls bands without a name Band 1 and so on.
    const std::string name = band->GetDescription();
    const bool isGiven =
        !name.starts_with("Band ") || name.find_first_not_of("0123456789", 5) != std::string::npos;
    if (!name.empty() && isGiven) all.emplace("names of bands", number + name);
    if (*band->GetUnitType() != '\0') all.emplace("units", number + band->GetUnitType());
  }
  return all;
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

Changes ReadBack(const std::filesystem::path& file, const OutputPlan& plan, GDALDataset& wanted,
                 GDALDataset* original, const std::vector<RowDigest>& digests) {
  const GdalFailures failures;
  // Only with its own driver, unless another driver reads the files that this one writes.
  const std::array<const char*, 2> own = {plan.format.driver->GetDescription(), nullptr};
  const bool opens = plan.format.driver->GetMetadataItem(GDAL_DCAP_OPEN) != nullptr;
  GDALDatasetUniquePtr written(
      GDALDataset::Open(file.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR,
                        opens ? own.data() : nullptr));
  if (!written) plan.Fail("it does not open again: " + failures.First());
  GDALDatasetUniquePtr last = written->GetRasterCount() == 0 ? LastRaster(*written) : nullptr;
  const int bands = last ? 1 : plan.bands;
  if (last) written = std::move(last);
  if (written->GetRasterXSize() != plan.columns || written->GetRasterYSize() != plan.rows ||
      written->GetRasterCount() != bands)
    plan.Fail("it reads back with " +
              SizeText(written->GetRasterXSize(), written->GetRasterYSize()) + ", " +
              CountText(static_cast<unsigned>(written->GetRasterCount()), "band"));
  // A text reads back as the type that its numbers need. Then its elements are compared.
  const GDALDataType type = written->GetRasterBand(1)->GetRasterDataType();
  if (!original && GDALDataTypeUnion(type, plan.mode->type) != type)
    plan.Fail(std::string("it reads back as ") + GDALGetDataTypeName(type));
  const Changes changes = CompareElements(*written, plan, original, digests);
  const Declarations held = DeclarationsOf(*written, bands);
  std::vector<std::string> lost;
  for (const auto& one : DeclarationsOf(wanted, bands))  // in the order of their kinds
    if (!held.contains(one) && (lost.empty() || lost.back() != one.first))
      lost.push_back(one.first);
  if (!lost.empty())
    Warn(plan.target.string() + " does not hold what was declared: " + Joined(lost));
  return changes;
}

}  // namespace lumomixcalc::standalone
