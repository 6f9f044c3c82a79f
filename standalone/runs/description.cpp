#include "standalone/runs/description.h"

#include <cpl_string.h>
#include <gdal_priv.h>

#include <algorithm>
#include <array>

#include "standalone/base/messages.h"
#include "standalone/rasters/georeferencing.h"

namespace lumomixcalc::standalone {
namespace {

// Whether a metadata item describes the values or the corners of the input, which are not those of
// the output.
bool IsOfTheInput(const std::string& item) {
  constexpr std::array<const char*, 6> kNames = {
      "LUMOMIXCALC_", "NITF_BLOCKA_",           "NODATA_VALUES",
      "STATISTICS_",  "TIFFTAG_MAXSAMPLEVALUE", "TIFFTAG_MINSAMPLEVALUE"};
  return std::ranges::any_of(kNames, [&](const char* name) { return item.starts_with(name); });
}

void CopyMetadata(GDALDataset& from, GDALDataset& to) {
  const CPLStringList items(from.GetMetadata(), FALSE);
  for (int i = 0; i < items.Count(); ++i) {
    char* name = nullptr;
    const char* const value = CPLParseNameValue(items[i], &name);
    if (name && value && !IsOfTheInput(name)) to.SetMetadataItem(name, value);
    CPLFree(name);
  }
}

// The first input for which the predicate is true. Null when there is none.
template <typename Predicate>
const RunInput* FirstThat(const std::vector<RunInput>& inputs, const Predicate& holds) {
  const auto found = std::ranges::find_if(
      inputs, [&](const RunInput& input) { return holds(input.raster->Dataset()); });
  return found == inputs.end() ? nullptr : &*found;
}

void DescribeBand(const std::vector<RunInput>& inputs, int band, GDALRasterBand& output) {
  for (const RunInput& input : inputs) {
    GDALRasterBand& own = *input.raster->Dataset().GetRasterBand(input.BandFor(band));
    if (*output.GetDescription() == '\0' && *own.GetDescription() != '\0')
      output.SetDescription(own.GetDescription());
    if (*output.GetUnitType() == '\0' && *own.GetUnitType() != '\0')
      output.SetUnitType(own.GetUnitType());
  }
}

}  // namespace

void DescribeOutput(const RunPlan& plan, const std::vector<RunInput>& inputs, GDALDataset& output) {
  const auto placementOn = [&](const RunInput& input) {
    return plan.grid.On(plan.origins.at(input.stream)).Placement();
  };
  if (const RunInput* const input = FirstThat(inputs, HasGeoreferencing))
    CopyGeoreferencing(input->raster->Dataset(), placementOn(*input), output);
  if (const RunInput* const input = FirstThat(
          inputs, [](GDALDataset& dataset) { return dataset.GetMetadata("RPC") != nullptr; }))
    CopyRpc(input->raster->Dataset(), placementOn(*input), output);
  if (FirstThat(inputs, [](GDALDataset& dataset) { return dataset.GetMetadata("GEOLOCATION"); }))
    Warn("the output does not hold the geolocation arrays of the input");
  if (const RunInput* const input = FirstThat(
          inputs, [](GDALDataset& dataset) { return CSLCount(dataset.GetMetadata()) > 0; }))
    CopyMetadata(input->raster->Dataset(), output);
  // Of an image with AREA_OR_POINT=Point the TIFF driver of GDAL 3.6 writes ground control points
  // one pixel too far. Without it, their pixels and lines mean the same.
  if (output.GetGCPCount() > 0 && output.GetMetadataItem("AREA_OR_POINT"))
    output.SetMetadataItem("AREA_OR_POINT", "Area");
  for (std::size_t i = 0; i < plan.bands.size(); ++i)
    DescribeBand(inputs, plan.bands[i], *output.GetRasterBand(static_cast<int>(i) + 1));
  output.SetMetadataItem("LUMOMIXCALC_COMMAND", plan.command.c_str());
  output.SetMetadataItem("LUMOMIXCALC_VERSION", LUMOMIXCALC_VERSION);
}

}  // namespace lumomixcalc::standalone
