#include "standalone/rasters/georeferencing.h"

#include <cpl_conv.h>
#include <cpl_string.h>
#include <gdal_alg.h>
#include <ogr_spatialref.h>

#include <cmath>
#include <vector>

#include "standalone/base/messages.h"

namespace lumomixcalc::standalone {

namespace {

// In pixels. Map coordinates are rarely exact.
constexpr double kTolerance = 1e-3;

// How the pixels of two geotransforms differ in size, or else in direction.
std::string PixelDifference(const Geotransform& a, const Geotransform& b) {
  const auto size = [](const Geotransform& t) {
    return ShortestText(std::hypot(t[1], t[4])) + " x " + ShortestText(std::hypot(t[2], t[5]));
  };
  return size(a) == size(b) ? "one is rotated or mirrored against the other"
                            : "their pixel sizes are " + size(a) + " and " + size(b);
}

// A name or a definition that GDAL's programs understand.
std::string SystemName(const OGRSpatialReference& system) {
  const char* const authority = system.GetAuthorityName(nullptr);
  const char* const code = system.GetAuthorityCode(nullptr);
  if (authority && code) return std::string(authority) + ":" + code;
  const char* const options[] = {"FORMAT=WKT2_2018", nullptr};
  char* text = nullptr;
  system.exportToWkt(&text, options);
  std::string definition = text ? text : "";
  CPLFree(text);
  return definition;
}

}  // namespace

std::optional<Geotransform> GeotransformOf(GDALDataset& dataset) {
  Geotransform transform;
  if (dataset.GetGeoTransform(transform.data()) != CE_None) return std::nullopt;
  return transform;
}

double SnappedToEdge(double pixel) {
  const double nearest = std::round(pixel);
  return std::abs(pixel - nearest) < kTolerance ? nearest : pixel;
}

GridOffset OffsetOnGrid(GDALDataset& raster, GDALDataset& grid) {
  std::optional<Geotransform> own = GeotransformOf(raster);
  std::optional<Geotransform> pixels = GeotransformOf(grid);
  Geotransform toPixels;
  // Without both, systems do not matter, one of which GDAL may have made up.
  if (!own || !pixels || !GDALInvGeoTransform(pixels->data(), toPixels.data())) return {};
  const OGRSpatialReference* const system = raster.GetSpatialRef();
  const OGRSpatialReference* const systemOfGrid = grid.GetSpatialRef();
  // Geotransforms are x before y, in whatever order a driver lists the axes of the system.
  const char* const ofTheSystems[] = {"IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES", nullptr};
  if (system && systemOfGrid && !system->IsSame(systemOfGrid, ofTheSystems))
    return {.difference = "their coordinate reference systems differ"};
  if (systemOfGrid && systemOfGrid->IsGeographic()) {
    // Longitudes may be counted from -180 or from 0. Takes those nearest to the grid's.
    const double apart = (*own)[0] + (*own)[1] * raster.GetRasterXSize() / 2 -
                         ((*pixels)[0] + (*pixels)[1] * grid.GetRasterXSize() / 2);
    (*own)[0] += std::remainder(apart, 360) - apart;
  }
  const auto offsetAt = [&](double column, double row) {
    GridOffset at;
    GDALApplyGeoTransform(own->data(), column, row, &at.x, &at.y);
    GDALApplyGeoTransform(toPixels.data(), at.x, at.y, &at.x, &at.y);
    at.x = SnappedToEdge(at.x - column);
    at.y = SnappedToEdge(at.y - row);
    return at;
  };
  GridOffset offset = offsetAt(0, 0);
  for (const GridOffset& corner :
       {offsetAt(raster.GetRasterXSize(), 0), offsetAt(0, raster.GetRasterYSize())})
    if (std::hypot(corner.x - offset.x, corner.y - offset.y) > kTolerance) {
      offset.difference = PixelDifference(*pixels, *own);
      return offset;
    }
  if (offset.x != 0 || offset.y != 0)
    offset.difference = CPLSPrintf("their origins are %.8g column%s and %.8g row%s apart",
                                   std::abs(offset.x), std::abs(offset.x) == 1 ? "" : "s",
                                   std::abs(offset.y), std::abs(offset.y) == 1 ? "" : "s");
  offset.fits = offset.x == std::round(offset.x) && offset.y == std::round(offset.y);
  return offset;
}

bool LieApart(GDALDataset& raster, GDALDataset& grid) {
  const CPLErrorHandlerPusher quiet(CPLQuietErrorHandler);
  void* const toGrid = GDALCreateGenImgProjTransformer2(&raster, &grid, nullptr);
  if (!toGrid) return false;
  Geotransform ofTheGrid = {};
  int size[2] = {};
  double extent[4] = {};  // of the raster in pixels of the grid: left, top, right, bottom
  const CPLErr result = GDALSuggestedWarpOutput2(&raster, GDALGenImgProjTransform, toGrid,
                                                 ofTheGrid.data(), &size[0], &size[1], extent, 0);
  GDALDestroyGenImgProjTransformer(toGrid);
  const auto areApart = [&extent](int axis, int pixels, double period) {
    const double distance = std::remainder((extent[axis] + extent[axis + 2] - pixels) / 2, period);
    return std::abs(distance) >= (extent[axis + 2] - extent[axis] + pixels) / 2;
  };
  const bool turns = grid.GetSpatialRef() && grid.GetSpatialRef()->IsGeographic();
  grid.GetGeoTransform(ofTheGrid.data());
  return result == CE_None &&
         (areApart(0, grid.GetRasterXSize(), turns ? 360 / ofTheGrid[1] : INFINITY) ||
          areApart(1, grid.GetRasterYSize(), INFINITY));
}

std::string WarpCommand(GDALDataset& raster, GDALDataType type, GDALDataset& grid) {
  const std::optional<Geotransform> transform = GeotransformOf(grid);
  if (!transform || (!GeotransformOf(raster) && raster.GetGCPCount() == 0)) return "";
  const auto [left, width, xTurn, top, yTurn, height] = *transform;
  if (xTurn != 0 || yTurn != 0 || width <= 0 || height >= 0) return "";
  const std::string name = raster.GetDescription();
  std::vector<std::string> words = {"gdalwarp"};
  if (grid.GetSpatialRef())
    words.insert(words.end(), {"-t_srs", SystemName(*grid.GetSpatialRef())});
  words.insert(words.end(), {"-tr", ShortestText(width), ShortestText(-height), "-te"});
  for (const double edge :
       {left, top + grid.GetRasterYSize() * height, left + grid.GetRasterXSize() * width, top})
    words.push_back(ShortestText(edge));
  words.insert(words.end(), {"-ot", GDALGetDataTypeName(type), "-dstnodata", "nan", name,
                             std::string(CPLGetBasename(name.c_str())) + "_warped.tif"});
  for (std::string& word : words) word = ShellWord(word);
  return Joined(words, " ");
}

bool HasPlace(GDALDataset& dataset) { return GeotransformOf(dataset) || dataset.GetGCPCount() > 0; }

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
    // A unit may follow the number, as in "2197 pixels".
    if (const char* const text = rpc.FetchNameValue(item))
      rpc.SetNameValue(item, ShortestText((CPLAtof(text) - shift) / factor).c_str());
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
