#include "standalone/rasters/georeferencing.h"

#include <ogr_spatialref.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "standalone/rasters/gdal_library.h"

namespace lumomixcalc::standalone {
namespace {

// The largest distance between where the two put a corner of the raster, in pixels of the first.
double LargestShift(const Geotransform& a, const Geotransform& b, double columns, double rows) {
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

}  // namespace

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
  char text[64];
  std::snprintf(text, sizeof text, "their geotransforms differ by up to %.3g pixels", shift);
  return text;
}

std::optional<Geotransform> GeotransformOf(GDALDataset& dataset) {
  Geotransform transform;
  if (dataset.GetGeoTransform(transform.data()) != CE_None) return std::nullopt;
  return transform;
}

bool CopyGeoreferencing(GDALDataset& from, const OutputGrid& grid, GDALDataset& to) {
  const GdalFailures failures;
  if (const auto transform = GeotransformOf(from))
    to.SetGeoTransform(grid.Transformed(*transform).data());
  if (from.GetSpatialRef()) to.SetSpatialRef(from.GetSpatialRef());
  if (from.GetGCPCount() > 0) {
    std::vector<GDAL_GCP> points(from.GetGCPs(), from.GetGCPs() + from.GetGCPCount());
    for (GDAL_GCP& point : points) {
      point.dfGCPPixel = (point.dfGCPPixel - grid.window.x) / grid.resolution;
      point.dfGCPLine = (point.dfGCPLine - grid.window.y) / grid.resolution;
    }
    to.SetGCPs(from.GetGCPCount(), points.data(), from.GetGCPSpatialRef());
  }
  return !failures.Any();
}

}  // namespace lumomixcalc::standalone
