#include "standalone/rasters/georeferencing.h"

#include <cpl_string.h>
#include <ogr_spatialref.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "standalone/base/texts.h"

namespace lumomixcalc::standalone {

// The largest distance between the positions of a raster corner under both, in pixels of the first.
static double LargestShift(const Geotransform& a, const Geotransform& b, double columns,
                           double rows) {
  const double pixel = std::min(std::hypot(a[1], a[4]), std::hypot(a[2], a[5]));
  double largest = 0;
  for (const double x : {0.0, columns})
    for (const double y : {0.0, rows}) {
      const double dx = (a[0] - b[0]) + (a[1] - b[1]) * x + (a[2] - b[2]) * y;
      const double dy = (a[3] - b[3]) + (a[4] - b[4]) * x + (a[5] - b[5]) * y;
      largest = std::max(largest, std::hypot(dx, dy) / pixel);
    }
  return largest;
}

std::optional<Geotransform> GeotransformOf(GDALDataset& dataset) {
  Geotransform transform;
  if (dataset.GetGeoTransform(transform.data()) != CE_None) return std::nullopt;
  return transform;
}

std::string GeoreferencingDifference(GDALDataset& one, GDALDataset& other) {
  const OGRSpatialReference* const crs1 = one.GetSpatialRef();
  const OGRSpatialReference* const crs2 = other.GetSpatialRef();
  if (crs1 && crs2 && !crs1->IsSame(crs2)) return "their coordinate reference systems differ";
  const std::optional<Geotransform> transform1 = GeotransformOf(one);
  const std::optional<Geotransform> transform2 = GeotransformOf(other);
  if (!transform1 || !transform2) return "";
  constexpr double kTolerance = 0.01;
  const double shift =
      LargestShift(*transform1, *transform2, one.GetRasterXSize(), one.GetRasterYSize());
  if (shift <= kTolerance) return "";
  return CPLSPrintf("their geotransforms differ by up to %.3g pixels", shift);
}

bool HasGeoreferencing(GDALDataset& dataset) {
  return GeotransformOf(dataset) || dataset.GetSpatialRef() || dataset.GetGCPCount() > 0;
}

void CopyGeoreferencing(GDALDataset& from, const PixelPlacement& placement, GDALDataset& to) {
  const auto [x, y, nx, ny] = placement;
  if (const std::optional<Geotransform> transform = GeotransformOf(from)) {
    const Geotransform& in = *transform;
    Geotransform out = {in[0] + x * in[1] + y * in[2], nx * in[1], ny * in[2],
                        in[3] + x * in[4] + y * in[5], nx * in[4], ny * in[5]};
    to.SetGeoTransform(out.data());
  }
  if (from.GetSpatialRef()) to.SetSpatialRef(from.GetSpatialRef());
  if (from.GetGCPCount() > 0) {
    std::vector<GDAL_GCP> points(from.GetGCPs(), from.GetGCPs() + from.GetGCPCount());
    for (GDAL_GCP& point : points) {
      point.dfGCPPixel = (point.dfGCPPixel - x) / nx;
      point.dfGCPLine = (point.dfGCPLine - y) / ny;
    }
    to.SetGCPs(from.GetGCPCount(), points.data(), from.GetGCPSpatialRef());
  }
}

void CopyRpc(GDALDataset& from, const PixelPlacement& placement, GDALDataset& to) {
  CPLStringList rpc(CSLDuplicate(from.GetMetadata("RPC")));
  const auto change = [&rpc](const char* item, double shift, double factor) {
    if (const auto number = ParseDouble(rpc.FetchNameValueDef(item, "")))
      rpc.SetNameValue(item, ShortestText((*number - shift) / factor).c_str());
  };
  const auto [x, y, nx, ny] = placement;
  // The coordinate of the centre of the first pixel is 0.
  change("SAMP_OFF", x + (nx - 1) / 2, nx);
  change("LINE_OFF", y + (ny - 1) / 2, ny);
  change("SAMP_SCALE", 0, nx);
  change("LINE_SCALE", 0, ny);
  to.SetMetadata(rpc.List(), "RPC");
}

}  // namespace lumomixcalc::standalone
